// "report": where the farm's time and money went, summed per user, project, month or software.

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

QString check(fmConsoleArgs& args)
{
    if (!args.Positional.isEmpty())
        return QStringLiteral("Unexpected argument '%1'").arg(args.Positional.first());
    args.DataOnStdout = args.has("--format") && args.value("--format") != QLatin1String("table");
    return QString();
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
    .Run = fmConsoleRunsOnItsOwn,
};
