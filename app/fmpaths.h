#pragma once
// The shared root: validity, the executable's own folder, separators and the mapping of a path
// between the operating systems' views of the shared storage.

#include "app/fmglobal.h"
#include "foundation/fmstring.h"

#include <QString>

class __FMSDK;
struct _fmgOSConversion;

// Folder names of this platform.
extern const char* const fmBinFolder;      // "bin/lx/"
extern const char* const fmBin64Folder;    // "bin/lx64/"
extern const char* const fmRelinkFile;     // "sub/cfg_global/relink_lx.cfg"
extern const char* const fmLocalDataRoot;  // "/var/tmp/FM_localdata/"

// True when root (ending in "/") holds, in this order of testing, sub/cfg_global/globalconfig.ini,
// the folder sub/cfg_global/, bin/lx/fmClientconsole, bin/lx/fmServerconsole or the relink file;
// or when the same holds for the root with "_debug" read as "_release".
bool IsValidFM_Root(const QString& root);

// Folder of the running executable (with trailing "/"): /proc/self/exe, else argv0 (joined to
// the current folder when relative). Empty when neither gives a path.
QString fmApplicationPath(const char* argv0);
void fmApplicationPath(fmString8_evenSize<250>& out, char* argv0);

QString fmConvertPDToOS(const QString& path);
QString fmConvertPDToOS(const QString& path, _fmOS os);
fmString<250> fmConvertPDToOS(const fmString<250>& path);
fmString<500> fmConvertPDToOS(const fmString<500>& path);
QString fmGetUncPath(QString path);
bool fmIsRootpath(const QString& path);

// Maps path from the view of `from` to the view of `to` through `rowCount` rows of the path
// mapping table (at most 60 are read; in one row the columns, indexed by _fmOS, name the same
// storage as each operating system sees it). Every row whose two columns are set and whose `from` text prefixes the path
// (case-insensitive) replaces that prefix; the walk goes on, so a later row may map the result
// again.
void ConvertPathsToOS_Single(QString& path, _fmOS from, _fmOS to, const _fmgOSConversion* rows, int rowCount,
                             bool force);
// The same through the 60 rows of the configuration table.
void ConvertPathsToOS_Single(QString& path, _fmOS from, _fmOS to, __FMSDK& sdk, bool force);
