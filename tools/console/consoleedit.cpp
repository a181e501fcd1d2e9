#include "tools/console/consoleedit.h"

#include "app/fm.h"
#include "browser/fmprojecttable.h"
#include "jobs/fmjoblist.h"
#include "tools/console/consolecommand.h"
#include "tools/console/consoleio.h"

int fmConsoleLoadProject(__FM& fm, const QString& name, fmConsoleProject& project)
{
    project.Table = std::make_unique<fmProjectTable>(fm);
    project.List = std::make_unique<fmJ::_JobList>(fm);
    project.Table->loadProjectList();
    for (int i = 0; i < project.Table->nrOfProjects && project.Index < 0; ++i)
        if (project.Table->projects[size_t(i)].Name.compare(name, Qt::CaseInsensitive) == 0)
            project.Index = i;
    if (project.Index < 0) {
        fmConsolePrintErr(
            QStringLiteral("Unknown project '%1'; 'fmHistorydbconsole projects' lists them.\n").arg(name));
        return fmExitUsage;
    }
    QString message;
    const auto r = project.Table->loadProjectJobs(project.Index, *project.List, message);
    if (r == fmProjectTable::LoadDone) return 0;
    fmConsolePrintErr(
        (message.isEmpty() ? QStringLiteral("Unable to load project '%1'").arg(name) : message) +
        QLatin1Char('\n'));
    return fmExitFailed;
}
