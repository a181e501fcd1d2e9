// "delete --project NAME ID...": takes the named jobs out of the project and saves each of its
// files that lost a job, as the window's "Save Changes into db" does. Exit status 0 when all were
// deleted and saved, 1 when a file could not be written (it stays as it was), 2 for an unknown
// project or identifier (nothing is changed then).

#include "tools/console/consoleedit.h"

#include "app/fm.h"
#include "browser/fmprojecttable.h"
#include "foundation/fmfile.h"
#include "foundation/fmjobid.h"
#include "jobs/fmjoblist.h"

#include <QList>

namespace {

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

} // namespace

int fmConsoleDelete(__FM& fm, const fmConsoleEditArgs& args)
{
    fmConsoleProject project;
    const int loaded = fmConsoleLoadProject(fm, args.Project, project);
    if (loaded != 0) return loaded;
    fmJ::_JobList& list = *project.List;
    QList<fmJ::_jobsHistoryDB_Runtime*> doomed;
    for (const QString& id : args.IDs) {
        const QList<fmJ::_jobsHistoryDB_Runtime*> found = jobsNamed(list, id);
        if (found.isEmpty()) {
            fmConsolePrint(
                stderr,
                QStringLiteral("No job '%1' in project '%2'; nothing deleted.\n").arg(id, args.Project));
            return 2;
        }
        // The tree's short form may stand for several jobs: deleting them all would surprise.
        if (found.size() > 1) {
            fmConsolePrint(
                stderr,
                QStringLiteral("'%1' names %2 jobs of '%3'; give the JobID that 'jobs' prints. Nothing "
                               "deleted.\n")
                    .arg(id)
                    .arg(found.size())
                    .arg(args.Project));
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
        fmConsolePrint(stderr, m + QLatin1Char('\n'));
    if (!saved) return 1;
    // The images go only once the jobs are gone from the files for good.
    const QString folder = fm.HistoryDbPath.toQString() + project.Table->projects[size_t(project.Index)].Name;
    for (unsigned long long id : std::as_const(ids))
        fmDeleteFile(folder + QLatin1Char('/') + fmJ::ID2strFull(id) + QStringLiteral(".jpg"));
    fmConsolePrint(stdout, QStringLiteral("%1 job(s) deleted from '%2'\n").arg(ids.size()).arg(args.Project));
    return 0;
}
