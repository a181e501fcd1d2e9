// "delete": deletes jobs of a project and saves each file that held one, as the window's save
// does: under the file's lock, re-read, written beside it and renamed over it.

#include "app/fm.h"
#include "browser/fmprojecttable.h"
#include "foundation/fmfile.h"
#include "foundation/fmjobid.h"
#include "jobs/fmjoblist.h"
#include "tools/console/consolecommand.h"
#include "tools/console/consoleedit.h"
#include "tools/console/consoleio.h"

#include <QList>

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
    args.DataOnStdout = true; // what was deleted
    return QString();
}

// The jobs an identifier names: the numeric JobID, or the tree's form (without regard to case).
QList<fmJ::_jobsHistoryDB_Runtime*> jobsNamed(fmJ::_JobList& list, const QString& id)
{
    bool numeric = false;
    const unsigned long long number = id.toULongLong(&numeric);
    QList<fmJ::_jobsHistoryDB_Runtime*> found;
    for (int i = 0; i < list.JobCount; ++i) {
        fmJ::_jobsHistoryDB_Runtime* job = list.Queue[i];
        if (numeric ? job->JobID == number : fmJ::ID2str(job->JobID).compare(id, Qt::CaseInsensitive) == 0)
            found.append(job);
    }
    return found;
}

int run(const fmConsoleArgs& args)
{
    const QString projectName = args.value("--project");
    fmConsoleProject project;
    const int loaded = fmConsoleLoadProject(FM, projectName, project);
    if (loaded != 0) return loaded;
    fmJ::_JobList& list = *project.List;
    QList<fmJ::_jobsHistoryDB_Runtime*> doomed;
    for (const QString& id : args.Positional) {
        const QList<fmJ::_jobsHistoryDB_Runtime*> found = jobsNamed(list, id);
        if (found.isEmpty()) {
            fmConsolePrintErr(
                QStringLiteral("No job '%1' in project '%2'; nothing deleted.\n").arg(id, projectName));
            return 2;
        }
        // The tree's short form may stand for several jobs: deleting them all would surprise.
        if (found.size() > 1) {
            fmConsolePrintErr(
                QStringLiteral("'%1' names %2 jobs of '%3'; give the JobID that 'jobs' prints. Nothing "
                               "deleted.\n")
                    .arg(id)
                    .arg(found.size())
                    .arg(projectName));
            return 2;
        }
        for (fmJ::_jobsHistoryDB_Runtime* job : found)
            if (!doomed.contains(job)) doomed.append(job);
    }
    QList<unsigned long long> ids;
    for (fmJ::_jobsHistoryDB_Runtime* job : std::as_const(doomed)) {
        ids.append(job->JobID);
        list.DeleteJob(job);
    }
    QStringList messages;
    const bool saved = list.SaveSources(messages);
    for (const QString& m : std::as_const(messages))
        fmConsolePrintErr(m + QLatin1Char('\n'));
    if (!saved) return 1;
    // The images go only once the jobs are gone from the files for good.
    const QString folder = FM.HistoryDbPath.toQString() + project.Table->projects[size_t(project.Index)].Name;
    for (unsigned long long id : std::as_const(ids))
        fmDeleteFile(folder + QLatin1Char('/') + fmJ::ID2strFull(id) + QStringLiteral(".jpg"));
    fmConsolePrint(QStringLiteral("%1 job(s) deleted from '%2'\n").arg(ids.size()).arg(projectName));
    return 0;
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
    .Run = run,
};
