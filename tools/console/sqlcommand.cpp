// "sql": writes the history into an SQLite file or a PostgreSQL database, and keeps it up to date.

#include "app/fm.h"
#include "browser/fmhistoryreport.h"
#include "sql/fmsqldatabase.h"
#include "sql/fmsqlsummarysource.h"
#include "sql/fmsqlsync.h"
#include "tools/console/consolecommand.h"
#include "tools/console/consoleio.h"

namespace {

const fmConsoleOption kOptions[] = {
    {.Name = "--sqlite",
     .Value = "FILE",
     .Needs = "a file name",
     .Help = "The SQLite database file; made when missing."},
    {.Name = "--postgres",
     .Value = "CONNINFO",
     .Needs = "a libpq connection string",
     .Help = "A PostgreSQL database, as a libpq connection string (\"host=db dbname=farm\").\n"
             "The password comes from PGPASSWORD or ~/.pgpass, never from the command line."},
    {.Name = "--project",
     .Value = "NAME",
     .Needs = "a project name",
     .Help = "Only this project; may be given more than once. Default: all projects.",
     .Repeatable = true},
};

QString check(fmConsoleArgs& args)
{
    if (!args.Positional.isEmpty())
        return QStringLiteral("Unexpected argument '%1'").arg(args.Positional.first());
    if (args.has("--sqlite") == args.has("--postgres"))
        return QStringLiteral("sql needs either --sqlite FILE or --postgres CONNINFO");
    args.DataOnStdout = true; // the counts on standard output, log lines on standard error
    return args.has("--postgres") ? fmSqlDatabase::conninfoProblem(args.value("--postgres")) : QString();
}

void printReport(const fmSqlSyncReport& r)
{
    fmConsolePrint(QStringLiteral("rows: %1 inserted, %2 replaced, %3 removed; files: %4 read, %5 skipped, "
                                  "%6 removed, %7 failed\n")
                       .arg(r.Inserted)
                       .arg(r.Replaced)
                       .arg(r.Removed)
                       .arg(r.FilesRead)
                       .arg(r.FilesSkipped)
                       .arg(r.FilesRemoved)
                       .arg(r.Failed.size()));
    for (const QString& f : r.Failed)
        fmConsolePrintErr(QStringLiteral("not read, rows kept: %1\n").arg(f));
}

int run(const fmConsoleArgs& args)
{
    fmSqlDatabase db;
    const QString dbError = args.has("--sqlite") ? db.openSqlite(args.value("--sqlite"))
                                                 : db.openPostgres(args.value("--postgres"));
    if (!dbError.isEmpty()) {
        fmConsolePrintErr(
            QStringLiteral("fmHistorydbconsole sql: cannot use the database: %1\n").arg(dbError));
        return fmExitDatabase;
    }
    fmSqlSyncOptions options;
    options.Projects = args.values("--project");
    const float* cost = FM.cfgGetF("cfgCost");
    options.CostPerGhzHour = cost ? double(*cost) : 0.0;
    fmSqlSummarySource source(fmReportSettingsOf(FM).Speeds);
    const fmSqlSyncReport r =
        fmSqlSync(db, source, fmSqlListFiles(FM, FM.HistoryDbPath.toQString()), options);
    printReport(r);
    std::fflush(stdout);
    if (!r.DatabaseError.isEmpty()) {
        fmConsolePrintErr(
            QStringLiteral("fmHistorydbconsole sql: database error, run stopped: %1\n").arg(r.DatabaseError));
        return fmExitDatabase;
    }
    return r.Failed.isEmpty() ? fmExitOk : fmExitFailed;
}

} // namespace

extern const fmConsoleCommand fmConsoleSql = {
    .Name = "sql",
    .Summary = "write the history into SQLite or PostgreSQL and keep it up to date",
    .Synopsis = "sql --sqlite FILE [--project NAME]...\n"
                "sql --postgres CONNINFO [--project NAME]...",
    .Description =
        "Writes every job of the history into the tables fm_jobs (one row per job) and fm_files (one\n"
        "row per database file read), created when missing and versioned in fm_schema. A file\n"
        "unchanged since the last run is skipped; a changed file replaces its rows in one\n"
        "transaction; a file gone from the root removes its rows. Running twice changes nothing\n"
        "the second time. Prints the rows inserted, replaced and removed and the files skipped.",
    .Options = kOptions,
    .ExitStatus = "0    done\n"
                  "1    a database file could not be read (its rows stay as they were; the rest is written)\n"
                  "2    bad arguments\n"
                  "3    the database could not be reached (the driver's message says why)\n"
                  "100  start-up failed (no root, no configuration)",
    .Example = "$ fmHistorydbconsole -fmRoot /mnt/farm sql --sqlite /srv/stats/history.sqlite\n"
               "$ PGPASSWORD=... fmHistorydbconsole -fmRoot /mnt/farm sql --postgres \"host=db dbname=farm "
               "user=fm\"",
    .NeedsRoot = true,
    .Check = check,
    .Run = run,
};
