// Loading a project on a thread of its own: the loader's progress and cancel hook, the window's
// swap of the loaded list, a second pick or a close during a load, and the commands that wait.

#include "fmwindowfixture.h"

#include <QAction>
#include <QProgressBar>
#include <QStatusBar>

namespace {

constexpr int BigJobs = 3000; // a load of some 100 ms: long enough to act while it runs
constexpr int SmallJobs = 4;

// Records its calls; answers false at frame StopAt.
struct Observer : fmJ::_JobList::LoadObserver
{
    int StopAt = -1;
    QList<int> Frames;
    QList<qint64> Bytes;
    qint64 FileSize = 0;
    bool frameRead(int frames, qint64 bytes, qint64 fileSize) override
    {
        Frames << frames;
        Bytes << bytes;
        FileSize = fileSize;
        return frames != StopAt;
    }
};

// Projects "Big" (combo entry 1) and "Small" (entry 2); the big one repeats one frame.
struct Fixture : fmtest::WindowFixture
{
    Fixture()
    {
        QVERIFY(
            jlfix::writeFile(History + "Big.db61", jlfix::frameOf(*jlfix::makeRecord(1)).repeated(BigJobs)));
        writeDb("Small.db61", SmallJobs, 100);
    }
    fmHistorydb& open()
    {
        WindowFixture::open().LoadSettleMs = 0; // every load runs on behind the window
        return *Window;
    }
};

} // namespace

class tst_fmwindowload : public QObject
{
    Q_OBJECT
private slots:
    void initTestCase();
    // Catches a hook that misses frames, counts bytes other than the file's, or stops late.
    void loaderHook_data();
    void loaderHook();
    // Catches a load that blocks the window, a second pick that loses to the first, a list not
    // swapped in (or swapped in with a stale count or combo), and a close that waits for the whole
    // load or crashes.
    void picksWhileLoading_data();
    void picksWhileLoading();
    // Catches a command that works on the shown list while another project loads, and commands
    // left disabled after it.
    void commandsWaitForLoad_data();
    void commandsWaitForLoad();
};

void tst_fmwindowload::initTestCase()
{
    fmInitWindowTests();
}

void tst_fmwindowload::loaderHook_data()
{
    QTest::addColumn<int>("stopAt");
    QTest::addColumn<int>("jobs");
    QTest::newRow("whole file") << -1 << SmallJobs;
    QTest::newRow("stopped after the second frame") << 2 << 2;
}

void tst_fmwindowload::loaderHook()
{
    QFETCH(int, stopAt);
    QFETCH(int, jobs);
    Fixture f;
    fmJ::_JobList list(FM, nullptr);
    Observer seen;
    seen.StopAt = stopAt;
    list.setLoadObserver(&seen);
    const bool whole = stopAt < 0;
    QCOMPARE(list.LoadFileJobs(f.History + "Small.db61"), whole);
    QCOMPARE(list.LastLoad.Cancelled, !whole);
    QCOMPARE(list.JobCount, jobs);
    QCOMPARE(seen.Frames, (QList<int>{1, 2, 3, 4}.mid(0, jobs)));
    const qint64 size = QFileInfo(f.History + "Small.db61").size();
    QCOMPARE(seen.FileSize, size);
    // Whole frames: each step is a header and a body, and the last ends the file.
    for (int i = 1; i < seen.Bytes.size(); ++i)
        QVERIFY(seen.Bytes[i] - seen.Bytes[i - 1] > fmJ::_JobList::FrameHeaderSize);
    if (whole) QCOMPARE(seen.Bytes.last(), size);
}

void tst_fmwindowload::picksWhileLoading_data()
{
    QTest::addColumn<QList<int>>("picks"); // combo entries, one right after the other
    QTest::addColumn<bool>("close");       // the window closed right after the picks
    QTest::addColumn<QString>("project");  // what is loaded in the end
    QTest::addColumn<int>("jobs");
    QTest::newRow("one load") << QList<int>{1} << false << "Big" << BigJobs;
    QTest::newRow("second pick wins") << QList<int>{1, 2} << false << "Small" << SmallJobs;
    QTest::newRow("third pick wins") << QList<int>{1, 2, 1} << false << "Big" << BigJobs;
    QTest::newRow("closed while loading") << QList<int>{1} << true << "" << 0;
}

void tst_fmwindowload::picksWhileLoading()
{
    QFETCH(QList<int>, picks);
    QFETCH(bool, close);
    QFETCH(QString, project);
    QFETCH(int, jobs);
    Fixture f;
    fmHistorydb& w = f.open();
    auto* bar = w.statusBar()->findChild<QProgressBar*>();
    QVERIFY(bar);
    for (int entry : picks)
        w.ui.Show_ComboProject->setCurrentIndex(entry);
    // The window is back at once with the big list not yet in, the bar sized to the files in kB
    // (a small project may be in already).
    if (picks.last() == 1) {
        QVERIFY(w.loadRunning());
        QVERIFY(f.Jobs->JobCount < BigJobs);
        QVERIFY(!bar->isHidden());
        QCOMPARE(bar->maximum(), int(QFileInfo(f.History + "Big.db61").size() / 1024));
    }
    if (close) QVERIFY(w.close());
    QTRY_VERIFY_WITH_TIMEOUT(!w.loadRunning(), 30000);
    QTest::qWait(100); // two timer ticks: a cancelled load taken in by mistake would show now
    QCOMPARE(w.table.currentProject, project);
    QCOMPARE(f.Jobs->JobCount, jobs);
    QCOMPARE(f.Jobs->SortedCount, jobs);
    QCOMPARE(w.ui.Show_ComboProject->currentIndex(), w.table.currentProjectID + 1);
    QVERIFY(bar->isHidden());
    if (!close) QCOMPARE(w.ui.label_ProjNrScenes->text(), QStringLiteral("%1 jobs").arg(jobs));
}

void tst_fmwindowload::commandsWaitForLoad_data()
{
    QTest::addColumn<QString>("command");
    QTest::newRow("delete") << "Delete";
    QTest::newRow("undo") << "Undo";
    QTest::newRow("save") << "Save";
    QTest::newRow("revert") << "Revert";
    QTest::newRow("export") << "Export";
    QTest::newRow("export all") << "Export";
    QTest::newRow("re-submit") << "Re-submit";
}

void tst_fmwindowload::commandsWaitForLoad()
{
    QFETCH(QString, command);
    Fixture f;
    fmHistorydb& w = f.open();
    w.ui.Show_ComboProject->setCurrentIndex(2);
    QTRY_COMPARE_WITH_TIMEOUT(f.Jobs->JobCount, SmallJobs, 30000);
    f.Jobs->GetJobByQueueID(0)->Selected = 1;
    f.Jobs->CreateSelectionList();
    const QString row = QTest::currentDataTag();
    const QMap<QString, std::function<void()>> run = {
        {"delete", [&] { w.on_CommandJob_Button_Delete_clicked(); }},
        {"undo", [&] { w.undoDelete(); }},
        {"save", [&] { w.on_actionSave_Changes_into_db_triggered(); }},
        {"revert", [&] { w.on_actionRevert_Changes_triggered(); }},
        {"export", [&] { w.on_actionExport_as_csv_Excel_triggered(); }},
        {"export all", [&] { w.on_actionExport_ALL_Projects_as_csv_Excel_triggered(); }},
        {"re-submit", [&] { w.on_actionRe_submit_job_triggered(); }},
    };
    w.ui.Show_ComboProject->setCurrentIndex(1);
    QVERIFY(w.loadRunning());
    QVERIFY(!w.ui.CommandJob_Button_Delete->isEnabled());
    QVERIFY(!w.ui.actionSave_Changes_into_db->isEnabled());
    // A command that went ahead would raise a box or a file dialog: closed so that the test ends.
    QTimer::singleShot(3000, [] {
        if (QWidget* modal = QApplication::activeModalWidget()) modal->close();
    });
    run[row]();
    QCOMPARE(w.statusBar()->currentMessage(), command + ": not while Big is loading");
    QCOMPARE(f.Jobs->JobCount, SmallJobs);
    QCOMPARE(w.table.currentProject, QStringLiteral("Small"));
    QTRY_VERIFY_WITH_TIMEOUT(!w.loadRunning(), 30000);
    QCOMPARE(f.Jobs->JobCount, BigJobs);
    QVERIFY(w.ui.CommandJob_Button_Delete->isEnabled());
    QVERIFY(w.ui.actionSave_Changes_into_db->isEnabled());
}

QTEST_MAIN(tst_fmwindowload)
#include "tst_fmwindowload.moc"
