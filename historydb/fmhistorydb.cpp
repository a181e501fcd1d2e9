#include "historydb/fmhistorydb.h"

#include "app/fm.h"
#include "farm/fmusers.h"
#include "foundation/fmglobal.h"

#include "historydb/fmclientstreemodel.h"
#include "historydb/fmjobstreemodel.h"
#include "historydb/fmlogtreemodel.h"
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
    // The themes' AlternateBase is a dark text colour (0xFF333333 in the light theme), which would
    // turn every second row of the log table black behind black text. The table's alternate rows
    // take a shade of its own Base colour instead.
    {
        QPalette palette = ui.JobLog_Table->palette();
        for (QPalette::ColorGroup group : {QPalette::Active, QPalette::Inactive, QPalette::Disabled})
            palette.setColor(group, QPalette::AlternateBase,
                             palette.color(group, QPalette::Base).darker(106));
        ui.JobLog_Table->setPalette(palette);
    }

    // The menu bar lies on the window colour, but its items are drawn in the button text colour,
    // which the eastern theme makes light for its blue buttons: the bar takes the window text.
    {
        QPalette palette = menuBar()->palette();
        for (QPalette::ColorGroup group : {QPalette::Active, QPalette::Inactive, QPalette::Disabled})
            palette.setColor(group, QPalette::ButtonText, palette.color(group, QPalette::WindowText));
        menuBar()->setPalette(palette);
    }

    // Dock changes and right-clicks reach slots that do nothing: there is no context menu.
    for (QDockWidget* dock : {ui.dockWidget_JobInfo, ui.dockWidget_Filter, ui.dockWidget_Clients,
                              ui.dockWidget_Commands, ui.dockWidget_Status, ui.dockWidget_JobLog}) {
        connect(dock, &QDockWidget::visibilityChanged, this, &fmHistorydb::Tabchanged);
        connect(dock, &QDockWidget::dockLocationChanged, this, &fmHistorydb::Tabchanged);
    }
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

    ui.treeJobs->Tree->header()->setSortIndicator(0, Qt::DescendingOrder);
    setupReportsDock();

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

    connect(ui.Show_ComboProject, &QComboBox::currentIndexChanged, this, &fmHistorydb::uiComboProjectChanged);
    connect(ui.Show_ComboUser, &QComboBox::currentIndexChanged, this, &fmHistorydb::uiFilterChanged);
    connect(ui.Show_ComboApp, &QComboBox::currentIndexChanged, this, &fmHistorydb::uiFilterChanged);
    connect(ui.Show_EditIncludes, &QLineEdit::returnPressed, this, &fmHistorydb::uiFilterChanged);
    connect(ui.Show_ButtonUpdate, &QPushButton::clicked, this, &fmHistorydb::uiFilterChanged);
    // Ctrl+Z has no menu entry of its own: the status bar names it after each delete.
    auto* undo = new QAction(QStringLiteral("Undo Delete"), this);
    undo->setShortcut(QKeySequence::Undo);
    addAction(undo);
    connect(undo, &QAction::triggered, this, &fmHistorydb::undoDelete);
    statusBar()->setSizeGripEnabled(true);
    LoadingBar = new QProgressBar(this); // owned by the status bar from here on
    LoadingBar->setMaximumWidth(200);
    LoadingBar->setTextVisible(false);
    LoadingBar->hide();
    statusBar()->addPermanentWidget(LoadingBar);

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
    if (ask4Save())
        event->accept();
    else
        event->ignore();
}

void fmHistorydb::loadProjectList()
{
    table.loadProjectList();
}

void fmHistorydb::loadProject(int index)
{
    if (!ask4Save() || index < 0) return;
    QString message;
    fmProjectTable::LoadResult result;
    {
        // The window is drawn once more before the load takes the thread: the combo's popup
        // closes and the status bar shows what is being read.
        LoadingBar->setRange(0, 0);
        LoadingBar->show();
        if (index < table.nrOfProjects)
            showStatus(QStringLiteral("Loading %1 ...").arg(table.projects[size_t(index)].Name));
        QCoreApplication::processEvents(QEventLoop::ExcludeUserInputEvents);
        result = table.loadProjectJobs(index, jobs, message);
        LoadingBar->hide();
    }
    switch (result) {
    case fmProjectTable::LoadFileMissing:
        // No update is asked for: the tree shows what it showed until the next one.
        fmMessageBox::Warning(this, message, QStringLiteral("Ok"), 45);
        return;
    case fmProjectTable::LoadFileFailed:
    case fmProjectTable::LoadBadIndex:
        return;
    case fmProjectTable::LoadDone:
        break;
    }
    const _projectInfo& project = table.projects[size_t(index)];
    ui.label_ProjNrScenes->setText(QStringLiteral("%1 jobs").arg(project.NrOfJobs));
    DeletedJobs.clear();
    FitColumnsOnce = true;
    addComboNames();
    uiSetFilterCombos(true);
    uiFilterChanged();
    reportsDock->setLoadedProject(table.currentProject);
    QSettings settings;
    settings.setValue(QStringLiteral("fmHistorydb/lastProject"), project.Name);
    showStatus(QStringLiteral("Loaded %1: %2 jobs").arg(project.Name).arg(project.NrOfJobs));
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
    QSet<QString> users;
    for (int q = 0; q < jobs.JobCount; ++q) {
        const fmJ::_jobsHistoryDB_Runtime* job = jobs.GetJobByQueueID(q);
        if (!job) continue;
        const fmString<25> userName = job->UserName;
        const fmString<25> software = job->Software;
        users.insert(userName.toQString());
        const QString softwareText = software.toQString();
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
