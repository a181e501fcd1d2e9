#pragma once
// Base of the one global application object: the structure guard, paths, configuration table,
// logs, start-up of the parts that every tool of the family shares.

#include "foundation/fmglobal.h"
#include "foundation/fmstring.h"
#include "foundation/fmtime.h"

#include <QString>
#include <QtGlobal>
#include <cstdint>

class _fmgConfig;
namespace fmC {
class _ClientList;
}
class fmLogfile;

// The running program as the family describes itself (memory only, never written).
struct _fmgApplication
{
    bool ServiceMode;       // "-service"
    bool MessageBoxAllowed; // set when SetupCfgSDK begins; before that no message box is shown
    fmTime_t StartTime;
    _fmOS OS;
    fmString8_UnevenSize<75> MachineName;
    fmString<100> UserName;
    fmString<50> AppShortName;
    fmString<50> AppShortName2;
    int64_t ProcessID;
    // Hardware and network facts: the farm's clients fill them; this program only clears them.
    int32_t CpuCount;
    int64_t MemoryBytes;
    fmString8_UnevenSize<25> IPAddress;
    fmString8_UnevenSize<25> MacAddress;
};

// Shows one log line to the user in a message box: critical (level 0) or warning, the one
// button, the time-out in seconds, and the caller's flag 128 (fixed-width font). Installed by the
// window side at start-up, so that this library never links widgets. Returns the box's answer.
using fmLogMessageBoxFn = bool (*)(bool critical, const QString& text, const QString& button, int seconds,
                                   bool courier);

// The log flags of WriteLog.
enum fmLogFlag : int {
    fmLog_NoPlace = 4,      // no place suffix, no stack suffix
    fmLog_NoMessageBox = 8, // never shown in a box
    fmLog_NoTime = 16,      // no time stamp
    fmLog_FileOnly = 32,    // never shown to the user
    fmLog_Courier = 128,    // handed to the message box as its last argument
};

class __FMSDK
{
public:
    // Guard values stored at the start of the object and checked by SetupCfgSDK.
    static constexpr uint16_t kStructSize = 22400;
    static constexpr uint16_t kStructWord = 258;
    static constexpr int kStructSizeSecond = 20768;

    __FMSDK(bool consoleApp, fm_AppType type, const QString& appName, bool noUILog);
    virtual void WriteLog(int level, int flags, const QString& text, const QString& where);
    virtual ~__FMSDK();
    __FMSDK(const __FMSDK&) = delete;
    __FMSDK& operator=(const __FMSDK&) = delete;

    uint16_t StructSize;
    uint16_t StructWord;

    fmTime_t StartTime;
    bool Configured = false;
    std::atomic<bool> HadCritical = false; // set by WriteLog on any thread

    _fmgConfig* cfg = nullptr; // owned
    // The configuration table's log-level switches (cfg->LogLevel, kLogLevels of them), not owned:
    // set where cfg is made so that logging needs nothing from the table's own type. Null: all off.
    static constexpr int kLogLevels = 25;
    const bool* LogLevels = nullptr;
    // Frees cfg; set by whoever made it (the table's type is not known down here).
    void (*CfgDeleter)(_fmgConfig*) = nullptr;

    // Readers of the global configuration table by key; null when the key is unknown or of
    // another type (the lookup logs that). Defined with the configuration table.
    bool* cfgGetB(const char* name);
    const bool* cfgGetB(const char* name) const;
    short* cfgGetI(const char* name);
    const short* cfgGetI(const char* name) const;
    fmString<100>* cfgGetS(const char* name);
    const fmString<100>* cfgGetS(const char* name) const;
    float* cfgGetF(const char* name);
    const float* cfgGetF(const char* name) const;

    // The shared root and every folder derived from it, each ending in "/" (cut at 250).
    fmString<250> RootPath;
    fmString<250> ExeRootPath; // root of the executables; RootPath unless a relink file moves it
    fmString<250> BinPath;
    fmString<250> BinPath64;
    fmString<250> SubPath;
    fmString<250> CfgGlobalPath;
    fmString<250> CfgUserPath;
    fmString<250> LogPath;
    fmString<250> ClientScriptsPath;
    fmString<250> HistoryDbPath;
    fmString<250> StatsPath;
    fmString<250> WebsiteTemplatesPath;
    fmString<250> AutoloadPath;
    fmString<250> WebsitePath;
    fmString<250> RenderAppsConfigPath;
    fmString<250> PrePostScriptsPath;
    fmString<250> SetEnvPath;
    fmString<250> InstallPathsPath;
    fmString<250> SubmitPluginsPath;
    fmString<250> PluginsPath;
    fmString<250> ServerJobsPluginsPath;
    fmString<250> ServerNotifyPluginsPath;
    fmString<250> ImagePluginsPath;
    fmString<250> SceneParserPluginsPath;
    fmString<250> LocalDataPath;
    fmString<250> LocalTexturesPath;
    fmString<250> LocalTempPath;
    fmString<250> LocalRenderOutPath;
    fmString<250> LocalCachedScenesPath;
    fmString<250> LocalRendererPrefsPath;
    fmString<250> LocalRendererExePath;
    fmString<250> ThreadCheckFolder; // "-ThreadCheckFolder"
    fmString<250> StatusPath;        // "-loadstatus"
    fmString<250> AppPath;           // folder of this executable
    fmString<100> ServiceUserName;   // the local machine's service user; "NotSet"
    bool LocalCopyMode = false;      // the root came from a valid "-fmRoot"
    bool AllowNoServiceMapping = false;
    bool MachineNameOverridden = false;

    _fmgApplication App;
    int ArgC = 0;
    char** ArgV = nullptr; // not owned: as given to SetupCfgSDK
    void* MainThread = nullptr;

    bool ConsoleApp = false; // log text goes to standard output instead of a message box
    fm_AppType AppType = fm_AppType_None;
    QString AppName;
    fmString<50> VersionText; // first line of sub/version.info

    fmLogfile* Log = nullptr;      // owned: main log
    fmLogfile* LogError = nullptr; // owned: error log
    bool NoLogFile = true;
    bool NoUILog = false;

    // Set by the window side at start-up; null in console programs and tests.
    static fmLogMessageBoxFn MessageBoxHook;

    // Start-up.
    bool SetupCfgSDK(int& argc, char** argv);
    void CheckCommandlineParameter();
    // The log levels that the command line's options switch on ("-debug", "-debugMain", ...),
    // set again after globalconfig.ini is read so that the file's flags don't override them.
    // Only the levels: whether there is a log file stays as start-up chose it.
    void ApplyCommandlineLogLevels();
    bool AppInit();
    void SetAppSystemInfos();
    QString getHostName();
    QString getReleaseDate();
    void exitFMSDK(bool);

    // Root search and derived folders.
    bool pathsGetRootFromAppPath(int& argc, char** argv);
    // The search with the executable's folder given (the real search passes fmApplicationPath).
    bool pathsGetRootFromFolder(int argc, char** argv, const QString& appFolder);
    void pathsCalcOtherPaths();
    void pathsCalcOtherPaths_SetClientLocalSubs();
    fmString<100> getServerConnectName(const bool& backup);

    // Logging.
    void LogNoUIExecute(int level, int flags, const QString& text, const QString& where);
    void FormatLogMessage(int level, int flags, QString text, const QString& where, QString& out);
    void LogFileWrite(int level, int flags, const QString& text, const QString& where);
    void LogFileWriteError(int level, int flags, const QString& text, const QString& where);
    void WriteLog_noQT(int level, int flags, const fmString<250>& text, const fmString<250>& where);
    void LogNoUIExecute_noQT(int level, int flags, const fmString<250>& text, const fmString<250>& where);
    void FormatLogMessage_noQT(int level, int flags, const fmString<250>& text, const fmString<250>& where,
                               fmString<250>& out);

    bool logLevelOn(int level) const;

    // What the farm's tables know, answered by the application object that owns them; without
    // tables (the defaults) a user or client has no name and there are no clients.
    virtual QString getUserName(const int& id, bool byUniqueID);
    // Name of the client with that index in the client table; empty when there is none.
    virtual QString getClientName(const int& index) const;
    virtual const fmC::_ClientList* clientTable() const;
};

// The toolkit's message handler: toolkit messages become log lines (debug 19, warning 2,
// critical 1, fatal 0) and, in a window program, warning boxes.
void FMMessageOutput(QtMsgType type, const QMessageLogContext& context, const QString& msg);

// Text of an application type; "unknown" for any other value.
QString fm_AppType_asString(int type);
// Text of an operating system number; short form "all", "win", "lx", "mac"; empty for others.
QString fmOS2String(int os, bool shortForm);
// "lx", with true "lx64".
QString thisOS2String_short(bool with64);
