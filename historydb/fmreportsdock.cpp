#include "historydb/fmreportsdock.h"

#include <QBarCategoryAxis>
#include <QBarSeries>
#include <QBarSet>
#include <QChart>
#include <QChartView>
#include <QCheckBox>
#include <QComboBox>
#include <QDateEdit>
#include <QEvent>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QProgressBar>
#include <QPushButton>
#include <QSplitter>
#include <QTableWidget>
#include <QVBoxLayout>
#include <QValueAxis>
#include <QtConcurrent/QtConcurrentRun>

#include <algorithm>
#include <functional>

namespace {

// Charts of more groups than this show the largest ones; the table keeps them all.
constexpr int MaxBars = 40;

double measureOf(const fmReportRow& r, int measure)
{
    switch (measure) {
    case 0:
        return double(r.Jobs);
    case 1:
        return r.RenderHours;
    case 2:
        return double(r.Frames);
    case 3:
        return r.GhzHours;
    case 4:
        return r.Cost;
    default:
        return double(r.Errors);
    }
}

// Watches the dock's palette: the chart follows the theme.
class PaletteWatcher : public QObject
{
public:
    PaletteWatcher(QObject* parent, std::function<void()> onChange)
        : QObject(parent), OnChange(std::move(onChange))
    {
    }
    bool eventFilter(QObject* o, QEvent* e) override
    {
        if (e->type() == QEvent::PaletteChange || e->type() == QEvent::StyleChange) OnChange();
        return QObject::eventFilter(o, e);
    }

private:
    std::function<void()> OnChange;
};

} // namespace

fmReportsDock::fmReportsDock(const fmReportSettings& settings, QWidget* parent)
    : QDockWidget(tr("Reports"), parent), Settings(settings)
{
    setObjectName(QStringLiteral("dockWidget_Reports"));
    buildWidgets();
    connect(&Watcher, &QFutureWatcher<fmHistorySummary>::finished, this, [this] {
        Run->setText(tr("Refresh"));
        Progress->hide();
        showSummary(Watcher.result());
    });
    installEventFilter(new PaletteWatcher(this, [this] { applyTheme(); }));
    applyTheme();
}

fmReportsDock::~fmReportsDock()
{
    if (Reader) Reader->cancel();
    Watcher.waitForFinished();
}

QChart* fmReportsDock::chart() const
{
    return ChartView->chart();
}

void fmReportsDock::buildWidgets()
{
    auto* body = new QWidget(this);
    auto* layout = new QVBoxLayout(body);
    auto* row1 = new QHBoxLayout;
    By = new QComboBox(body);
    By->addItems({tr("User"), tr("Project"), tr("Month"), tr("Software")});
    Scope = new QComboBox(body);
    Scope->addItems({tr("Loaded project"), tr("All projects")});
    Measure = new QComboBox(body);
    Measure->addItems(fmReportMeasureTitles(Settings.CostDisplay));
    Measure->setCurrentIndex(3);
    Run = new QPushButton(tr("Refresh"), body);
    row1->addWidget(new QLabel(tr("Group by"), body));
    row1->addWidget(By);
    row1->addWidget(Scope);
    row1->addWidget(new QLabel(tr("Chart"), body));
    row1->addWidget(Measure);
    row1->addStretch();
    row1->addWidget(Run);

    auto* row2 = new QHBoxLayout;
    UseRange = new QCheckBox(tr("Finished from"), body);
    From = new QDateEdit(QDate::currentDate().addMonths(-1), body);
    To = new QDateEdit(QDate::currentDate(), body);
    for (QDateEdit* d : {From, To}) {
        d->setCalendarPopup(true);
        d->setDisplayFormat(QStringLiteral("yyyy-MM-dd"));
    }
    FilterTree = new QCheckBox(tr("Filter the job tree"), body);
    JobSearch = new QLineEdit(body);
    JobSearch->setPlaceholderText(tr("Job ID"));
    JobSearch->setClearButtonEnabled(true);
    row2->addWidget(UseRange);
    row2->addWidget(From);
    row2->addWidget(new QLabel(tr("to"), body));
    row2->addWidget(To);
    row2->addWidget(FilterTree);
    row2->addStretch();
    row2->addWidget(JobSearch);

    Progress = new QProgressBar(body);
    Progress->setRange(0, 1000);
    Progress->hide();
    Status = new QLabel(body);
    Status->setWordWrap(true);

    Table = new QTableWidget(body);
    Table->setEditTriggers(QAbstractItemView::NoEditTriggers);
    Table->setSelectionBehavior(QAbstractItemView::SelectRows);
    Table->verticalHeader()->hide();
    ChartView = new QChartView(new QChart, body);
    ChartView->setRenderHint(QPainter::Antialiasing);
    ChartView->chart()->legend()->hide();
    auto* split = new QSplitter(Qt::Vertical, body);
    split->addWidget(Table);
    split->addWidget(ChartView);

    layout->addLayout(row1);
    layout->addLayout(row2);
    layout->addWidget(Progress);
    layout->addWidget(Status);
    layout->addWidget(split, 1);
    setWidget(body);
    connectWidgets();
}

void fmReportsDock::connectWidgets()
{
    connect(Run, &QPushButton::clicked, this, [this] {
        if (Watcher.isRunning() && Reader)
            Reader->cancel();
        else
            refresh();
    });
    connect(Scope, &QComboBox::currentIndexChanged, this, &fmReportsDock::refresh);
    for (QComboBox* c : {By, Measure})
        connect(c, &QComboBox::currentIndexChanged, this, &fmReportsDock::rebuild);
    for (QDateEdit* d : {From, To})
        connect(d, &QDateEdit::dateChanged, this, [this] {
            rebuild();
            emitFinishedFilter();
        });
    for (QCheckBox* c : {UseRange, FilterTree})
        connect(c, &QCheckBox::toggled, this, [this] {
            rebuild();
            emitFinishedFilter();
        });
    connect(JobSearch, &QLineEdit::returnPressed, this,
            [this] { emit jobSearched(JobSearch->text().trimmed()); });
    connect(Table, &QTableWidget::cellClicked, this, [this](int row, int) {
        if (row >= 0 && row < Report.Rows.size() && !Report.Rows[row].Key.isEmpty())
            emit groupClicked(currentKey(), Report.Rows[row].Key.first());
    });
}

fmReportKey fmReportsDock::currentKey() const
{
    static const fmReportKey keys[] = {fmReportKey::User, fmReportKey::Project, fmReportKey::Month,
                                       fmReportKey::Software};
    return keys[qBound(0, By->currentIndex(), 3)];
}

fmReportFilter fmReportsDock::currentFilter() const
{
    fmReportFilter f;
    if (UseRange->isChecked()) {
        fmReportParseDate(From->date().toString(Qt::ISODate), false, f.From);
        fmReportParseDate(To->date().toString(Qt::ISODate), true, f.To);
    }
    if (Scope->currentIndex() == 0) f.Projects = {LoadedProject};
    return f;
}

void fmReportsDock::emitFinishedFilter()
{
    const fmReportFilter f = currentFilter();
    emit finishedFilterChanged(UseRange->isChecked() && FilterTree->isChecked(), f.From, f.To);
}

void fmReportsDock::setLoadedProject(const QString& name)
{
    if (name == LoadedProject) return;
    LoadedProject = name;
    if (Scope->currentIndex() == 0 && isVisible()) refresh();
}

void fmReportsDock::refresh()
{
    if (Watcher.isRunning()) {
        if (Reader) Reader->cancel();
        Watcher.waitForFinished();
    }
    Reader = std::make_shared<fmHistorySummaryReader>();
    Reader->setCacheFolder(Settings.CacheFolder);
    Reader->setClientSpeeds(Settings.Speeds);
    if (Scope->currentIndex() == 0) Reader->setProjects({LoadedProject});
    // Called on the reading thread while the dock lives (its destructor waits for the read); a
    // call still queued when the bar goes is dropped with it.
    QProgressBar* bar = Progress;
    Reader->setProgress([bar](qint64 done, qint64 total) {
        const int permille = total > 0 ? int(done * 1000 / total) : 1000;
        QMetaObject::invokeMethod(
            bar, [bar, permille] { bar->setValue(permille); }, Qt::QueuedConnection);
    });
    Progress->setValue(0);
    Progress->show();
    Run->setText(tr("Cancel"));
    const std::shared_ptr<fmHistorySummaryReader> reader = Reader;
    const QString folder = Settings.HistoryFolder;
    Watcher.setFuture(QtConcurrent::run([reader, folder] { return reader->read(folder); }));
}

void fmReportsDock::showSummary(const fmHistorySummary& summary)
{
    Summary = summary;
    QString status = tr("%1 jobs in %2 files").arg(Summary.Jobs.size()).arg(Summary.Files.size());
    if (Summary.Cancelled) status += tr("; cancelled, the sums are incomplete");
    for (const QString& d : Summary.DamagedFiles)
        status += QLatin1Char('\n') + tr("damaged: %1").arg(d);
    Status->setText(status);
    rebuild();
}

void fmReportsDock::rebuild()
{
    Report = fmBuildReport(Summary, {currentKey()}, currentFilter(), Settings.Cost);
    const QStringList titles = QStringList{By->currentText()} + fmReportMeasureTitles(Settings.CostDisplay);
    Table->clear();
    Table->setColumnCount(int(titles.size()));
    Table->setHorizontalHeaderLabels(titles);
    Table->setRowCount(int(Report.Rows.size()) + 1);
    auto fill = [this](int row, const QString& key, const fmReportRow& r) {
        Table->setItem(row, 0, new QTableWidgetItem(key));
        const QStringList m = fmReportMeasureTexts(r, Settings.DecimalMark);
        for (int c = 0; c < m.size(); ++c) {
            auto* item = new QTableWidgetItem(m[c]);
            item->setTextAlignment(Qt::AlignRight | Qt::AlignVCenter);
            Table->setItem(row, c + 1, item);
        }
    };
    for (int i = 0; i < Report.Rows.size(); ++i)
        fill(i, Report.Rows[i].Key.value(0), Report.Rows[i]);
    fill(int(Report.Rows.size()), tr("total"), Report.Total);

    QChart* c = ChartView->chart();
    c->removeAllSeries();
    for (QAbstractAxis* a : c->axes()) {
        c->removeAxis(a);
        delete a;
    }
    const int measure = Measure->currentIndex();
    QList<int> shown;
    for (int i = 0; i < Report.Rows.size(); ++i)
        shown.append(i);
    if (shown.size() > MaxBars) {
        std::stable_sort(shown.begin(), shown.end(), [&](int a, int b) {
            return measureOf(Report.Rows[a], measure) > measureOf(Report.Rows[b], measure);
        });
        shown = shown.mid(0, MaxBars);
        std::sort(shown.begin(), shown.end());
    }
    auto* set = new QBarSet(Measure->currentText());
    QStringList categories;
    double top = 0.0;
    for (int i : shown) {
        const double v = measureOf(Report.Rows[i], measure);
        *set << v;
        top = std::max(top, v);
        categories << Report.Rows[i].Key.value(0);
    }
    auto* series = new QBarSeries;
    series->append(set);
    c->addSeries(series);
    auto* x = new QBarCategoryAxis;
    x->append(categories);
    auto* y = new QValueAxis;
    y->setRange(0.0, top > 0.0 ? top * 1.05 : 1.0);
    c->addAxis(x, Qt::AlignBottom);
    c->addAxis(y, Qt::AlignLeft);
    series->attachAxis(x);
    series->attachAxis(y);
    connect(set, &QBarSet::clicked, this, [this, categories](int index) {
        if (index >= 0 && index < categories.size()) emit groupClicked(currentKey(), categories[index]);
    });
    applyTheme();
}

void fmReportsDock::applyTheme()
{
    if (!ChartView) return;
    const QPalette p = palette();
    QChart* c = ChartView->chart();
    c->setBackgroundBrush(p.base());
    c->setPlotAreaBackgroundVisible(false);
    c->setTitleBrush(p.text());
    ChartView->setBackgroundBrush(p.window());
    for (QAbstractAxis* a : c->axes()) {
        a->setLabelsBrush(p.text());
        a->setLinePenColor(p.color(QPalette::Mid));
        a->setGridLineColor(p.color(QPalette::Midlight));
    }
    for (QAbstractSeries* s : c->series())
        if (auto* bars = qobject_cast<QBarSeries*>(s))
            for (QBarSet* set : bars->barSets()) {
                set->setColor(p.color(QPalette::Highlight));
                set->setBorderColor(p.color(QPalette::Highlight).darker(120));
            }
}
