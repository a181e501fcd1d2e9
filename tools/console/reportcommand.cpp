// "report": where the farm's time and money went, summed per user, project, month or software.

#include "app/fm.h"
#include "browser/fmhistoryreport.h"
#include "tools/console/consolecommand.h"
#include "tools/console/consoleio.h"

namespace {

const fmConsoleOption kOptions[] = {
    {.Name = "--by",
     .Value = "KEY",
     .Needs = "user, project, month or software",
     .Help = "Group by user, project, month (YYYY-MM of the date finished, local time) or\n"
             "software. Given more than once, the groups nest in that order.",
     .Repeatable = true},
    {.Name = "--from",
     .Value = "DATE",
     .Needs = "a date (2026-10-01)",
     .Help = "Only jobs finished on or after DATE (ISO 8601, local time)."},
    {.Name = "--to",
     .Value = "DATE",
     .Needs = "a date (2026-10-31)",
     .Help = "Only jobs finished on or before DATE (ISO 8601, local time)."},
    {.Name = "--project",
     .Value = "NAME",
     .Needs = "a project name",
     .Help = "Only this project; may be given more than once. Default: all projects.",
     .Repeatable = true},
    {.Name = "--format",
     .Value = "FORMAT",
     .Needs = "table, csv or json",
     .Help = "table (default), csv, or json: {\"rows\": [{\"key\": {...}, \"jobs\", \"renderHours\",\n"
             "\"frames\", \"ghzHours\", \"cost\", \"errors\"}, ...], \"total\": {...}}."},
};

struct ReportArgs
{
    QList<fmReportKey> By;
    fmReportFilter Filter;
    QString Format = QStringLiteral("table");
};

// The report's options as values; an empty text, or why they are wrong. The table has checked
// their names and that each has a value.
QString reportArgs(const fmConsoleArgs& args, ReportArgs& r)
{
    if (!args.Positional.isEmpty())
        return QStringLiteral("Unexpected argument '%1'").arg(args.Positional.first());
    for (const QString& v : args.values("--by")) {
        fmReportKey k = fmReportKey::User;
        if (!fmReportKeyFromName(v, k))
            return QStringLiteral("--by needs user, project, month or software, not '%1'").arg(v);
        if (r.By.contains(k)) return QStringLiteral("--by %1 given twice").arg(v);
        r.By.append(k);
    }
    for (const char* option : {"--from", "--to"}) {
        if (!args.has(option)) continue;
        const bool to = option[2] == 't';
        const QString v = args.value(option);
        if (!fmReportParseDate(v, to, to ? r.Filter.To : r.Filter.From))
            return QStringLiteral("%1 needs a date as 2026-10-01, not '%2'").arg(QLatin1String(option), v);
    }
    if (r.Filter.From > r.Filter.To) return QStringLiteral("--from is later than --to");
    r.Filter.Projects = args.values("--project");
    if (args.has("--format")) r.Format = args.value("--format");
    if (!QStringList{QStringLiteral("table"), QStringLiteral("csv"), QStringLiteral("json")}.contains(
            r.Format))
        return QStringLiteral("--format needs table, csv or json, not '%1'").arg(r.Format);
    return QString();
}

QString check(fmConsoleArgs& args)
{
    ReportArgs r;
    args.DataOnStdout = true; // the report alone on standard output
    return reportArgs(args, r);
}

void printBytes(FILE* f, const QByteArray& bytes)
{
    std::fwrite(bytes.constData(), 1, size_t(bytes.size()), f);
}

int run(const fmConsoleArgs& args)
{
    ReportArgs r;
    reportArgs(args, r);
    const fmReportSettings s = fmReportSettingsOf(FM);
    fmHistorySummaryReader reader;
    reader.setCacheFolder(s.CacheFolder);
    reader.setClientSpeeds(s.Speeds);
    reader.setProjects(r.Filter.Projects);
    const fmHistorySummary summary = reader.read(s.HistoryFolder);
    const fmReport report = fmBuildReport(summary, r.By, r.Filter, s.Cost);

    if (r.Format == QLatin1String("json"))
        printBytes(stdout, fmReportJson(report));
    else if (r.Format == QLatin1String("csv"))
        fmConsolePrint(fmReportCsv(report, s.CostDisplay, s.DecimalMark));
    else
        fmConsolePrint(fmReportTable(report, s.CostDisplay));
    std::fflush(stdout);
    // A damaged file is named; the rest is summed all the same.
    for (const QString& d : summary.DamagedFiles)
        fmConsolePrintErr(QStringLiteral("damaged: ") + d + QLatin1Char('\n'));
    return summary.DamagedFiles.isEmpty() ? fmExitOk : fmExitFailed;
}

} // namespace

extern const fmConsoleCommand fmConsoleReport = {
    .Name = "report",
    .Summary = "sum render time, frames and cost per user, project, month or software",
    .Synopsis = "report [--by user|project|month|software]... [--from DATE] [--to DATE]\n"
                "       [--project NAME]... [--format table|csv|json]",
    .Description =
        "Reads every database file of the history (all layouts, \"__<name>/\" folders too) and prints\n"
        "one row per group: jobs, render hours (sum of execution time), frames, GHz hours, cost\n"
        "(GHz hours x cfgCost, in the farm's currency) and errors, with the totals in the last row.\n"
        "Summaries are cached per file in the machine's local data folder, so a second report over\n"
        "an unchanged history only reads the cache.",
    .Options = kOptions,
    .ExitStatus = "0    done\n"
                  "1    a database file could not be read (it is named; the rest is still summed)\n"
                  "2    bad arguments\n"
                  "100  start-up failed (no root, no configuration)",
    .Example = "# Cost per project and month of the last quarter, for a spreadsheet:\n"
               "$ fmHistorydbconsole -fmRoot /mnt/farm report --by project --by month \\\n"
               "      --from 2026-07-01 --to 2026-09-30 --format csv > q3.csv",
    .NeedsRoot = true,
    .Check = check,
    .Run = run,
};
