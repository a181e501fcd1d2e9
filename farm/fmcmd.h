#pragma once
// Remote commands: small orders that one tool of the farm sends to another (reload the
// configuration, switch a debug log channel).

#include "foundation/fmstring.h"

#include <QString>
#include <cstddef>
#include <cstdint>

// Command codes (32-bit), as they travel between the tools.
enum _fmFMCommand : int32_t {
    fmCmd_None = 0,
    fmCmd_ReloadAllConfig = 1,
    fmCmd_LogDebugMainOn = 2,
    fmCmd_LogDebugJobsOn = 3,
    fmCmd_LogDebugJobChecksOn = 4,
    fmCmd_LogDebugThreadsOn = 5,
    fmCmd_LogDebugWebsiteOn = 6,
    fmCmd_LogDebugNetworkOn = 7,
    fmCmd_LogDebugMainOff = 8,
    fmCmd_LogDebugJobsOff = 9,
    fmCmd_LogDebugJobChecksOff = 10,
    fmCmd_LogDebugThreadsOff = 11,
    fmCmd_LogDebugWebsiteOff = 12,
    fmCmd_LogDebugNetworkOff = 13,
    fmCmd_ChangeSystemTime = 14,
    fmCmd_LogDebugPluginsOn = 15,
    fmCmd_LogDebugDetailedOn = 16,
    fmCmd_LogDebugPluginsOff = 17,
    fmCmd_LogDebugDetailedOff = 18,
    fmCmd_LogThreadStatus = 19,
};

// A command as it arrives. Layout, little-endian:
//   0  4  UserID: the sender's user number
//   4  4  Command
//   8  2  ClientID: the sender's client number
//  10  2  Reserved: 0
// Natural alignment leaves no gaps.
struct _FMCommands
{
    int32_t UserID;
    _fmFMCommand Command;
    int16_t ClientID;
    int16_t Reserved;
};
static_assert(sizeof(_FMCommands) == 12);
static_assert(offsetof(_FMCommands, Command) == 4);
static_assert(offsetof(_FMCommands, ClientID) == 8);

// The command's text for the log: "None", "Reload all config", ..., "Unknown #<code>".
fmString<250> fmcmdName(const _fmFMCommand& command);

// The log channel (index into LogLevel and LogLevelUI) a command switches, and whether it turns
// it on; -1 for commands that switch no channel.
int fmcmdLogChannel(const _fmFMCommand& command, bool* on);

// What a command needs from parts of the application that live elsewhere. Every hook may stay
// null: the step it serves is then skipped (the client name falls back to "#<index>").
struct _fmcmdHooks
{
    QString (*clientName)(const short& client) = nullptr; // name of a client index
    void (*flushLog)() = nullptr;                         // writes the main log file out now
    void (*setThreadStatusTime)(int seconds) = nullptr;   // the main log's thread status time
};
_fmcmdHooks& fmcmdHooks();
