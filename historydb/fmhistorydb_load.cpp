// Loading a project: the files are read on a thread of their own into a list of the load's own
// (fmProjectLoad), while the window keeps drawing and browsing the jobs it shows; the timer follows
// the load and, between two tree rebuilds, exchanges the shown jobs for the loaded ones. A second
// pick cancels the first load; commands on the shown list wait until the load is over.

#include "historydb/fmhistorydb.h"

#include "app/fm.h"
#include "historydb/fmjobstreemodel.h"
#include "historydb/fmprojectload.h"
#include "historydb/fmreportsdock.h"
#include "jobs/fmjoblist.h"
#include "widgets/fmmessagebox.h"

#include <QAction>
#include <QDeadlineTimer>
#include <QProgressBar>
#include <QPushButton>
#include <QSettings>
#include <QSignalBlocker>

#include <algorithm>
#include <climits>
#include <string_view>
#include <unordered_set>

void fmHistorydb::loadProject(int index, bool revert)
{
    // The question was asked at the pick of the load under way, and the shown list can't change
    // while it runs.
    if (index < 0 || (!Load && !ask4Save())) return;
    if (Load) {
        Load->cancel();
        Dropped.push_back(std::move(Load));
    }
    LoadIsRevert = revert;
    Load = std::make_unique<fmProjectLoad>(app, table, index);
    Load->start();
    setListCommandsEnabled(false);
    // The bar counts kilobytes of the project's files.
    LoadingBar->setRange(0, int(std::min<qint64>(Load->FileBytes / 1024, INT_MAX)));
    LoadingBar->setValue(0);
    LoadingBar->show();
    showStatus(QStringLiteral("Loading %1 ...").arg(Load->Name));
    // A load that ends at once is taken in at once: the bar doesn't flash, and the pick of a small
    // project reads as instant.
    if (Load->wait(QDeadlineTimer(LoadSettleMs))) finishLoad();
}

void fmHistorydb::pollLoad()
{
    // Cancelled loads stop at their next frame; they go once their thread has ended.
    std::erase_if(Dropped, [](const std::unique_ptr<fmProjectLoad>& l) { return l->isFinished(); });
    if (!Load) return;
    if (Load->isFinished()) {
        finishLoad();
        return;
    }
    LoadingBar->setValue(int(std::min<qint64>(Load->bytes() / 1024, LoadingBar->maximum())));
    // The count of the combo is an estimate until the load ends: the line counts what was read,
    // the bar the bytes.
    showStatus(QStringLiteral("Loading %1: %2 frames read").arg(Load->Name).arg(Load->frames()));
}

void fmHistorydb::finishLoad()
{
    // The tree's rows point into the shown records: they are exchanged between rebuilds only.
    if (!Load || !Load->isFinished() || rebuildRunning()) return;
    const std::unique_ptr<fmProjectLoad> done = std::move(Load);
    LoadingBar->hide();
    setListCommandsEnabled(true);
    switch (done->Result) {
    case fmProjectTable::LoadFileMissing:
        // No update is asked for: the tree shows what it showed.
        restoreProjectCombo();
        showStatus(QStringLiteral("%1 was not loaded").arg(done->Name));
        fmMessageBox::Warning(this, done->Message, QStringLiteral("Ok"), 45);
        return;
    case fmProjectTable::LoadFileFailed:
    case fmProjectTable::LoadBadIndex:
        restoreProjectCombo();
        showStatus(QStringLiteral("%1 was not loaded: %2")
                       .arg(done->Name, QString(done->Message).replace('\n', ' ')));
        return;
    case fmProjectTable::LoadDone:
        break;
    }
    takeLoadedProject(*done);
}

void fmHistorydb::takeLoadedProject(fmProjectLoad& done)
{
    jobs.swapJobs(*done.List);
    // The load's table copy differs in the loaded project's entry and in the table's own fields.
    table.projects = done.Table.projects;
    table.nrOfProjects = done.Table.nrOfProjects;
    table.avJobSize = done.Table.avJobSize;
    table.currentProject = done.Table.currentProject;
    table.currentProjectID = done.Table.currentProjectID;
    table.dbChanged = false;

    const _projectInfo& project = table.projects[size_t(done.Index)];
    ui.label_ProjNrScenes->setText(QStringLiteral("%1 jobs").arg(project.NrOfJobs));
    DeletedJobs.clear();
    FitColumnsOnce = true;
    addComboNames();
    uiSetFilterCombos(true);
    uiFilterChanged();
    // The former records go with `done`: the tree lets go of them first.
    uiUpdateJobTable();
    reportsDock->setLoadedProject(table.currentProject);
    QSettings settings;
    settings.setValue(QStringLiteral("fmHistorydb/lastProject"), project.Name);
    showStatus(LoadIsRevert ? QStringLiteral("Reverted: %1 read again from disk, %2 jobs")
                                  .arg(project.Name)
                                  .arg(project.NrOfJobs)
                            : QStringLiteral("Loaded %1: %2 jobs").arg(project.Name).arg(project.NrOfJobs));
}

void fmHistorydb::restoreProjectCombo()
{
    const QSignalBlocker quiet(ui.Show_ComboProject);
    ui.Show_ComboProject->setCurrentIndex(table.currentProjectID + 1);
}

bool fmHistorydb::refusedWhileLoading(const QString& command)
{
    if (!Load) return false;
    showStatus(QStringLiteral("%1: not while %2 is loading").arg(command, Load->Name));
    return true;
}

void fmHistorydb::setListCommandsEnabled(bool enabled)
{
    for (QAction* a : {ui.actionSave_Changes_into_db, ui.actionRevert_Changes, ui.actionExport_as_csv_Excel,
                       ui.actionExport_ALL_Projects_as_csv_Excel, ui.actionRe_submit_job, UndoAction})
        if (a) a->setEnabled(enabled);
    ui.CommandJob_Button_Delete->setEnabled(enabled);
}

void fmHistorydb::reopenLastProject()
{
    // Without a setting (a first start), the project with the newest jobs.
    const QString name = QSettings().value(QStringLiteral("fmHistorydb/lastProject")).toString();
    int pick = -1;
    const int count = std::clamp(table.nrOfProjects, 0, int(table.projects.size()));
    for (int i = 0; i < count; ++i) {
        const _projectInfo& p = table.projects[size_t(i)];
        if (name.isEmpty() ? (pick < 0 || p.DateLast.t > table.projects[size_t(pick)].DateLast.t)
                           : p.Name == name)
            pick = i;
    }
    if (pick >= 0) ui.Show_ComboProject->setCurrentIndex(pick + 1);
}

void fmHistorydb::addComboNames()
{
    // The user combo lists the loaded project's users, sorted, and keeps the user picked before if
    // the project has them; the application combo adds each new name in order of first appearance.
    // The first entry that goes into an empty combo makes it current, and its own signal runs
    // uiFilterChanged in the midst of the load; that is kept.
    if (ui.Show_ComboApp->count() == 0) {
        ComboAppTexts = {fmStringFilterAll};
        ui.Show_ComboApp->addItem(fmStringFilterAll);
    }
    // A name is made into a text once, at its first job: names repeat over thousands of jobs. The
    // views point into the records, which stay where they are meanwhile.
    auto raw = [](const fmString<25>& s) {
        return std::u16string_view(reinterpret_cast<const char16_t*>(s.Data), size_t(s.len()));
    };
    std::unordered_set<std::u16string_view> seenUsers, seenApps;
    QSet<QString> users;
    for (int q = 0; q < jobs.JobCount; ++q) {
        const fmJ::_jobsHistoryDB_Runtime* job = jobs.GetJobByQueueID(q);
        if (!job) continue;
        if (seenUsers.insert(raw(job->UserName)).second) users.insert(job->UserName.toQString());
        if (!seenApps.insert(raw(job->Software)).second) continue;
        const QString softwareText = job->Software.toQString();
        if (!ComboAppTexts.contains(softwareText)) {
            ComboAppTexts.insert(softwareText);
            ui.Show_ComboApp->addItem(softwareText);
        }
    }
    QStringList sorted(users.cbegin(), users.cend());
    std::sort(sorted.begin(), sorted.end(),
              [](const QString& a, const QString& b) { return a.compare(b, Qt::CaseInsensitive) < 0; });
    const QString picked = ui.Show_ComboUser->currentText();
    {
        const QSignalBlocker quiet(ui.Show_ComboUser);
        ui.Show_ComboUser->clear();
        ui.Show_ComboUser->addItem(fmStringFilterAll);
        ui.Show_ComboUser->addItems(sorted);
        const int keep = ui.Show_ComboUser->findText(picked);
        ui.Show_ComboUser->setCurrentIndex(keep > 0 ? keep : 0);
    }
    ComboUserTexts = QSet<QString>(sorted.cbegin(), sorted.cend());
    ComboUserTexts.insert(fmStringFilterAll);
}

void fmHistorydb::uiComboProjectChanged()
{
    // Entry i + 1 is projects[i]; "-- none --" leaves the loaded jobs where they are.
    const int entry = ui.Show_ComboProject->currentIndex();
    if (entry < 1) return;
    loadProject(entry - 1);
}
