// Saving a project's files: each file that lost a job is rewritten from what is on disk, under its
// lock, through a temporary file; a failure leaves it as it was.

#include "joblist_fixtures.h"

#include "foundation/fmfilelock.h"
#include "jobs/fmjoblist.h"

#include <QDir>
#include <QTemporaryDir>
#include <QtTest>

#include <sys/resource.h>

#include <csignal>
#include <memory>

using namespace Qt::StringLiterals;

using namespace fmJ;

namespace {

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

class tst_fmjoblist_save : public QObject
{
    Q_OBJECT
    QTemporaryDir Dir;
    QString path(const QString& name) const { return Dir.filePath(name); }

private slots:
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

    // Catches frames that differ from one compress() of the record, in order (the pool's work).
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

QTEST_GUILESS_MAIN(tst_fmjoblist_save)
#include "tst_fmjoblist_save.moc"
