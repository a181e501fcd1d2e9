// The history main window: project combo, loading, filter combos, delete/save/ask, docks, layout,
// its pages as the selection and the picked log page change, and the reports dock.

#include "fmwindowfixture.h"

#include "foundation/fmfile.h"
#include "foundation/fmjobid.h"
#include "historydb/fmjobstreemodel.h"
#include "historydb/fmlogtreemodel.h"
#include "historydb/fmreportsdock.h"
#include "widgets/fmtreeview.h"

#include <QBarSeries>
#include <QBarSet>
#include <QChart>
#include <QScrollBar>
#include <QSettings>
#include <QSignalSpy>
#include <QStatusBar>
#include <QTableWidget>
#include <QtTest>

#include <sys/stat.h>

using namespace Qt::StringLiterals;
using namespace fmtest;

class tst_fmhistorydb : public QObject
{
    Q_OBJECT
private slots:
    void initTestCase() { fmInitWindowTests(); }

    // Catches a project combo without "-- none --" first, entries out of table order, or
    // estimates not marked with "~".
    void projectCombo_data()
    {
        QTest::addColumn<QStringList>("files");
        QTest::addColumn<QStringList>("names");
        QTest::newRow("empty folder") << QStringList{} << QStringList{};
        QTest::newRow("grouped and sub folder")
            << QStringList{"Boat.db", "Car.db61", "__2010/car.db", "archive/Ship.db"}
            << QStringList{"Boat", "Car"};
    }
    void projectCombo()
    {
        QFETCH(QStringList, files);
        QFETCH(QStringList, names);
        WindowFixture f;
        for (const QString& file : files)
            f.writeDb(file, 2);
        fmHistorydb& w = f.open();
        const QStringList texts = comboTexts(w.ui.Show_ComboProject);
        QCOMPARE(texts.size(), names.size() + 1);
        QCOMPARE(texts.first(), u"-- none --"_s);
        QCOMPARE(w.ui.Show_ComboProject->currentIndex(), 0);
        for (int i = 0; i < names.size(); ++i) {
            QVERIFY2(texts[i + 1].endsWith(u"   "_s + names[i]), qPrintable(texts[i + 1]));
            QVERIFY2(texts[i + 1].contains(QLatin1Char('~')), qPrintable(texts[i + 1]));
            // Files written just now: black.
            QCOMPARE(w.ui.Show_ComboProject->itemData(i + 1, Qt::ForegroundRole).value<QColor>(),
                     QColor(0, 0, 0));
        }
        QCOMPARE(w.ui.label_ProjNrScenes->text(), u"- - -"_s);
    }

    // Catches a load that miscounts, an unsorted user combo or one with users of an earlier
    // project, and an application combo that repeats a name or loses the order of appearance.
    void pickProjects_data()
    {
        QTest::addColumn<QList<int>>("picks"); // combo entries picked in turn
        QTest::addColumn<QString>("label");
        QTest::addColumn<QStringList>("users");
        QTest::addColumn<QStringList>("apps");
        // Alpha holds jobs 0..2 (user0..user2; Maya, Nuke, Houdini), Beta jobs 13..14 (user0, user1;
        // Nuke, Houdini) and 20 (user7, Houdini).
        QTest::newRow("B") << QList<int>{2} << "3 jobs" << QStringList{"-- all --", "user0", "user1", "user7"}
                           << QStringList{"-- all --", "Nuke", "Houdini"};
        QTest::newRow("B then A lists A's users only")
            << QList<int>{2, 1} << "3 jobs" << QStringList{"-- all --", "user0", "user1", "user2"}
            << QStringList{"-- all --", "Nuke", "Houdini", "Maya"};
    }
    void pickProjects()
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

    // Catches a vanished file that goes unreported or changes the current project, and "-- none --"
    // unloading the jobs.
    void missingFileWarns()
    {
        WindowFixture f;
        f.writeDb("Beta.db", 2, 5);
        f.writeDb("Beta.db61", 2, 7);
        fmHistorydb& w = f.openAlpha(2);
        QVERIFY(QFile::remove(f.History + "Beta.db61"));
        w.PleaseUpdateViews = false;
        BoxAnswer answer([](fmMessageBox* b) { return b->Button1; });
        w.ui.Show_ComboProject->setCurrentIndex(2);
        QCOMPARE(answer.Seen.trimmed(), u"Unable to find project database!\n'"_s + f.History +
                                            "Beta.db61'\nNo such file or directory");
        QCOMPARE(w.table.currentProject, u"Alpha"_s);
        QCOMPARE(w.ui.label_ProjNrScenes->text(), u"2 jobs"_s);
        QCOMPARE(f.Jobs->JobCount, 2); // the first file of B was loaded
        QVERIFY(!w.PleaseUpdateViews);
        w.ui.Show_ComboProject->setCurrentIndex(0);
        QCOMPARE(f.Jobs->JobCount, 2);
        QCOMPARE(w.table.currentProject, u"Alpha"_s);
    }

    // Catches a delete without its question, one that ignores the selection or the answer, keeps
    // the image, moves the combo off the project or leaves a stale count.
    void deleteJobs_data()
    {
        QTest::addColumn<QList<int>>("selected"); // queue positions
        QTest::addColumn<QString>("image");       // what stands at each image path: "file", "none", "folder"
        QTest::addColumn<QString>("answer");      // the answer to the question; empty: no question
        QTest::newRow("no selection") << QList<int>{} << u"file"_s << u""_s;
        QTest::newRow("one with image") << QList<int>{1} << u"file"_s << u"Yes"_s;
        QTest::newRow("two without image") << QList<int>{0, 3} << u"none"_s << u"Yes"_s;
        QTest::newRow("undeletable image") << QList<int>{2} << u"folder"_s << u"Yes"_s;
        QTest::newRow("answered no") << QList<int>{0, 3} << u"file"_s << u"No"_s;
    }
    void deleteJobs()
    {
        QFETCH(QList<int>, selected);
        QFETCH(QString, image);
        QFETCH(QString, answer);
        WindowFixture f;
        QDir().mkpath(f.History + "Alpha");
        fmHistorydb& w = f.openAlpha(5);
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
        BoxAnswer box([answer](fmMessageBox* b) { return byName(b, answer); });
        w.on_CommandJob_Button_Delete_clicked();
        const QString question = selected.size() == 1 ? u"Delete 1 job from Alpha?"_s
                                                      : u"Delete %1 jobs from Alpha?"_s.arg(selected.size());
        QCOMPARE(box.Seen.trimmed(), answer.isEmpty() ? QString() : question);
        if (answer == QLatin1String("No")) {
            QCOMPARE(f.Jobs->JobCount, 5);
            QVERIFY(!w.table.dbChanged);
            for (const QString& path : images)
                QVERIFY(QFile::exists(path));
            return;
        }

        QCOMPARE(f.Jobs->JobCount, 5 - int(selected.size()));
        QCOMPARE(w.table.dbChanged, !selected.isEmpty());
        for (unsigned long long id : ids)
            QVERIFY(!f.Jobs->GetJobByJobID(id));
        if (image != QLatin1String("folder"))
            for (const QString& path : images)
                QVERIFY(!QFile::exists(path));
        // A failed deletion is logged with the path and the system's reason; the job goes all the same.
        const QStringList failures = log.matching("Unable to delete FOI image file");
        QCOMPARE(failures.size(), image == QLatin1String("folder") ? int(selected.size()) : 0);
        if (!failures.isEmpty())
            QVERIFY(failures.first().endsWith("Unable to delete FOI image file; '" + images[0] +
                                              "'; Unable to delete file, Is a directory"));
        if (selected.isEmpty()) return;
        // The combo stays on the project; its entry and the label count the jobs left; the status
        // bar says what happened.
        const QString left = QString::number(5 - selected.size());
        QCOMPARE(w.ui.Show_ComboProject->currentIndex(), 1);
        QVERIFY2(w.ui.Show_ComboProject->itemText(1).contains("   " + left + "   Alpha"),
                 qPrintable(w.ui.Show_ComboProject->itemText(1)));
        QCOMPARE(w.table.currentProject, u"Alpha"_s);
        QCOMPARE(w.ui.label_ProjNrScenes->text(), left + " jobs");
        QVERIFY(w.statusBar()->currentMessage().startsWith("Deleted " + QString::number(selected.size())));
    }

    // Catches the wrong answer of the save question, a save on "No" or on cancel.
    void ask4Save_data()
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
    void ask4Save()
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
        if (changed) w.jobs.DeleteJob(w.jobs.Queue[0]);
        BoxAnswer box([answer](fmMessageBox* b) { return byName(b, answer); });
        QCOMPARE(w.ask4Save(), result);
        QCOMPARE(box.Seen.trimmed(),
                 answer.isEmpty() ? QString() : u"Would you like to save your changes?"_s);
        // A save rewrites the project's own file; it adds none beside it.
        fmJ::_JobList onDisk(FM);
        QVERIFY(onDisk.LoadFileJobs(f.History + "Alpha.db"));
        QCOMPARE(onDisk.JobCount, saved ? 2 : 3);
        QVERIFY(!QFile::exists(f.History + "Alpha.db61"));
        // Closing asks the same question and stays open on cancel.
        if (answer == QLatin1String("cancel")) {
            w.show();
            BoxAnswer cancel([](fmMessageBox* b) { return b->ButtonCancel; });
            QVERIFY(!w.close());
            QVERIFY(w.isVisible());
        }
    }

    // Catches a filter that applies while typing rather than on Return or "Update".
    void filterOnReturn()
    {
        WindowFixture f;
        fmHistorydb& w = f.openAlpha(6);
        QCOMPARE(f.Jobs->SortedCount, 6);
        w.ui.Show_EditIncludes->setFocus();
        QTest::keyClicks(w.ui.Show_EditIncludes, u"  layer3 "_s);
        QCOMPARE(f.Jobs->SortedCount, 6);
        QTest::keyClick(w.ui.Show_EditIncludes, Qt::Key_Return);
        QCOMPARE(f.Jobs->SortedCount, 1); // job 3 alone has layer3; the blanks were trimmed
        w.ui.Show_EditIncludes->clear();
        w.ui.Show_ButtonUpdate->click(); // "Update" applies the text as Return does
        QCOMPARE(f.Jobs->SortedCount, 6);
    }

    // Catches a timer tick that waits for ever on a tree that is in the middle of a rebuild.
    void tickDuringRebuild()
    {
        WindowFixture f;
        fmHistorydb& w = f.openAlpha(3);
        QTRY_VERIFY(!w.PleaseUpdateViews);
        QVERIFY(w.jobsModel);
        w.jobsModel->TreeMutex.lock(); // as a rebuild that pumps events holds it
        w.PleaseUpdateViews = true;
        QTest::qWait(150);
        QVERIFY(w.PleaseUpdateViews); // deferred, not lost
        w.jobsModel->TreeMutex.unlock();
        QTRY_VERIFY(!w.PleaseUpdateViews);
    }

    // Catches a redraw that resets the tree under the user's hands (shift-click taking the whole
    // group, Down or End starting from the top, End not scrolling) and clicks dropped between
    // two redraws; the records follow the view's selection.
    void selectByMouseAndKeys_data()
    {
        // Steps: "click", "shift" or "ctrl" with "<group>:<row>", "key:<name>", and "tick", which waits
        // for the window's redraw. Two groups of 30 jobs, both expanded.
        QTest::addColumn<QStringList>("steps");
        QTest::addColumn<int>("selected"); // jobs selected at the end
        QTest::addColumn<QString>("current");
        QTest::newRow("shift-click range of 5")
            << QStringList{"click:0:2", "tick", "shift:0:6", "tick"} << 5 << "0:6";
        QTest::newRow("ctrl-clicks between redraws")
            << QStringList{"click:0:1", "tick", "ctrl:0:3", "ctrl:0:5", "ctrl:1:0", "tick"} << 4 << "1:0";
        QTest::newRow("down") << QStringList{"click:0:2", "tick", "key:Down", "tick"} << 1 << "0:3";
        QTest::newRow("end") << QStringList{"click:0:0", "tick", "key:End", "tick"} << 1 << "1:29";
        QTest::newRow("shift+end") << QStringList{"click:1:25", "tick", "key:ShiftEnd", "tick"} << 5
                                   << "1:29";
        QTest::newRow("ctrl+a") << QStringList{"click:0:0", "tick", "key:CtrlA", "tick"} << 60 << "0:0";
    }
    void selectByMouseAndKeys()
    {
        QFETCH(QStringList, steps);
        QFETCH(int, selected);
        QFETCH(QString, current);
        WindowFixture f;
        f.writeUsers("Alpha.db61", {"anna", "ben"}, 30);
        fmHistorydb& w = f.open();
        QVERIFY(f.show());
        w.ui.Show_ComboProject->setCurrentIndex(1);
        QTRY_VERIFY(!w.PleaseUpdateViews);
        QTreeView* tree = w.ui.treeJobs->Tree;
        auto at = [&](const QString& where) {
            const QModelIndex group = w.jobsModel->index(where.section(':', 0, 0).toInt(), 0);
            return w.jobsModel->index(where.section(':', 1, 1).toInt(), 0, group);
        };
        for (const QString& step : steps) {
            const QString kind = step.section(':', 0, 0), arg = step.section(':', 1);
            if (kind == QLatin1String("tick")) {
                w.PleaseUpdateViews = true;
                QTRY_VERIFY(!w.PleaseUpdateViews);
            } else if (kind == QLatin1String("key")) {
                if (arg == QLatin1String("CtrlA")) QTest::keyClick(tree, Qt::Key_A, Qt::ControlModifier);
                if (arg == QLatin1String("ShiftEnd")) QTest::keyClick(tree, Qt::Key_End, Qt::ShiftModifier);
                if (arg == QLatin1String("End")) QTest::keyClick(tree, Qt::Key_End);
                if (arg == QLatin1String("Down")) QTest::keyClick(tree, Qt::Key_Down);
            } else {
                const Qt::KeyboardModifiers mods = kind == QLatin1String("shift")  ? Qt::ShiftModifier
                                                   : kind == QLatin1String("ctrl") ? Qt::ControlModifier
                                                                                   : Qt::NoModifier;
                const QModelIndex row = at(arg);
                tree->scrollTo(row);
                QTest::mouseClick(tree->viewport(), Qt::LeftButton, mods, tree->visualRect(row).center());
            }
        }
        // A rebuild of the same rows keeps the model: no reset.
        QSignalSpy resets(w.jobsModel, &QAbstractItemModel::modelReset);
        w.JobTreeStale = w.PleaseUpdateViews = true;
        QTRY_VERIFY(!w.PleaseUpdateViews);
        QCOMPARE(resets.size(), 0);
        f.Jobs->CreateSelectionList();
        QCOMPARE(f.Jobs->SelectedCount, selected);
        QCOMPARE(tree->currentIndex(), at(current));
        // One job: the record of the current row, not one the view has left.
        const auto* node = static_cast<fmuiTreeViewJobsNode*>(w.jobsModel->nodeFromIndex(at(current)));
        if (selected == 1) QCOMPARE(f.Jobs->Selection[0], node->data()->Job);
        if (current == QLatin1String("1:29")) {
            QVERIFY(tree->verticalScrollBar()->maximum() > 0);
            QCOMPARE(tree->verticalScrollBar()->value(), tree->verticalScrollBar()->maximum());
        }
    }

    // Catches Ctrl+Z losing or doubling jobs, and undoing a deletion that was saved.
    void undoDelete()
    {
        WindowFixture f;
        fmHistorydb& w = f.openAlpha(5);
        QVERIFY(f.show());
        auto deleteQueued = [&](QList<int> queue) {
            QList<unsigned long long> ids;
            for (int q : queue) {
                f.Jobs->GetJobByQueueID(q)->Selected = 1;
                ids << f.Jobs->GetJobByQueueID(q)->JobID;
            }
            f.Jobs->CreateSelectionList();
            BoxAnswer yes([](fmMessageBox* b) { return b->Button1; });
            w.on_CommandJob_Button_Delete_clicked();
            QApplication::setActiveWindow(&w); // back from the question's box, for the shortcut
            return ids;
        };
        const QList<unsigned long long> ids = deleteQueued({1, 3});
        QCOMPARE(f.Jobs->JobCount, 3);
        QTest::keyClick(&w, Qt::Key_Z, Qt::ControlModifier);
        QCOMPARE(f.Jobs->JobCount, 5);
        for (unsigned long long id : ids)
            QVERIFY(f.Jobs->GetJobByJobID(id));
        QCOMPARE(w.ui.label_ProjNrScenes->text(), u"5 jobs"_s);
        QTest::keyClick(&w, Qt::Key_Z, Qt::ControlModifier); // nothing left to undo
        QCOMPARE(f.Jobs->JobCount, 5);
        deleteQueued({0});
        w.on_actionSave_Changes_into_db_triggered();
        QTest::keyClick(&w, Qt::Key_Z, Qt::ControlModifier);
        QCOMPARE(f.Jobs->JobCount, 4); // saved: no way back
    }

    // Catches numbers, dates and group titles cut by columns sized for another font.
    void columnsFitTheirTexts()
    {
        WindowFixture f;
        QByteArray bytes;
        for (int n = 0; n < 12; ++n) {
            auto r = jlfix::makeRecord(n);
            r->UserName = u"render.wrangler.of.the.night.shift"_s;
            r->TotalPS = 987654321987ull + uint64_t(n); // "987 654 321 987"
            r->TotalGhzHours = 123456.0f;
            r->ExecutionTime = 3600ull * 9999;
            bytes += jlfix::frameOf(*r);
        }
        QVERIFY(jlfix::writeFile(f.History + "Alpha.db61", bytes));
        fmHistorydb& w = f.open();
        QVERIFY(f.show());
        w.ui.Show_ComboProject->setCurrentIndex(1);
        QTRY_VERIFY(!w.PleaseUpdateViews);
        fmTreeViewWidget* tree = w.ui.treeJobs->Tree;
        const QModelIndex group = w.jobsModel->index(0, 0);
        QVERIFY(w.jobsModel->rowCount(group) == 12);
        for (const QModelIndex& row :
             {group, w.jobsModel->index(0, 0, group), w.jobsModel->index(11, 0, group)})
            for (int column : {0, 11, 13, 15, 20, 21, 25, 26, 27})
                QVERIFY2(tree->cutText(row.siblingAtColumn(column)).isEmpty(),
                         qPrintable(u"column %1: %2"_s.arg(column).arg(
                             row.siblingAtColumn(column).data().toString())));
        // A long text elsewhere is cut and keeps its full text for the tooltip.
        w.ui.treeJobs->setColumnWidth(8, 40);
        const QModelIndex scene = w.jobsModel->index(0, 8, group);
        QCOMPARE(tree->cutText(scene), scene.data().toString());
    }

    // Catches a "Reset Layout" that does nothing when the farm has no layout of its own, and
    // "Job Log" or "Job Settings" not bringing their page to the front.
    void resetLayoutAndPages()
    {
        WindowFixture f;
        fmHistorydb& w = f.open();
        QVERIFY(f.show());
        const int sceneWidth = w.ui.treeJobs->columnWidth(8);
        w.ui.treeJobs->setColumnWidth(8, 33);
        w.ui.dockWidget_Clients->close();
        w.ui.actionReset_Layout->trigger();
        QCOMPARE(w.ui.treeJobs->columnWidth(8), sceneWidth);
        QTRY_VERIFY(w.ui.dockWidget_Clients->isVisible());
        w.ui.actionShowDockJobLog->trigger();
        QTRY_VERIFY(w.ui.dockWidget_JobInfo->visibleRegion().isEmpty());
        w.ui.actionShowDockJobSettings->trigger();
        QTRY_VERIFY(!w.ui.dockWidget_JobInfo->visibleRegion().isEmpty());
    }

    // Catches a month of the reports dock that filters the wrong jobs, or a job identifier in
    // either form that selects nothing.
    void reportMonthAndJobSearch()
    {
        WindowFixture f;
        fmHistorydb& w = f.openAlpha(6); // finished within hours of 2011-03-13
        w.showReportGroup(fmReportKey::Month, u"2011-04"_s);
        QCOMPARE(f.Jobs->SortedCount, 0);
        w.showReportGroup(fmReportKey::Month, u"2011-03"_s);
        QCOMPARE(f.Jobs->SortedCount, 6);
        QTRY_VERIFY(!w.PleaseUpdateViews);
        const unsigned long long id = f.Jobs->GetJobByQueueID(2)->JobID;
        for (const QString& text : {fmJ::ID2str(id), fmJ::ID2strFull(id)}) {
            w.ui.treeJobs->Tree->setCurrentIndex(QModelIndex());
            QVERIFY(w.selectJobByText(text));
            const auto* node =
                static_cast<fmuiTreeViewJobsNode*>(w.ui.treeJobs->Tree->currentIndex().internalPointer());
            QCOMPARE(node->data()->JobID, id);
        }
        QVERIFY(!w.selectJobByText(u"{ZZZZ}"_s));
    }

    // Catches a window taller than the screen allows or off centre.
    void fitToScreen_data()
    {
        QTest::addColumn<QRect>("frame");
        QTest::addColumn<QRect>("available");
        QTest::addColumn<QRect>("expected");
        QTest::newRow("768 high") << QRect(0, 0, 1200, 854) << QRect(0, 0, 1366, 768)
                                  << QRect(83, 25, 1200, 718);
        QTest::newRow("exactly 50 spare")
            << QRect(0, 0, 800, 700) << QRect(0, 0, 800, 750) << QRect(0, 25, 800, 700);
        QTest::newRow("left screen") << QRect(0, 0, 1200, 854) << QRect(-1280, 24, 1280, 1000)
                                     << QRect(-1240, 97, 1200, 854);
    }
    void fitToScreen()
    {
        QFETCH(QRect, frame);
        QFETCH(QRect, available);
        QFETCH(QRect, expected);
        QCOMPARE(fmHistorydb::fitToScreen(frame, available), expected);
    }

    // Catches dock menu entries that stay greyed for a closed dock; the status dock drives "Filter".
    void dockActions_data()
    {
        QTest::addColumn<QString>("dock");
        QTest::addColumn<QString>("action");
        QTest::newRow("filter") << u"dockWidget_Filter"_s << u"actioShowDockFilter"_s;
        QTest::newRow("job log") << u"dockWidget_JobLog"_s << u"actionShowDockJobLog"_s;
        QTest::newRow("status drives filter") << u"dockWidget_Status"_s << u"actioShowDockFilter"_s;
    }
    void dockActions()
    {
        QFETCH(QString, dock);
        QFETCH(QString, action);
        WindowFixture f;
        fmHistorydb& w = f.open();
        QVERIFY(f.show());
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

    // Catches a local layout that is not restored, a missing fallback to the "reset" group, and an
    // empty remembered export folder used instead of the root.
    void layoutPersistence()
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
        f.Window.reset(); // it writes its export folder back
        QSettings().setValue("fmHistorydb/lastExportDirectory", QString()); // empty: the root
        QCOMPARE(f.open().lastExportDirectory, f.Root);
        // A FIFO in the place of the farm's layout file blocks neither a start, a save nor a reset.
        const QByteArray fifo = QFile::encodeName(farm.fileName());
        QVERIFY(QFile::remove(farm.fileName()) && ::mkfifo(fifo.constData(), 0600) == 0);
        QSettings().remove("fmHistorydb");
        f.open().on_actionLayoutSaveGlobal_triggered();
        f.Window->on_actionReset_Layout_triggered();
        QVERIFY(QFile::remove(farm.fileName()));
    }

    // Catches the image cleared on deselection, tree or table left visible without a selection, a
    // table drawn from another job than the first selected, and "Frames Send" wiping the former rows.
    void pages_data()
    {
        QTest::addColumn<QStringList>("steps"); // "sel:<sorted positions>" or "page:<name>"
        QTest::addColumn<QString>("image");     // the image label at the end
        QTest::addColumn<QString>(
            "table"); // "hidden", or "<columns>x<rows of the first selected job's page>"

        QTest::newRow("one job shows its log at once") << QStringList{"sel:0"} << u"N/A"_s << u"8xlog"_s;
        QTest::newRow("two jobs, job log") << QStringList{"sel:1,2", "page:Job Log", "sel:1,2"}
                                           << u"(multiple jobs selected)"_s << u"8xlog"_s;
        QTest::newRow("errors, then frames send")
            << QStringList{"sel:2", "page:Errors", "page:Frames Send", "sel:2"} << u"N/A"_s << u"3xerrors"_s;
        QTest::newRow("deselection") << QStringList{"sel:0,1", "page:Errors", "sel:"}
                                     << u"(multiple jobs selected)"_s << u"hidden"_s;
    }
    void pages()
    {
        QFETCH(QStringList, steps);
        QFETCH(QString, image);
        QFETCH(QString, table);
        WindowFixture f;
        QByteArray bytes;
        for (int n = 0; n < 3; ++n) {
            auto r = jlfix::makeRecord(n);
            r->LogCount = int16_t(n + 2); // job n: n + 2 log entries, n + 1 errors
            r->ErrorCount = int8_t(n + 1);
            bytes += jlfix::frameOf(*r);
        }
        QVERIFY(jlfix::writeFile(f.History + "Shot.db61", bytes));
        fmHistorydb* w = &f.open();
        fmJ::_JobList& jobs = *f.Jobs;
        w->loadProject(0);
        QCOMPARE(jobs.SortedCount, 3);

        const fmJ::_jobsHistoryDB_Runtime* first = nullptr;
        for (const QString& s : QStringList{"sel:"} + steps) { // the first timer tick sees no selection
            const QString arg = s.section(':', 1);
            if (s.startsWith("sel:")) {
                const QStringList picks = arg.split(',', Qt::SkipEmptyParts);
                for (int i = 0; i < jobs.SortedCount; ++i)
                    jobs.Sorted[i]->Selected = picks.contains(QString::number(i));
                first = picks.isEmpty() ? nullptr : jobs.Sorted[picks.first().toInt()];
                w->uiUpdateJobInfoPage(); // as the timer redraws
                w->uiUpdateLogPage(false);
                continue;
            }
            for (int r = 0; r < w->logModel->rowCount(); ++r) {
                const QModelIndex i = w->logModel->index(r, 0);
                if (w->logModel->data(i).toString() == arg)
                    w->ui.treeLog->selectionModel()->select(i, QItemSelectionModel::ClearAndSelect);
            }
        }
        QCOMPARE(w->ui.JobInfo_LabelFOI->text(), image);
        QCOMPARE(w->ui.treeLog->isHidden(), first == nullptr);
        QTableWidget* t = w->ui.JobLog_Table;
        QString shown = u"hidden"_s;
        if (!t->isHidden() && first) {
            const int rows = t->rowCount();
            shown = QString::number(t->columnCount()) + "x" +
                    (rows == first->logCountClamped()     ? "log"
                     : rows == first->errorCountClamped() ? "errors"
                                                          : "?");
        }
        QCOMPARE(shown, table);
    }

    // Catches a table without its total row, a chart out of step with the table, a click that
    // names the wrong group, or a chart that keeps its colours when the theme changes.
    void tableChartAndClick()
    {
        fmReportSettings settings;
        settings.Cost = 2.0;
        fmReportsDock dock(settings);
        fmHistorySummary s;
        s.Files.append(fmHistoryFile{u"/h/A.db61"_s, u"A"_s, 1, 1});
        for (const char* user : {"bob", "ann", "bob"}) {
            fmJobSummary j;
            j.User = QLatin1String(user);
            j.GhzHours = 1.5f;
            j.File = 0;
            s.Jobs.push_back(j);
        }
        dock.setLoadedProject(u"A"_s);
        dock.showSummary(s); // grouped by user: ann, bob
        QCOMPARE(dock.table()->rowCount(), 3);
        QCOMPARE(dock.table()->item(1, 0)->text(), u"bob"_s);
        QCOMPARE(dock.table()->item(2, 4)->text(), u"4.50"_s);
        auto* series = qobject_cast<QBarSeries*>(dock.chart()->series().value(0));
        QVERIFY(series);
        QBarSet* set = series->barSets().value(0);
        QCOMPARE(set->count(), 2);
        QCOMPARE(set->at(1), 3.0); // bob's GHz hours

        QSignalSpy clicked(&dock, &fmReportsDock::groupClicked);
        emit set->clicked(1);
        QCOMPARE(clicked.size(), 1);
        QCOMPARE(clicked.first().at(1).toString(), u"bob"_s);

        QPalette dark = dock.palette();
        dark.setColor(QPalette::Highlight, QColor(200, 120, 0));
        dock.setPalette(dark);
        QCOMPARE(set->color(), QColor(200, 120, 0));
    }
};

QTEST_MAIN(tst_fmhistorydb)
#include "tst_fmhistorydb.moc"
