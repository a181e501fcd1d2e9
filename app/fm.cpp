#include "app/fm.h"

__FM::__FM(bool consoleApp, fm_AppType type, const QString& appName, bool noUILog)
    : QObject(nullptr), __FMSDK(consoleApp, type, appName, noUILog)
{
}

__FM::~__FM() = default;

void __FM::WriteLog(int level, int flags, const QString& text, const QString& where)
{
    __FMSDK::WriteLog(level, flags, text, where);
}
