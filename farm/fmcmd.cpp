#include "farm/fmcmd.h"

fmString<250> fmcmdName(const _fmFMCommand& command)
{
    static const char* const names[] = {
        "None",
        "Reload all config",
        "Log DebugMain On",
        "Log DebugJobs On",
        "Log DebugJobChecks On",
        "Log DebugThreads On",
        "Log DebugWebsite On",
        "Log DebugNetwork On",
        "Log DebugMain Off",
        "Log DebugJobs Off",
        "Log DebugJobChecks Off",
        "Log DebugThreads Off",
        "Log DebugWebsite Off",
        "Log DebugNetwork Off",
        "Change system time",
        "Log DebugPlugins On",
        "Log DebugDetailed On",
        "Log DebugPlugins Off",
        "Log DebugDetailed Off",
        "Log thread status",
    };
    const int32_t code = command;
    if (code >= 0 && code < int32_t(sizeof(names) / sizeof(names[0]))) return fmString<250>(names[code]);
    return fmString<250>(QStringLiteral("Unknown #%1").arg(code));
}

int fmcmdLogChannel(const _fmFMCommand& command, bool* on)
{
    struct Switch
    {
        int32_t code;
        int channel;
        bool on;
    };
    static const Switch switches[] = {
        {fmCmd_LogDebugMainOn, 10, true},        {fmCmd_LogDebugJobsOn, 13, true},
        {fmCmd_LogDebugJobChecksOn, 22, true},   {fmCmd_LogDebugThreadsOn, 15, true},
        {fmCmd_LogDebugWebsiteOn, 21, true},     {fmCmd_LogDebugNetworkOn, 12, true},
        {fmCmd_LogDebugMainOff, 10, false},      {fmCmd_LogDebugJobsOff, 13, false},
        {fmCmd_LogDebugJobChecksOff, 22, false}, {fmCmd_LogDebugThreadsOff, 15, false},
        {fmCmd_LogDebugWebsiteOff, 21, false},   {fmCmd_LogDebugNetworkOff, 12, false},
        {fmCmd_LogDebugPluginsOn, 17, true},     {fmCmd_LogDebugDetailedOn, 11, true},
        {fmCmd_LogDebugPluginsOff, 17, false},   {fmCmd_LogDebugDetailedOff, 11, false},
    };
    for (const Switch& s : switches) {
        if (s.code == int32_t(command)) {
            if (on) *on = s.on;
            return s.channel;
        }
    }
    return -1;
}

_fmcmdHooks& fmcmdHooks()
{
    static _fmcmdHooks hooks;
    return hooks;
}
