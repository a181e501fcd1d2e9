// fmHistorydb: the history database browser of the render farm.
#include "app/fm.h"
#include "foundation/fmprocess.h"
#include "historydb/fmhistorydb.h"
#include "widgets/fmmessagebox.h"

#include <QApplication>
#include <QPixmap>
#include <QSplashScreen>

__FM FM(false, fm_AppType_HistoryDB, "fmHistorydb", false);

namespace {

void showSplashMessage(QSplashScreen* splash, const QString& text)
{
    if (splash) splash->showMessage(text, Qt::AlignRight | Qt::AlignBottom, Qt::white);
}

} // namespace

int main(int argc, char** argv)
{
    auto* app = new QApplication(argc, argv);
    qInstallMessageHandler(FMMessageOutput);
    // The window side's hooks of the core: log lines below level 10 raise fmMessageBox, start-up
    // texts reach the splash. The style hook (__FM::InstallStyleHook) is set here by fmStyle.
    fmInstallLogMessageBox();
    __FM::SplashMessageHook = showSplashMessage;

    // One instance per machine: a second start ends at once, without a word.
    if (ourProcessAlreadyExists("fmHistorydb", false, false, nullptr)) {
        delete app;
        return 0;
    }

    // Found this early only for the splash image; SetupCfg searches again from scratch.
    static_cast<__FMSDK&>(FM).pathsGetRootFromAppPath(argc, argv);

    auto* splash = new QSplashScreen(QPixmap());
    QPixmap image;
    if (!FM.SubPath.isEmpty()) image.load(FM.SubPath.toQString() + QStringLiteral("SplashScreen.png"));
    splash->setPixmap(image);
    splash->show();
    showSplashMessage(splash, QStringLiteral("%1  v %2")
                                  .arg(QStringLiteral("Loading files..."), -60)
                                  .arg(QLatin1String(fmVersion)));

    if (!FM.SetupCfg(argc, argv, false, nullptr)) {
        delete splash;
        delete app;
        return 100;
    }

    // The job list (fmJ::_JobList on FM, no parent list) is created here once it is in the tree.
    fmJ::_JobList* jobList = nullptr;

    FM.WriteLog(10, 0, QStringLiteral("Creating main_window"), QStringLiteral("main"));
    auto* window = new fmHistorydb(FM, jobList, nullptr, Qt::WindowFlags());
    FM.WriteLog(10, 0, QStringLiteral("Show main_window"), QStringLiteral("main"));
    window->show();

    splash->close();
    const int result = app->exec();

    delete window;
    delete splash;
    delete app;
    return result;
}
