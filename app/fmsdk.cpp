#include "foundation/fmsdk.h"

#include "app/fmpaths.h"
#include "farm/fmgconfig.h"
#include "foundation/fmfileread.h"
#include "foundation/fmlogfile.h"
#include "foundation/fmtextcodec.h"

#include <QFile>
#include <QFileInfo>
#include <QThread>

#include <cstdlib>
#include <cstring>
#include <pwd.h>
#include <unistd.h>

static_assert(_fmgConfig::LogLevels == __FMSDK::kLogLevels, "logging reads the table's switches");

namespace {

constexpr int32_t kMainLogMax = 1048576;
constexpr int32_t kServerLogMax = 10485760;
constexpr int32_t kErrorLogMax = 3145728;

const char* const kStartupLine =
    "#################STARTUP#################################################################";

QString argAt(char** argv, int i)
{
    return fromXmlString(QString::fromLocal8Bit(argv[i]));
}

bool same(const QString& a, const char* b)
{
    return a.compare(QLatin1String(b), Qt::CaseInsensitive) == 0;
}

} // namespace

__FMSDK::__FMSDK(bool consoleApp, fm_AppType type, const QString& appName, bool noUILog)
{
    StartTime.SetCurrentTime();
    std::memset(static_cast<void*>(&App), 0, sizeof(App));
    StructSize = kStructSize;
    StructWord = kStructWord;
    fmTime_t::TestIfOfsetIsRight(true);
    ServiceUserName = "NotSet";

    App.StartTime.SetCurrentTime();
    App.OS = fmThisOS;
    App.MachineName = "UnknownMachine";
    App.UserName = "UnknownUser";
    App.AppShortName = "fmApp";
    App.AppShortName2 = "--";

    ConsoleApp = consoleApp;
    AppType = type;
    AppName = appName;

    Log = new fmLogfile(type == fm_AppType_Server ? kServerLogMax : kMainLogMax, 60);
    LogError = new fmLogfile(kErrorLogMax, 0);
    cfg = new _fmgConfig;
    CfgDeleter = [](_fmgConfig* table) { delete table; };
    LogLevels = cfg->LogLevel;
    NoLogFile = !(type == fm_AppType_Server || type == fm_AppType_Client);
    NoUILog = noUILog;
    WriteLog(3, fmLog_FileOnly, QLatin1String(kStartupLine), QString());
}

bool __FMSDK::SetupCfgSDK(int& argc, char** argv)
{
    WriteLog(10, 0, QStringLiteral("SetupCfgSDK"), QStringLiteral("__FMSDK,SetupCfgSDK"));
    ArgC = argv ? argc : 0;
    ArgV = argv;
    WriteLog(15, 0,
             QStringLiteral("Create FM running in thread %2").arg(quintptr(QThread::currentThread()), 0, 16),
             QStringLiteral("__FMSDK,SetupCfgSDK"));
    MainThread = QThread::currentThread();
    App.MessageBoxAllowed = true;

    if (!pathsGetRootFromAppPath(argc, argv)) {
        WriteLog(1, fmLog_NoPlace,
                 QStringLiteral(
                     "Unable to get FM Root path; This executable was not started from a FM directory.\n "
                     "('%1')")
                     .arg(ArgC > 0 ? QString::fromLocal8Bit(ArgV[0]) : QString()),
                 QStringLiteral("FM,SetupCfg"));
        return false;
    }

    // A missing version file is no error: the version text stays empty.
    const QString versionFile = SubPath.toQString() + QLatin1String("version.info");
    if (fmPathExists(versionFile)) {
        QByteArray text;
        QString why;
        if (fmReadRegularFile(versionFile, fmFileCap::SmallText, text, &why)) {
            QByteArray first = text.left(text.indexOf('\n') + 1).left(50);
            if (first.isEmpty()) first = text.left(50);
            if (first.endsWith('\n')) first.chop(1);
            if (first.endsWith('\r')) first.chop(1);
            VersionText = QString::fromLatin1(first);
        } else {
            WriteLog(2, fmLog_NoMessageBox,
                     QStringLiteral("Unable to read '") + fmPathForDisplay(versionFile) +
                         QStringLiteral("': ") + why,
                     QStringLiteral("FM,SetupCfg"));
        }
    }

    CheckCommandlineParameter();
    WriteLog(3, fmLog_FileOnly, QString(91, QLatin1Char('-')) + QLatin1Char(' '), QString());
    WriteLog(10, 0, QStringLiteral("FM Config..."), QStringLiteral("FM,SetupCfg"));
    AppInit();

    WriteLog(10, 0, QStringLiteral("fmsdkHasValidMemSize... "), QStringLiteral("FM,SetupCfg"));
    if (StructSize != kStructSize) {
        WriteLog(1, 0,
                 QStringLiteral("FM data structure has wrong size (%1 != %2) (%3 != %4)")
                     .arg(kStructSize)
                     .arg(kStructSize)
                     .arg(kStructSizeSecond)
                     .arg(kStructSizeSecond),
                 QStringLiteral("FM,SetupCfg"));
        return false;
    }
    Configured = true;
    WriteLog(10, 0, QStringLiteral("SetupCfgSDK Done"), QStringLiteral("FM,SetupCfg"));
    return true;
}

namespace {

// The levels that a log option switches on, for the log file and the user alike; none for other
// arguments. "-debug" turns on all but 24, 20, 12 and 11.
void switchLogLevels(_fmgConfig& cfg, const QString& a)
{
    auto on = [&cfg](int level) { cfg.LogLevel[level] = cfg.LogLevelUI[level] = true; };
    if (same(a, "-debugNetwork")) {
        on(12);
    } else if (same(a, "-debugThreads")) {
        on(15);
    } else if (same(a, "-debugMain")) {
        on(10);
    } else if (same(a, "-debugJobs")) {
        on(13);
        on(22);
    } else if (same(a, "-debug")) {
        for (int l = 0; l < _fmgConfig::LogLevels; ++l)
            on(l);
        for (int l : {24, 20, 12, 11})
            cfg.LogLevel[l] = cfg.LogLevelUI[l] = false;
    }
}

bool isLogFileOption(const QString& a)
{
    for (const char* o :
         {"-debugNetwork", "-debugThreads", "-debugMain", "-debugJobs", "-debug", "-useLogfile"})
        if (same(a, o)) return true;
    return false;
}

} // namespace

void __FMSDK::CheckCommandlineParameter()
{
    for (int i = 1; i < ArgC && cfg; ++i) {
        const QString a = argAt(ArgV, i);
        switchLogLevels(*cfg, a);
        if (isLogFileOption(a)) {
            NoLogFile = false;
        } else if (same(a, "-LogFlushAll")) {
            Log->FlushInterval = 0;
        } else if (same(a, "-allowNoServiceMapping")) {
            AllowNoServiceMapping = true;
        } else if (same(a, "-service")) {
            App.ServiceMode = true;
            NoUILog = true;
            WriteLog(3, fmLog_NoMessageBox, QStringLiteral("Application is running in service mode."),
                     QStringLiteral("CheckCommandlineParameter"));
        } else if (same(a, "-LocalDataFolder") && i + 1 < ArgC) {
            LocalDataPath = argAt(ArgV, ++i);
            pathsCalcOtherPaths_SetClientLocalSubs();
        } else if (same(a, "-ThreadCheckFolder") && i + 1 < ArgC) {
            ThreadCheckFolder = argAt(ArgV, ++i);
        }
    }
    for (int i = 0; i < ArgC; ++i)
        WriteLog(10, 0, QStringLiteral("     params: '") + argAt(ArgV, i) + QStringLiteral("' "),
                 QStringLiteral("CheckCommandlineParameter"));
}

void __FMSDK::ApplyCommandlineLogLevels()
{
    // The same walk as CheckCommandlineParameter: the two options with a value skip it.
    for (int i = 1; i < ArgC && cfg; ++i) {
        const QString a = argAt(ArgV, i);
        if ((same(a, "-LocalDataFolder") || same(a, "-ThreadCheckFolder")) && i + 1 < ArgC)
            ++i;
        else
            switchLogLevels(*cfg, a);
    }
}

bool __FMSDK::AppInit()
{
    WriteLog(10, 0, QStringLiteral("Application Init..."), QStringLiteral("FM,AppInit"));
    MachineNameOverridden = false;
    App.MachineName = getHostName();
    bool debug = false;
    for (int i = 1; i < ArgC; ++i) {
        const QString a = argAt(ArgV, i);
        if (same(a, "-debug")) debug = true;
        if ((same(a, "-OMName") || same(a, "-OMN")) && i + 1 < ArgC) {
            App.MachineName = argAt(ArgV, i + 1);
            MachineNameOverridden = true;
        }
    }

    // Without a root there is no log folder: the names stay empty and nothing is written.
    const QString logPath = LogPath.toQString();
    const QString machine = App.MachineName.toQString();
    QString prefix;
    switch (AppType) {
    case fm_AppType_Server:
        prefix = QStringLiteral("server_");
        break;
    case fm_AppType_Client:
        prefix = QStringLiteral("c_");
        break;
    case fm_AppType_Submitter:
        prefix = QStringLiteral("submit_");
        break;
    case fm_AppType_Control:
        prefix = QStringLiteral("control_");
        break;
    case fm_AppType_PostScript:
        prefix = QStringLiteral("ps_");
        break;
    case fm_AppType_Test:
    case fm_AppType_LogFile:
        prefix = QStringLiteral("TEST_");
        break;
    case fm_AppType_Config:
        prefix = QStringLiteral("config_");
        break;
    default:
        prefix = AppName + QLatin1Char('_');
        break;
    }
    if (!logPath.isEmpty()) {
        LogError->FileName =
            logPath + QLatin1String(AppType == fm_AppType_Server ? "_ERROR_SERVER.txt" : "_ERROR.txt");
        Log->FileName = logPath + prefix + machine + QLatin1String(".txt");
    }
    switch (AppType) {
    case fm_AppType_Server: {
        NoLogFile = false;
        const QString folder = (App.ServiceMode && !ThreadCheckFolder.isEmpty())
                                   ? ThreadCheckFolder.toQString()
                                   : LocalDataPath.toQString();
        Log->SecondFileName = folder + QLatin1String("fmServer_localLog.txt");
        break;
    }
    case fm_AppType_Client:
        NoLogFile = false;
        Log->SecondFileName =
            LocalDataPath.toQString() + QLatin1String("c_") + machine + QLatin1String(".txt");
        break;
    case fm_AppType_Test:
    case fm_AppType_LogFile:
        NoLogFile = false;
        break;
    default:
        NoLogFile = !debug;
        break;
    }
    // Lines gathered since an earlier option switched the file on must not reach a file that this
    // program does not write.
    if (NoLogFile) Log->discard();
    WriteLog(10, 0, QStringLiteral("Application Init done"), QStringLiteral("FM,AppInit"));
    return true;
}

void __FMSDK::SetAppSystemInfos()
{
    if (const passwd* pw = ::getpwuid(::geteuid()); pw && pw->pw_name)
        App.UserName = QString::fromLatin1(QByteArray(pw->pw_name).left(100));
    for (int i = 1; i + 1 < ArgC; ++i)
        if (same(argAt(ArgV, i), "-OUName")) App.UserName = argAt(ArgV, i + 1);
    App.ProcessID = int64_t(::getpid());
    App.CpuCount = 0;
    App.MemoryBytes = 0;
    App.IPAddress.clear();
    App.MacAddress.clear();
}

QString __FMSDK::getHostName()
{
    char buf[256];
    std::memset(buf, 0, sizeof(buf));
    QString name;
    if (::gethostname(buf, 255) == 0) name = QString::fromLocal8Bit(buf);
    const qsizetype dot = name.indexOf(QLatin1Char('.'));
    if (dot > 0) name.truncate(dot);
    if (name.isEmpty() || name.compare(QLatin1String("localhost"), Qt::CaseInsensitive) == 0)
        name = QStringLiteral("UnknownMachine_%1").arg(std::rand());
    name[0] = name.at(0).toUpper();
    return name;
}

QString __FMSDK::getReleaseDate()
{
    QByteArray text;
    if (!fmReadRegularFile(SubPath.toQString() + QLatin1String("version.info"), fmFileCap::SmallText, text,
                           nullptr))
        return QStringLiteral("Version info file is missing");
    // The line as it stands: blanks kept, only its line end dropped.
    const QList<QByteArray> lines = text.split('\n');
    QByteArray second = lines.size() > 1 ? lines.at(1).left(4096) : QByteArray();
    if (second.endsWith('\r')) second.chop(1);
    if (second.isEmpty()) return QStringLiteral("Unable to read version info file");
    return QString::fromLocal8Bit(second);
}
