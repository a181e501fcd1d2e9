#pragma once
// The shared root: validity, the executable's own folder, separators and the mapping of a path
// between the operating systems' views of the shared storage.

#include "farm/fmpathmap.h"
#include "foundation/fmglobal.h"
#include "foundation/fmstring.h"

#include <QString>

class __FMSDK;

// Folder names of this platform.
extern const char* const fmBinFolder;     // "bin/lx/"
extern const char* const fmBin64Folder;   // "bin/lx64/"
extern const char* const fmRelinkFile;    // "sub/cfg_global/relink_lx.cfg"
extern const char* const fmLocalDataRoot; // "/var/tmp/FM_localdata/"

// True when root (ending in "/") holds, in this order of testing, sub/cfg_global/globalconfig.ini,
// the folder sub/cfg_global/, bin/lx/fmClientconsole, bin/lx/fmServerconsole or the relink file;
// or when the same holds for the root with "_debug" read as "_release".
bool IsValidFM_Root(const QString& root);

// Folder of the running executable (with trailing "/"): /proc/self/exe, else argv0 (joined to
// the current folder when relative). Empty when neither gives a path.
QString fmApplicationPath(const char* argv0);
void fmApplicationPath(fmString8_evenSize<250>& out, char* argv0);
