// The history main window: project combo, loading, filter combos, delete/save/ask, docks, layout.

#include "joblist_fixtures.h"

#include "app/fm.h"
#include "foundation/fmfile.h"
#include "historydb/fmhistorydb.h"
#include "historydb/fmjobstreemodel.h"
#include "foundation/fmjobid.h"
#include "jobs/fmjoblist.h"
#include "widgets/fmmessagebox.h"
#include "widgets/fmtreeview.h"

#include <QApplication>
#include <QDir>
#include <QPushButton>
#include <QSettings>
#include <QTemporaryDir>
#include <QTimer>
#include <QtTest>

#include <functional>
#include <memory>

namespace {

// A history folder with database files of made-up jobs, and a window over it.
struct WindowFixture
{
    QTemporaryDir Dir;
    QString Root, History;
    std::unique_ptr<fmJ::_JobList> Jobs;
    std::unique_ptr<fmHistorydb> Window;

    WindowFixture()
    {
        Root = Dir.path() + QStringLiteral("/root/");
        History = Root + QStringLiteral("history_db/");
        QDir().mkpath(History);
        QDir().mkpath(Root + QStringLiteral("sub/cfg_global"));
        FM.RootPath = Root;
        FM.SubPath = Root + QStringLiteral("sub/");
        FM.CfgGlobalPath = Root + QStringLiteral("sub/cfg_global/");
        FM.HistoryDbPath = History;
    }
    // Jobs firstJob .. firstJob + count - 1 of jlfix::makeRecord.
    void writeDb(const QString& relPath, int count, int firstJob = 0) const
    {
        QByteArray bytes;
        for (int n = 0; n < count; ++n)
            bytes += jlfix::frameOf(*jlfix::makeRecord(firstJob + n));
        QDir().mkpath(QFileInfo(History + relPath).path());
        QVERIFY(jlfix::writeFile(History + relPath, bytes));
    }
    fmHistorydb& open()
    {
        Window.reset(); // before the list it refers to
        Jobs = std::make_unique<fmJ::_JobList>(FM, nullptr);
        Window = std::make_unique<fmHistorydb>(FM, *Jobs);
        return *Window;
    }
};

QStringList comboTexts(const QComboBox* combo)
{
    QStringList out;
    for (int i = 0; i < combo->count(); ++i)
        out << combo->itemText(i);
    return out;
}

// Answers the next modal fmMessageBox, while it lives, by the button that `pick` chooses.
class BoxAnswer
{
public:
    explicit BoxAnswer(std::function<QPushButton*(fmMessageBox*)> pick) : Pick(std::move(pick))
    {
        QObject::connect(&Timer, &QTimer::timeout, [this] {
            auto* box = qobject_cast<fmMessageBox*>(QApplication::activeModalWidget());
            if (!box) return;
            Timer.stop();
            if (box->TextLabel) Seen = box->TextLabel->text();
            if (QPushButton* b = Pick(box)) b->click();
        });
        Timer.start(10);
    }
    QString Seen; // text of the box answered; empty while none was

private:
    std::function<QPushButton*(fmMessageBox*)> Pick;
    QTimer Timer;
};

QPushButton* byName(fmMessageBox* box, const QString& which)
{
    if (which == QLatin1String("Yes")) return box->Button1;
    if (which == QLatin1String("No")) return box->Button2;
    return box->ButtonCancel;
}

} // namespace

class tst_fmhistorydb : public QObject
{
    Q_OBJECT
private slots:
    void initTestCase();
    // Catches a project combo without "-- none --" first, entries out of table order, or
    // estimates not marked with "~".
    void projectCombo_data();
    void projectCombo();
    // Catches a load that miscounts, clears the user/app combos, repeats a name or loses the
    // order of first appearance across projects.
    void pickProjects_data();
    void pickProjects();
    // Catches "-- none --" unloading the jobs.
    void noneKeepsJobs();
    // Catches a vanished file that goes unreported or changes the current project.
    void missingFileWarns();
    // Catches a delete that ignores the selection, keeps the image, or leaves the combo on the
    // project.
    void deleteJobs_data();
    void deleteJobs();
    // Catches the wrong answer of the save question, a save on "No" or on cancel.
    void ask4Save_data();
    void ask4Save();
    // Catches a filter that applies while typing rather than on Return.
    void filterOnReturn();
    // Catches a timer tick that waits for ever on a tree that is in the middle of a rebuild.
    void tickDuringRebuild();
    // Catches a month of the reports dock that filters the wrong jobs, or a job identifier in
    // either form that selects nothing.
    void reportMonthAndJobSearch();
    // Catches a window taller than the screen allows or off centre.
    void fitToScreen_data();
    void fitToScreen();
    // Catches a group name in another format than the farm's layout file uses.
    void screensGroupName();
    // Catches dock menu entries that stay greyed for a closed dock; the status dock drives "Filter".
    void dockActions_data();
    void dockActions();
    // Catches a local layout that is not restored, and a missing fallback to the "reset" group.
    void layoutPersistence();
};

void tst_fmhistorydb::initTestCase()
{
    Q_INIT_RESOURCE(fmUI);
    static QTemporaryDir settingsDir;
    QSettings::setPath(QSettings::NativeFormat, QSettings::UserScope, settingsDir.path());
    QSettings::setPath(QSettings::IniFormat, QSettings::UserScope, settingsDir.path());
    QCoreApplication::setOrganizationName(QStringLiteral("Orlenvik"));
    QCoreApplication::setApplicationName(QStringLiteral("Fornmark"));
    FM.createFarmTables();
}

void tst_fmhistorydb::projectCombo_data()
{
    QTest::addColumn<QStringList>("files");
    QTest::addColumn<QStringList>("names");
    QTest::newRow("empty folder") << QStringList{} << QStringList{};
    QTest::newRow("one") << QStringList{"Car.db61"} << QStringList{"Car"};
    QTest::newRow("grouped and sub folder")
        << QStringList{"Boat.db", "Car.db61", "__2010/car.db", "archive/Ship.db"}
        << QStringList{"Boat", "Car"};
}

void tst_fmhistorydb::projectCombo()
{
    QFETCH(QStringList, files);
    QFETCH(QStringList, names);
    WindowFixture f;
    for (const QString& file : files)
        f.writeDb(file, 2);
    fmHistorydb& w = f.open();
    const QStringList texts = comboTexts(w.ui.Show_ComboProject);
    QCOMPARE(texts.size(), names.size() + 1);
    QCOMPARE(texts.first(), QStringLiteral("-- none --"));
    QCOMPARE(w.ui.Show_ComboProject->currentIndex(), 0);
    for (int i = 0; i < names.size(); ++i) {
        QVERIFY2(texts[i + 1].endsWith(QStringLiteral("   ") + names[i]), qPrintable(texts[i + 1]));
        QVERIFY2(texts[i + 1].contains(QLatin1Char('~')), qPrintable(texts[i + 1]));
        // Files written just now: black.
        QCOMPARE(w.ui.Show_ComboProject->itemData(i + 1, Qt::ForegroundRole).value<QColor>(),
                 QColor(0, 0, 0));
    }
    QCOMPARE(w.ui.label_ProjNrScenes->text(), QStringLiteral("- - -"));
}

void tst_fmhistorydb::pickProjects_data()
{
    QTest::addColumn<QList<int>>("picks"); // combo entries picked in turn
    QTest::addColumn<QString>("label");
    QTest::addColumn<QStringList>("users");
    QTest::addColumn<QStringList>("apps");
    // Alpha holds jobs 0..2 (user0..user2; Maya, Nuke, Houdini), Beta jobs 13..14 (user0, user1;
    // Nuke, Houdini) and 20 (user7, Houdini).
    QTest::newRow("A") << QList<int>{1} << "3 jobs" << QStringList{"-- all --", "user0", "user1", "user2"}
                       << QStringList{"-- all --", "Maya", "Nuke", "Houdini"};
    QTest::newRow("B") << QList<int>{2} << "3 jobs" << QStringList{"-- all --", "user0", "user1", "user7"}
                       << QStringList{"-- all --", "Nuke", "Houdini"};
    QTest::newRow("B then A keeps B's names first")
        << QList<int>{2, 1} << "3 jobs" << QStringList{"-- all --", "user0", "user1", "user7", "user2"}
        << QStringList{"-- all --", "Nuke", "Houdini", "Maya"};
}

void tst_fmhistorydb::pickProjects()
{
    QFETCH(QList<int>, picks);
    QFETCH(QString, label);
    QFETCH(QStringList, users);
    QFETCH(QStringList, apps);
    WindowFixture f;
    f.writeDb("Alpha.db61", 3, 0);
    f.writeDb("Beta.db", 2, 13);
    f.writeDb("Beta.db61", 1, 20);
    fmHistorydb& w = f.open();
    for (int entry : picks)
        w.ui.Show_ComboProject->setCurrentIndex(entry);
    QCOMPARE(w.ui.label_ProjNrScenes->text(), label);
    QCOMPARE(comboTexts(w.ui.Show_ComboUser), users);
    QCOMPARE(comboTexts(w.ui.Show_ComboApp), apps);
    QCOMPARE(w.table.currentProjectID, picks.last() - 1);
    QCOMPARE(f.Jobs->JobCount, 3);
    // The loaded project's entry now shows an exact count.
    QVERIFY(!w.ui.Show_ComboProject->itemText(picks.last()).contains(QLatin1Char('~')));
    QVERIFY(w.PleaseUpdateViews);
}

void tst_fmhistorydb::noneKeepsJobs()
{
    WindowFixture f;
    f.writeDb("Alpha.db61", 4);
    fmHistorydb& w = f.open();
    w.ui.Show_ComboProject->setCurrentIndex(1);
    QCOMPARE(f.Jobs->JobCount, 4);
    w.ui.Show_ComboProject->setCurrentIndex(0);
    QCOMPARE(f.Jobs->JobCount, 4);
    QCOMPARE(w.table.currentProject, QStringLiteral("Alpha"));
}

void tst_fmhistorydb::missingFileWarns()
{
    WindowFixture f;
    f.writeDb("Alpha.db61", 2);
    f.writeDb("Beta.db", 2, 5);
    f.writeDb("Beta.db61", 2, 7);
    fmHistorydb& w = f.open();
    w.ui.Show_ComboProject->setCurrentIndex(1);
    QVERIFY(QFile::remove(f.History + "Beta.db61"));
    w.PleaseUpdateViews = false;
    BoxAnswer answer([](fmMessageBox* b) { return b->Button1; });
    w.ui.Show_ComboProject->setCurrentIndex(2);
    QCOMPARE(answer.Seen.trimmed(),
             QStringLiteral("Unable to find project database!\n'") + f.History + "Beta.db61'");
    QCOMPARE(w.table.currentProject, QStringLiteral("Alpha"));
    QCOMPARE(w.ui.label_ProjNrScenes->text(), QStringLiteral("2 jobs"));
    QCOMPARE(f.Jobs->JobCount, 2); // the first file of B was loaded
    QVERIFY(!w.PleaseUpdateViews);
}

void tst_fmhistorydb::deleteJobs_data()
{
    QTest::addColumn<QList<int>>("selected"); // queue positions
    QTest::addColumn<QString>("image");       // what stands at each image path: "file", "none", "folder"
    QTest::newRow("no selection") << QList<int>{} << "file";
    QTest::newRow("one with image") << QList<int>{1} << "file";
    QTest::newRow("two without image") << QList<int>{0, 3} << "none";
    QTest::newRow("undeletable image") << QList<int>{2} << "folder";
}

void tst_fmhistorydb::deleteJobs()
{
    QFETCH(QList<int>, selected);
    QFETCH(QString, image);
    WindowFixture f;
    f.writeDb("Alpha.db61", 5);
    QDir().mkpath(f.History + "Alpha");
    fmHistorydb& w = f.open();
    w.ui.Show_ComboProject->setCurrentIndex(1);
    QStringList images;
    QList<unsigned long long> ids;
    for (int q : selected) {
        fmJ::_jobsHistoryDB_Runtime* job = f.Jobs->GetJobByQueueID(q);
        QVERIFY(job);
        job->Selected = 1;
        ids << job->JobID;
        images << f.History + "Alpha/" + fmJ::ID2strFull(job->JobID) + ".jpg";
        if (image == QLatin1String("file")) QVERIFY(jlfix::writeFile(images.last(), "jpg"));
        if (image == QLatin1String("folder")) QVERIFY(QDir().mkpath(images.last()));
    }
    f.Jobs->CreateSelectionList();
    jlfix::LogCapture log(2, 2);
    w.on_CommandJob_Button_Delete_clicked();

    QCOMPARE(f.Jobs->JobCount, 5 - int(selected.size()));
    QCOMPARE(w.table.dbChanged, !selected.isEmpty());
    for (unsigned long long id : ids)
        QVERIFY(!f.Jobs->GetJobByJobID(id));
    if (image != QLatin1String("folder"))
        for (const QString& path : images)
            QVERIFY(!QFile::exists(path));
    // A failed deletion is logged with the path twice; the job goes all the same.
    const QStringList failures = log.matching("Unable to delete FOI image file");
    QCOMPARE(failures.size(), image == QLatin1String("folder") ? int(selected.size()) : 0);
    if (!failures.isEmpty())
        QVERIFY(
            failures.first().endsWith("Unable to delete FOI image file; '" + images[0] + "'; " + images[0]));
    if (selected.isEmpty()) return;
    // The table was scanned again: every project shows an estimate, the combo is on "-- none --",
    // and the current project and the label stay.
    QCOMPARE(w.ui.Show_ComboProject->currentIndex(), 0);
    QVERIFY(w.ui.Show_ComboProject->itemText(1).contains(QLatin1Char('~')));
    QCOMPARE(w.table.currentProject, QStringLiteral("Alpha"));
    QCOMPARE(w.ui.label_ProjNrScenes->text(), QStringLiteral("5 jobs"));
}

void tst_fmhistorydb::ask4Save_data()
{
    QTest::addColumn<bool>("changed");
    QTest::addColumn<QString>("answer"); // "Yes", "No", "cancel"; empty: no box expected
    QTest::addColumn<bool>("result");
    QTest::addColumn<bool>("saved");
    QTest::newRow("clean asks nothing") << false << "" << true << false;
    QTest::newRow("yes saves") << true << "Yes" << true << true;
    QTest::newRow("no goes on") << true << "No" << true << false;
    QTest::newRow("cancel stops") << true << "cancel" << false << false;
}

void tst_fmhistorydb::ask4Save()
{
    QFETCH(bool, changed);
    QFETCH(QString, answer);
    QFETCH(bool, result);
    QFETCH(bool, saved);
    WindowFixture f;
    f.writeDb("Alpha.db", 3);
    fmHistorydb& w = f.open();
    w.ui.Show_ComboProject->setCurrentIndex(1);
    w.table.dbChanged = changed;
    BoxAnswer box([answer](fmMessageBox* b) { return byName(b, answer); });
    QCOMPARE(w.ask4Save(), result);
    QCOMPARE(box.Seen.trimmed(),
             answer.isEmpty() ? QString() : QStringLiteral("Would you like to save your changes?"));
    QCOMPARE(QFile::exists(f.History + "Alpha.db61"), saved);
    // Closing asks the same question and stays open on cancel.
    if (answer == QLatin1String("cancel")) {
        w.show();
        BoxAnswer cancel([](fmMessageBox* b) { return b->ButtonCancel; });
        QVERIFY(!w.close());
        QVERIFY(w.isVisible());
    }
}

void tst_fmhistorydb::filterOnReturn()
{
    WindowFixture f;
    f.writeDb("Alpha.db61", 6);
    fmHistorydb& w = f.open();
    w.ui.Show_ComboProject->setCurrentIndex(1);
    QCOMPARE(f.Jobs->SortedCount, 6);
    w.ui.Show_EditIncludes->setFocus();
    QTest::keyClicks(w.ui.Show_EditIncludes, QStringLiteral("  layer3 "));
    QCOMPARE(f.Jobs->SortedCount, 6);
    w.ui.Show_ButtonUpdate->click();
    QCOMPARE(f.Jobs->SortedCount, 6);
    QTest::keyClick(w.ui.Show_EditIncludes, Qt::Key_Return);
    QCOMPARE(f.Jobs->SortedCount, 1); // job 3 alone has layer3; the blanks were trimmed
}

void tst_fmhistorydb::tickDuringRebuild()
{
    WindowFixture f;
    f.writeDb("Alpha.db61", 3);
    fmHistorydb& w = f.open();
    w.ui.Show_ComboProject->setCurrentIndex(1);
    QTRY_VERIFY(!w.PleaseUpdateViews);
    QVERIFY(w.jobsModel);
    w.jobsModel->TreeMutex.lock(); // as a rebuild that pumps events holds it
    w.PleaseUpdateViews = true;
    QTest::qWait(150);
    QVERIFY(w.PleaseUpdateViews); // deferred, not lost
    w.jobsModel->TreeMutex.unlock();
    QTRY_VERIFY(!w.PleaseUpdateViews);
}

void tst_fmhistorydb::fitToScreen_data()
{
    QTest::addColumn<QRect>("frame");
    QTest::addColumn<QRect>("available");
    QTest::addColumn<QRect>("expected");
    QTest::newRow("768 high") << QRect(0, 0, 1200, 854) << QRect(0, 0, 1366, 768) << QRect(83, 25, 1200, 718);
    QTest::newRow("fits") << QRect(5, 5, 1200, 854) << QRect(0, 0, 1920, 1080) << QRect(360, 113, 1200, 854);
    QTest::newRow("exactly 50 spare")
        << QRect(0, 0, 800, 700) << QRect(0, 0, 800, 750) << QRect(0, 25, 800, 700);
    QTest::newRow("left screen") << QRect(0, 0, 1200, 854) << QRect(-1280, 24, 1280, 1000)
                                 << QRect(-1240, 97, 1200, 854);
}

void tst_fmhistorydb::fitToScreen()
{
    QFETCH(QRect, frame);
    QFETCH(QRect, available);
    QFETCH(QRect, expected);
    QCOMPARE(fmHistorydb::fitToScreen(frame, available), expected);
}

void tst_fmhistorydb::screensGroupName()
{
    const QString name = fmHistorydb::screensGroupName();
    const QList<QScreen*> screens = QGuiApplication::screens();
    QVERIFY(!screens.isEmpty());
    const QRect g = screens.first()->geometry();
    QVERIFY2(name.startsWith(QStringLiteral("Screens_%1__%2x%3s%4")
                                 .arg(screens.size())
                                 .arg(g.width())
                                 .arg(g.height())
                                 .arg(g.left())),
             qPrintable(name));
    QCOMPARE(name.count(QStringLiteral("__")), screens.size());
}

void tst_fmhistorydb::dockActions_data()
{
    QTest::addColumn<QString>("dock");
    QTest::addColumn<QString>("action");
    QTest::newRow("filter") << "dockWidget_Filter"
                            << "actioShowDockFilter";
    QTest::newRow("commands") << "dockWidget_Commands"
                              << "actionShowDockCommands";
    QTest::newRow("clients") << "dockWidget_Clients"
                             << "actionShowDockClients";
    QTest::newRow("job info") << "dockWidget_JobInfo"
                              << "actionShowDockJobInfo";
    QTest::newRow("job log") << "dockWidget_JobLog"
                             << "actionShowDockJobLog";
    QTest::newRow("status drives filter") << "dockWidget_Status"
                                          << "actioShowDockFilter";
}

void tst_fmhistorydb::dockActions()
{
    QFETCH(QString, dock);
    QFETCH(QString, action);
    WindowFixture f;
    fmHistorydb& w = f.open();
    w.show();
    QVERIFY(QTest::qWaitForWindowExposed(&w));
    auto* d = w.findChild<QDockWidget*>(dock);
    auto* a = w.findChild<QAction*>(action);
    QVERIFY(d && a);
    d->show();
    d->raise();
    QTRY_VERIFY(!a->isEnabled());
    d->close();
    QTRY_VERIFY(a->isEnabled());
    if (dock == QLatin1String("dockWidget_Status")) {
        QVERIFY(w.ui.dockWidget_Filter->isVisible()); // the filter dock itself is still there
        return;
    }
    a->trigger();
    QTRY_VERIFY(d->isVisible());
    QTRY_VERIFY(!a->isEnabled());
}

void tst_fmhistorydb::layoutPersistence()
{
    WindowFixture f;
    {
        fmHistorydb& w = f.open();
        w.ui.treeJobs->setColumnWidth(0, 321);
        w.ui.treeLog->setColumnWidth(0, 77);
        w.on_actionLayoutSaveLocal_triggered();
        // A farm "reset" layout with another width, used when the user has no layout of their own.
        w.ui.treeJobs->setColumnWidth(0, 123);
        QSettings farm(FM.CfgGlobalPath.toQString() + "historydb_ui.ini", QSettings::IniFormat);
        farm.beginGroup("reset");
        w.uiLayoutSaveShared(farm);
    }
    QCOMPARE(f.open().ui.treeJobs->columnWidth(0), 321);
    QCOMPARE(f.Window->ui.treeLog->columnWidth(0), 77);
    QSettings().remove("fmHistorydb");
    QCOMPARE(f.open().ui.treeJobs->columnWidth(0), 123);
    // "Global" saves under the group of the present screens, which a new start then takes.
    f.Window->ui.treeJobs->setColumnWidth(0, 222);
    f.Window->on_actionLayoutSaveGlobal_triggered();
    QCOMPARE(f.open().ui.treeJobs->columnWidth(0), 222);
    QSettings farm(FM.CfgGlobalPath.toQString() + "historydb_ui.ini", QSettings::IniFormat);
    QVERIFY(farm.childGroups().contains(fmHistorydb::screensGroupName()));
}

QTEST_MAIN(tst_fmhistorydb)
#include "tst_fmhistorydb.moc"

void tst_fmhistorydb::reportMonthAndJobSearch()
{
    WindowFixture f;
    f.writeDb("Alpha.db61", 6); // finished within hours of 2011-03-13
    fmHistorydb& w = f.open();
    w.ui.Show_ComboProject->setCurrentIndex(1);
    w.showReportGroup(fmReportKey::Month, QStringLiteral("2011-04"));
    QCOMPARE(f.Jobs->SortedCount, 0);
    w.showReportGroup(fmReportKey::Month, QStringLiteral("2011-03"));
    QCOMPARE(f.Jobs->SortedCount, 6);
    QTRY_VERIFY(!w.PleaseUpdateViews);
    const unsigned long long id = f.Jobs->GetJobByQueueID(2)->JobID;
    for (const QString& text : {fmJ::ID2str(id), fmJ::ID2strFull(id)}) {
        w.ui.treeJobs->Tree->setCurrentIndex(QModelIndex());
        QVERIFY(w.selectJobByText(text));
        const auto* node = static_cast<fmuiTreeViewJobsNode*>(w.ui.treeJobs->Tree->currentIndex().internalPointer());
        QCOMPARE(node->data()->JobID, id);
    }
    QVERIFY(!w.selectJobByText(QStringLiteral("{ZZZZ}")));
}
