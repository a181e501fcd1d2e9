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

#include <QStatusBar>

#include <algorithm>
#include <cstring>

void fmHistorydb::on_CommandJob_Button_Delete_clicked()
{
    if (refusedWhileLoading(QStringLiteral("Delete"))) return;
    const int count = std::clamp(jobs.SelectedCount, 0, jobs.Capacity);
    if (count == 0 || !jobs.Selection) {
        showStatus(QStringLiteral("Delete: no job selected"));
        return;
    }
    const QString project = table.currentProject;
    const QString question = count == 1 ? QStringLiteral("Delete 1 job from %1?").arg(project)
                                        : QStringLiteral("Delete %1 jobs from %2?").arg(count).arg(project);
    if (!fmMessageBox::Question(this, question, QStringLiteral("Yes"), 0, QStringLiteral("No"))) {
        showStatus(QStringLiteral("Delete cancelled: nothing was deleted"));
        return;
    }
    const QString historyFolder = app.HistoryDbPath.toQString();
    int deleted = 0;
    // DeleteJob leaves the selection list alone and keeps the deleted records in the pool, so the
    // list can be read by index while jobs go.
    for (int i = 0; i < count; ++i) {
        fmJ::_jobsHistoryDB_Runtime* job = jobs.Selection[size_t(i)];
        if (!job || !jobs.isValidJob(job)) continue;
        const unsigned long long id = job->JobID;
        const QString image =
            historyFolder + project + QLatin1Char('/') + fmJ::ID2strFull(id) + QStringLiteral(".jpg");
        const QString why = fmDeleteFile(image);
        if (!why.isEmpty())
            app.WriteLog(2, 0,
                         QStringLiteral("Unable to delete FOI image file; '") + fmPathForDisplay(image) +
                             QStringLiteral("'; ") + why,
                         QStringLiteral("on_CommandJob_Button_Delete_clicked"));
        table.dbChanged = true;
        // Compressed: a record is 38 KB, mostly unused text capacity, and a delete may take all.
        DeletedJobs.append(qCompress(reinterpret_cast<const uchar*>(job), int(sizeof(*job)), 1));
        jobs.DeleteJob(job);
        ++deleted;
    }
    // The combo stays on the loaded project; its entry and the label show the count left.
    updateProjectCount();
    JobTreeStale = true;
    PleaseUpdateViews = true;
    showStatus(
        QStringLiteral("Deleted %1 job(s) from %2. Ctrl+Z brings them back until the project is saved.")
            .arg(deleted)
            .arg(project));
}

void fmHistorydb::undoDelete()
{
    if (refusedWhileLoading(QStringLiteral("Undo"))) return;
    if (DeletedJobs.isEmpty()) {
        showStatus(QStringLiteral("Undo: no deletion since the last save"));
        return;
    }
    int restored = 0;
    // Each record comes back once, with a new place at the end of the queue.
    while (!DeletedJobs.isEmpty()) {
        const QByteArray bytes = qUncompress(DeletedJobs.takeLast());
        if (bytes.size() != int(sizeof(fmJ::_jobsHistoryDB_Runtime))) continue;
        fmJ::_jobsHistoryDB_Runtime* job = jobs.GetNewJob();
        if (!job) break; // the list is full: what is left can't come back
        const int queueID = job->QueueID;
        std::memcpy(static_cast<void*>(job), bytes.constData(), sizeof(*job));
        job->QueueID = queueID;
        job->Selected = 0;
        job->HistorySelected = 0;
        ++restored;
    }
    updateProjectCount();
    uiFilterChanged(); // sorts and filters the list again with the jobs back in it
    showStatus(QStringLiteral("Undo: %1 deleted job(s) back in %2").arg(restored).arg(table.currentProject));
}

void fmHistorydb::updateProjectCount()
{
    const int id = table.currentProjectID;
    if (id < 0 || id >= table.nrOfProjects) return;
    table.projects[size_t(id)].NrOfJobs = jobs.JobCount;
    ui.label_ProjNrScenes->setText(QStringLiteral("%1 jobs").arg(jobs.JobCount));
    uiSetFilterCombos(true);
}

void fmHistorydb::on_actionSave_Changes_into_db_triggered()
{
    if (refusedWhileLoading(QStringLiteral("Save"))) return;
    if (table.currentProject.isEmpty()) return;
    // Each file of the project that lost a job is rewritten in its own place, under its lock, from
    // what is on disk now; a file that cannot be written stays as it was and is named here.
    QStringList messages;
    const bool saved = jobs.SaveSources(messages);
    if (saved)
        DeletedJobs.clear(); // what is saved can no longer be undone
    else
        fmMessageBox::Warning(this, messages.join(QLatin1Char('\n')), QStringLiteral("Ok"), 0);
    showStatus(saved ? QStringLiteral("Saved %1 (%2 jobs)").arg(table.currentProject).arg(jobs.JobCount)
                     : QStringLiteral("Save failed: ") + messages.join(QStringLiteral("; ")));
    loadProjectList(); // sizes changed, and a file whose jobs all went is gone
}

void fmHistorydb::on_actionRevert_Changes_triggered()
{
    if (refusedWhileLoading(QStringLiteral("Revert"))) return;
    if (table.currentProjectID < 0) {
        showStatus(QStringLiteral("Revert: no project loaded"));
        return;
    }
    // What is on disk now, with the files the folder holds now.
    if (!ask4Save()) {
        showStatus(QStringLiteral("Revert cancelled"));
        return;
    }
    table.dbChanged = false;
    DeletedJobs.clear();
    loadProjectList();
    loadProject(table.currentProjectID, true); // the status line tells when it is done
}

void fmHistorydb::showStatus(const QString& text)
{
    statusBar()->showMessage(text);
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
