#include "tools/console/sqlrun.h"

#include "app/fm.h"
#include "sql/fmsqldatabase.h"
#include "sql/fmsqljoblistsource.h"
#include "sql/fmsqlsync.h"

#include <QCoreApplication>

#include <cstdio>

namespace {

constexpr int ExitOk = 0;
constexpr int ExitFileFailed = 1;
constexpr int ExitUsage = 2;
constexpr int ExitDatabase = 3;
constexpr int ExitStartup = 100;

const char* const kSqlUsage =
    "Usage: fmHistorydbconsole [-fmRoot <root>] sql (--sqlite FILE | --postgres CONNINFO)\n"
    "                          [--project NAME]... [--verbose]\n"
    "\n"
    "Writes the jobs of every project, or of the named ones, into an SQL database (tables fm_jobs,\n"
    "fm_files, fm_schema), or brings it up to date: a file unchanged since the last run is not read,\n"
    "a changed file's rows are replaced, a removed file's rows removed.\n"
    "  --sqlite FILE        an SQLite database file, made if missing\n"
    "  --postgres CONNINFO  a PostgreSQL database, as libpq keyword=value pairs\n"
    "                       (\"host=db dbname=farm user=fm\"); the password comes from PGPASSWORD\n"
    "                       or ~/.pgpass, never from the command line\n"
    "\n"
    "Exit status: 0 done, 1 a file could not be read (its rows stay as they were; the rest is\n"
    "written), 2 bad arguments, 3 the database cannot be reached or written, 100 start-up failed.\n";

struct SqlArgs
{
    QString Sqlite, Postgres;
    QStringList Projects;
    bool Verbose = false, Help = false;
};

void printTo(FILE* out, const QString& text)
{
    const QByteArray bytes = text.toUtf8();
    std::fwrite(bytes.constData(), 1, size_t(bytes.size()), out);
    std::fflush(out);
}

// The first word that is no option, skipping the values of the family's options.
QString commandWord(const QStringList& args, bool (*familyValueOption)(const QString&))
{
    for (int i = 1; i < args.size(); ++i) {
        if (familyValueOption(args[i]))
            ++i;
        else if (!args[i].startsWith(QLatin1Char('-')))
            return args[i];
    }
    return QString();
}

QString parseSqlArgs(const QStringList& args, bool (*familyValueOption)(const QString&), SqlArgs& out)
{
    bool seenCommand = false;
    for (int i = 1; i < args.size(); ++i) {
        const QString& a = args[i];
        auto value = [&](const char* what, QString& v) -> QString {
            if (i + 1 >= args.size() || args[i + 1].isEmpty())
                return QStringLiteral("%1 needs %2").arg(a, QLatin1String(what));
            v = args[++i];
            return QString();
        };
        QString why, v;
        if (a == QLatin1String("--help") || a == QLatin1String("-h"))
            out.Help = true;
        else if (a == QLatin1String("--verbose"))
            out.Verbose = true;
        else if (a == QLatin1String("--sqlite"))
            why = value("a file name", out.Sqlite);
        else if (a == QLatin1String("--postgres"))
            why = value("a connection string", out.Postgres);
        else if (a == QLatin1String("--project")) {
            why = value("a project name", v);
            out.Projects.append(v);
        } else if (familyValueOption(a))
            ++i; // read by the start-up
        else if (a.startsWith(QLatin1String("--")))
            why = QStringLiteral("Unknown option '%1'").arg(a);
        else if (a.startsWith(QLatin1Char('-')) && a.size() > 1)
            continue; // the family's start-up reads it
        else if (!seenCommand)
            seenCommand = true;
        else
            why = QStringLiteral("Unexpected argument '%1'").arg(a);
        if (!why.isEmpty()) return why;
    }
    if (out.Help) return QString();
    if (out.Sqlite.isEmpty() == out.Postgres.isEmpty())
        return QStringLiteral("sql needs either --sqlite FILE or --postgres CONNINFO");
    if (!out.Postgres.isEmpty()) return fmSqlDatabase::conninfoProblem(out.Postgres);
    return QString();
}

void report(const fmSqlSyncReport& r)
{
    printTo(stdout, QStringLiteral(
                        "rows: %1 inserted, %2 replaced, %3 removed; files: %4 read, %5 skipped, %6 removed, "
                        "%7 failed\n")
                        .arg(r.Inserted)
                        .arg(r.Replaced)
                        .arg(r.Removed)
                        .arg(r.FilesRead)
                        .arg(r.FilesSkipped)
                        .arg(r.FilesRemoved)
                        .arg(r.Failed.size()));
    for (const QString& f : r.Failed)
        printTo(stderr, QStringLiteral("not read, rows kept: %1\n").arg(f));
}

} // namespace

int fmConsoleSqlMain(int argc, char** argv, bool (*familyValueOption)(const QString&))
{
    const QStringList args = QCoreApplication::arguments();
    if (commandWord(args, familyValueOption) != QLatin1String("sql")) return -1;
    SqlArgs a;
    const QString why = parseSqlArgs(args, familyValueOption, a);
    if (a.Help) {
        printTo(stdout, QLatin1String(kSqlUsage));
        return ExitOk;
    }
    if (!why.isEmpty()) {
        printTo(
            stderr,
            QStringLiteral("fmHistorydbconsole sql: %1\nTry 'fmHistorydbconsole sql --help'.\n").arg(why));
        return ExitUsage;
    }

    // Log lines go to standard error: errors and warnings always, the rest with --verbose.
    FM.NoUILog = true;
    // By value: FM outlives this function and still logs at its end.
    QObject::connect(&FM, &__FM::signalLogUI, &FM,
                     [verbose = a.Verbose](int level, int flags, const QString& text, const QString& where) {
                         if ((flags & fmLog_FileOnly) || (level > 2 && !verbose)) return;
                         QString line;
                         FM.FormatLogMessage(level, flags, text, where, line);
                         printTo(stderr, line + QLatin1Char('\n'));
                     });
    if (!FM.SetupCfg(argc, argv, false, nullptr)) return ExitStartup;
    FM.NoUILog = true;

    fmSqlDatabase db;
    const QString dbError = a.Sqlite.isEmpty() ? db.openPostgres(a.Postgres) : db.openSqlite(a.Sqlite);
    if (!dbError.isEmpty()) {
        printTo(stderr, QStringLiteral("fmHistorydbconsole sql: cannot use the database: %1\n").arg(dbError));
        return ExitDatabase;
    }
    fmSqlSyncOptions options;
    options.Projects = a.Projects;
    const float* cost = FM.cfgGetF("cfgCost");
    options.CostPerGhzHour = cost ? double(*cost) : 0.0;
    fmSqlJobListSource source(FM);
    const fmSqlSyncReport r =
        fmSqlSync(db, source, fmSqlListFiles(FM, FM.HistoryDbPath.toQString()), options);
    report(r);
    if (!r.DatabaseError.isEmpty()) {
        printTo(
            stderr,
            QStringLiteral("fmHistorydbconsole sql: database error, run stopped: %1\n").arg(r.DatabaseError));
        return ExitDatabase;
    }
    return r.Failed.isEmpty() ? ExitOk : ExitFileFailed;
}
