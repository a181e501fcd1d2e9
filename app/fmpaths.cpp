// Root search, derived folders and path mapping.
#include "app/fmpaths.h"

#include "farm/fmgconfig.h"
#include "foundation/fmfile.h"
#include "foundation/fmfileread.h"
#include "foundation/fmsdk.h"
#include "foundation/fmtextcodec.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTextStream>

#include <climits>
#include <unistd.h>

const char* const fmBinFolder = "bin/lx/";
const char* const fmBin64Folder = "bin/lx64/";
const char* const fmRelinkFile = "sub/cfg_global/relink_lx.cfg";
const char* const fmLocalDataRoot = "/var/tmp/FM_localdata/";

namespace {

constexpr int kPathMax = 250;

bool validRootAsIs(const QString& root)
{
    if (QFileInfo::exists(root + QLatin1String("sub/cfg_global/globalconfig.ini"))) return true;
    if (QFileInfo(root + QLatin1String("sub/cfg_global/")).isDir()) return true;
    if (QFileInfo::exists(root + QLatin1String(fmBinFolder) + QLatin1String("fmClientconsole"))) return true;
    if (QFileInfo::exists(root + QLatin1String(fmBinFolder) + QLatin1String("fmServerconsole"))) return true;
    return QFileInfo::exists(root + QLatin1String(fmRelinkFile));
}

QString up(QString path, int times)
{
    for (int i = 0; i < times && !path.isEmpty(); ++i)
        path = GetDirName(path, '/');
    return path;
}

QString argText(char** argv, int i)
{
    return fromXmlString(QString::fromLocal8Bit(argv[i]));
}

QString withSlash(const QString& path)
{
    if (path.endsWith(QLatin1Char('/')) || path.endsWith(QLatin1Char('\\'))) return path;
    return path + QLatin1Char('/');
}

} // namespace

bool IsValidFM_Root(const QString& root)
{
    if (root.isEmpty()) return false;
    if (validRootAsIs(root)) return true;
    QString release = root;
    release.replace(QLatin1String("_debug"), QLatin1String("_release"));
    return release != root && validRootAsIs(release);
}

QString fmApplicationPath(const char* argv0)
{
    QByteArray exe;
    char buf[PATH_MAX + 1];
    const ssize_t n = ::readlink("/proc/self/exe", buf, PATH_MAX);
    if (n > 0) exe = QByteArray(buf, int(n)).left(kPathMax);
    if (exe.isEmpty() && argv0) {
        exe = QByteArray(argv0).left(kPathMax);
        if (exe.size() < 4) exe.clear();
        const bool relative = !exe.isEmpty() && exe.at(0) != '/' && !(exe.size() > 1 && exe.at(1) == ':');
        if (relative && exe.contains('/')) {
            QByteArray cwd;
            if (::getcwd(buf, sizeof(buf))) cwd = QByteArray(buf);
            while (exe.startsWith("../")) {
                exe.remove(0, 3);
                const qsizetype slash = cwd.lastIndexOf('/');
                cwd.truncate(slash > 0 ? slash : 0);
            }
            if (exe.startsWith("./")) exe.remove(0, 2);
            exe = (cwd + '/' + exe).left(kPathMax);
        }
    }
    if (exe.isEmpty()) return QString();
    return GetDirName(QFile::decodeName(exe), '/');
}

void fmApplicationPath(fmString8_evenSize<250>& out, char* argv0)
{
    out = fmApplicationPath(static_cast<const char*>(argv0));
}

bool __FMSDK::pathsGetRootFromAppPath(int& argc, char** argv)
{
    return pathsGetRootFromFolder(argc, argv, fmApplicationPath(argc > 0 && argv ? argv[0] : nullptr));
}

// The root from "-fmRoot <path>" (the last one wins; sets local copy mode), else from the program's
// own place: root/bin/lx/tool, the bundle layout root/bin/lx/tool.app/Contents/MacOS/tool, and the same
// from argv[0] as it was typed. Empty when none of them is a valid root.
static QString findRootCandidate(int argc, char** argv, const QString& appFolder, bool& localCopy)
{
    QString candidate;
    auto validate = [&candidate] {
        if (!IsValidFM_Root(candidate)) candidate.clear();
    };
    for (int i = 0; i + 2 < argc; ++i) {
        if (argText(argv, i + 1).startsWith(QLatin1String("-fmRoot"), Qt::CaseInsensitive))
            candidate = withSlash(argText(argv, i + 2));
    }
    validate();
    localCopy = !candidate.isEmpty();

    if (candidate.isEmpty()) candidate = up(appFolder, 2);
    candidate.replace(QLatin1String("/_internal_"), QLatin1String("/_"));
    validate();
    if (candidate.isEmpty()) {
        candidate = up(appFolder, 5);
        validate();
    }
    for (int times : {2, 5}) {
        if (!candidate.isEmpty() || argc < 1) break;
        candidate = QString::fromLocal8Bit(argv[0]);
        const qsizetype slash = candidate.lastIndexOf(QLatin1Char('/'));
        if (slash < 3)
            candidate.clear();
        else
            candidate = up(candidate.left(slash + 1), times);
        validate();
    }
    if (candidate.isEmpty()) {
        // FM_ROOT is read and never selects a root: a root must be found from the program's place.
        (void)qEnvironmentVariable("FM_ROOT");
        candidate.clear();
        validate();
    }
    return candidate;
}

// The relink file moves the shared root (a "Root=" line) or names the executables' root ("ExeRoot=";
// that alone leaves no valid root and fails). No file: nothing changes.
static bool applyRelinkFile(__FMSDK& sdk)
{
    QString relink = sdk.RootPath.toQString() + QLatin1String(fmRelinkFile);
    if (!QFileInfo::exists(relink)) relink.replace(QLatin1String("_debug"), QLatin1String("_release"));
    if (!QFileInfo::exists(relink)) return true;
    sdk.RootPath.clear();
    QByteArray text;
    QString why;
    if (!fmReadRegularFile(relink, fmFileCap::SmallText, text, &why)) {
        sdk.WriteLog(1, fmLog_NoMessageBox,
                     QStringLiteral("Unable to read '") + fmPathForDisplay(relink) + QStringLiteral("': ") +
                         why,
                     QStringLiteral("FM,pathsGetRootFromAppPath"));
        return false;
    }
    const QString line = QString::fromLocal8Bit(text.split('\n').first().left(4095)).trimmed();
    const qsizetype eq = line.indexOf(QLatin1Char('='));
    if (line.startsWith(QLatin1String("Root"), Qt::CaseInsensitive) && eq >= 0) {
        QString root = line.mid(eq + 1).trimmed();
        if (!root.endsWith(QLatin1Char('/')) && root.size() < kPathMax) root += QLatin1Char('/');
        sdk.RootPath = root;
    } else if (line.startsWith(QLatin1String("ExeRoot"), Qt::CaseInsensitive) && eq >= 0) {
        sdk.ExeRootPath = line.mid(eq + 1).trimmed();
    }
    return !sdk.RootPath.isEmpty() && IsValidFM_Root(sdk.RootPath.toQString());
}

bool __FMSDK::pathsGetRootFromFolder(int argc, char** argv, const QString& appFolder)
{
    ArgC = argv ? argc : 0;
    ArgV = argv;
    LocalCopyMode = false;
    const QString candidate = findRootCandidate(ArgC, ArgV, appFolder, LocalCopyMode);
    if (candidate.isEmpty()) return false;

    RootPath = fmConvertPDToOS(candidate);
    ExeRootPath = RootPath;
    if (!applyRelinkFile(*this)) return false;

    StatusPath.clear();
    for (int i = 0; i + 2 < ArgC; ++i) {
        if (!argText(ArgV, i + 1).startsWith(QLatin1String("-loadstatus"), Qt::CaseInsensitive)) continue;
        QString status = argText(ArgV, i + 2).left(kPathMax);
        if (status.endsWith(QLatin1Char('"'))) status.chop(1);
        if (!status.endsWith(QLatin1Char('/')) && status.size() + 1 < 251) status += QLatin1Char('/');
        StatusPath = status;
    }

    pathsCalcOtherPaths();
    return true;
}

void __FMSDK::pathsCalcOtherPaths()
{
    QString root = RootPath.toQString();
    root.replace(QLatin1String("_debug"), QLatin1String("_release"), Qt::CaseInsensitive);
    RootPath = root;
    const QString exe = ExeRootPath.toQString();
    BinPath = exe + QLatin1String(fmBinFolder);
    BinPath64 = exe + QLatin1String(fmBin64Folder);
    SubPath = root + QLatin1String("sub/");
    CfgGlobalPath = root + QLatin1String("sub/cfg_global/");
    CfgUserPath = root + QLatin1String("sub/cfg_user/");
    LogPath = root + QLatin1String("sub/log/");
    ClientScriptsPath = root + QLatin1String("sub/client_execute_scripts/");
    HistoryDbPath = root + QLatin1String("sub/history_db/");
    StatsPath = root + QLatin1String("sub/stats/");
    WebsiteTemplatesPath = root + QLatin1String("sub/cfg_website_templates/");
    AutoloadPath = root + QLatin1String("autoload/");
    if (StatusPath.isEmpty())
        WebsitePath = root + QLatin1String("website/");
    else
        WebsitePath = StatusPath.toQString() + QLatin1String("website/");
    RenderAppsConfigPath = root + QLatin1String("render_apps/_config/");
    PrePostScriptsPath = root + QLatin1String("render_apps/_prepost_scripts/");
    SetEnvPath = root + QLatin1String("render_apps/_setenv/lx/");
    InstallPathsPath = root + QLatin1String("render_apps/_install_paths/");
    SubmitPluginsPath = root + QLatin1String("render_apps/_submitplugins/");
    PluginsPath = exe + QLatin1String("plugins/");
    ServerJobsPluginsPath = exe + QLatin1String("plugins64/server_jobs/");
    ServerNotifyPluginsPath = exe + QLatin1String("plugins64/server_notify/");
    ImagePluginsPath = exe + QLatin1String("plugins64/image/");
    SceneParserPluginsPath = exe + QLatin1String("plugins64/submitter_sceneparser/");

    QString app = fmApplicationPath(ArgC > 0 && ArgV ? ArgV[0] : nullptr);
    if (app.indexOf(QLatin1String(".app/"), 0, Qt::CaseInsensitive) >= 0) app = up(app, 3);
    AppPath = app;

    LocalDataPath = QLatin1String(fmLocalDataRoot);
    pathsCalcOtherPaths_SetClientLocalSubs();
    ThreadCheckFolder.clear();
}

void __FMSDK::pathsCalcOtherPaths_SetClientLocalSubs()
{
    const QString local = LocalDataPath.toQString();
    LocalTexturesPath = local + QLatin1String("textures/");
    LocalTempPath = local + QLatin1String("temp/");
    LocalRenderOutPath = local + QLatin1String("renderout/");
    LocalCachedScenesPath = local + QLatin1String("cachedscenes/");
    LocalRendererPrefsPath = local + QLatin1String("renderer_prefs/");
    LocalRendererExePath = local + QLatin1String("renderer_exe/");
}

fmString<100> __FMSDK::getServerConnectName(const bool& backup)
{
    const bool* useIP = cfgGetB("nUseServerIP");
    const bool byIP = useIP && *useIP;
    auto text = [this](const char* key) {
        const fmString<100>* s = cfgGetS(key);
        return s ? *s : fmString<100>();
    };
    if (backup) {
        const fmString<100> backupName = text("nBackupServerName");
        if (!backupName.isEmpty()) return byIP ? text("nBackupServerIP1") : backupName;
    }
    const fmString<100> ip = text("nServerIP1");
    if (byIP && !ip.isEmpty()) return ip;
    return text("nServerName");
}
