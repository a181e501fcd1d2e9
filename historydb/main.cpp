// fmHistorydb: the history database browser of the render farm.
#include "app/fm.h"
#include "foundation/fmfileread.h"
#include "foundation/fminstance.h"
#include "historydb/fmhistorydb.h"
#include "jobs/fmjoblist.h"
#include "widgets/fmmessagebox.h"
#include "widgets/fmstyle.h"

#include <QApplication>
#include <QPixmap>
#include <QSplashScreen>
#include <QTimer>

#include <cstdio>

__FM FM(false, fm_AppType_HistoryDB, "fmHistorydb", false);

namespace {

QSplashScreen* g_splash = nullptr; // not owned; the splash while it is up
fmLogMessageBoxFn g_showBox = nullptr;

// The splash stays on top of other windows: a box under it would count down unseen.
bool showLogBox(bool critical, const QString& text, const QString& button, int seconds, bool courier)
{
    if (g_splash && g_splash->isVisible()) g_splash->hide();
    return g_showBox ? g_showBox(critical, text, button, seconds, courier) : false;
}

void showSplashMessage(QSplashScreen* splash, const QString& text)
{
    if (splash) splash->showMessage(text, Qt::AlignRight | Qt::AlignBottom, Qt::white);
}

// The splash image of the root, read without blocking and within the cap of an image. A missing one
// leaves the splash empty, as does one that is refused, which is logged with its reason.
QPixmap loadSplashImage(const QString& path)
{
    QPixmap image;
    if (!fmPathExists(path)) return image;
    QByteArray bytes;
    QString why;
    if (fmReadRegularFile(path, fmFileCap::Image, bytes, &why))
        image.loadFromData(bytes);
    else
        FM.WriteLog(2, fmLog_NoMessageBox,
                    QStringLiteral("Unable to read '") + fmPathForDisplay(path) + QStringLiteral("': ") + why,
                    QStringLiteral("main"));
    return image;
}

} // namespace

int main(int argc, char** argv)
{
    auto* app = new QApplication(argc, argv);
    Q_INIT_RESOURCE(fmUI);
    qInstallMessageHandler(FMMessageOutput);
    // The window side's hooks of the core: log lines below level 10 raise fmMessageBox, start-up
    // texts reach the splash. The style hook (__FM::InstallStyleHook) is set here by fmStyle.
    // Without a screen (offscreen or minimal platform) nobody can answer a box: the lines are
    // printed instead, so that a start that fails ends at once rather than after the box's wait.
    const QString platform = QGuiApplication::platformName();
    if (platform != QLatin1String("offscreen") && platform != QLatin1String("minimal")) {
        fmInstallLogMessageBox();
        g_showBox = __FMSDK::MessageBoxHook;
        __FMSDK::MessageBoxHook = showLogBox;
    }
    __FM::SplashMessageHook = showSplashMessage;
    __FM::InstallStyleHook = fmInstallStyle;

    // One instance per user and login session; other users of the workstation start their own.
    if (const long long other = fmOtherInstanceInSession(QStringLiteral("fmHistorydb"))) {
        std::fprintf(stderr, "fmHistorydb is already running for this user in this session (process %lld).\n",
                     other);
        delete app;
        return 0;
    }

    // Found this early only for the splash image; SetupCfg searches again from scratch.
    static_cast<__FM&>(FM).pathsGetRootFromAppPath(argc, argv);

    auto* splash = new QSplashScreen(QPixmap());
    g_splash = splash;
    QPixmap image;
    if (!FM.SubPath.isEmpty())
        image = loadSplashImage(FM.SubPath.toQString() + QStringLiteral("SplashScreen.png"));
    splash->setPixmap(image);
    splash->show();
    showSplashMessage(splash, QStringLiteral("%1  v %2")
                                  .arg(QStringLiteral("Loading files..."), -60)
                                  .arg(QLatin1String(fmVersion)));

    if (!FM.SetupCfg(argc, argv, false, nullptr)) {
        g_splash = nullptr;
        delete splash;
        __FMSDK::MessageBoxHook = nullptr;
        delete app;
        return 100;
    }

    auto* jobList = new fmJ::_JobList(FM, nullptr);

    FM.WriteLog(10, 0, QStringLiteral("Creating main_window"), QStringLiteral("main"));
    auto* window = new fmHistorydb(FM, *jobList, nullptr, Qt::WindowFlags());
    FM.WriteLog(10, 0, QStringLiteral("Show main_window"), QStringLiteral("main"));
    window->show();
    // A newcomer sees jobs at once: the project this user had open last comes back, once the
    // window stands. "-noLastProject" starts with an empty table.
    if (!QCoreApplication::arguments().contains(QStringLiteral("-noLastProject"), Qt::CaseInsensitive))
        QTimer::singleShot(0, window, &fmHistorydb::reopenLastProject);

    splash->close();
    g_splash = nullptr;
    const int result = app->exec();

    delete window;
    delete jobList;
    delete splash;
    __FMSDK::MessageBoxHook = nullptr;
    delete app;
    return result;
}
