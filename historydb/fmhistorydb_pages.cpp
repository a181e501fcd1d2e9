// The window's pages and commands on the selection: the job info page, the log pages, the CSV
// exports and the re-submit. The texts come from window-free helpers; here they meet the widgets.

#include "historydb/fmhistorydb.h"

#include "app/fm.h"
#include "browser/fmjobinfo.h"
#include "browser/fmjoblogpage.h"
#include "browser/fmresubmit.h"
#include "foundation/fmfile.h"
#include "foundation/fmfileread.h"
#include "foundation/fmjobid.h"
#include "foundation/fmprocess.h"
#include "historydb/fmlogtreemodel.h"
#include "jobs/fmjoblist.h"
#include "widgets/fmmessagebox.h"
#include "widgets/fmstyle.h"

#include <QColor>
#include <QCoreApplication>
#include <QFileDialog>
#include <QPixmap>
#include <QScreen>
#include <QSizePolicy>
#include <QSplashScreen>
#include <QTableWidgetItem>

#include <algorithm>
#include <utility>

namespace {

const QString PageJobLog = QStringLiteral("Job Log");
const QString PageErrors = QStringLiteral("Errors");
const QString PageFramesSend = QStringLiteral("Frames Send");
const QString PageFrameInfoReturned = QStringLiteral("Frame Info Returned");

// The selection list as the last CreateSelectionList left it, its count clamped to the array.
int selectedCount(const fmJ::_JobList& jobs)
{
    if (!jobs.Selection) return 0;
    return std::clamp(jobs.SelectedCount, 0, jobs.Capacity);
}

fmJ::_jobsHistoryDB_Runtime* firstSelected(const fmJ::_JobList& jobs)
{
    return selectedCount(jobs) > 0 ? jobs.Selection[0] : nullptr;
}

void showIfHidden(QWidget* w)
{
    if (w->isHidden()) w->show();
}

void hideIfVisible(QWidget* w)
{
    if (!w->isHidden()) w->hide();
}

} // namespace

void fmHistorydb::uiUpdateJobInfoPage()
{
    jobs.CreateSelectionList();
    const int count = selectedCount(jobs);
    const fmJobInfoTexts t = fmJobInfoPageTexts(jobs.Selection.get(), count);
    if (t.Empty) {
        clearJobInfoPage();
        return;
    }
    showJobInfoTexts(t, count);
    showJobInfoImage(count);
}

void fmHistorydb::clearJobInfoPage()
{
    // The image label is left alone: the last image stays on the page after a deselection.
    for (QLabel* l : {ui.JobInfo_LabelCamera,
                      ui.JobInfo_LabelLayer,
                      ui.JobInfo_LabelID,
                      ui.JobInfo_LabelDate,
                      ui.JobInfo_LabelTime,
                      ui.JobInfo_LabelDateFinished,
                      ui.JobInfo_LabelTimeFinished,
                      ui.JobInfo_LabelCustomScene,
                      ui.JobInfo_LabelCustomShot,
                      ui.JobInfo_LabelCustomVersion,
                      ui.JobInfo_LabelSoftName,
                      ui.JobInfo_LabelSoftRenderer,
                      ui.JobInfo_LabelSoftRenderType,
                      ui.JobInfo_LabelSoftVersionMinor,
                      ui.JobInfo_LabelSoftVersion,
                      ui.JobInfo_LabelOutput1a,
                      ui.JobInfo_LabelOutput1b,
                      ui.JobInfo_LabelFrameRangeStart,
                      ui.JobInfo_LabelFrameRangeEnd,
                      ui.JobInfo_LabelFrameRangeStep,
                      ui.JobInfo_LabelAvClients,
                      ui.JobInfo_LabelAvFrameTime,
                      ui.JobInfo_LabelSend,
                      ui.JobInfo_LabelAborted,
                      ui.JobInfo_LabelCrashed,
                      ui.JobInfo_Statimage,
                      ui.JobInfo_LabelSceneOS})
        l->setText(QString());
}

void fmHistorydb::showJobInfoTexts(const fmJobInfoTexts& t, int count)
{
    // The heading never grows wider than its place: a count and as many identifiers as fit.
    ui.JobInfo_LabelID->setText(jobInfoHeading(count, t.ID, ui.JobInfo_LabelID->fontMetrics(),
                                               std::max(200, ui.frame->width() - ui.label_12->width() - 40)));
    ui.JobInfo_LabelID->setToolTip(count > 1 ? QStringLiteral("%1 jobs selected").arg(count) : QString());

    // A differing value is drawn in the theme's difference colour, readable on the page.
    const QString differ = QStringLiteral("<font color=\"%1\">").arg(fmStyle::DifferenceColor().name());
    const QString red = QStringLiteral("<font color=\"red\">");
    const std::pair<QLabel*, const QString*> values[] = {
        {ui.JobInfo_LabelSceneOS, &t.SceneOS},
        {ui.JobInfo_LabelCamera, &t.Camera},
        {ui.JobInfo_LabelLayer, &t.Layer},
        {ui.JobInfo_LabelDate, &t.Date},
        {ui.JobInfo_LabelTime, &t.Time},
        {ui.JobInfo_LabelDateFinished, &t.DateFinished},
        {ui.JobInfo_LabelTimeFinished, &t.TimeFinished},
        {ui.JobInfo_LabelCustomScene, &t.CustomScene},
        {ui.JobInfo_LabelCustomShot, &t.CustomShot},
        {ui.JobInfo_LabelCustomVersion, &t.CustomVersion},
        {ui.JobInfo_LabelSoftName, &t.SoftName},
        {ui.JobInfo_LabelSoftRenderer, &t.SoftRenderer},
        {ui.JobInfo_LabelSoftRenderType, &t.SoftRenderType},
        {ui.JobInfo_LabelSoftVersion, &t.SoftVersion},
        {ui.JobInfo_LabelSoftVersionMinor, &t.SoftVersionMinor},
        {ui.JobInfo_LabelFrameRangeStart, &t.FrameRangeStart},
        {ui.JobInfo_LabelFrameRangeEnd, &t.FrameRangeEnd},
        {ui.JobInfo_LabelFrameRangeStep, &t.FrameRangeStep},
        {ui.JobInfo_LabelAvClients, &t.AvClients},
        {ui.JobInfo_LabelSend, &t.Send},
        {ui.JobInfo_LabelAborted, &t.Aborted},
        {ui.JobInfo_LabelCrashed, &t.Crashed},
        {ui.JobInfo_LabelAvFrameTime, &t.AvFrameTime},
    };
    for (const auto& [label, text] : values)
        label->setText(QString(*text).replace(red, differ));

    if (!t.KeepOutput1a) ui.JobInfo_LabelOutput1a->setText(t.Output1a);
    ui.JobInfo_LabelOutput1b->setText(t.Output1b);
    QPalette palette = ui.JobInfo_LabelOutput1b->palette();
    palette.setColor(QPalette::WindowText, fmStyle::DifferenceColor());
    ui.JobInfo_LabelOutput1b->setPalette(palette);
}

void fmHistorydb::showJobInfoImage(int count)
{
    const fmJobInfoImage img =
        fmJobInfoImageFor(jobs.Selection.get(), count, app.HistoryDbPath.toQString(), table.currentProject);
    if (img.What == fmJobInfoImage::KeepImage) return;
    ui.JobInfo_LabelFOI->clear();
    if (img.What == fmJobInfoImage::ShowText)
        ui.JobInfo_LabelFOI->setText(img.Text);
    else {
        QPixmap picture; // a file that is no image gives an empty pixmap
        picture.loadFromData(img.Bytes);
        ui.JobInfo_LabelFOI->setPixmap(picture);
    }
}

QString fmHistorydb::jobInfoHeading(int count, const QString& ids, const QFontMetrics& metrics, int width)
{
    if (count <= 1) return ids;
    const QString head = QStringLiteral("%1 jobs selected: ").arg(count);
    const QString dots = QStringLiteral(", ...");
    if (metrics.horizontalAdvance(head + ids) <= width) return head + ids;
    // Whole identifiers only, as many as fit on the line with the closing dots.
    const int room = width - metrics.horizontalAdvance(head + dots);
    int end = 0;
    for (int next = int(ids.indexOf(QStringLiteral(", "))); next > 0 && next < 4096;
         next = int(ids.indexOf(QStringLiteral(", "), next + 2))) {
        if (metrics.horizontalAdvance(ids.left(next)) > room) break;
        end = next;
    }
    return end > 0 ? head + ids.left(end) + dots : head + QStringLiteral("...");
}

void fmHistorydb::uiUpdateLogPage(bool unused)
{
    Q_UNUSED(unused)
    fmJ::_jobsHistoryDB_Runtime* job = firstSelected(jobs);
    if (!job) {
        hideIfVisible(ui.treeLog);
        hideIfVisible(ui.JobLog_Table);
        return;
    }
    showIfHidden(ui.treeLog);
    // The rebuild drops the tree's selection; the table stays on the page of logPage.
    if (logModel) logModel->CreateLogTree(app, job);
    // Until a page is picked, a selected job shows its log.
    if (logPage == 0) logPage = 1;
    if (logPage == 2)
        uiUpdateLogError();
    else if (logPage == 1)
        uiUpdateLogServer();
}

void fmHistorydb::LogSelectionChanged(const QItemSelection& selected)
{
    fmJ::_jobsHistoryDB_Runtime* job = firstSelected(jobs);
    if (!job) return;
    const QModelIndexList indexes = selected.indexes();
    const fmuiTreeViewLogNode* node = nullptr;
    if (!indexes.isEmpty() && logModel && indexes.first().isValid())
        node = logModel->nodeFromIndex(indexes.first());
    if (!node || (logModel && node == logModel->RootNode)) {
        hideIfVisible(ui.JobLog_Table);
        return;
    }
    logJobID = job->JobID;
    // The last two pages have nothing to draw: the table keeps what it showed.
    if (node->Name == PageJobLog) {
        uiUpdateLogServer();
        logPage = 1;
    } else if (node->Name == PageErrors) {
        uiUpdateLogError();
        logPage = 2;
    } else if (node->Name == PageFramesSend) {
        logPage = 3;
    } else if (node->Name == PageFrameInfoReturned) {
        logPage = 4;
    }
}

void fmHistorydb::uiUpdateLogServer()
{
    const fmJ::_jobsHistoryDB_Runtime* job = firstSelected(jobs);
    QTableWidget* view = ui.JobLog_Table;
    if (!job) {
        hideIfVisible(view);
        return;
    }
    showIfHidden(view);
    const QList<fmJobLogRow> rows = fmJobLogRows(*job, app);
    view->setUpdatesEnabled(false);
    view->clear();
    view->setColumnCount(8);
    view->setHorizontalHeaderLabels(fmJobLogHeaders());
    view->setRowCount(int(rows.size()));
    for (int i = 0; i < rows.size(); ++i) {
        const fmJobLogRow& row = rows[i];
        for (int c = 0; c < int(row.Cells.size()); ++c) {
            auto* item = new QTableWidgetItem(row.Cells[size_t(c)]); // owned by the table
            if (c == 6) item->setForeground(QColor::fromRgba(row.MessageColor));
            if (c >= 4) item->setToolTip(item->text()); // a message may be longer than its column
            view->setItem(i, c, item);
        }
    }
    view->setRowCount(int(rows.size()));
    view->resizeRowsToContents();
    view->setUpdatesEnabled(true);
}

void fmHistorydb::uiUpdateLogError()
{
    const fmJ::_jobsHistoryDB_Runtime* job = firstSelected(jobs);
    QTableWidget* view = ui.JobLog_Table;
    if (!job) {
        hideIfVisible(view);
        return;
    }
    showIfHidden(view);
    // One row per error, with no rows first sized by the log: so a job with more errors than log
    // entries loses none of them.
    const QList<fmJobErrorRow> rows = fmJobErrorRows(*job, app);
    view->setUpdatesEnabled(false);
    view->clear();
    view->setColumnCount(3);
    view->setHorizontalHeaderLabels(fmJobErrorHeaders());
    view->setRowCount(int(rows.size()));
    for (int i = 0; i < rows.size(); ++i)
        for (int c = 0; c < int(rows[i].Cells.size()); ++c) {
            auto* item = new QTableWidgetItem(rows[i].Cells[size_t(c)]); // owned by the table
            item->setToolTip(item->text());
            view->setItem(i, c, item);
        }
    view->resizeRowsToContents();
    view->setUpdatesEnabled(true);
}

void fmHistorydb::on_actionExport_as_csv_Excel_triggered()
{
    if (refusedWhileLoading(QStringLiteral("Export"))) return;
    if (selectedCount(jobs) <= 0) {
        fmMessageBox::Warning(this, QStringLiteral("No Job selected"), QStringLiteral("Ok"), 45);
        return;
    }
    const QString suggestion = lastExportDirectory + fmPathForDisplay(table.currentProject) +
                               QLatin1Char('_') + fmTime_t(true).asStringFileNameDate() +
                               QStringLiteral(".csv");
    const QString path =
        QFileDialog::getSaveFileName(this, tr("Export Job(s) as csv"), suggestion, tr("Xml Files (*.csv)"));
    if (path.isEmpty()) return;
    lastExportDirectory = GetDirName(path, '/');
    if (!jobs.exportAsCSV(path, nullptr, nullptr, false, false)) {
        showStatus(QStringLiteral("Export failed: %1 was not written").arg(path));
        fmMessageBox::Warning(this, QStringLiteral("Unable to save jobs into \n'") + path + QLatin1Char('\''),
                              QStringLiteral("Ok"), 45);
        return;
    }
    showStatus(QStringLiteral("Exported %1 job(s) into %2").arg(selectedCount(jobs)).arg(path));
}

void fmHistorydb::on_actionExport_ALL_Projects_as_csv_Excel_triggered()
{
    if (refusedWhileLoading(QStringLiteral("Export"))) return;
    const QString suggestion = lastExportDirectory + QStringLiteral("ALL_") +
                               fmTime_t(true).asStringFileNameDate() + QStringLiteral(".csv");
    const QString path = QFileDialog::getSaveFileName(this, tr("Export all projects as csv"), suggestion,
                                                      tr("Xml Files (*.csv)"));
    if (path.isEmpty()) return;

    QSplashScreen splash(screen(), QPixmap(QStringLiteral(":/Logos/PleaseWait.bmp")));
    splash.move(geometry().center() - splash.rect().center());
    splash.show();
    QCoreApplication::processEvents();
    lastExportDirectory = GetDirName(path, '/');

    // Each project is read into a list of its own, through a copy of the table: the project shown
    // stays as it is.
    fmProjectTable scan(table);
    const int count = std::max(scan.nrOfProjects, 0);
    int written = 0;
    QStringList unread;
    for (int i = 0; i < count; ++i) {
        const QString name = fmPathForDisplay(scan.projects[size_t(i)].Name);
        splash.showMessage(QStringLiteral("%1/%2 %3 ...").arg(i + 1).arg(count).arg(name),
                           Qt::AlignLeft | Qt::AlignBottom, Qt::black);
        QCoreApplication::processEvents();
        fmJ::_JobList list(app, nullptr);
        QString message;
        if (scan.loadProjectJobs(i, list, message) != fmProjectTable::LoadDone) {
            unread << name;
            continue;
        }
        if (list.exportAsCSV(path, nullptr, nullptr, true, written > 0))
            ++written;
        else
            fmMessageBox::Warning(
                this, QStringLiteral("Unable to save all jobs into \n'") + path + QLatin1Char('\''),
                QStringLiteral("Ok"), 45);
    }
    splash.hide();
    showStatus(
        QStringLiteral("Exported all jobs of %1 project(s) into %2").arg(written).arg(path) +
        (unread.isEmpty() ? QString() : QStringLiteral("; not read: ") + unread.join(QStringLiteral(", "))));
}

void fmHistorydb::on_actionRe_submit_job_triggered()
{
    if (refusedWhileLoading(QStringLiteral("Re-submit"))) return;
    const QStringList args = fmResubmitSelectionArguments(jobs.Selection.get(), selectedCount(jobs));
    if (args.isEmpty()) {
        showStatus(QStringLiteral("Re-submit: no job selected"));
        return;
    }
    showStatus(QStringLiteral("Re-submit: the submitter starts with the settings of job %1")
                   .arg(fmJ::ID2str(firstSelected(jobs)->JobID)));
    // Detached: the submitter is not the window's child, so nothing has to collect it.
    fmStartProcess(fmString<250>(fmResubmitExecutable(app.BinPath.toQString())), args, fmString<250>());
}
