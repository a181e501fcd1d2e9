// The job list's records and its database files: load, save, backups, failures kept apart.

#include "joblist_fixtures.h"

#include "foundation/fmfilelock.h"
#include "jobs/fmjoblist.h"

#include <QDir>
#include <QTemporaryDir>
#include <QtTest>

#include <cmath>
#include <csignal>
#include <cstring>
#include <limits>
#include <memory>
#include <sys/resource.h>

using namespace Qt::StringLiterals;

using namespace fmJ;
using jlfix::bytesOf;
using jlfix::frame;
using jlfix::frameOf;
using jlfix::makeRecord;

using Damage = void (*)(_jobsHistoryDB&);
Q_DECLARE_METATYPE(Damage)

namespace {

// Old layouts with the fields that identify a job set; everything else zero.
template <class Old> QByteArray oldRecord(int n, const char* user)
{
    auto o = std::make_unique<Old>();
    std::memset(static_cast<void*>(o.get()), 0, sizeof(Old));
    o->SeqStart = 1.0;
    o->SeqEnd = 10.0;
    o->SeqStep = 1.0;
    o->JobID = 5000ULL + uint64_t(n);
    o->UserName = user;
    o->Software = "Maya";
    o->CompanyProjectName = "OldProject";
    return bytesOf(*o);
}

std::unique_ptr<_JobList> newList()
{
    return std::make_unique<_JobList>(FM, nullptr);
}

// A database file of the jobs with the given numbers (as makeRecord numbers them).
QByteArray fileOf(const QList<int>& numbers)
{
    QByteArray b;
    for (int n : numbers)
        b += jlfix::frameOf(*jlfix::makeRecord(n));
    return b;
}

// The job numbers a file holds, in file order.
QList<int> numbersIn(const QString& path)
{
    _JobList l(FM);
    if (!l.LoadFileJobs(path)) return {-1};
    QList<int> out;
    for (int i = 0; i < l.JobCount; ++i)
        out.append(int((l.Queue[i]->JobID - 1000) / 7919));
    return out;
}

void deleteJob(_JobList& l, int n)
{
    if (_jobsHistoryDB_Runtime* job = l.GetJobByJobID(jlfix::makeRecord(n)->JobID)) l.DeleteJob(job);
}

} // namespace

class tst_fmjoblist : public QObject
{
    Q_OBJECT
private:
    QTemporaryDir Dir;
    QString path(const QString& name) const { return Dir.filePath(name); }

private slots:
    // Catches a frame of one layout or one kind of damage that is not read, skipped or reported
    // as the format says, and a detailed message for more than the first failure.
    void loadMixedFile()
    {
        auto a = makeRecord(1);
        auto e = makeRecord(5);
        e->SeqStep = 9999.0;
        auto bad = makeRecord(6);
        bad->SeqStep = 10000.0;
        auto badID = makeRecord(7);
        badID->JobID = 999;
        auto longSoft = makeRecord(8);
        longSoft->Software.Length = 600;

        QByteArray f;
        f += frameOf(*a);                                                            // job 1
        f += frame(QByteArray(100, 'x'), 0x0B01, 1, 100);                            // skipped silently
        f += frame(oldRecord<_OLD61__jobsHistoryDB>(2, "old61"), 0x0A02, 1, 30188);  // job 2
        f += frame(bytesOf(*a).left(37000), 0x0A04, 3, 37000);                       // failure 1: size
        f += frame(oldRecord<_OLD62_jobsHistoryDB>(3, "old62"), 0x0A03, 1, 39516);   // job 3
        f += frame(QByteArray(300, char(0x55)), 0x0A04, 3, 37980, false);            // failure 2: zlib
        f += frame(oldRecord<_OLD627_jobsHistoryDB>(4, "old627"), 0x0A03, 1, 46908); // job 4
        f += frame(bytesOf(*bad), 0x0A04, 3, 37980);                                 // failure 3: data
        f += frameOf(*e);                                                            // job 5
        f += frame(bytesOf(*a) + QByteArray(10, '\0'), 0x0A04, 3, 37980); // failure 4: size after inflate
        f += frameOf(*badID);                                             // failure 5: job ID
        f += frameOf(*longSoft);                                          // job 6, left empty
        const QString p = path("mixed.db");
        QVERIFY(jlfix::writeFile(p, f));

        auto l = newList();
        jlfix::LogCapture log(0, 10);
        QVERIFY(l->LoadFileJobs(p));
        QCOMPARE(l->JobCount, 6);
        QCOMPARE(l->Queue[0]->JobID, a->JobID);
        QCOMPARE(l->Queue[1]->JobID, 5002ULL);
        QCOMPARE(l->Queue[1]->UserName.toQString(), u"old61"_s);
        QCOMPARE(l->Queue[1]->SubmitterStructVersion, uint16_t(7));
        QCOMPARE(l->Queue[1]->TotalFrames, 0);
        QCOMPARE(l->Queue[2]->UserName.toQString(), u"old62"_s);
        QCOMPARE(l->Queue[3]->UserName.toQString(), u"old627"_s);
        QCOMPARE(l->Queue[3]->UserNameLower.toQString(), u"old627"_s);
        QCOMPARE(l->Queue[4]->JobID, e->JobID);
        QCOMPARE(l->Queue[5]->JobID, 0ULL); // kept as the empty job
        for (int i = 0; i < l->JobCount; ++i)
            QCOMPARE(l->Queue[i]->QueueID, i);
        QCOMPARE(l->SortedCount, 6);

        const QStringList expected = {
            u"10|0|{ALL} "_s + p + u"   loading..."_s,
            QStringLiteral(
                "1|0|{ALL} Error reading job #2; Data size does not match. file:37000 intern:37980"),
            u"2|0|{ALL} 5 Jobs in jobs.db could not be loaded; "_s,
            u"4|8|{ALL} 6 jobs loaded"_s,
        };
        QCOMPARE(log.Lines, expected);

        // The loader's own report keeps counts and messages when the farm's log levels are all off.
        const bool* levels = FM.LogLevels;
        FM.LogLevels = nullptr;
        auto quiet = newList();
        QVERIFY(quiet->LoadFileJobs(p));
        FM.LogLevels = levels;
        QCOMPARE(quiet->LastLoad.Loaded, 6);
        QCOMPARE(quiet->LastLoad.Failed, 5);
        QCOMPARE(quiet->LastLoad.Skipped, 1);
        QCOMPARE(quiet->LastLoad.Messages.size(), 2);
        QCOMPARE(quiet->LastLoad.Messages.last().second, u"{ALL} 5 Jobs in jobs.db could not be loaded; "_s);
    }

    // Catches frames lost, reordered or reported out of turn where a long file is read ahead in
    // runs (damage on both sides of a run's edge, an end of the file inside a run).
    void loadAcrossRuns_data()
    {
        QTest::addColumn<int>("frames");
        QTest::addColumn<QList<int>>("damaged");
        QTest::addColumn<bool>("badMagicAtEnd");
        QTest::newRow("no damage") << 70 << QList<int>{} << false;
        QTest::newRow("edges of runs") << 70 << QList<int>{31, 32, 63, 64} << false;
        QTest::newRow("first and last") << 65 << QList<int>{0, 64} << false;
        QTest::newRow("format error after a run") << 64 << QList<int>{40} << true;
    }
    void loadAcrossRuns()
    {
        QFETCH(int, frames);
        QFETCH(QList<int>, damaged);
        QFETCH(bool, badMagicAtEnd);
        QByteArray f;
        QList<unsigned long long> ids;
        for (int n = 0; n < frames; ++n) {
            if (damaged.contains(n)) {
                f += frame(QByteArray(300, char(0x55)), 0x0A04, 3, 37980, false); // does not inflate
                continue;
            }
            auto r = makeRecord(100 + n);
            f += frameOf(*r);
            ids.append(r->JobID);
        }
        if (badMagicAtEnd) {
            QByteArray bad = frameOf(*makeRecord(1));
            bad[3] = 'q';
            f += bad;
        }
        const QString p = path(u"runs.db"_s);
        QVERIFY(jlfix::writeFile(p, f));
        auto l = newList();
        jlfix::LogCapture log(0, 2);
        QCOMPARE(l->LoadFileJobs(p), !badMagicAtEnd);
        QCOMPARE(l->JobCount, int(ids.size()));
        for (int i = 0; i < l->JobCount; ++i)
            QCOMPARE(l->Queue[i]->JobID, ids[i]);
        QStringList expected;
        if (!damaged.isEmpty())
            // The number is the job count with the record of the failing frame already taken.
            expected << u"1|0|{ALL} Error decompressing job #%1; "_s.arg(damaged.first() + 1);
        if (badMagicAtEnd)
            expected << u"1|0|{ALL} jobs.db format error!"_s;
        else if (!damaged.isEmpty())
            expected << u"2|0|{ALL} %1 Jobs in jobs.db could not be loaded; "_s.arg(damaged.size());
        QCOMPARE(log.Lines.size(), expected.size());
        for (int i = 0; i < expected.size(); ++i)
            QVERIFY2(log.Lines[i].startsWith(expected[i]), qPrintable(log.Lines[i]));
    }

    // Catches wrong handling of files that fail as a whole.
    void loadFileFailures_data()
    {
        QTest::addColumn<QByteArray>("bytes");
        QTest::addColumn<bool>("result");
        QTest::addColumn<int>("jobs");
        QTest::addColumn<QString>("message");
        auto good = frameOf(*makeRecord(1));
        QByteArray badMagic = good;
        badMagic[5] = 'f';
        QByteArray huge = good;
        huge[52] = char(0xFF);
        huge[53] = char(0xFF); // compressed size 65535 + n: beyond the read buffer
        QByteArray noNul = good;
        noNul[44] = 'x';
        QTest::newRow("empty") << QByteArray() << true << 0 << QString();
        QTest::newRow("63 bytes") << good.left(63) << false << 0 << u"0|0|{ALL} Wrong file size '%1'!; "_s;
        QTest::newRow("magic") << badMagic << false << 0 << u"1|0|{ALL} jobs.db format error!"_s;
        QTest::newRow("magic without end") << noNul << false << 0 << u"1|0|{ALL} jobs.db format error!"_s;
        QTest::newRow("second magic")
            << good + badMagic << false << 1 << u"1|0|{ALL} jobs.db format error!"_s;
        QTest::newRow("buffer") << huge << false << 0 << u"1|0|{ALL} Job read buffer too small!"_s;
        QTest::newRow("no body") << good.left(64) << false << 0 << u"1|0|{ALL} Unable to read '%1' !; "_s;
    }
    void loadFileFailures()
    {
        QFETCH(QByteArray, bytes);
        QFETCH(bool, result);
        QFETCH(int, jobs);
        QFETCH(QString, message);
        const QString p = path(u"fail.db"_s);
        QVERIFY(jlfix::writeFile(p, bytes));
        auto l = newList();
        jlfix::LogCapture log(0, 2);
        QCOMPARE(l->LoadFileJobs(p), result);
        QCOMPARE(l->JobCount, jobs);
        if (message.isEmpty()) {
            QVERIFY(log.Lines.isEmpty());
        } else {
            QCOMPARE(log.Lines.size(), 1);
            QVERIFY2(log.Lines[0].startsWith(message.arg(p)), qPrintable(log.Lines[0]));
        }
    }

    // Catches plausibility bounds that are off by one or test the wrong field.
    void plausibility_data()
    {
        QTest::addColumn<Damage>("damage");
        QTest::addColumn<bool>("kept");
        QTest::addColumn<QString>("message");
        const QString data = u"1|0|{ALL} Error decompressing job #1; Data error!"_s;
        const QString id = u"1|0|{ALL} Error decompressing job #1; Data error job ID!"_s;
        QTest::newRow("step 10000") << Damage([](_jobsHistoryDB& r) { r.SeqStep = 10000; }) << false << data;
        QTest::newRow("step 0") << Damage([](_jobsHistoryDB& r) { r.SeqStep = 0; }) << false << data;
        QTest::newRow("step NaN") << Damage([](_jobsHistoryDB& r) { r.SeqStep = std::nan(""); }) << false
                                  << data;
        QTest::newRow("start NaN") << Damage([](_jobsHistoryDB& r) { r.SeqStart = std::nan(""); }) << false
                                   << data;
        QTest::newRow("end NaN") << Damage([](_jobsHistoryDB& r) { r.SeqEnd = std::nan(""); }) << false
                                 << data;
        QTest::newRow("offset NaN") << Damage([](_jobsHistoryDB& r) { r.SeqFileOffset = std::nan(""); })
                                    << false << data;
        QTest::newRow("name 255") << Damage([](_jobsHistoryDB& r) { r.ImageFileName.Data[0] = 255; }) << true
                                  << QString();
        QTest::newRow("name 256") << Damage([](_jobsHistoryDB& r) { r.ImageFileName.Data[0] = 256; }) << false
                                  << data;
        QTest::newRow("id 999") << Damage([](_jobsHistoryDB& r) { r.JobID = 999; }) << false << id;
        QTest::newRow("id 1000") << Damage([](_jobsHistoryDB& r) { r.JobID = 1000; }) << true << QString();
        QTest::newRow("id 999 old submitter") << Damage([](_jobsHistoryDB& r) {
            r.JobID = 999;
            r.SubmitterStructVersion = 6;
        }) << true << QString();
    }
    void plausibility()
    {
        QFETCH(Damage, damage);
        QFETCH(bool, kept);
        QFETCH(QString, message);
        auto r = makeRecord(3);
        damage(*r);
        const QString p = path(u"plaus.db"_s);
        QVERIFY(jlfix::writeFile(p, frameOf(*r)));
        auto l = newList();
        jlfix::LogCapture log(1, 1);
        QVERIFY(l->LoadFileJobs(p));
        QCOMPARE(l->JobCount, kept ? 1 : 0);
        QCOMPARE(log.Lines, message.isEmpty() ? QStringList() : QStringList{message});
        if (!kept) QCOMPARE(l->Allocated, 25); // the record went back for reuse
    }

    // Catches a load that fills a record otherwise than the copy of a saved job does, the fields the
    // list derives included. (The saved bytes: framesAsSerial.)
    void loadEqualsCopy()
    {
        auto l = newList();
        QByteArray file;
        for (int n = 0; n < 30; ++n) {
            auto r = makeRecord(n);
            r->Selected = uint8_t(n % 2);
            l->GetNewJob()->fromJobSave(r.get(), FM);
            file += frameOf(*r);
        }
        const QString p = path(u"round.db"_s);
        QVERIFY(jlfix::writeFile(p, file));
        auto back = newList();
        QVERIFY(back->LoadFileJobs(p));
        QCOMPARE(back->JobCount, 30);
        // Everything but the file the job came from.
        for (int n = 0; n < 30; ++n)
            QCOMPARE(QByteArray(reinterpret_cast<const char*>(back->Queue[n]), 38098),
                     QByteArray(reinterpret_cast<const char*>(l->Queue[n]), 38098));
    }

    // Catches a save of an empty list that leaves the old file.
    void saveEmptyDeletesFile()
    {
        const QString p = path(u"empty.db"_s);
        QVERIFY(jlfix::writeFile(p, frameOf(*makeRecord(1))));
        auto l = newList();
        QVERIFY(l->SaveFileJobs(false, p, false, QString()));
        QVERIFY(!QFile::exists(p));
    }

    // Catches a backup that does not fall back to ".bak302" or blocks the save.
    void backups_data()
    {
        QTest::addColumn<bool>("block30");
        QTest::addColumn<bool>("block302");
        QTest::addColumn<QString>("backup");
        QTest::newRow("bak30") << false << false << u".bak30"_s;
        QTest::newRow("bak302") << true << false << u".bak302"_s;
        QTest::newRow("none") << true << true << QString();
    }
    void backups()
    {
        QFETCH(bool, block30);
        QFETCH(bool, block302);
        QFETCH(QString, backup);
        QTemporaryDir d;
        const QString p = d.filePath(u"proj.db"_s);
        const QByteArray old = frameOf(*makeRecord(1));
        QVERIFY(jlfix::writeFile(p, old));
        // A folder that is not empty can't be deleted as a file: the backup name stays taken.
        if (block30) QVERIFY(QDir().mkpath(p + u".bak30/x"_s));
        if (block302) QVERIFY(QDir().mkpath(p + u".bak302/x"_s));
        QVERIFY(jlfix::writeFile(p + ".bak30", "old backup") || block30);

        auto l = newList();
        l->GetNewJob()->fromJobSave(makeRecord(2).get(), FM);
        QVERIFY(l->SaveFileJobs(true, p, false, QString()));
        if (!backup.isEmpty()) QCOMPARE(jlfix::readFile(p + backup), old);
        if (block30 && block302) {
            QVERIFY(!QFileInfo(p + ".bak30").isFile());
            QVERIFY(!QFileInfo(p + ".bak302").isFile());
        }
        auto back = newList();
        QVERIFY(back->LoadFileJobs(p));
        QCOMPARE(back->JobCount, 1);
        QCOMPARE(back->Queue[0]->JobID, makeRecord(2)->JobID);
    }

    // Catches a crash, hang or out-of-bounds read on a file cut short, and jobs lost before the cut.
    void truncatedAtEveryByte()
    {
        QByteArray f;
        QList<int> ends;
        for (int n = 0; n < 3; ++n) {
            f += frameOf(*makeRecord(n));
            ends.append(f.size());
        }
        const QString p = path(u"cut.db"_s);
        auto l = newList();
        for (int cut = 0; cut <= f.size(); ++cut) {
            QVERIFY(jlfix::writeFile(p, f.left(cut)));
            l->deleteAll();
            const bool ok = l->LoadFileJobs(p);
            int whole = 0;
            while (whole < ends.size() && ends[whole] <= cut)
                ++whole;
            QCOMPARE(l->JobCount, whole);
            for (int n = 0; n < whole; ++n)
                QCOMPARE(l->Queue[n]->JobID, makeRecord(n)->JobID);
            // A cut at a frame's end is a clean end of file; a cut inside a header is a read failure.
            if (cut == 0 || ends.contains(cut)) QVERIFY(ok);
            const int start = whole == 0 ? 0 : ends[whole - 1];
            if (cut > start && cut <= start + 64) QVERIFY(!ok);
        }
    }

    // Catches record bookkeeping errors: blocks of 25, reuse of deleted records, freeing spares.
    void recordReuse()
    {
        auto l = newList();
        QCOMPARE(l->Allocated, 25);
        QList<_jobsHistoryDB_Runtime*> jobs;
        for (int n = 0; n < 60; ++n) {
            _jobsHistoryDB_Runtime* j = l->GetNewJob();
            QVERIFY(j);
            j->JobID = 1000 + uint64_t(n);
            jobs.append(j);
        }
        QCOMPARE(l->Allocated, 75);
        // Deleting closes the gap, keeps the order and puts the record behind the jobs.
        _jobsHistoryDB_Runtime* gone = jobs[3];
        l->DeleteJob(gone);
        QCOMPARE(l->JobCount, 59);
        QCOMPARE(l->Queue[3]->JobID, 1004ULL);
        for (int i = 0; i < l->JobCount; ++i)
            QCOMPARE(l->Queue[i]->QueueID, i);
        QCOMPARE(gone->QueueID, -1);
        QCOMPARE(l->GetNewJob(), gone); // reused, and cleared
        QCOMPARE(gone->JobID, 0ULL);
        QCOMPARE(gone->QueueID, 59);
        // Deleting a job that isn't in the list changes nothing.
        _jobsHistoryDB_Runtime stranger;
        l->DeleteJob(&stranger);
        QCOMPARE(l->JobCount, 60);
        // Spare records beyond 25 are freed five at a time.
        while (l->JobCount > 40)
            l->DeleteJob(l->Queue[0]);
        QVERIFY(l->Allocated <= l->JobCount + 30);
        QCOMPARE(l->Allocated % 5, 0);
        for (int i = 0; i < l->JobCount; ++i)
            QCOMPARE(l->Queue[i]->QueueID, i);
    }

    void initTestCase() { QVERIFY(Dir.isValid()); }

    // Catches a save that truncates or renames the original before the new file is complete, or
    // a message without the file's name and the system's reason.
    void failureKeepsOriginal_data()
    {
        QTest::addColumn<QString>("cause");
        QTest::addColumn<QString>("text");
        // RLIMIT_FSIZE makes the write fail as a full disk does, with the system's own error.
        QTest::newRow("write fails") << u"fsize"_s << u"File too large"_s;
        QTest::newRow("lock held by another") << u"lock"_s << u"is locked"_s;
    }
    void failureKeepsOriginal()
    {
        QFETCH(QString, cause);
        QFETCH(QString, text);
        const QString p = path(u"fail_%1.db"_s.arg(cause));
        const QByteArray original = fileOf({1, 2, 3, 4, 5, 6, 7, 8});
        QVERIFY(jlfix::writeFile(p, original));
        _JobList l(FM);
        QVERIFY(l.LoadFileJobs(p));
        deleteJob(l, 3);
        QStringList messages;
        bool saved = true;
        if (cause == QLatin1String("fsize")) {
            std::signal(SIGXFSZ, SIG_IGN);
            rlimit old = {};
            getrlimit(RLIMIT_FSIZE, &old);
            rlimit small = old;
            small.rlim_cur = rlim_t(original.size() / 3);
            QCOMPARE(setrlimit(RLIMIT_FSIZE, &small), 0);
            saved = l.SaveSources(messages, 0);
            setrlimit(RLIMIT_FSIZE, &old);
        } else {
            fmFileLocker foreign(p);
            QVERIFY(foreign.lock(0, u"other machine"_s));
            saved = l.SaveSources(messages, 300);
        }
        QVERIFY(!saved);
        QCOMPARE(jlfix::readFile(p), original);
        QCOMPARE(messages.size(), 1);
        QVERIFY2(messages.first().contains(p) && messages.first().contains(text),
                 qPrintable(messages.first()));
        QCOMPARE(QDir(Dir.path()).entryList({u"fail_%1.db*"_s.arg(cause)}, QDir::Files),
                 QStringList{u"fail_%1.db"_s.arg(cause)}); // no temporary file left
        messages.clear();
        QVERIFY(l.SaveSources(messages, 0)); // the next try works and writes what the list lacks
        QCOMPARE(numbersIn(p), (QList<int>{1, 2, 4, 5, 6, 7, 8}));
        QCOMPARE(jlfix::readFile(p + u".bak30"_s), original);
    }

    // Catches a save that writes the loaded list back and so loses a job another writer added.
    void appendedJobSurvives()
    {
        const QString p = path(u"append.db"_s);
        QVERIFY(jlfix::writeFile(p, fileOf({1, 2, 3})));
        _JobList l(FM);
        QVERIFY(l.LoadFileJobs(p));
        deleteJob(l, 2);
        QVERIFY(jlfix::writeFile(p, fileOf({1, 2, 3, 4}))); // the farm server adds a finished job
        QStringList messages;
        QVERIFY(l.SaveSources(messages, 0));
        QCOMPARE(numbersIn(p), (QList<int>{1, 3, 4}));
        QVERIFY(l.SaveSources(messages, 0)); // nothing left to do: the file is not written again
        QCOMPARE(numbersIn(p), (QList<int>{1, 3, 4}));
        QVERIFY(messages.isEmpty());
    }

    // Catches a save that writes the whole project into one file, touches untouched files, or
    // brings back a job deleted from another file.
    void deleteInSeveralFiles()
    {
        QVERIFY(QDir(Dir.path()).mkpath(u"__2010"_s));
        const QStringList files = {path("multi.db"), path("multi.db61"), path("__2010/multi.db")};
        const QList<QList<int>> jobs = {{1, 2, 3}, {4, 5, 6}, {7, 8}};
        for (int f = 0; f < 3; ++f)
            QVERIFY(jlfix::writeFile(files[f], fileOf(jobs[f])));
        const QByteArray untouched = jlfix::readFile(files[2]);
        _JobList l(FM);
        for (const QString& f : files)
            QVERIFY(l.LoadFileJobs(f));
        QCOMPARE(l.JobCount, 8);
        deleteJob(l, 2);
        deleteJob(l, 4);
        deleteJob(l, 6);
        QStringList messages;
        QVERIFY2(l.SaveSources(messages, 0), qPrintable(messages.join('\n')));
        QCOMPARE(numbersIn(files[0]), (QList<int>{1, 3}));
        QCOMPARE(numbersIn(files[1]), (QList<int>{5}));
        QCOMPARE(jlfix::readFile(files[2]), untouched);
        QVERIFY(!QFile::exists(path("multi.db61.db61")));
    }

    // Catches frames that differ from the frame format (header bytes written by hand in the fixtures)
    // around one compress() of the record, in order (the pool's work).
    void framesAsSerial()
    {
        const QString p = path(u"serial.db"_s);
        QList<int> numbers;
        for (int n = 0; n < 300; ++n)
            numbers.append(n); // more than one chunk of the pool's work
        _JobList l(FM);
        const QByteArray expected = fileOf(numbers);
        QVERIFY(jlfix::writeFile(p, expected));
        QVERIFY(l.LoadFileJobs(p));
        QVERIFY(l.SaveFileJobs(false, p, false, QString()));
        QCOMPARE(jlfix::readFile(p), expected);
    }
};

QTEST_GUILESS_MAIN(tst_fmjoblist)
#include "tst_fmjoblist.moc"
