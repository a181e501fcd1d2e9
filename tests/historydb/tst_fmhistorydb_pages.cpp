// The window's pages over a loaded project: what the job info page and the log dock show for a
// selection, and how the log table follows the page picked in the log tree.

#include "joblist_fixtures.h"

#include "app/fm.h"
#include "historydb/fmhistorydb.h"
#include "historydb/fmlogtreemodel.h"
#include "jobs/fmjobid.h"
#include "jobs/fmjoblist.h"

#include <QDir>
#include <QSettings>
#include <QTemporaryDir>
#include <QtTest>

#include <memory>

namespace {

struct PagesFixture
{
    QTemporaryDir Dir;
    QString Root, History;
    std::unique_ptr<fmJ::_JobList> Jobs;
    std::unique_ptr<fmHistorydb> Window;

    // One project "Shot" of `count` jobs; job n has n + 2 log entries and n errors.
    explicit PagesFixture(int count)
    {
        Root = Dir.path() + QStringLiteral("/root/");
        History = Root + QStringLiteral("history_db/");
        QDir().mkpath(History);
        QDir().mkpath(Root + QStringLiteral("sub/cfg_global"));
        FM.RootPath = Root;
        FM.HistoryDbPath = History;
        QByteArray bytes;
        for (int n = 0; n < count; ++n) {
            auto r = jlfix::makeRecord(n);
            r->LogCount = int16_t(n + 2);
            r->ErrorCount = int8_t(n);
            bytes += jlfix::frameOf(*r);
        }
        jlfix::writeFile(History + QStringLiteral("Shot.db61"), bytes);
        Jobs = std::make_unique<fmJ::_JobList>(FM, nullptr);
        Window = std::make_unique<fmHistorydb>(FM, *Jobs);
        Window->loadProject(0);
    }
    ~PagesFixture() { Window.reset(); }

    // Selects the jobs at these sorted positions (and no others), then redraws as the timer does.
    void select(const QList<int>& positions)
    {
        for (int i = 0; i < Jobs->SortedCount; ++i) Jobs->Sorted[i]->Selected = positions.contains(i) ? 1 : 0;
        Window->uiUpdateJobInfoPage();
        Window->uiUpdateLogPage(false);
    }
    // Picks a page of the log tree by name.
    void pickPage(const QString& name)
    {
        fmuiTreeViewLogModel* m = Window->logModel;
        for (int r = 0; r < m->rowCount(); ++r) {
            const QModelIndex i = m->index(r, 0);
            if (m->data(i).toString() == name) Window->ui.treeLog->selectionModel()->select(i, QItemSelectionModel::ClearAndSelect);
        }
    }
};

} // namespace

class tst_fmhistorydb_pages : public QObject
{
    Q_OBJECT
private slots:
    void initTestCase();
    void selection_data();
    void selection();
    void logTable_data();
    void logTable();
};

void tst_fmhistorydb_pages::initTestCase()
{
    static QTemporaryDir settingsDir;
    QSettings::setPath(QSettings::NativeFormat, QSettings::UserScope, settingsDir.path());
    QSettings::setPath(QSettings::IniFormat, QSettings::UserScope, settingsDir.path());
    FM.createFarmTables();
}

// Catches the image cleared on deselection, the log tree left visible without a selection, and
// the ID label missing a selected job.
void tst_fmhistorydb_pages::selection_data()
{
    QTest::addColumn<QList<QList<int>>>("steps"); // selections one after another
    QTest::addColumn<QString>("image");          // text of the image label at the end
    QTest::addColumn<bool>("treeVisible");
    QTest::addColumn<int>("ids"); // selected jobs named in the ID label

    QTest::newRow("one job, no image") << QList<QList<int>>{{0}} << "N/A" << true << 1;
    QTest::newRow("two jobs") << QList<QList<int>>{{0, 2}} << "(multiple jobs selected)" << true << 2;
    QTest::newRow("deselection keeps the image") << QList<QList<int>>{{0, 1}, {}} << "(multiple jobs selected)"
                                                  << false << 0;
}

void tst_fmhistorydb_pages::selection()
{
    QFETCH(QList<QList<int>>, steps);
    QFETCH(QString, image);
    QFETCH(bool, treeVisible);
    QFETCH(int, ids);
    PagesFixture f(3);
    QCOMPARE(f.Jobs->SortedCount, 3);
    for (const QList<int>& s : steps) f.select(s);
    fmHistorydb& w = *f.Window;
    QCOMPARE(w.ui.JobInfo_LabelFOI->text(), image);
    QCOMPARE(!w.ui.treeLog->isHidden(), treeVisible);
    const QString idText = w.ui.JobInfo_LabelID->text();
    QCOMPARE(idText.isEmpty() ? 0 : int(idText.split(", ").size()), ids);
    if (ids > 0) QVERIFY(idText.startsWith(fmJ::ID2str(f.Jobs->Sorted[steps.last().first()]->JobID)));
}

// Catches a table drawn from another job than the first selected, the wrong columns for a page,
// and "Frames Send" wiping the rows of the former page.
void tst_fmhistorydb_pages::logTable_data()
{
    QTest::addColumn<QStringList>("pages"); // picked one after another
    QTest::addColumn<int>("columns");
    QTest::addColumn<bool>("errorsPage"); // rows are the errors, not the log entries

    QTest::newRow("job log") << QStringList{"Job Log"} << 8 << false;
    QTest::newRow("errors") << QStringList{"Errors"} << 3 << true;
    QTest::newRow("errors then frames send") << QStringList{"Errors", "Frames Send"} << 3 << true;
    QTest::newRow("errors then job log") << QStringList{"Errors", "Job Log"} << 8 << false;
}

void tst_fmhistorydb_pages::logTable()
{
    QFETCH(QStringList, pages);
    QFETCH(int, columns);
    QFETCH(bool, errorsPage);
    PagesFixture f(3);
    f.select({1, 2});
    const fmJ::_jobsHistoryDB_Runtime* first = f.Jobs->Sorted[1];
    for (const QString& p : pages) f.pickPage(p);
    QTableWidget* t = f.Window->ui.JobLog_Table;
    QVERIFY(!t->isHidden());
    QCOMPARE(t->columnCount(), columns);
    QCOMPARE(t->rowCount(), errorsPage ? first->errorCountClamped() : first->logCountClamped());
    // A redraw keeps the page; deselecting hides tree and table.
    f.select({1});
    QCOMPARE(t->columnCount(), columns);
    f.select({});
    QVERIFY(t->isHidden());
    QVERIFY(f.Window->ui.treeLog->isHidden());
}

QTEST_MAIN(tst_fmhistorydb_pages)
#include "tst_fmhistorydb_pages.moc"
