// "jobs": the jobs of one project, one a line or as JSON, filtered as the window's combos and
// "Includes..." filter them.

#include "app/fm.h"
#include "browser/fmprojecttable.h"
#include "foundation/fmjobid.h"
#include "jobs/fmjoblist.h"
#include "tools/console/consolecommand.h"
#include "tools/console/consoleedit.h"
#include "tools/console/consoleio.h"

#include <QDir>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QReadLocker>

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
    args.DataOnStdout = true; // the jobs, as text or JSON
    return QString();
}

// The project's jobs in the job tree's order, filtered as the window filters them.
int run(const fmConsoleArgs& args)
{
    const bool json = args.has("--json");
    fmConsoleProject project;
    const int loaded = fmConsoleLoadProject(FM, args.value("--project"), project);
    if (loaded != 0) return loaded;
    fmJ::_JobList& list = *project.List;
    list.SetFilter(args.value("--user"), QString(), args.value("--app"), args.value("--text").trimmed(),
                   false, false, false, false, false, true);
    const QDir history(FM.HistoryDbPath.toQString());
    QJsonArray all;
    QReadLocker lock(&list.LockJobs);
    for (int i = 0; i < list.SortedCount; ++i) {
        const fmJ::_jobsHistoryDB_Runtime* job = list.Sorted[i];
        const int source = job->SourceFile - 1;
        const QString file = source >= 0 && source < list.Sources.size()
                                 ? history.relativeFilePath(list.Sources[source].Path)
                                 : QString();
        const QString id = fmJ::ID2str(job->JobID);
        if (!json) {
            fmConsolePrint(QStringLiteral("%1\t%2\t%3\t%4\t%5\t%6\t%7\n")
                               .arg(id)
                               .arg(job->JobID)
                               .arg(job->UserName.toQString(), job->Software.toQString(),
                                    job->SceneName.toQString(), fmConsoleIsoTime(job->DateFinished), file));
            continue;
        }
        all.append(QJsonObject{{QStringLiteral("id"), id},
                               {QStringLiteral("jobId"), QJsonValue(qint64(job->JobID))},
                               {QStringLiteral("user"), job->UserName.toQString()},
                               {QStringLiteral("software"), job->Software.toQString()},
                               {QStringLiteral("scene"), job->SceneName.toQString()},
                               {QStringLiteral("finished"), fmConsoleIsoTime(job->DateFinished)},
                               {QStringLiteral("file"), file}});
    }
    if (json) fmConsolePrint(QString::fromUtf8(QJsonDocument(all).toJson(QJsonDocument::Indented)));
    return 0;
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
    .Run = run,
};
