// The SQL store against real databases: SQLite always, PostgreSQL on a server started here (the
// PostgreSQL rows are skipped only when the server programs are missing).

#include "fmtestpgserver.h"
#include "joblist_fixtures.h"

#include "browser/fmhistoryreport.h"
#include "sql/fmsqldatabase.h"
#include "sql/fmsqljoblistsource.h"
#include "sql/fmsqlsummarysource.h"
#include "sql/fmsqlsync.h"
#include "tools/console/demoroot.h"

#include <QProcess>
#include <QRegularExpression>
#include <QSqlError>
#include <QSqlQuery>
#include <QSqlRecord>
#include <QTemporaryDir>
#include <QtTest>

#include <cmath>

namespace {

// Record n of the fixtures for each number; a negative number: record -n with a Software length
// that makes the loader keep its frame as an empty job.
void writeJobs(const QString& path, const QList<int>& numbers, const QString& user = QString())
{
    QByteArray bytes;
    for (int n : numbers) {
        auto r = jlfix::makeRecord(std::abs(n));
        if (!user.isEmpty()) r->UserName = user;
        if (n < 0) r->Software.Length = 501;
        bytes += jlfix::frameOf(*r);
    }
    QDir().mkpath(QFileInfo(path).absolutePath());
    QVERIFY(jlfix::writeFile(path, bytes));
}

QString counts(const fmSqlSyncReport& r)
{
    return QString::asprintf("rows %lld/%lld/%lld files %d/%d/%d failed %d", r.Inserted, r.Replaced,
                             r.Removed, r.FilesRead, r.FilesSkipped, r.FilesRemoved, int(r.Failed.size()));
}

// Every row of a query as "a|b|c", fractions with two decimals, so both databases compare as text.
QStringList results(QSqlDatabase db, const QString& sql)
{
    QStringList lines;
    QSqlQuery q(db);
    if (!q.exec(sql)) return QStringList{q.lastError().text()};
    while (q.next()) {
        QStringList cells;
        for (int c = 0; c < q.record().count(); ++c) {
            bool number = false;
            const double d = q.value(c).toDouble(&number);
            if (!number)
                cells.append(q.value(c).toString());
            else
                cells.append(d == std::floor(d) ? QString::number(qlonglong(d)) : QString::number(d, 'f', 2));
        }
        lines.append(cells.join(QLatin1Char('|')));
    }
    return lines;
}

// Every column of a row, as text.
QString rowText(const fmSqlJob& j)
{
    return QStringList{QString::number(j.JobID),
                       j.IdText,
                       j.UserName,
                       j.Software,
                       j.Renderer,
                       j.Scene,
                       j.Camera,
                       j.Layer,
                       QString::number(j.DateSend),
                       QString::number(j.DateFinished),
                       QString::number(j.ExecutionSeconds),
                       QString::number(j.Frames),
                       QString::number(j.TotalPS),
                       QString::number(j.GhzHours, 'g', 17),
                       QString::number(j.Errors)}
        .join(QLatin1Char('|'));
}

} // namespace

class tst_FmSqlSync : public QObject
{
    Q_OBJECT

    QTemporaryDir Tmp;
    fmTestPgServer Pg;
    QString PgProblem; // why PostgreSQL rows are skipped or fail
    int SqliteFiles = 0;

    QString history() const { return Tmp.filePath(QStringLiteral("history/")); }

    // Opens an empty database of the backend.
    void open(fmSqlDatabase& db, const QString& backend)
    {
        if (backend == QLatin1String("sqlite")) {
            QCOMPARE(db.openSqlite(Tmp.filePath(QStringLiteral("db%1.sqlite").arg(++SqliteFiles))),
                     QString());
            return;
        }
        if (fmTestPgServer::binFolder().isEmpty())
            QSKIP("PostgreSQL server programs (initdb, pg_ctl) are not installed");
        QCOMPARE(PgProblem, QString());
        {
            fmSqlDatabase old;
            QCOMPARE(old.openPostgres(Pg.conninfo()), QString());
            QVERIFY(QSqlQuery(old.db()).exec(QStringLiteral("DROP TABLE fm_jobs, fm_files, fm_schema")));
        }
        QCOMPARE(db.openPostgres(Pg.conninfo()), QString());
    }

    fmSqlSyncReport sync(fmSqlDatabase& db, const fmSqlSyncOptions& options = fmSqlSyncOptions())
    {
        fmSqlSummarySource source(fmReportSettingsOf(FM).Speeds);
        return fmSqlSync(db, source, fmSqlListFiles(FM, history()), options);
    }

    // "source_file|n|user" of every row; record n of the fixtures has JobID 1000 + 7919 n.
    static QStringList rows(fmSqlDatabase& db)
    {
        return results(db.db(),
                       QStringLiteral("SELECT source_file, (job_id - 1000) / 7919, user_name FROM fm_jobs "
                                      "ORDER BY source_file, job_id"));
    }

private slots:
    void initTestCase()
    {
        QVERIFY(Tmp.isValid());
        if (!fmTestPgServer::binFolder().isEmpty()) PgProblem = Pg.start();
    }

    void init()
    {
        QDir(history()).removeRecursively();
        writeJobs(history() + QStringLiteral("alpha.db"), {1, 2, 3});
        writeJobs(history() + QStringLiteral("beta.db61"), {10, 11});
        writeJobs(history() + QStringLiteral("__old/alpha.db"), {3, 20}); // job 3 stands in both files
    }

    void incremental_data()
    {
        QTest::addColumn<QString>("backend");
        QTest::newRow("sqlite") << QStringLiteral("sqlite");
        QTest::newRow("postgres") << QStringLiteral("postgres");
    }
    // First run, a run with nothing changed, a changed file, a removed file (whose job is kept by
    // the archive copy), a damaged file beside a new one: counts, rows and values after each.
    void incremental()
    {
        QFETCH(QString, backend);
        fmSqlDatabase db;
        open(db, backend);
        fmSqlSyncOptions options;
        options.CostPerGhzHour = 0.5;
        QCOMPARE(counts(sync(db, options)), QStringLiteral("rows 6/0/0 files 3/0/0 failed 0"));
        const QStringList first = {"__old/alpha.db|20|user7", "alpha.db|1|user1",    "alpha.db|2|user2",
                                   "alpha.db|3|user3",        "beta.db61|10|user10", "beta.db61|11|user11"};
        QCOMPARE(rows(db), first);
        // Times as text of the same shape in both: "2011-03-13T08:06:40Z" and "2011-03-13 08:06:40+00".
        QCOMPARE(
            results(db.db(),
                    QStringLiteral("SELECT project, id_text, software, renderer, scene, camera, layer, "
                                   "SUBSTR(CAST(date_send AS TEXT), 1, 10), SUBSTR(CAST(date_send AS "
                                   "TEXT), 12, 8), SUBSTR(CAST(date_finished AS TEXT), 12, 8), "
                                   "execution_seconds, frames, total_ps, ghz_hours, cost, errors "
                                   "FROM fm_jobs WHERE job_id = 16838")),
            QStringList(QStringLiteral("alpha|%1|Houdini|VRay|/projects/show/scenes/shot2_v2.ma|cam2|layer2|"
                                       "2011-03-13|09:06:40|09:36:40|120|102|2000|3.50|1.75|2")
                            .arg(fmJ::ID2str(16838))));

        QCOMPARE(counts(sync(db, options)), QStringLiteral("rows 0/0/0 files 0/3/0 failed 0"));
        QCOMPARE(rows(db), first);

        // Beyond ASCII: SQLite takes such a text as UTF-16, an ASCII one as UTF-8.
        writeJobs(history() + QStringLiteral("beta.db61"), {10, 12}, QStringLiteral("chängé✓"));
        QCOMPARE(counts(sync(db)), QStringLiteral("rows 0/2/0 files 1/2/0 failed 0"));
        QVERIFY(QFile::remove(history() + QStringLiteral("alpha.db")));
        fmSqlSyncOptions betaOnly;
        betaOnly.Projects = QStringList{QStringLiteral("BETA")}; // alpha's rows stay while it is left out
        QCOMPARE(counts(sync(db, betaOnly)), QStringLiteral("rows 0/0/0 files 0/1/0 failed 0"));
        // Three rows go with the file; the archive copy is read again and brings job 3 back.
        QCOMPARE(counts(sync(db)), QStringLiteral("rows 1/1/3 files 1/1/1 failed 0"));
        QCOMPARE(rows(db), QStringList({"__old/alpha.db|3|user3", "__old/alpha.db|20|user7",
                                        "beta.db61|10|chängé✓", "beta.db61|12|chängé✓"}));

        QByteArray damaged = jlfix::readFile(history() + QStringLiteral("beta.db61"));
        damaged[damaged.size() - 20] =
            char(damaged[damaged.size() - 20] ^ 0x55); // inside the last frame's data
        QVERIFY(jlfix::writeFile(history() + QStringLiteral("beta.db61"), damaged));
        writeJobs(history() + QStringLiteral("gamma.db"), {30, -31});
        const fmSqlSyncReport r = sync(db);
        QCOMPARE(counts(r), QStringLiteral("rows 2/0/0 files 1/1/0 failed 1"));
        // The empty job's row is the loader's: ID 0, times 0, texts empty (not NULL).
        QCOMPARE(results(db.db(), QStringLiteral("SELECT id_text, user_name, scene, SUBSTR(CAST(date_send AS "
                                                 "TEXT), 1, 10), frames FROM fm_jobs WHERE job_id = 0")),
                 QStringList(QStringLiteral("{AAA}|||1970-01-01|0")));
        QVERIFY2(r.Failed.first().startsWith(QLatin1String("beta.db61: 1 of 2 jobs could not be read")),
                 qPrintable(r.Failed.first()));
        QCOMPARE(rows(db).filter(QStringLiteral("beta")),
                 QStringList({"beta.db61|10|chängé✓", "beta.db61|12|chängé✓"}));
        QCOMPARE(counts(sync(db)).right(8), QStringLiteral("failed 1")); // tried again next time
    }

    // The server goes away inside a file's transaction: the run stops with the driver's message,
    // the file is not half-written, and the next run goes on where this one stopped.
    void serverStoppedMidRun()
    {
        fmSqlDatabase db;
        open(db, QStringLiteral("postgres"));
        fmSqlSyncOptions options;
        int commits = 0;
        options.BeforeCommit = [&](const QString&) {
            if (++commits == 2) Pg.stop();
        };
        const fmSqlSyncReport r = sync(db, options);
        QVERIFY(!r.DatabaseError.isEmpty());
        QCOMPARE(counts(r), QStringLiteral("rows 3/0/0 files 1/0/0 failed 0"));
        QCOMPARE(Pg.start(), QString());
        fmSqlDatabase again;
        QCOMPARE(again.openPostgres(Pg.conninfo()), QString());
        QCOMPARE(rows(again), QStringList({"alpha.db|1|user1", "alpha.db|2|user2", "alpha.db|3|user3"}));
        QCOMPARE(results(again.db(), QStringLiteral("SELECT path FROM fm_files")), QStringList({"alpha.db"}));
        QCOMPARE(counts(sync(again)), QStringLiteral("rows 3/0/0 files 2/1/0 failed 0"));
    }

    // An SQLite insert fails inside a file's transaction: the run stops with SQLite's message, that
    // file has neither rows nor an fm_files row, and the next run writes it.
    void sqliteInsertFails()
    {
        fmSqlDatabase db;
        open(db, QStringLiteral("sqlite"));
        QVERIFY(QSqlQuery(db.db()).exec(
            QStringLiteral("CREATE TRIGGER stop BEFORE INSERT ON fm_jobs WHEN NEW.user_name = 'user11' "
                           "BEGIN SELECT RAISE(ABORT, 'no user11'); END")));
        const fmSqlSyncReport r = sync(db);
        QCOMPARE(r.DatabaseError, QStringLiteral("no user11 Unable to fetch row"));
        QCOMPARE(counts(r), QStringLiteral("rows 4/0/0 files 2/0/0 failed 0"));
        QCOMPARE(
            results(db.db(), QStringLiteral("SELECT COUNT(*) FROM fm_jobs WHERE source_file = 'beta.db61' "
                                            "UNION ALL SELECT COUNT(*) FROM fm_files")),
            QStringList({"0", "2"}));
        QVERIFY(QSqlQuery(db.db()).exec(QStringLiteral("DROP TRIGGER stop")));
        QCOMPARE(counts(sync(db)), QStringLiteral("rows 2/0/0 files 1/2/0 failed 0"));
    }

    void console_data()
    {
        QTest::addColumn<QStringList>("args");
        QTest::addColumn<bool>("damage");
        QTest::addColumn<int>("code");
        QTest::addColumn<QString>("output");
        const QStringList sqlite = {"sql", "--sqlite", "DIR/h.sqlite"};
        QTest::newRow("sqlite") << sqlite << false << 0
                                << "rows: 96 inserted, 0 replaced, 0 removed; files: 3 read";
        QTest::newRow("damaged file")
            << sqlite << true << 1 << "files: 2 read, 0 skipped, 0 removed, 1 failed";
        QTest::newRow("no server") << QStringList{"sql", "--postgres", "host=DIR/nothing dbname=x"} << false
                                   << 3 << "cannot use the database: ";
        QTest::newRow("password") << QStringList{"sql", "--postgres", "host=x password=secret"} << false << 2
                                  << "PGPASSWORD";
    }
    // The command's counts and exit codes, run as a process on a demo root.
    void console()
    {
        QFETCH(QStringList, args);
        QFETCH(bool, damage);
        QFETCH(int, code);
        QFETCH(QString, output);
        QTemporaryDir dir;
        const QString exe = QStringLiteral(FM_CONSOLE_EXE);
        QCOMPARE(
            QProcess::execute(exe, {"demo-root", dir.filePath("root"), "--projects", "2", "--jobs", "60"}),
            0);
        if (damage) {
            QFile f(dir.filePath("root/sub/history_db/") +
                    QDir(dir.filePath("root/sub/history_db")).entryList(QDir::Files).first());
            QVERIFY(f.open(QIODevice::Append));
            f.write(QByteArray(70, 'x'));
        }
        args.replaceInStrings(QStringLiteral("DIR"), dir.path());
        QProcess p;
        p.start(exe, QStringList{"-fmRoot", dir.filePath("root")} + args);
        QVERIFY(p.waitForFinished(120000));
        const QString all = QString::fromUtf8(p.readAllStandardOutput() + p.readAllStandardError());
        QVERIFY2(all.contains(output), qPrintable(all));
        QCOMPARE(p.exitCode(), code);
    }

    // The rows come from the summary reader; the loader's rows for the same files are the
    // reference: equal in every column, on a demo root with frames of all four layouts and a file
    // with a frame that the loader keeps as an empty job.
    void summaryRowsAreLoaderRows()
    {
        QTemporaryDir dir;
        fmDemoRootOptions o;
        o.Dir = dir.filePath(QStringLiteral("root"));
        o.Projects = 3;
        o.Jobs = 400;
        fmDemoRootReport demo;
        QCOMPARE(fmCreateDemoRoot(FM, o, &demo), QString());
        int oldFrames = 0;
        for (const fmDemoProjectReport& p : demo.Projects)
            oldFrames += p.OldFrames;
        QVERIFY(oldFrames > 50);
        writeJobs(o.Dir + QStringLiteral("/sub/history_db/extra.db"), {5, -6, 7});
        fmSqlJobListSource loader(FM);
        fmSqlSummarySource summary(fmReportSettingsOf(FM).Speeds);
        int rows = 0;
        for (const fmSqlFile& f : fmSqlListFiles(FM, o.Dir + QStringLiteral("/sub/history_db/"))) {
            QList<fmSqlJob> a, b;
            QString whyA, whyB;
            QVERIFY2(loader.readFile(f.Path, a, whyA) && summary.readFile(f.Path, b, whyB),
                     qPrintable(whyA + whyB));
            QStringList ta, tb;
            for (const fmSqlJob& j : a)
                ta.append(rowText(j));
            for (const fmSqlJob& j : b)
                tb.append(rowText(j));
            QCOMPARE(tb, ta);
            rows += int(a.size());
        }
        QCOMPARE(rows, demo.totalJobs() + 3);
    }

    // The time text against QDateTime's, over the whole range both databases keep.
    void timeText()
    {
        for (int64_t t = -5; t <= fmSqlMaxTime + 5; t += t < 4000000000LL ? 3196247 : 91837451) {
            const int64_t c = std::clamp<int64_t>(t, 0, fmSqlMaxTime);
            QCOMPARE(
                fmSqlDatabase::timeText(t),
                QDateTime::fromSecsSinceEpoch(c, Qt::UTC).toString(QStringLiteral("yyyy-MM-ddTHH:mm:ssZ")));
        }
        QCOMPARE(fmSqlDatabase::timeText(fmSqlMaxTime + 1), QStringLiteral("9999-12-31T23:59:59Z"));
    }

    // The README's example queries run unchanged on both databases and give the same results.
    void readmeQueries()
    {
        QFile readme(QStringLiteral(FM_TEST_DATA_DIR "/../../README.md"));
        QVERIFY(readme.open(QIODevice::ReadOnly));
        static const QRegularExpression block(QStringLiteral("```sql\\n(.*?)```"),
                                              QRegularExpression::DotMatchesEverythingOption);
        QStringList queries;
        for (const auto& m : block.globalMatch(QString::fromUtf8(readme.readAll())))
            queries.append(m.captured(1));
        QCOMPARE(queries.size(), 3);
        fmSqlDatabase lite, pg;
        open(lite, QStringLiteral("sqlite"));
        QCOMPARE(sync(lite).DatabaseError, QString());
        QCOMPARE(results(lite.db(), queries[1]),
                 QStringList({"user7|21.50|1", "user11|12.50|1", "user10|11.50|1", "user3|4.50|1",
                              "user2|3.50|1", "user1|2.50|1"}));
        open(pg, QStringLiteral("postgres"));
        QCOMPARE(sync(pg).DatabaseError, QString());
        for (const QString& sql : queries) {
            const QStringList expected = results(lite.db(), sql);
            QVERIFY2(expected.size() >= 2, qPrintable(expected.join(QLatin1Char('\n'))));
            QCOMPARE(results(pg.db(), sql), expected);
        }
    }
};

QTEST_GUILESS_MAIN(tst_FmSqlSync)
#include "tst_fmsqlsync.moc"
