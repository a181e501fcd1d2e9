#include "app/fm.h"

#include "farm/fmcmd.h"

#include "app/fmpaths.h"
#include "farm/fmgconfig.h"
#include "foundation/fmfile.h"
#include "foundation/fmlogfile.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QMutex>
#include <QThread>

#include <cstdlib>
#include <ctime>

fmInstallStyleFn __FM::InstallStyleHook = nullptr;
fmSplashMessageFn __FM::SplashMessageHook = nullptr;
__FM* __FM::First = nullptr;

namespace {

const char* const kInitLine =
    "----- ----- ----- ----- ----- ----- ----- init cfg ----- ----- ----- ----- ----- ----- ----- ";
const char* const kDoneLine =
    "----- ----- ----- ----- ----- ----- ----- init done ----- ----- ----- ----- ----- ----- ----- ";

// Makes the folder with all parents when it is missing, then opens it to all; true when it stands.
bool makeFolder(const QString& path, bool setRights)
{
    if (fmDirectoryExists(path)) return true;
    if (!fmCreateFolder(path, true)) return false;
    if (setRights) fmSetFolderRights_ReadWriteAll(path.toLocal8Bit().constData(), true);
    return fmDirectoryExists(path);
}

} // namespace

__FM::__FM(bool consoleApp, fm_AppType type, const QString& appName, bool noUILog)
    : QObject(nullptr), __FMSDK(consoleApp, type, appName, noUILog)
{
    if (!First) First = this;
    Mutex = new QMutex;
    MainThread = QThread::currentThread();
    createFarmTables();
    // What the remote commands need of this object; they reach it through the first instance.
    // Hooks a caller set before are kept.
    _fmcmdHooks& hooks = fmcmdHooks();
    if (!hooks.clientName)
        hooks.clientName = [](const short& client) {
            const QString name = First ? First->getClientName(client) : QString();
            return name.isEmpty() ? QStringLiteral("#%1").arg(client) : name;
        };
    if (!hooks.flushLog)
        hooks.flushLog = [] {
            if (First && First->Log) First->Log->flush();
        };
}

__FM::~__FM()
{
    exitFM(true);
}

void __FM::exitFM(bool)
{
    if (First == this) First = nullptr;
    if (!Mutex) return;
    deleteFarmTables();
    WriteLog(3, fmLog_NoMessageBox, QStringLiteral("Application Down"), QStringLiteral("Main"));
    delete Mutex;
    Mutex = nullptr;
    exitFMSDK(true);
}

QString __FM::AppVersion()
{
    const QString read = VersionText.toQString();
    if (read == QLatin1String(fmVersion)) return QLatin1String(fmVersion);
    return QStringLiteral("%1  fmVer%2").arg(QLatin1String(fmVersion), read);
}

QString __FM::AppTitle(bool)
{
    return QStringLiteral("%1    %2    fmVer%3")
        .arg(AppName, QLatin1String(fmVersion), VersionText.toQString());
}

bool __FM::installFMEnvironmentVariable(bool)
{
    // Read for the family's other platforms; it changes nothing here and never selects a root.
    (void)qEnvironmentVariable("FM_ROOT");
    return true;
}

bool __FM::setLocalPath(const char* path)
{
    QString local;
    if (path)
        local = QString::fromLocal8Bit(path);
    else if (!LocalDataPath.isEmpty())
        local = LocalDataPath.toQString();
    else
        local = QLatin1String(fmLocalDataRoot);
    if (local.isEmpty()) return false;
    if (!local.endsWith(QLatin1Char('/'))) local += QLatin1Char('/');
    LocalDataPath = local;
    pathsCalcOtherPaths_SetClientLocalSubs();
    return true;
}

bool __FM::CheckLocalPath(const char* path)
{
    WriteLog(10, fmLog_NoPlace, QStringLiteral("CheckLocalPath..."), QStringLiteral("CheckLocalPath"));
    setLocalPath(path);
    const fmString<250>* folders[] = {&LocalDataPath,       &LocalTexturesPath,     &LocalTempPath,
                                      &LocalRenderOutPath,  &LocalCachedScenesPath, &LocalRendererPrefsPath,
                                      &LocalRendererExePath};
    bool first = true;
    for (const fmString<250>* folder : folders) {
        const QString p = folder->toQString();
        if (!QFileInfo(p).isDir()) {
            if (first)
                WriteLog(10, 0, QStringLiteral("create local path '") + p + QStringLiteral("'..."),
                         QStringLiteral("CheckLocalPath"));
            if (!makeFolder(p, !App.ServiceMode)) {
                WriteLog(0, 0, QStringLiteral("Unable to create directory '") + p + QLatin1Char('\''),
                         QStringLiteral("FM,CheckLocalPath"));
                return false;
            }
        }
        first = false;
    }
    return true;
}

bool __FM::CheckAllfmPaths()
{
    auto check = [this](const fmString<250>& folder) {
        const QString p = folder.toQString();
        if (makeFolder(p, true)) return true;
        WriteLog(0, 0, QStringLiteral("Unable to create directory  '") + p + QLatin1Char('\''),
                 QStringLiteral("FM,CheckAllfmPaths"));
        return false;
    };
    for (const fmString<250>* f : {&CfgGlobalPath, &CfgUserPath, &LogPath, &StatsPath, &ClientScriptsPath})
        if (!check(*f)) return false;
    if (AppType != fm_AppType_Server) return true;
    for (const fmString<250>* f : {&AutoloadPath, &WebsitePath, &RenderAppsConfigPath, &PrePostScriptsPath,
                                   &SetEnvPath, &ServerJobsPluginsPath, &ServerNotifyPluginsPath,
                                   &ImagePluginsPath, &PluginsPath, &SceneParserPluginsPath, &HistoryDbPath})
        if (!check(*f)) return false;
    return true;
}

void __FM::readStyleChoices(int argc, char** argv, bool darkDefault)
{
    fmStyleChoices c;
    c.Dark = darkDefault;
    if (const short* color = cfgGetI("UIcolor")) {
        switch (*color) {
        case 0:
            c.Dark = false;
            break;
        case 1:
            c.Dark = true;
            break;
        case 2:
            c.Girly = true;
            break;
        default:
            break;
        }
    }
    if (const short* size = cfgGetI("FontLx")) {
        c.FontDefaultSet = true;
        c.FontSizeDefault = *size;
    }
    if (const short* size = cfgGetI("FontLxSmall")) {
        c.FontSmallSet = true;
        c.FontSizeSmall = *size;
    }
    // Read as given (no XML decoding); a value is tested as an option too.
    for (int i = 1; i < argc && argv; ++i) {
        const QString a = QString::fromLocal8Bit(argv[i]);
        if (a.contains(QLatin1String("-easterUI"), Qt::CaseInsensitive)) {
            c.Easter = true;
            c.Dark = false;
        }
        if (a.contains(QLatin1String("-darkUI"), Qt::CaseInsensitive)) c.Dark = true;
        if (a.contains(QLatin1String("-girlyUI"), Qt::CaseInsensitive) ||
            a.contains(QLatin1String("-violaUI"), Qt::CaseInsensitive))
            c.Girly = true;
        if (a.contains(QLatin1String("-lightUI"), Qt::CaseInsensitive)) c.Dark = false;
        if (i + 1 < argc) {
            bool ok = false;
            const int value = QString::fromLocal8Bit(argv[i + 1]).toInt(&ok);
            if (ok && a.compare(QLatin1String("-defaultFontSize"), Qt::CaseInsensitive) == 0) {
                c.FontDefaultSet = true;
                c.FontSizeDefault = value;
            }
            if (ok && a.compare(QLatin1String("-smallerFontSize"), Qt::CaseInsensitive) == 0) {
                c.FontSmallSet = true;
                c.FontSizeSmall = value;
            }
        }
    }
    StyleChoices = c;
}

void __FM::installStyle()
{
    // The style lives on the window side; a console program or a test has none to install.
    if (InstallStyleHook)
        InstallStyleHook(StyleChoices);
    else
        WriteLog(10, fmLog_NoPlace, QStringLiteral("SetupCfg: no window style to install"),
                 QStringLiteral("SetupCfg"));
}

namespace {

void logStage(__FM& fm, const QString& text)
{
    fm.WriteLog(3, fmLog_NoMessageBox, text, QStringLiteral("FM,SetupCfg"));
}

void logStep(__FM& fm, const char* step)
{
    fm.WriteLog(10, fmLog_NoPlace, QStringLiteral("SetupCfg: ") + QLatin1String(step),
                QStringLiteral("SetupCfg"));
}

} // namespace

void __FM::splashText(const char* text) const
{
    if (!StartSplash || !SplashMessageHook) return;
    SplashMessageHook(StartSplash,
                      QStringLiteral("%1  v %2").arg(QLatin1String(text), -60).arg(QLatin1String(fmVersion)));
}

// The basics every program needs before it reads a table: the SDK's paths and names, the log's
// opening lines and the root's folders.
bool __FM::setupBasics(int& argc, char** argv, fmTimer& stage)
{
    if (!SetupCfgSDK(argc, argv)) {
        WriteLog(10, 0, QStringLiteral("SetupCfgSDK failed!"), QStringLiteral("__FM,SetupCfg"));
        return false;
    }
    splashText("Init...");
    if (LocalCopyMode) AppName = (AppName + QLatin1String(" L")).left(50);

    logStage(*this, QLatin1String(kInitLine));
    logStage(*this, QStringLiteral("   ") + AppTitle(false) + QStringLiteral("  64bit"));
    if (LocalCopyMode)
        logStage(*this, QStringLiteral("    running in local copy mode ") + AppPath.toQString());

    installFMEnvironmentVariable(false);
    if (!CheckAllfmPaths()) return false;
    SetAppSystemInfos();
    logStage(*this, QStringLiteral("    shared FM root is ") + RootPath.toQString());
    logStage(*this, QStringLiteral("   time - main files: ") + stage.restartAndString());
    return true;
}

// globalconfig.ini: the server writes a missing one, the test program goes on without, every other
// program needs it.
bool __FM::setupGlobalConfig(fmTimer& stage)
{
    if (AppType == fm_AppType_None) return true;
    if (!LoadFileCfg()) {
        if (AppType == fm_AppType_Server) {
            SaveFileCfg();
        } else if (AppType != fm_AppType_Test) {
            WriteLog(2, 0, QStringLiteral("Please start the server first to create config files!"),
                     QStringLiteral("FM,SetupCfg"));
            return false;
        }
    }
    ApplyCommandlineLogLevels(); // the command line's log options win over the file's flags
    logStage(*this, QStringLiteral("   time - globalconfig: ") + stage.restartAndString());
    return true;
}

bool __FM::setupStyleAndLocalPath(int argc, char** argv, bool darkDefault)
{
    readStyleChoices(argc, argv, darkDefault);
    QCoreApplication::setOrganizationName(QStringLiteral("Orlenvik"));
    QCoreApplication::setOrganizationDomain(QStringLiteral("orlenvik.com"));
    QCoreApplication::setApplicationName(QStringLiteral("Fornmark"));
    installStyle();
    VersionText = VersionText.toQString().replace(QLatin1String("6."), QLatin1String("7."));

    if (AppType != fm_AppType_Client) {
        logStep(*this, "setLocalPath...");
        setLocalPath(nullptr);
        return true;
    }
    logStep(*this, "CheckLocalPath...");
    return CheckLocalPath(nullptr);
}

// Clients, client groups and users, as far as the program's type uses them. Only some types end
// when the clients cannot be read.
bool __FM::setupTables(fmTimer& stage)
{
    stage.start();
    const int type = AppType;
    if (type != 0 && type != 2 && type != 5 && type != 8) {
        splashText("Loading Clients...");
        if (!LoadFileClientsAll(true, QString())) {
            const bool fatal = type == 3 || type == 4 || type == 5 || type == 7 || type == 8 || type >= 10;
            if (fatal) return false;
        }
        logStep(*this, "LoadFileClientGroups...");
        LoadFileClientGroups();
        logStage(*this, QStringLiteral("   time - LoadFileClientGroups: ") + stage.restartAndString());
    }
    if (type != 0 && type != 5 && type != 8) {
        splashText("Loading Users...");
        logStep(*this, "LoadFileUserSettings...");
        LoadFileUserSettings();
        logStage(*this, QStringLiteral("   time - LoadFileUserSettings: ") + stage.restartAndString());
    }
    return true;
}

bool __FM::SetupCfg(int& argc, char** argv, const bool& darkDefault, QSplashScreen* splash)
{
    fmTimer whole;
    fmTimer stage;
    whole.start();
    stage.start();
    std::srand(unsigned(std::time(nullptr)));
    connect(this, &__FM::signalLogUI, this, &__FM::SlotLogUI, Qt::UniqueConnection);

    StartSplash = splash;
    splashText("Loading basics...");
    const bool ok = setupBasics(argc, argv, stage) && setupGlobalConfig(stage) &&
                    setupStyleAndLocalPath(argc, argv, darkDefault) && setupTables(stage);
    StartSplash = nullptr; // the splash may go once start-up ends
    if (!ok) return false;

    if (const int off = fmTime_t::TestIfOfsetIsRight(false); off != 0)
        WriteLog(
            2, 0,
            QStringLiteral("#########################################\nTime Offset is not right: %1  %2!\n"
                           "#########################################")
                .arg(off)
                .arg(fmTime_t::fmTime_Start_OffSet),
            QStringLiteral("FM,SetupCfg"));
    WriteLog(4, fmLog_NoMessageBox,
             QStringLiteral("Time Zone %1").arg(fmSec2hms(fmTime_t::fmTime_Start_OffSet)),
             QStringLiteral("FM,SetupCfg"));
    logStage(*this, QStringLiteral("   time - all init:") + whole.restartAndString());
    logStage(*this, QStringLiteral("   ") + AppTitle(false));
    logStage(*this, QLatin1String(kDoneLine));
    if (Log) Log->flush();
    return true;
}
