// Layout of the history window: geometry, dock state and the three trees' header states, kept per
// user in the default settings and per farm (one group per screen arrangement) in
// historydb_ui.ini; and the menus that show and hide columns.
#include "historydb/fmhistorydb.h"

#include "app/fm.h"
#include "foundation/fmfileread.h"
#include "historydb/fmclientstreemodel.h"
#include "historydb/fmcolumnfit.h"
#include "historydb/fmjobstreemodel.h"
#include "widgets/fmtreeview.h"

#include <QAction>
#include <QDialog>
#include <QDockWidget>
#include <QGuiApplication>
#include <QHeaderView>
#include <QPushButton>
#include <QSaveFile>
#include <QScreen>
#include <QSettings>
#include <QTextBrowser>
#include <QUrl>
#include <QVBoxLayout>

#include <array>

namespace {

QString globalLayoutFile(__FM& app)
{
    return app.CfgGlobalPath.toQString() + QStringLiteral("historydb_ui.ini");
}

// historydb_ui.ini lies on the root: QSettings works on a private copy of it, so that a FIFO or a
// huge file in its place can neither block the window nor fill the memory. A missing file is an
// empty one; a refused one is logged with its reason.
bool copyGlobalLayout(__FM& app, fmPrivateCopy& copy)
{
    QString why;
    if (copy.copyFrom(globalLayoutFile(app), fmFileCap::ConfigIni, true, &why)) return true;
    app.WriteLog(2, fmLog_NoMessageBox,
                 QStringLiteral("Unable to read '") + fmPathForDisplay(globalLayoutFile(app)) +
                     QStringLiteral("': ") + why,
                 QStringLiteral("fmHistorydb,layout"));
    return false;
}

struct JobColumnEntry
{
    const char* text;
    int column;
    void (fmHistorydb::*slot)();
};

// The menu "Job Table Columns", in its order.
const std::array<JobColumnEntry, 19> kJobColumns = {{
    {"User", 1, &fmHistorydb::actionTableJob_User_triggered},
    {"Company Project", 2, &fmHistorydb::actionTableJob_CompanyProject_triggered},
    {"Scene-Shot-Version", 3, &fmHistorydb::actionTableJob_SceneShotVersion_triggered},
    {"Software", 4, &fmHistorydb::actionTableJob_Software_triggered},
    {"Scene", 8, &fmHistorydb::actionTableJob_Scene_triggered},
    {"Layer", 9, &fmHistorydb::actionTableJob_Layer_triggered},
    {"Camera", 10, &fmHistorydb::actionTableJob_Camera_triggered},
    {"Frames", 11, &fmHistorydb::actionTableJob_Frames_triggered},
    {"Time Total", 13, &fmHistorydb::actionTableJob_Timetotal_triggered},
    {"Frame Time", 15, &fmHistorydb::actionTableJob_Frametime_triggered},
    {"Average Clients Rendering", 18, &fmHistorydb::actionTableJob_ClientsRendering_triggered},
    {"Date Send", 20, &fmHistorydb::actionTableJob_DateSend_triggered},
    {"Date Finished", 21, &fmHistorydb::actionTableJob_DateFinished_triggered},
    {"Done", 22, &fmHistorydb::actionTableJob_Done_triggered},
    {"Debug", 23, &fmHistorydb::actionTableJob_Debug_triggered},
    {"Shot", 24, &fmHistorydb::actionTableJob_Shot_triggered},
    {"PS Total", 25, &fmHistorydb::actionTableJob_PSTotal_triggered},
    {"Ghzh", 26, &fmHistorydb::actionTableJob_Ghzh_triggered},
    {"Cost", 27, &fmHistorydb::actionTableJob_Cost_triggered},
}};

} // namespace

QString fmHistorydb::screensGroupName()
{
    const QList<QScreen*> screens = QGuiApplication::screens();
    QString name = QStringLiteral("Screens_%1").arg(screens.size());
    for (const QScreen* s : screens) {
        const QRect g = s->geometry();
        name += QStringLiteral("__%1x%2s%3").arg(g.width()).arg(g.height()).arg(g.left());
    }
    return name;
}

bool fmHistorydb::uiLayoutLoadShared(QSettings& settings)
{
    const QVariant geometry = settings.value(QStringLiteral("geometry"));
    if (!geometry.isValid()) return false;
    restoreGeometry(geometry.toByteArray());
    restoreState(settings.value(QStringLiteral("state")).toByteArray(), 0);
    ui.treeJobs->Tree->header()->restoreState(
        settings.value(QStringLiteral("JobTreeHeaderState")).toByteArray());
    ui.treeClients->Tree->header()->restoreState(
        settings.value(QStringLiteral("ClientTreeHeaderState")).toByteArray());
    ui.treeLog->header()->restoreState(settings.value(QStringLiteral("LogTreeHeaderState")).toByteArray());
    ui.treeJobs->syncFooter();
    ui.treeClients->syncFooter();
    return true;
}

void fmHistorydb::uiLayoutSaveShared(QSettings& settings)
{
    settings.setValue(QStringLiteral("geometry"), saveGeometry());
    settings.setValue(QStringLiteral("state"), saveState(0));
    settings.setValue(QStringLiteral("JobTreeHeaderState"), ui.treeJobs->Tree->header()->saveState());
    settings.setValue(QStringLiteral("ClientTreeHeaderState"), ui.treeClients->Tree->header()->saveState());
    settings.setValue(QStringLiteral("LogTreeHeaderState"), ui.treeLog->header()->saveState());
}

bool fmHistorydb::uiLayoutLoadLocal()
{
    QSettings settings;
    settings.beginGroup(QStringLiteral("fmHistorydb"));
    const bool done = uiLayoutLoadShared(settings);
    settings.endGroup();
    return done;
}

bool fmHistorydb::uiLayoutLoadGlobal()
{
    fmPrivateCopy copy;
    if (!copyGlobalLayout(app, copy)) return false;
    QSettings settings(copy.fileName(), QSettings::IniFormat);
    settings.beginGroup(screensGroupName());
    const bool done = uiLayoutLoadShared(settings);
    settings.endGroup();
    return done;
}

void fmHistorydb::on_actionLayoutSaveLocal_triggered()
{
    QSettings settings;
    settings.beginGroup(QStringLiteral("fmHistorydb"));
    uiLayoutSaveShared(settings);
    settings.endGroup();
}

void fmHistorydb::on_actionLayoutSaveGlobal_triggered()
{
    fmPrivateCopy copy;
    if (!copyGlobalLayout(app, copy)) return;
    {
        QSettings settings(copy.fileName(), QSettings::IniFormat);
        settings.setAtomicSyncRequired(false); // the private copy keeps its name
        settings.beginGroup(screensGroupName());
        uiLayoutSaveShared(settings);
        settings.endGroup();
    }
    // Written beside the shared file and renamed over it: a failed write leaves the old one.
    QByteArray bytes;
    QString why;
    QSaveFile out(globalLayoutFile(app));
    if (!copy.readBack(bytes, &why) || !out.open(QIODevice::WriteOnly) || out.write(bytes) != bytes.size() ||
        !out.commit())
        app.WriteLog(2, fmLog_NoMessageBox,
                     QStringLiteral("Unable to write '") + fmPathForDisplay(globalLayoutFile(app)) +
                         QStringLiteral("': ") + (why.isEmpty() ? out.errorString() : why),
                     QStringLiteral("fmHistorydb,layout"));
}

void fmHistorydb::on_actionReset_Layout_triggered()
{
    // The farm's "reset" group first, then "Global"; failing both the present layout stands.
    fmPrivateCopy copy;
    if (!copyGlobalLayout(app, copy)) return;
    QSettings settings(copy.fileName(), QSettings::IniFormat);
    settings.beginGroup(QStringLiteral("reset"));
    const bool done = uiLayoutLoadShared(settings);
    settings.endGroup();
    if (done) return;
    settings.beginGroup(QStringLiteral("Global"));
    const bool global = uiLayoutLoadShared(settings);
    settings.endGroup();
    if (global) return;
    // Without a farm layout, the form's own one: docks, and the columns as the trees set them up.
    restoreState(DefaultState, 0);
    ui.treeJobs->Tree->header()->restoreState(DefaultJobHeader);
    ui.treeClients->Tree->header()->restoreState(DefaultClientHeader);
    ui.treeLog->header()->restoreState(DefaultLogHeader);
    for (QDockWidget* dock : findChildren<QDockWidget*>())
        if (dock != ui.dockWidget_Status) dock->show();
    ui.dockWidget_JobInfo->raise();
    ui.treeJobs->syncFooter();
    ui.treeClients->syncFooter();
}

void fmHistorydb::fitJobColumns()
{
    // Numbers and dates are never cut; nor is the first column, whose group rows end in the
    // user's name and job count. Texts elsewhere may be cut and have their full text as tooltip.
    if (jobsModel) {
        if (!JobFit)
            JobFit = new fmColumnFit(ui.treeJobs, jobsModel, {0, 11, 13, 15, 16, 18, 20, 21, 24, 25, 26, 27},
                                     [this] { return rebuildRunning(); });
        JobFit->start();
    }
    fitClientColumns();
}

void fmHistorydb::fitClientColumns()
{
    // Render time, frames, CPU usage, available memory, temperature, memory, cores, PS/GHz.
    if (!clientsModel) return;
    if (!ClientFit) ClientFit = new fmColumnFit(ui.treeClients, clientsModel, {2, 3, 4, 5, 9, 10, 11, 12});
    ClientFit->start();
    ClientFit->finish(); // a farm's clients are few
}

void fmHistorydb::on_actionHelp_triggered()
{
    // The page is compiled into the program, so it matches the version that shows it.
    QDialog help(this);
    help.setWindowTitle(QStringLiteral("fmHistorydb Help"));
    auto* layout = new QVBoxLayout(&help);
    auto* page = new QTextBrowser(&help);
    page->setOpenExternalLinks(true);
    page->setSource(QUrl(QStringLiteral("qrc:/help/fmhistorydb_help.html")));
    layout->addWidget(page);
    auto* close = new QPushButton(QStringLiteral("Close"), &help);
    connect(close, &QPushButton::clicked, &help, &QDialog::accept);
    layout->addWidget(close, 0, Qt::AlignRight);
    help.resize(720, 640);
    help.exec();
}

void fmHistorydb::buildColumnMenus()
{
    // The checks are set once here; later a click flips the column whatever its check says.
    for (const JobColumnEntry& e : kJobColumns) {
        auto* action = new QAction(QString::fromLatin1(e.text), this);
        action->setCheckable(true);
        action->setChecked(!ui.treeJobs->isColumnHidden(e.column));
        ui.menuJob_Table_Columns->addAction(action);
        connect(action, &QAction::triggered, this, e.slot);
    }
    const std::array<std::pair<QAction*, int>, 6> clientColumns = {{{ui.actionClientTableAssignment, 1},
                                                                    {ui.actionClientTableStatus, 2},
                                                                    {ui.actionClientTableCPU, 3},
                                                                    {ui.actionClientTableMemoryUsage, 4},
                                                                    {ui.actionClientTableOS, 5},
                                                                    {ui.actionClientTableUser, 6}}};
    for (const auto& [action, column] : clientColumns)
        action->setChecked(!ui.treeClients->isColumnHidden(column));
}

void fmHistorydb::flipJobColumn(int column)
{
    ui.treeJobs->setColumnHidden(column, !ui.treeJobs->isColumnHidden(column));
}

void fmHistorydb::flipClientColumn(int column)
{
    ui.treeClients->setColumnHidden(column, !ui.treeClients->isColumnHidden(column));
}

// clang-format off
void fmHistorydb::actionTableJob_User_triggered() { flipJobColumn(1); }
void fmHistorydb::actionTableJob_CompanyProject_triggered() { flipJobColumn(2); }
void fmHistorydb::actionTableJob_SceneShotVersion_triggered() { flipJobColumn(3); }
void fmHistorydb::actionTableJob_Software_triggered() { flipJobColumn(4); }
void fmHistorydb::actionTableJob_Scene_triggered() { flipJobColumn(8); }
void fmHistorydb::actionTableJob_Layer_triggered() { flipJobColumn(9); }
void fmHistorydb::actionTableJob_Camera_triggered() { flipJobColumn(10); }
void fmHistorydb::actionTableJob_Frames_triggered() { flipJobColumn(11); }
void fmHistorydb::actionTableJob_Timetotal_triggered() { flipJobColumn(13); }
void fmHistorydb::actionTableJob_Frametime_triggered() { flipJobColumn(15); }
void fmHistorydb::actionTableJob_ClientsRendering_triggered() { flipJobColumn(18); }
void fmHistorydb::actionTableJob_DateSend_triggered() { flipJobColumn(20); }
void fmHistorydb::actionTableJob_DateFinished_triggered() { flipJobColumn(21); }
void fmHistorydb::actionTableJob_Done_triggered() { flipJobColumn(22); }
void fmHistorydb::actionTableJob_Debug_triggered() { flipJobColumn(23); }
void fmHistorydb::actionTableJob_Shot_triggered() { flipJobColumn(24); }
void fmHistorydb::actionTableJob_PSTotal_triggered() { flipJobColumn(25); }
void fmHistorydb::actionTableJob_Ghzh_triggered() { flipJobColumn(26); }
void fmHistorydb::actionTableJob_Cost_triggered() { flipJobColumn(27); }

void fmHistorydb::on_actionClientTableAssignment_triggered() { flipClientColumn(1); }
void fmHistorydb::on_actionClientTableStatus_triggered() { flipClientColumn(2); }
void fmHistorydb::on_actionClientTableCPU_triggered() { flipClientColumn(3); }
void fmHistorydb::on_actionClientTableMemoryUsage_triggered() { flipClientColumn(4); }
void fmHistorydb::on_actionClientTableOS_triggered() { flipClientColumn(5); }
void fmHistorydb::on_actionClientTableUser_triggered() { flipClientColumn(6); }
// clang-format on
