#pragma once
// Base of the one global application object: paths, configuration table, logs, start-up.

#include "app/fmglobal.h"
#include "foundation/fmstring.h"
#include "foundation/fmtime.h"

#include <QString>

class _fmgConfig;

class __FMSDK
{
public:
    __FMSDK(bool consoleApp, fm_AppType type, const QString& appName, bool noUILog);
    virtual void WriteLog(int level, int flags, const QString& text, const QString& where);
    virtual ~__FMSDK();

    _fmgConfig* cfg = nullptr; // owned

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

    // The shared root and every folder derived from it, each ending in "/".
    fmString<250> RootPath;
    fmString<250> ExeRootPath;
    fmString<250> BinPath;
    fmString<250> BinPath64;
    fmString<250> SubPath;
    fmString<250> CfgGlobalPath;
    fmString<250> CfgUserPath;
    fmString<250> LogPath;
    fmString<250> ClientScriptsPath;
    fmString<250> HistoryDbPath;
    fmString<250> StatsPath;
    fmString<250> LocalDataPath;
    fmString<250> LocalTempPath;
    fmString<250> AppPath;

    bool ConsoleApp = false;
    fm_AppType AppType = fm_AppType_None;
    QString AppName;
};
