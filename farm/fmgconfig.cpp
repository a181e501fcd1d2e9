#include "farm/fmgconfig.h"

_fmgConfig::_fmgConfig()
{
    for (int i = 0; i < 25; ++i) {
        LogLevel[i] = i <= 4;
        LogLevelUI[i] = i <= 4;
    }
}
