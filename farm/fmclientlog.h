#pragma once
// Log lines of the client and user files. They go to FM's log; a test may also tap them to see
// the exact texts.

#include <QString>

class __FMSDK;

namespace fmC {

using FarmLogTap = void (*)(int level, const QString& text, const QString& where);
extern FarmLogTap farmLogTap; // null in the programs

void farmLog(__FMSDK& fm, int level, int flags, const QString& text, const QString& where);

} // namespace fmC
