#pragma once
// The typed table of the farm's global settings (globalconfig.ini).

#include <cstdint>

class _fmgConfig
{
public:
    _fmgConfig();

    // Log switches by level (0..24): LogLevel for the log file, LogLevelUI for what the user sees.
    // All off after construction except levels 0 to 4.
    bool LogLevel[25];
    bool LogLevelUI[25];
};
