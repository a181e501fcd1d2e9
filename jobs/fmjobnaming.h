#pragma once
// Names derived from a job's paths: folder picks, square-bracket variables, and the custom
// scene/shot/version names read out of file names.

#include "foundation/fmstring.h"

#include <QString>

namespace fmJ {

// The folder number `first` (1 = the first) of `path`, with `count` folders joined by "_".
// Paths of at most 4 characters come back as they stand.
QString GetDirectoryNo(QString path, int first, int count);
// The same walk, keeping the leading folders as they stand up to the end of that folder.
QString GetDirectoryUntilNo(QString path, int first, int count);

// "[User]" to "<User>" and the other variables of an output name, when the text holds "[" and "]".
void replaceSquareBracketVariablesSub(fmString<250>& text);

// Reads scene, shot and version names out of `text` by their start and end markers or lengths.
// A start marker "none" skips that name; a marker that isn't found leaves the name unchanged.
void GetSSV(QString text, fmString<25>& scene, fmString<25>& shot, fmString<25>& version, QString sceneStart,
            QString shotStart, QString versionStart, QString sceneEnd, QString shotEnd, QString versionEnd,
            int sceneLength, int shotLength, int versionLength);

// Bit of _JobSend::JobFlags that spreads the preview frames over the sequence.
constexpr unsigned JobFlag_PreviewSpread = 0x01;

} // namespace fmJ
