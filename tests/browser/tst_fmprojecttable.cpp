// The project table of the history folder: scan, estimates, loading one project, combo text.

#include "joblist_fixtures.h"

#include "browser/fmprojecttable.h"
#include "foundation/fmfile.h"
#include "foundation/fmfileread.h"
#include "jobs/fmjoblist.h"

#include <QDir>
#include <QTemporaryDir>
#include <QtTest>

#include <cmath>
#include <sys/stat.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace {

// A database file of `jobs` plausible jobs (or `bytes` of filler when jobs is 0).
void makeDb(const QString& path, int jobs, int bytes = 0, int firstJob = 0)
{
    QDir().mkpath(QFileInfo(path).path());
    QVERIFY(jlfix::writeFile(path, jobs ? jlfix::framesOf(jobs, firstJob) : QByteArray(bytes, 'x')));
}

QStringList filesOf(const _projectInfo& p, const QString& root)
{
    QStringList out;
    for (const _projectInfo_files& f : p.Files)
        out.append(QString(f.FileName).remove(root));
    return out;
}

} // namespace

class tst_fmprojecttable : public QObject
{
    Q_OBJECT
private slots:
    // Catches files grouped under the wrong project, in the wrong order, or folders entered that
    // are not "__" folders one level down.
    void scanGroupsFiles()
    {
        QTemporaryDir d;
        const QString root = d.path() + u"/"_s;
        makeDb(root + "Alpha.db", 0, 100);
        makeDb(root + "Alpha.db61", 0, 100);
        makeDb(root + "__2010/alpha.db", 0, 100);
        makeDb(root + "archive/alpha.db", 0, 100);
        makeDb(root + "__archive/deep/alpha.db", 0, 100);
        makeDb(root + "ab.db", 0, 100);
        makeDb(root + "ab.db61", 0, 100);
        makeDb(root + "notes.txt", 0, 100);
        fmProjectTable t(FM);
        t.loadProjectList(root);
        QCOMPARE(t.nrOfProjects, 3);
        QCOMPARE(t.projects[0].Name, u"Alpha"_s);
        QCOMPARE(filesOf(t.projects[0], root), (QStringList{"Alpha.db", "Alpha.db61", "__2010/alpha.db"}));
        QCOMPARE(t.projects[1].Name,
                 u"ab.db"_s); // two characters before the dot keep the extension
        QCOMPARE(t.projects[2].Name, u"ab.db61"_s);
        QCOMPARE(t.projects[0].Files[0].Size, 100LL);

        fmProjectTable empty(FM);
        empty.loadProjectList(root + "nothing/");
        QCOMPARE(empty.nrOfProjects, 0);
        QCOMPARE(empty.avJobSize, 2486.0f);
    }

    // Catches estimates that leave out the seeds or round the wrong way.
    void estimates()
    {
        fmProjectTable t(FM);
        fmTime_t time;
        t.addProjectFile("/h/Small.db", time, 24860);
        t.addProjectFile("/h/Half.db", time, 3729); // 1.5 jobs: half away from zero
        t.addProjectFile("/h/Big.db", time, 1000000);
        t.calcAvJobSize();
        QCOMPARE(t.avJobSize, 2486.0f);
        QCOMPARE(t.projects[0].NrOfJobs, 10LL);
        QCOMPARE(t.projects[1].NrOfJobs, 2LL);
        t.projects[2].Loaded = true;
        t.projects[2].NrOfJobs = 1000;
        t.calcAvJobSize();
        QCOMPARE(t.avJobSize, float(1124300.0f / 1050.0f));
        QVERIFY(std::fabs(t.avJobSize - 1070.76f) < 0.01f);
        QCOMPARE(t.projects[0].NrOfJobs, (long long)std::lround(24860.0f / t.avJobSize));
        QCOMPARE(t.projects[2].NrOfJobs, 1000LL); // exact counts stay
    }

    // Catches a table that silently stops at 1451 projects or drops later files of known ones.
    void noProjectLimit()
    {
        fmProjectTable t(FM);
        fmTime_t time;
        for (int i = 0; i < 1600; ++i)
            t.addProjectFile(u"/h/proj%1.db"_s.arg(i), time, 10);
        QCOMPARE(t.nrOfProjects, 1600);
        t.addProjectFile("/h/proj0.db61", time, 10); // a known project gets its second file
        QCOMPARE(t.projects[0].Files.size(), 2);
    }

    // Catches a rescan that appends the files it finds behind the former list (loads twice).
    void rescanReplaces()
    {
        QTemporaryDir d;
        const QString root = d.path() + u"/"_s;
        makeDb(root + "Shot.db", 0, 10);
        makeDb(root + "SHOT.db61", 0, 10);
        fmProjectTable t(FM);
        t.loadProjectList(root);
        QCOMPARE(t.nrOfProjects, 1);
        QCOMPARE(t.projects[0].Name, u"SHOT"_s); // "SHOT.db61" sorts first by character code
        QCOMPARE(t.projects[0].Files.size(), 2);
        t.projects[0].Loaded = true;
        t.loadProjectList(root);
        QCOMPARE(t.projects[0].Files.size(), 2);
        QVERIFY(!t.projects[0].Loaded);
        QCOMPARE(t.projects[0].NrOfJobs, 0LL);
    }

    // Catches a project load that does not add up its files, or that changes the current project
    // when a file is missing.
    void loadProject()
    {
        QTemporaryDir d;
        const QString root = d.path() + u"/"_s;
        makeDb(root + "Car.db", 3, 0, 0);
        makeDb(root + "Car.db61", 2, 0, 10);
        makeDb(root + "Other.db", 1, 0, 20);
        fmProjectTable t(FM);
        t.loadProjectList(root);
        QCOMPARE(t.nrOfProjects, 2);
        fmJ::_JobList list(FM, nullptr);
        QString msg;
        QCOMPARE(t.loadProjectJobs(0, list, msg), fmProjectTable::LoadDone);
        QVERIFY(msg.isEmpty());
        QCOMPARE(list.JobCount, 5);
        QCOMPARE(t.projects[0].NrOfJobs, 5LL);
        QVERIFY(t.projects[0].Loaded);
        QCOMPARE(t.currentProject, u"Car"_s);
        QCOMPARE(t.currentProjectID, 0);
        QCOMPARE(t.projects[0].DateFirst.t, int64_t(jlfix::makeRecord(0)->DateSend.t));
        QCOMPARE(t.projects[0].DateLast.t, int64_t(jlfix::makeRecord(11)->DateFinished.t));
        const float expectedAv =
            float(124300 + QFileInfo(root + "Car.db").size() + QFileInfo(root + "Car.db61").size()) /
            float(55);
        QCOMPARE(t.avJobSize, expectedAv);

        // A file that vanished since the scan stops the load after the files before it.
        QVERIFY(QFile::remove(root + "Car.db61"));
        QCOMPARE(t.loadProjectJobs(1, list, msg), fmProjectTable::LoadDone);
        QCOMPARE(t.currentProject, u"Other"_s);
        QCOMPARE(t.loadProjectJobs(0, list, msg), fmProjectTable::LoadFileMissing);
        QCOMPARE(msg,
                 u"Unable to find project database!\n'"_s + root + u"Car.db61'\nNo such file or directory"_s);
        QCOMPARE(list.JobCount, 3);
        QCOMPARE(t.currentProject, u"Other"_s);
        QCOMPARE(t.currentProjectID, 1);
        QCOMPARE(t.loadProjectJobs(-1, list, msg), fmProjectTable::LoadBadIndex);

        // A damaged file: LoadFileJobs reports, the table says only that it failed.
        QVERIFY(jlfix::writeFile(root + "Car.db61", QByteArray(70, 'x')));
        QCOMPARE(t.loadProjectJobs(0, list, msg), fmProjectTable::LoadFileFailed);
        QCOMPARE(msg, u"Unable to load project database!\n'"_s + root + u"Car.db61'"_s);
    }

    // Catches a project file of a name that is no UTF-8 that is not listed, shown or loaded, and a
    // file that blocks the load (a FIFO) or gives a message without what failed.
    void databaseKinds_data()
    {
        QTest::addColumn<QString>("kind");
        QTest::addColumn<QString>("message"); // %1 the file's name as shown; empty: loaded
        QTest::newRow("non-UTF-8 name") << u"latin1"_s << u""_s;
        QTest::newRow("empty") << u"empty"_s << u"Project database is empty!\n'%1'"_s;
        QTest::newRow("FIFO") << u"fifo"_s
                              << u"Unable to open project database!\n'%1'\nIs a FIFO, not a regular file"_s;
    }
    void databaseKinds()
    {
        QFETCH(QString, kind);
        QFETCH(QString, message);
        QTemporaryDir d;
        const QString path = fmPathFromBytes(QFile::encodeName(d.path()) + "/Proj\xe9kt.db");
        const QByteArray p = fmPathToBytes(path);
        const QString made = d.path() + "/made"; // written under a UTF-8 name, then given the other
        if (kind == "latin1") makeDb(made, 2);
        if (kind == "empty") QVERIFY(jlfix::writeFile(made, ""));
        if (QFile::exists(made)) QVERIFY(::rename(QFile::encodeName(made).constData(), p.constData()) == 0);
        if (kind == "fifo") QVERIFY(::mkfifo(p.constData(), 0600) == 0);
        fmProjectTable t(FM);
        t.loadProjectList(d.path() + "/");
        QCOMPARE(t.nrOfProjects, 1);
        QVERIFY(fmProjectTable::comboText(t.projects[0]).endsWith(QString::fromUtf8("   Proj\uFFFDkt")));
        fmJ::_JobList list(FM, nullptr);
        QString msg;
        const auto r = t.loadProjectJobs(0, list, msg);
        QCOMPARE(r, message.isEmpty() ? fmProjectTable::LoadDone : fmProjectTable::LoadFileMissing);
        QCOMPARE(msg, message.isEmpty() ? QString() : message.arg(fmPathForDisplay(path)));
        QCOMPARE(list.JobCount, message.isEmpty() ? 2 : 0);
        QVERIFY(fmDeleteFile(path).isEmpty()); // QTemporaryDir can't remove a name that is no UTF-8
    }

    // Catches a revert that loads the project's files twice (doubled count, deleted jobs back). (A save
    // that adds a file beside the project's own: tst_fmjoblist and the window's save question.)
    void revertLoadsOnce()
    {
        QTemporaryDir d;
        const QString root = d.path() + u"/"_s;
        makeDb(root + "Car.db", 3, 0, 0);
        makeDb(root + "__old/Car.db61", 2, 0, 10);
        fmProjectTable t(FM);
        t.loadProjectList(root);
        fmJ::_JobList list(FM, nullptr);
        QString msg;
        QCOMPARE(t.loadProjectJobs(0, list, msg), fmProjectTable::LoadDone);
        list.DeleteJob(list.Queue[4]);
        list.DeleteJob(list.Queue[0]);
        t.loadProjectList(root); // as the window does after a delete
        t.loadProjectList(root);
        QCOMPARE(t.loadProjectJobs(t.indexOf(u"car"_s), list, msg), fmProjectTable::LoadDone);
        QCOMPARE(list.JobCount, 5);
        QCOMPARE(filesOf(t.projects[0], root), (QStringList{"Car.db", "__old/Car.db61"}));
    }

    // Catches combo text with the wrong padding, marker or order.
    void comboText_data()
    {
        QTest::addColumn<bool>("loaded");
        QTest::addColumn<qlonglong>("count");
        QTest::addColumn<QString>("text");
        QTest::newRow("estimate 12") << false << 12LL << ".03.11     ~12   Car";
        QTest::newRow("exact 7") << true << 7LL << ".03.11         7   Car";
        QTest::newRow("estimate 0") << false << 0LL << ".03.11       ~0   Car";
    }
    void comboText()
    {
        QFETCH(bool, loaded);
        QFETCH(qlonglong, count);
        QFETCH(QString, text);
        _projectInfo p;
        p.Name = u"Car"_s;
        p.DateLast.t = 1300000000; // March 2011
        p.Loaded = loaded;
        p.NrOfJobs = count;
        QCOMPARE(fmProjectTable::comboText(p), text);
    }

    // Catches a grey outside 0..150 or stepping at the wrong age.
    void comboGrey_data()
    {
        QTest::addColumn<int>("days");
        QTest::addColumn<int>("grey");
        QTest::newRow("future") << -5 << 0;
        QTest::newRow("3 days") << 3 << 1;
        QTest::newRow("300 days") << 300 << 150;
        QTest::newRow("1000 days") << 1000 << 150;
    }
    void comboGrey()
    {
        QFETCH(int, days);
        QFETCH(int, grey);
        _projectInfo p;
        fmTime_t now;
        now.t = 1600000000;
        p.DateLast.t = now.t - int64_t(days) * 86400;
        QCOMPARE(fmProjectTable::comboGrey(p, now), grey);
    }
};

QTEST_GUILESS_MAIN(tst_fmprojecttable)
#include "tst_fmprojecttable.moc"
