#pragma once
// fmHistorydb: the history browser's one main window. It owns the project table, creates the
// jobs, clients and log models, and is the only place where a user's action becomes a call on the
// job list. Slots only raise PleaseUpdateViews; a 50 ms timer does all redrawing.

#include "browser/fmhistoryreport.h"
#include "browser/fmprojecttable.h"
#include "ui_fmhistorydb.h"

#include <QByteArray>
#include <QFontMetrics>
#include <QItemSelection>
#include <QList>
#include <QMainWindow>
#include <QRect>
#include <QSet>
#include <QString>

#include <memory>
#include <vector>

class __FM;
class fmuiTreeViewJobsModel;
class fmuiTreeViewClientsModel;
class fmuiTreeViewLogModel;
class fmuiTreeViewSelectionModel;
class fmReportsDock;
class fmProjectLoad;
struct fmJobInfoTexts;
class QCloseEvent;
class QSettings;
class QTimerEvent;
namespace fmJ {
class _JobList;
}

class fmHistorydb : public QMainWindow
{
    Q_OBJECT
public:
    fmHistorydb(__FM& app, fmJ::_JobList& jobs, QWidget* parent = nullptr, Qt::WindowFlags flags = {});
    ~fmHistorydb() override;

    Ui_fmHistorydbClass ui;
    __FM& app;
    fmJ::_JobList& jobs;

    fmuiTreeViewLogModel* logModel = nullptr;
    fmuiTreeViewJobsModel* jobsModel = nullptr;
    fmuiTreeViewClientsModel* clientsModel = nullptr;
    fmuiTreeViewSelectionModel* jobsSelection = nullptr;
    fmReportsDock* reportsDock = nullptr; // owned by the window as a child

    int timerInterval = 50; // milliseconds
    int timerCounter = 0;   // 0 to timerCounterMax and round again; nothing reads it
    int timerCounterMax = 20;
    bool PleaseUpdateViews = true;
    int logPage = 0; // 0 none, 1 "Job Log", 2 "Errors", 3 "Frames Send", 4 "Frame Info Returned"
    unsigned long long logJobID = 0; // written, never compared
    bool expandJobsOnce = true;
    bool JobTreeStale = true; // the job list's rows changed (load, filter, delete): rebuild the tree
    QString currentUser;
    int currentUserID = -1;
    QString lastExportDirectory;

    // The project table: projects, nrOfProjects, avJobSize, currentProject, currentProjectID and
    // dbChanged live in it.
    fmProjectTable table;

    // Project list and loading.
    void loadProjectList();
    // Starts loading project `index` on a thread of its own and cancels a load under way; the
    // window shows the jobs it showed, with a progress bar, until the timer takes the new list in.
    // A load that ends within LoadSettleMs is taken in at once. `revert` only changes the status text.
    void loadProject(int index, bool revert = false);
    int LoadSettleMs = 100;
    bool loadRunning() const { return Load != nullptr; }
    // Picks the project this user had loaded last, if the table still has it (per-user setting
    // "fmHistorydb/lastProject"); without the setting, the project with the newest jobs.
    void reopenLastProject();

    // Views.
    void uiUpdateJobTable();
    void uiUpdateClientTable();
    void uiUpdateJobInfoPage();
    void uiUpdateLogServer();
    void uiUpdateLogError();
    void uiUpdateLogFramesSend() {}
    void uiUpdateLogFrameReturned() {}
    void uiSetFilterCombos(bool keepEntries);
    void setErrorLabel(const QString& text);
    void hideErrorLabel();

    // Edit commands.
    bool ask4Save();
    // Records of the jobs deleted since the last load or save, oldest first, each compressed by
    // qCompress: Ctrl+Z puts them back.
    QList<QByteArray> DeletedJobs;
    // A line in the status bar: what a command did, or why it failed.
    void showStatus(const QString& text);

    // Widens the jobs tree's columns of numbers and dates, and the first column, to their widest
    // text in the loaded project, measured with the view's fonts; never narrower than before.
    // The rows on top at once, the rest of a large project between events.
    void fitJobColumns();
    // The same for the clients tree's columns of numbers (run after each rebuild of that tree:
    // its group sums follow the selection).
    void fitClientColumns();
    // The heading of the job info page for `count` selected jobs whose identifiers are `ids`
    // (joined by ", "): the identifiers of one job, or the count and as many identifiers as fit
    // into `width` pixels of `metrics`, ending in "...".
    static QString jobInfoHeading(int count, const QString& ids, const QFontMetrics& metrics, int width);
    // The text of a project's jobs count label.
    void updateProjectCount();

    // Layout persistence.
    bool uiLayoutLoadLocal();
    bool uiLayoutLoadGlobal();
    bool uiLayoutLoadShared(QSettings& settings);
    void uiLayoutSaveShared(QSettings& settings);
    // "Screens_%1" and one "__%1x%2s%3" per screen: the group of the present screen arrangement.
    static QString screensGroupName();
    // The window's frame after fitting it to an available screen area: no taller than the area
    // less 50 pixels, then centred in it.
    static QRect fitToScreen(const QRect& frame, const QRect& available);

protected:
    void timerEvent(QTimerEvent* event) override;
    void closeEvent(QCloseEvent* event) override;

public slots:
    // Job table columns, shown and hidden from the menu "Job Table Columns".
    void actionTableJob_User_triggered();
    void actionTableJob_CompanyProject_triggered();
    void actionTableJob_SceneShotVersion_triggered();
    void actionTableJob_Software_triggered();
    void actionTableJob_Scene_triggered();
    void actionTableJob_Layer_triggered();
    void actionTableJob_Camera_triggered();
    void actionTableJob_Frames_triggered();
    void actionTableJob_Timetotal_triggered();
    void actionTableJob_Frametime_triggered();
    void actionTableJob_ClientsRendering_triggered();
    void actionTableJob_DateSend_triggered();
    void actionTableJob_DateFinished_triggered();
    void actionTableJob_Done_triggered();
    void actionTableJob_Debug_triggered();
    void actionTableJob_Shot_triggered();
    void actionTableJob_PSTotal_triggered();
    void actionTableJob_Ghzh_triggered();
    void actionTableJob_Cost_triggered();

    void on_actionRevert_Changes_triggered();
    void on_actionSave_Changes_into_db_triggered();
    void on_actionLayoutSaveLocal_triggered();
    void on_actionLayoutSaveGlobal_triggered();
    void on_actionClientTableAssignment_triggered();
    void on_actionClientTableStatus_triggered();
    void on_actionClientTableCPU_triggered();
    void on_actionClientTableMemoryUsage_triggered();
    void on_actionClientTableOS_triggered();
    void on_actionClientTableUser_triggered();
    void on_actionAbout_triggered();
    void on_actioShowDockFilter_triggered();
    void on_actionShowDockCommands_triggered();
    void on_actionShowDockClients_triggered();
    void on_actionShowDockJobInfo_triggered();
    void on_actionShowDockJobLog_triggered();
    void on_actionReset_Layout_triggered();
    void on_actionHelp_triggered();
    void on_actionShowDockJobSettings_triggered();
    void undoDelete();
    void on_dockWidget_JobInfo_visibilityChanged(bool visible);
    void on_dockWidget_Filter_visibilityChanged(bool visible);
    void on_dockWidget_Clients_visibilityChanged(bool visible);
    void on_dockWidget_Commands_visibilityChanged(bool visible);
    void on_dockWidget_Status_visibilityChanged(bool visible);
    void on_dockWidget_JobLog_visibilityChanged(bool visible);
    void on_actionClose_2_triggered();
    void on_CommandJob_Button_Delete_clicked();
    void on_actionRe_submit_job_triggered();
    void on_actionExport_as_csv_Excel_triggered();
    void on_actionExport_ALL_Projects_as_csv_Excel_triggered();
    void JobTreeShowPopup(QPoint point) { Q_UNUSED(point) }
    void ClientTreeShowPopup(QPoint point) { Q_UNUSED(point) }
    void Tabchanged() {}
    void TabchangedFirst() {}
    void hackTabbedDocks() {}
    void JobSelectionChanged();
    void LogSelectionChanged(const QItemSelection& selected);
    void uiUpdateLogPage(bool unused);
    void uiFilterChanged();
    void uiComboProjectChanged();
    // Reports dock: a clicked group filters the job tree; a job identifier (either form)
    // selects its job and scrolls to it, false when no shown job has it.
    void showReportGroup(fmReportKey key, const QString& value);
    bool selectJobByText(const QString& text);

private:
    void setupReportsDock();
    // Parts of the constructor, in the order it runs them.
    void setupPalettes();
    void setupTrees();
    void setupDocks();
    void setupLayout();
    void setupCommands();
    void setupStartState();
    // Parts of the job info page.
    void clearJobInfoPage();
    void showJobInfoTexts(const fmJobInfoTexts& t, int count);
    void showJobInfoImage(int count);

    // Loading: the timer follows the load (progress bar, status line) and takes the finished one
    // in, between two tree rebuilds, since the tree's rows point into the records shown.
    void pollLoad();
    void finishLoad();
    void takeLoadedProject(fmProjectLoad& done);
    // The combo back on the loaded project, after a load that failed.
    void restoreProjectCombo();
    // True, with a status line, while a load runs: commands on the shown list wait for it.
    bool refusedWhileLoading(const QString& command);
    void setListCommandsEnabled(bool enabled);
    std::unique_ptr<fmProjectLoad> Load;                 // the load under way, if any
    std::vector<std::unique_ptr<fmProjectLoad>> Dropped; // cancelled loads, until their thread ends
    bool LoadIsRevert = false;
    class QAction* UndoAction = nullptr;
    // Adds each new name of the loaded jobs to the user and application combos, in order of
    // first appearance; the sets mirror the combos' texts so that a load stays linear.
    void addComboNames();
    // True while the jobs or clients tree is in the middle of a rebuild.
    bool rebuildRunning();
    // Fills "Job Table Columns" and sets the checks of the client column actions.
    void buildColumnMenus();
    void flipJobColumn(int column);
    void flipClientColumn(int column);
    int TimerId = 0;
    class QProgressBar* LoadingBar = nullptr; // in the status bar while a project loads
    bool FitColumnsOnce = false;              // fit the job columns at the next job table update
    class fmColumnFit* JobFit = nullptr;      // children of their views
    class fmColumnFit* ClientFit = nullptr;
    // The form's own layout, taken before any saved layout is applied: the last fallback of
    // "Reset Layout".
    QByteArray DefaultState, DefaultJobHeader, DefaultClientHeader, DefaultLogHeader;
    QSet<QString> ComboUserTexts; // texts in Show_ComboUser
    QSet<QString> ComboAppTexts;  // texts in Show_ComboApp
};
