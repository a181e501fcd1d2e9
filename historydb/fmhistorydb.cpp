#include "historydb/fmhistorydb.h"

#include "app/fm.h"
#include "farm/fmusers.h"
#include "foundation/fmglobal.h"

#include "historydb/fmclientstreemodel.h"
#include "historydb/fmjobstreemodel.h"
#include "historydb/fmlogtreemodel.h"
#include "historydb/fmprojectload.h"
#include "historydb/fmreportsdock.h"
#include "historydb/fmwindowabout.h"
#include "jobs/fmjoblist.h"
#include "widgets/fmmessagebox.h"
#include "widgets/fmstyle.h"
#include "widgets/fmtreeview.h"
#include "widgets/fmtreeviewmodel.h"

#include <QAction>
#include <QCloseEvent>
#include <QColor>
#include <QCoreApplication>
#include <QHeaderView>
#include <QMenuBar>
#include <QPalette>
#include <QProgressBar>
#include <QPushButton>
#include <QScreen>
#include <QSettings>
#include <QSignalBlocker>
#include <QStatusBar>
#include <QTimerEvent>

#include <algorithm>

fmHistorydb::fmHistorydb(__FM& fm, fmJ::_JobList& jobList, QWidget* parent, Qt::WindowFlags flags)
    : QMainWindow(parent, flags), app(fm), jobs(jobList), table(fm)
{
    Q_INIT_RESOURCE(fmhistorydb_help);
    ui.setupUi(this);
    fmStyle::setFMFontDefault(this);
    ui.Status_LabelError->hide();
    setupPalettes();
    setupTrees();
    setupDocks();
    setupLayout();
    setupCommands();
    setupStartState();
}

void fmHistorydb::setupPalettes()
{
    // The themes' AlternateBase is a dark text colour (0xFF333333 in the light theme), which would
    // turn every second row of the log table black behind black text. The table's alternate rows
    // take a shade of its own Base colour instead.
    const QPalette::ColorGroup groups[] = {QPalette::Active, QPalette::Inactive, QPalette::Disabled};
    QPalette log = ui.JobLog_Table->palette();
    for (QPalette::ColorGroup group : groups)
        log.setColor(group, QPalette::AlternateBase, log.color(group, QPalette::Base).darker(106));
    ui.JobLog_Table->setPalette(log);

    // The menu bar lies on the window colour, but its items are drawn in the button text colour,
    // which the eastern theme makes light for its blue buttons: the bar takes the window text.
    QPalette bar = menuBar()->palette();
    for (QPalette::ColorGroup group : groups)
        bar.setColor(group, QPalette::ButtonText, bar.color(group, QPalette::WindowText));
    menuBar()->setPalette(bar);
}

void fmHistorydb::setupTrees()
{
    connect(ui.treeJobs->Tree, &QWidget::customContextMenuRequested, this, &fmHistorydb::JobTreeShowPopup);
    connect(ui.treeClients->Tree, &QWidget::customContextMenuRequested, this,
            &fmHistorydb::ClientTreeShowPopup);
    initJobTree(ui.treeJobs, jobsModel, jobsSelection, app, jobs, this, true);
    initClientTree(ui.treeClients, clientsModel, app, &jobs, this, false, false, true, true);
    if (jobsSelection)
        connect(jobsSelection, &fmuiTreeViewSelectionModel::SelectionUpdated, this,
                &fmHistorydb::JobSelectionChanged);
    initLogTree(ui.treeLog, logModel, this);
    if (ui.treeLog->selectionModel())
        connect(ui.treeLog->selectionModel(), &QItemSelectionModel::selectionChanged, this,
                &fmHistorydb::LogSelectionChanged);
    ui.treeJobs->Tree->header()->setSortIndicator(0, Qt::DescendingOrder);
}

void fmHistorydb::setupDocks()
{
    // Dock changes and right-clicks reach slots that do nothing: there is no context menu.
    for (QDockWidget* dock : {ui.dockWidget_JobInfo, ui.dockWidget_Filter, ui.dockWidget_Clients,
                              ui.dockWidget_Commands, ui.dockWidget_Status, ui.dockWidget_JobLog}) {
        connect(dock, &QDockWidget::visibilityChanged, this, &fmHistorydb::Tabchanged);
        connect(dock, &QDockWidget::dockLocationChanged, this, &fmHistorydb::Tabchanged);
    }
    // The job info heading takes the room of its line and never asks for more: a long list of
    // identifiers must not widen the page.
    ui.JobInfo_LabelID->setSizePolicy(QSizePolicy::Ignored,
                                      ui.JobInfo_LabelID->sizePolicy().verticalPolicy());
    ui.horizontalLayout_info1->setStretchFactor(ui.JobInfo_LabelID, 1);

    // The statistics block of the job info page is hidden for good.
    ui.frame_4->hide();
    ui.scrollArea_2->hide();

    setTabPosition(Qt::AllDockWidgetAreas, QTabWidget::North);
    tabifyDockWidget(ui.dockWidget_JobInfo, ui.dockWidget_JobLog);
    ui.dockWidget_JobInfo->raise();
    setupReportsDock();
}

void fmHistorydb::setupLayout()
{
    if (QScreen* s = screen()) {
        const QRect fitted = fitToScreen(frameGeometry(), s->availableGeometry());
        if (fitted.size() != frameGeometry().size()) resize(fitted.width(), fitted.height());
        move(fitted.topLeft());
    }
    setWindowTitle(app.AppTitle(true));

    DefaultState = saveState(0);
    DefaultJobHeader = ui.treeJobs->Tree->header()->saveState();
    DefaultClientHeader = ui.treeClients->Tree->header()->saveState();
    DefaultLogHeader = ui.treeLog->header()->saveState();
    if (!uiLayoutLoadLocal())
        if (!uiLayoutLoadGlobal()) on_actionReset_Layout_triggered();
    buildColumnMenus();
}

void fmHistorydb::setupCommands()
{
    connect(ui.Show_ComboProject, &QComboBox::currentIndexChanged, this, &fmHistorydb::uiComboProjectChanged);
    connect(ui.Show_ComboUser, &QComboBox::currentIndexChanged, this, &fmHistorydb::uiFilterChanged);
    connect(ui.Show_ComboApp, &QComboBox::currentIndexChanged, this, &fmHistorydb::uiFilterChanged);
    connect(ui.Show_EditIncludes, &QLineEdit::returnPressed, this, &fmHistorydb::uiFilterChanged);
    connect(ui.Show_ButtonUpdate, &QPushButton::clicked, this, &fmHistorydb::uiFilterChanged);
    // Ctrl+Z has no menu entry of its own: the status bar names it after each delete.
    UndoAction = new QAction(QStringLiteral("Undo Delete"), this);
    UndoAction->setShortcut(QKeySequence::Undo);
    addAction(UndoAction);
    connect(UndoAction, &QAction::triggered, this, &fmHistorydb::undoDelete);
    statusBar()->setSizeGripEnabled(true);
    LoadingBar = new QProgressBar(this); // owned by the status bar from here on
    LoadingBar->setMaximumWidth(200);
    LoadingBar->setTextVisible(false);
    LoadingBar->hide();
    statusBar()->addPermanentWidget(LoadingBar);
}

void fmHistorydb::setupStartState()
{
    timerCounter = 0;
    PleaseUpdateViews = true;
    timerInterval = 50;
    timerCounterMax = 20;
    TimerId = startTimer(timerInterval);
    logPage = 0;
    logJobID = 0;

    app.WriteLog(10, 0, QStringLiteral("loadProjectList..."), QStringLiteral("main"));
    loadProjectList();
    app.WriteLog(10, 0, QStringLiteral("loadProjectList done"), QStringLiteral("main"));
    uiSetFilterCombos(false);

    expandJobsOnce = true;
    currentUser = app.App.UserName.toQString();
    if (app.UserSettings) {
        if (app.UserSettings->UserCount <= 0) app.LoadFileUserSettings();
        currentUserID = app.UserSettings->findUserID(currentUser, true);
    }

    table.dbChanged = false;
    QSettings settings;
    settings.beginGroup(QStringLiteral("fmHistorydb"));
    // A stored empty text counts as none: the export dialogs then start at the root.
    lastExportDirectory = settings.value(QStringLiteral("lastExportDirectory")).toString();
    if (lastExportDirectory.isEmpty()) lastExportDirectory = app.RootPath.toQString();
    settings.endGroup();
    table.avJobSize = 0.0f;
    table.currentProjectID = -1;
    table.currentProject.clear();
}

fmHistorydb::~fmHistorydb()
{
    if (TimerId) killTimer(TimerId);
    // Each load cancels itself and waits for its thread; none touches the shown list.
    Load.reset();
    Dropped.clear();
    // The widgets go after this part of the window: their last signals (a dock hidden on the way
    // out) must not reach the window's slots any more.
    const QList<QObject*> children = findChildren<QObject*>();
    for (QObject* child : children)
        child->disconnect(this);
    QSettings settings;
    settings.beginGroup(QStringLiteral("fmHistorydb"));
    settings.setValue(QStringLiteral("lastExportDirectory"), lastExportDirectory);
    settings.endGroup();
    // The file lists of the table go with the table; the widgets go with the window.
}

QRect fmHistorydb::fitToScreen(const QRect& frame, const QRect& available)
{
    QRect r = frame;
    if (r.height() > available.height() - 50) r.setHeight(available.height() - 50);
    r.moveLeft(available.x() + (available.width() - r.width()) / 2);
    r.moveTop(available.y() + (available.height() - r.height()) / 2);
    return r;
}

void fmHistorydb::timerEvent(QTimerEvent* event)
{
    if (event->timerId() != TimerId) {
        QMainWindow::timerEvent(event);
        return;
    }
    pollLoad();
    if (PleaseUpdateViews && !rebuildRunning()) {
        app.WriteLog(11, 0, QStringLiteral("PleaseUpdateViews"), QStringLiteral("timerEvent"));
        PleaseUpdateViews = false;
        if (clientsModel) clientsModel->CreateClientTree();
        fitClientColumns();
        uiUpdateJobTable();
        uiUpdateJobInfoPage();
        uiUpdateLogPage(false);
    }
    timerCounter = timerCounter >= timerCounterMax ? 0 : timerCounter + 1;
}

bool fmHistorydb::rebuildRunning()
{
    // A tree rebuild pumps events at its end while it holds its model's mutex; a tick that comes
    // in then would wait on that mutex for ever. The update waits for the next tick instead.
    for (fmuiTreeViewModel* model :
         {static_cast<fmuiTreeViewModel*>(jobsModel), static_cast<fmuiTreeViewModel*>(clientsModel)}) {
        if (!model) continue;
        if (!model->TreeMutex.tryLock()) return true;
        model->TreeMutex.unlock();
    }
    return false;
}

void fmHistorydb::closeEvent(QCloseEvent* event)
{
    // A load under way is given up: the question below is about the jobs shown.
    if (Load) {
        Load->cancel();
        Dropped.push_back(std::move(Load));
        LoadingBar->hide();
        setListCommandsEnabled(true);
        restoreProjectCombo();
    }
    if (ask4Save())
        event->accept();
    else
        event->ignore();
}

void fmHistorydb::loadProjectList()
{
    table.loadProjectList();
}

void fmHistorydb::uiSetFilterCombos(bool keepEntries)
{
    QComboBox* combo = ui.Show_ComboProject;
    if (!keepEntries) {
        combo->clear();
        combo->addItem(fmStringFilterNone);
    }
    const fmTime_t now(true);
    for (int i = 0; i < table.nrOfProjects; ++i) {
        const _projectInfo& project = table.projects[size_t(i)];
        const QString text = fmProjectTable::comboText(project);
        const int entry = i + 1;
        if (keepEntries) {
            if (entry >= combo->count()) break;
            combo->setItemText(entry, text);
        } else {
            combo->addItem(text);
        }
        const int grey = fmProjectTable::comboGrey(project, now);
        combo->setItemData(entry, QColor(grey, grey, grey, 255), Qt::ForegroundRole);
    }
}

void fmHistorydb::uiFilterChanged()
{
    QString user = ui.Show_ComboUser->currentText();
    QString project;
    QString application = ui.Show_ComboApp->currentText();
    const QString includes = ui.Show_EditIncludes->text().trimmed();
    if (user == fmStringFilterAll) user.clear();
    if (project == fmStringFilterAll) project.clear();
    if (application == fmStringFilterAll) application.clear();
    jobs.SetFilter(user, project, application, includes, false, false, false, false, false, true);
    expandJobsOnce = true;
    if (jobsModel) jobsModel->ClearSelectionAll(true, QString());
    // The view's own selection goes too, also when the filter leaves the tree's shape as it was.
    if (jobsSelection) jobsSelection->clearSelection();
    JobTreeStale = true;
    PleaseUpdateViews = true;
}

void fmHistorydb::uiUpdateJobTable()
{
    if (!jobsModel) return;
    // A selection alone changes no row: the selection model has repainted the rows it changed,
    // and the footer sums up the new selection.
    if (JobTreeStale) {
        JobTreeStale = false;
        jobsModel->CreateJobTree(true);
    }
    if (jobsModel->Footer) jobsModel->Footer->pleaseUpdate();
    if (FitColumnsOnce) {
        FitColumnsOnce = false;
        fitJobColumns();
    }
    if (!expandJobsOnce) return;
    expandJobsOnce = false;
    if (!jobsModel->GroupFirstLevel) return;
    const int groups = jobsModel->rowCount(QModelIndex());
    for (int row = 0; row < groups; ++row)
        ui.treeJobs->setExpanded(jobsModel->index(row, 0), true);
}

void fmHistorydb::uiUpdateClientTable()
{
    if (clientsModel) clientsModel->CreateClientTree();
    fitClientColumns();
}

void fmHistorydb::JobSelectionChanged()
{
    PleaseUpdateViews = true;
}

void fmHistorydb::setErrorLabel(const QString& text)
{
    ui.Status_LabelError->setText(text);
    ui.Status_LabelError->show();
}

void fmHistorydb::hideErrorLabel()
{
    ui.Status_LabelError->hide();
}

void fmHistorydb::on_actionClose_2_triggered()
{
    close();
}

void fmHistorydb::on_actionAbout_triggered()
{
    fmWindowAbout about(app.SubPath.toQString(), this);
    about.setVersion(app.VersionText.toQString(), app.getReleaseDate());
    about.exec();
}

// Dock actions: a menu entry is enabled exactly while its dock is hidden.
void fmHistorydb::on_actioShowDockFilter_triggered()
{
    ui.dockWidget_Filter->show();
}

void fmHistorydb::on_actionShowDockCommands_triggered()
{
    ui.dockWidget_Commands->show();
}

void fmHistorydb::on_actionShowDockClients_triggered()
{
    ui.dockWidget_Clients->show();
}

// Job Info and Job Log share a tab: showing one also brings its tab to the front.
void fmHistorydb::on_actionShowDockJobInfo_triggered()
{
    ui.dockWidget_JobInfo->show();
    ui.dockWidget_JobInfo->raise();
}

// The job's settings are what the job info page shows.
void fmHistorydb::on_actionShowDockJobSettings_triggered()
{
    on_actionShowDockJobInfo_triggered();
}

void fmHistorydb::on_actionShowDockJobLog_triggered()
{
    ui.dockWidget_JobLog->show();
    ui.dockWidget_JobLog->raise();
}

void fmHistorydb::on_dockWidget_JobInfo_visibilityChanged(bool visible)
{
    ui.actionShowDockJobInfo->setEnabled(!visible);
}

void fmHistorydb::on_dockWidget_Filter_visibilityChanged(bool visible)
{
    ui.actioShowDockFilter->setEnabled(!visible);
}

void fmHistorydb::on_dockWidget_Clients_visibilityChanged(bool visible)
{
    ui.actionShowDockClients->setEnabled(!visible);
}

void fmHistorydb::on_dockWidget_Commands_visibilityChanged(bool visible)
{
    ui.actionShowDockCommands->setEnabled(!visible);
}

// No menu entry shows the status dock; its visibility drives the entry "Filter" (kept so).
void fmHistorydb::on_dockWidget_Status_visibilityChanged(bool visible)
{
    ui.actioShowDockFilter->setEnabled(!visible);
}

void fmHistorydb::on_dockWidget_JobLog_visibilityChanged(bool visible)
{
    ui.actionShowDockJobLog->setEnabled(!visible);
}
