#pragma once
// Mapping of a path between the operating systems' views of the shared storage, through the path
// table of the configuration.

#include "foundation/fmglobal.h"
#include "foundation/fmstring.h"

#include <QString>

class __FMSDK;
struct _fmgOSConversion;

QString fmConvertPDToOS(const QString& path);
QString fmConvertPDToOS(const QString& path, _fmOS os);
fmString<250> fmConvertPDToOS(const fmString<250>& path);
fmString<500> fmConvertPDToOS(const fmString<500>& path);
QString fmGetUncPath(QString path);
bool fmIsRootpath(const QString& path);

// Maps path from the view of `from` to the view of `to` through `rowCount` rows of the path
// mapping table (at most 60 are read; in one row the columns, indexed by _fmOS, name the same
// storage as each operating system sees it). Every row whose two columns are set and whose `from` text
// prefixes the path (case-insensitive) replaces that prefix; the walk goes on, so a later row may map the
// result again.
void ConvertPathsToOS_Single(QString& path, _fmOS from, _fmOS to, const _fmgOSConversion* rows, int rowCount,
                             bool force);
// The same through the 60 rows of the configuration table.
void ConvertPathsToOS_Single(QString& path, _fmOS from, _fmOS to, __FMSDK& sdk, bool force);
