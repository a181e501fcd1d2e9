// Edit commands of the history window: jobs can only be taken out of a project; the database
// file is rewritten on request alone, and a question stands between an unsaved edit and whatever
// would lose it.
#include "historydb/fmhistorydb.h"

#include "app/fm.h"
#include "foundation/fmfile.h"
#include "foundation/fmfileread.h"
#include "foundation/fmjobid.h"
#include "jobs/fmjoblist.h"
#include "widgets/fmmessagebox.h"

#include <algorithm>

void fmHistorydb::on_CommandJob_Button_Delete_clicked()
{
    // No confirmation: the button deletes at once.
    const int count = std::clamp(jobs.SelectedCount, 0, jobs.Capacity);
    if (count == 0 || !jobs.Selection) return;
    const QString historyFolder = app.HistoryDbPath.toQString();
    // DeleteJob leaves the selection list alone and keeps the deleted records in the pool, so the
    // list can be read by index while jobs go.
    for (int i = 0; i < count; ++i) {
        fmJ::_jobsHistoryDB_Runtime* job = jobs.Selection[size_t(i)];
        if (!job || !jobs.isValidJob(job)) continue;
        const unsigned long long id = job->JobID;
        const QString image = historyFolder + table.currentProject + QLatin1Char('/') + fmJ::ID2strFull(id) +
                              QStringLiteral(".jpg");
        const QString why = fmDeleteFile(image);
        if (!why.isEmpty())
            app.WriteLog(2, 0,
                         QStringLiteral("Unable to delete FOI image file; '") + fmPathForDisplay(image) +
                             QStringLiteral("'; ") + why,
                         QStringLiteral("on_CommandJob_Button_Delete_clicked"));
        table.dbChanged = true;
        jobs.DeleteJob(job);
    }
    PleaseUpdateViews = true;
    loadProjectList();
    uiSetFilterCombos(false);
}

void fmHistorydb::on_actionSave_Changes_into_db_triggered()
{
    if (table.currentProject.isEmpty()) return;
    // Each file of the project that lost a job is rewritten in its own place, under its lock, from
    // what is on disk now; a file that cannot be written stays as it was and is named here.
    QStringList messages;
    if (!jobs.SaveSources(messages)) fmMessageBox::Warning(this, messages.join(QLatin1Char('\n')), QStringLiteral("Ok"), 0);
    loadProjectList(); // sizes changed, and a file whose jobs all went is gone
}

void fmHistorydb::on_actionRevert_Changes_triggered()
{
    // What is on disk now, with the files the folder holds now.
    if (!ask4Save()) return;
    table.dbChanged = false;
    loadProjectList();
    loadProject(table.currentProjectID);
}

bool fmHistorydb::ask4Save()
{
    if (!table.dbChanged || table.currentProject.isEmpty()) return true;
    bool cancelled = false;
    if (fmMessageBox::Question(this, QStringLiteral("Would you like to save your changes?"),
                               QStringLiteral("Yes"), 0, QStringLiteral("No"), &cancelled)) {
        on_actionSave_Changes_into_db_triggered();
        return true;
    }
    return !cancelled;
}
