// "projects": the project table as the window's project list shows it, as text or JSON.

#include "app/fm.h"
#include "browser/fmprojecttable.h"
#include "foundation/fmfileread.h"
#include "jobs/fmjoblist.h"
#include "tools/console/consolecommand.h"
#include "tools/console/consoleio.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <memory>

namespace {

const fmConsoleOption kOptions[] = {
    {.Name = "--json",
     .Help = "Print the table as a JSON array: name, files (path, size, time), first and\n"
             "last date (ISO 8601, UTC), jobs and whether the count is exact."},
    {.Name = "--exact",
     .Help = "Load every project to count its jobs instead of estimating from file sizes."},
    {.Name = "--names", .Help = "Only the project names, one a line (for scripts and shell completion)."},
};

QString check(fmConsoleArgs& args)
{
    if (!args.Positional.isEmpty())
        return QStringLiteral("Unexpected argument '%1'").arg(args.Positional.first());
    if (args.has("--json") && args.has("--names"))
        return QStringLiteral("projects takes either --json or --names");
    args.DataOnStdout = args.has("--json") || args.has("--names"); // log lines go to standard error
    return QString();
}

QJsonArray projectsJson(const fmProjectTable& table)
{
    QJsonArray projects;
    for (int i = 0; i < table.nrOfProjects; ++i) {
        const _projectInfo& p = table.projects[size_t(i)];
        QJsonArray files;
        for (const _projectInfo_files& f : p.Files)
            files.append(QJsonObject{{QStringLiteral("path"), fmPathForDisplay(f.FileName)},
                                     {QStringLiteral("size"), double(f.Size)},
                                     {QStringLiteral("time"), fmConsoleIsoTime(f.Time)}});
        projects.append(QJsonObject{{QStringLiteral("name"), fmPathForDisplay(p.Name)},
                                    {QStringLiteral("files"), files},
                                    {QStringLiteral("first"), fmConsoleIsoTime(p.DateFirst)},
                                    {QStringLiteral("last"), fmConsoleIsoTime(p.DateLast)},
                                    {QStringLiteral("jobs"), double(p.NrOfJobs)},
                                    {QStringLiteral("exact"), p.Loaded}});
    }
    return projects;
}

int run(const fmConsoleArgs& args)
{
    auto table = std::make_unique<fmProjectTable>(FM);
    table->loadProjectList();
    int result = fmExitOk;
    if (args.has("--exact")) {
        auto list = std::make_unique<fmJ::_JobList>(FM);
        for (int i = 0; i < table->nrOfProjects; ++i) {
            QString message;
            const auto r = table->loadProjectJobs(i, *list, message);
            if (!message.isEmpty()) FM.WriteLog(2, 0, message, QStringLiteral("console,projects"));
            if (r != fmProjectTable::LoadDone) result = fmExitFailed;
        }
    }
    if (args.has("--json")) {
        fmConsolePrint(
            QString::fromUtf8(QJsonDocument(projectsJson(*table)).toJson(QJsonDocument::Indented)));
        return result;
    }
    for (int i = 0; i < table->nrOfProjects; ++i) {
        const _projectInfo& p = table->projects[size_t(i)];
        fmConsolePrint((args.has("--names") ? p.Name : fmProjectTable::comboText(p)) + QLatin1Char('\n'));
    }
    return result;
}

} // namespace

extern const fmConsoleCommand fmConsoleProjects = {
    .Name = "projects",
    .Summary = "list the projects of the history folder",
    .Synopsis = "projects [--exact] [--json | --names]",
    .Description =
        "The project table, one project a line as the window's project list shows it: month of the\n"
        "last job (\".MM.YY\"), job count (\"~\" marks an estimate from the file sizes), name.",
    .Options = kOptions,
    .ExitStatus = "0    done\n"
                  "1    --exact: a project's file could not be read or failed to load\n"
                  "2    bad arguments\n"
                  "100  start-up failed (no root, no configuration)",
    .Example = "$ fmHistorydbconsole -fmRoot /mnt/farm projects\n"
               ".10.26   ~212   Aurora_Documentary\n"
               ".07.26   ~130   Brightwater_Trailer\n"
               "$ fmHistorydbconsole -fmRoot /mnt/farm projects --json --exact > projects.json",
    .NeedsRoot = true,
    .Check = check,
    .Run = run,
};
