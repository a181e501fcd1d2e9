// "jobs": the jobs of one project, one a line or as JSON, filtered as the window's combos and
// "Includes..." filter them.

#include "tools/console/consolecommand.h"
#include "tools/console/consoleio.h"

namespace {

const fmConsoleOption kOptions[] = {
    {.Name = "--project",
     .Value = "NAME",
     .Needs = "a project name",
     .Help = "The project, as 'projects' lists it (case does not matter)."},
    {.Name = "--user",
     .Value = "USER",
     .Needs = "a user name",
     .Help = "Only the jobs of this user (the user combo)."},
    {.Name = "--app",
     .Value = "APP",
     .Needs = "a render application",
     .Help = "Only the jobs of this render application (the application combo)."},
    {.Name = "--text",
     .Value = "TEXT",
     .Needs = "a text",
     .Help = "Only the jobs that include TEXT, as the window's \"Includes...\" filter."},
    {.Name = "--json",
     .Help = "Print a JSON array of objects with the keys id (as the tree shows it), jobId\n"
             "(the numeric JobID), user, software, scene, finished (ISO 8601) and file\n"
             "(the file it was loaded from, relative to the history folder)."},
};

QString check(fmConsoleArgs& args)
{
    if (!args.Positional.isEmpty())
        return QStringLiteral("Unexpected argument '%1'").arg(args.Positional.first());
    if (!args.has("--project")) return QStringLiteral("jobs needs --project NAME");
    args.DataOnStdout = args.has("--json");
    return QString();
}

} // namespace

extern const fmConsoleCommand fmConsoleJobs = {
    .Name = "jobs",
    .Summary = "list the jobs of a project",
    .Synopsis = "jobs --project NAME [--user USER] [--app APP] [--text TEXT] [--json]",
    .Description = "The jobs of one project, one a line, in the order of the window's job tree: identifier\n"
                   "(as the tree shows it), user, software, scene, date finished. The filters work as the\n"
                   "window's user and application combos and its \"Includes...\" text do.",
    .Options = kOptions,
    .ExitStatus = "0    done\n"
                  "1    a file of the project could not be read\n"
                  "2    bad arguments, unknown project\n"
                  "100  start-up failed (no root, no configuration)",
    .Example = "$ fmHistorydbconsole -fmRoot /mnt/farm jobs --project Aurora_Documentary --user anna.berg\n"
               "$ fmHistorydbconsole -fmRoot /mnt/farm jobs --project Aurora_Documentary --json > jobs.json",
    .NeedsRoot = true,
    .Check = check,
    .Run = fmConsoleRunsOnItsOwn,
};
