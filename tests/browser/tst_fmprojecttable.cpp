// The project table of the history folder: scan, estimates, loading one project, combo text.

#include "joblist_fixtures.h"

#include "browser/fmprojecttable.h"
#include "jobs/fmjoblist.h"

#include <QDir>
#include <QTemporaryDir>
#include <QtTest>

#include <cmath>

namespace {

// A database file of `jobs` plausible jobs (or `bytes` of filler when jobs is 0).
void makeDb(const QString& path, int jobs, int bytes = 0, int firstJob = 0)
{
    QDir().mkpath(QFileInfo(path).path());
    QByteArray f;
    for (int n = 0; n < jobs; ++n)
        f += jlfix::frameOf(*jlfix::makeRecord(firstJob + n));
    if (jobs == 0) f = QByteArray(bytes, 'x');
    QVERIFY(jlfix::writeFile(path, f));
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
    void scanGroupsFiles();
    // Catches estimates that leave out the seeds or round the wrong way.
    void estimates();
    // Catches a table that grows beyond its 1451 entries or takes later files of known projects.
    void tableMargin();
    // Catches a project load that does not add up its files, or that changes the current project
    // when a file is missing.
    void loadProject();
    // Catches combo text with the wrong padding, marker or order.
    void comboText_data();
    void comboText();
};

void tst_fmprojecttable::scanGroupsFiles()
{
    QTemporaryDir d;
    const QString root = d.path() + QStringLiteral("/");
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
    QCOMPARE(t.projects[0].Name, QStringLiteral("Alpha"));
    QCOMPARE(filesOf(t.projects[0], root), (QStringList{"Alpha.db", "Alpha.db61", "__2010/alpha.db"}));
    QCOMPARE(t.projects[1].Name, QStringLiteral("ab.db")); // two characters before the dot keep the extension
    QCOMPARE(t.projects[2].Name, QStringLiteral("ab.db61"));
    QCOMPARE(t.projects[0].Files[0].Size, 100LL);

    fmProjectTable empty(FM);
    empty.loadProjectList(root + "nothing/");
    QCOMPARE(empty.nrOfProjects, 0);
    QCOMPARE(empty.avJobSize, 2486.0f);
}

void tst_fmprojecttable::estimates()
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

void tst_fmprojecttable::tableMargin()
{
    fmProjectTable t(FM);
    fmTime_t time;
    for (int i = 0; i < 1460; ++i)
        t.addProjectFile(QStringLiteral("/h/p%1.db").arg(i), time, 10);
    QCOMPARE(t.nrOfProjects, 1451);
    t.addProjectFile("/h/p0.db61", time, 10); // a known project, yet dropped
    QCOMPARE(t.projects[0].Files.size(), 1);
}

void tst_fmprojecttable::loadProject()
{
    QTemporaryDir d;
    const QString root = d.path() + QStringLiteral("/");
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
    QCOMPARE(t.currentProject, QStringLiteral("Car"));
    QCOMPARE(t.currentProjectID, 0);
    QCOMPARE(t.projects[0].DateFirst.t, int64_t(jlfix::makeRecord(0)->DateSend.t));
    QCOMPARE(t.projects[0].DateLast.t, int64_t(jlfix::makeRecord(11)->DateFinished.t));
    const float expectedAv =
        float(124300 + QFileInfo(root + "Car.db").size() + QFileInfo(root + "Car.db61").size()) / float(55);
    QCOMPARE(t.avJobSize, expectedAv);

    // A file that vanished since the scan stops the load after the files before it.
    QVERIFY(QFile::remove(root + "Car.db61"));
    QCOMPARE(t.loadProjectJobs(1, list, msg), fmProjectTable::LoadDone);
    QCOMPARE(t.currentProject, QStringLiteral("Other"));
    QCOMPARE(t.loadProjectJobs(0, list, msg), fmProjectTable::LoadFileMissing);
    QCOMPARE(msg, QStringLiteral("Unable to find project database!\n'") + root + QStringLiteral("Car.db61'"));
    QCOMPARE(list.JobCount, 3);
    QCOMPARE(t.currentProject, QStringLiteral("Other"));
    QCOMPARE(t.currentProjectID, 1);
    QCOMPARE(t.loadProjectJobs(-1, list, msg), fmProjectTable::LoadBadIndex);

    // A damaged file: LoadFileJobs reports, the table says only that it failed.
    QVERIFY(jlfix::writeFile(root + "Car.db61", QByteArray(70, 'x')));
    QCOMPARE(t.loadProjectJobs(0, list, msg), fmProjectTable::LoadFileFailed);
    QVERIFY(msg.isEmpty());
}

void tst_fmprojecttable::comboText_data()
{
    QTest::addColumn<bool>("loaded");
    QTest::addColumn<qlonglong>("count");
    QTest::addColumn<QString>("text");
    QTest::newRow("estimate 12") << false << 12LL << ".03.11     ~12   Car";
    QTest::newRow("exact 7") << true << 7LL << ".03.11         7   Car";
    QTest::newRow("exact 12345") << true << 12345LL << ".03.11   12345   Car";
    QTest::newRow("estimate 0") << false << 0LL << ".03.11       ~0   Car";
}

void tst_fmprojecttable::comboText()
{
    QFETCH(bool, loaded);
    QFETCH(qlonglong, count);
    QFETCH(QString, text);
    _projectInfo p;
    p.Name = QStringLiteral("Car");
    p.DateLast.t = 1300000000; // March 2011
    p.Loaded = loaded;
    p.NrOfJobs = count;
    QCOMPARE(fmProjectTable::comboText(p), text);
}

QTEST_GUILESS_MAIN(tst_fmprojecttable)
#include "tst_fmprojecttable.moc"
