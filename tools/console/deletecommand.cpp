// "delete": deletes jobs of a project and saves each file that held one, as the window's save
// does: under the file's lock, re-read, written beside it and renamed over it.

#include "tools/console/consolecommand.h"
#include "tools/console/consoleio.h"

namespace {

const fmConsoleOption kOptions[] = {
    {.Name = "--project",
     .Value = "NAME",
     .Needs = "a project name",
     .Help = "The project, as 'projects' lists it (case does not matter)."},
};

QString check(fmConsoleArgs& args)
{
    if (!args.has("--project")) return QStringLiteral("delete needs --project NAME");
    if (args.Positional.isEmpty()) return QStringLiteral("delete needs at least one job identifier");
    return QString();
}

} // namespace

extern const fmConsoleCommand fmConsoleDelete = {
    .Name = "delete",
    .Summary = "delete jobs of a project and save it",
    .Synopsis = "delete --project NAME ID...",
    .Description =
        "Deletes the jobs with the identifiers ID (as 'jobs' prints them, short or full form) from\n"
        "the project and saves each file that held one of them: under the farm's lock file, re-read\n"
        "from disk (jobs added since stay), written to a temporary file beside it and renamed over\n"
        "it, with the \".bak30\" backup. A file that fails keeps its old contents.",
    .Options = kOptions,
    .ExitStatus = "0    every job was deleted and saved\n"
                  "1    a file could not be written (nothing was lost)\n"
                  "2    bad arguments, unknown project or identifier\n"
                  "100  start-up failed (no root, no configuration)",
    .Example = "$ fmHistorydbconsole -fmRoot /mnt/farm jobs --project Aurora_Documentary --user tom.fischer\n"
               "$ fmHistorydbconsole -fmRoot /mnt/farm delete --project Aurora_Documentary 6a1b2c3d 6a1b2c4e",
    .NeedsRoot = true,
    .Check = check,
    .Run = fmConsoleRunsOnItsOwn,
};
