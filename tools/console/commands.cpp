// The table of the console's commands. A new command is one line here and one file of its own
// that defines its entry (see consolecommand.h).

#include "tools/console/consolecommand.h"
#include "tools/console/consoleio.h"

extern const fmConsoleCommand fmConsoleProjects;
extern const fmConsoleCommand fmConsoleJobs;
extern const fmConsoleCommand fmConsoleExport;
extern const fmConsoleCommand fmConsoleCheck;
extern const fmConsoleCommand fmConsoleDelete;
extern const fmConsoleCommand fmConsoleReport;
extern const fmConsoleCommand fmConsoleSql;
extern const fmConsoleCommand fmConsoleDemoRoot;
extern const fmConsoleCommand fmConsoleHelp;

std::span<const fmConsoleCommand* const> fmConsoleCommands()
{
    static const fmConsoleCommand* const commands[] = {
        &fmConsoleProjects, &fmConsoleJobs, &fmConsoleExport,   &fmConsoleCheck, &fmConsoleDelete,
        &fmConsoleReport,   &fmConsoleSql,  &fmConsoleDemoRoot, &fmConsoleHelp,
    };
    return commands;
}
