#include "app/fmsdk.h"

#include "farm/fmgconfig.h"

#include <cstdio>

__FMSDK::__FMSDK(bool consoleApp, fm_AppType type, const QString& appName, bool)
    : cfg(new _fmgConfig), ConsoleApp(consoleApp), AppType(type), AppName(appName)
{
}

__FMSDK::~__FMSDK()
{
    delete cfg;
    cfg = nullptr;
}

void __FMSDK::WriteLog(int level, int, const QString& text, const QString& where)
{
    if (!cfg || level < 0 || level > 24 || !cfg->LogLevel[level]) return;
    std::fprintf(stderr, "%d %s: %s\n", level, qPrintable(where), qPrintable(text));
}
