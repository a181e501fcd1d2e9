#pragma once
// Handing a finished job back to the farm: the command line of the farm's submitter for one job.

#include <QString>
#include <QStringList>

namespace fmJ {
struct _jobsHistoryDB;
struct _jobsHistoryDB_Runtime;
} // namespace fmJ

// Longest text value handed to the submitter; longer values are cut.
constexpr int fmResubmitMaxText = 500;

// The submitter's arguments for `job`: the scene first, then option and value pairs. Every text
// value is cut at fmResubmitMaxText characters.
//
// The entry behind "-ImageSingleOutputFile" is always present, even when the flag is not set and
// the option itself is left out: a one-character text whose character has the code of the flag
// byte. Kept so, as the submitter has always received it. An unset flag gives
// the character 0; fmStartProcess turns each argument into a C string, so that character ends it
// at once and the submitter receives an empty argument at that place.
QStringList fmResubmitArguments(const fmJ::_jobsHistoryDB& job);

// The arguments for a selection: only the first selected job goes out, however many are selected.
// Empty when nothing is selected (then nothing is started).
QStringList fmResubmitSelectionArguments(const fmJ::_jobsHistoryDB_Runtime* const* jobs, int count);

// The submitter in the given binaries folder (ending in "/"); started directly, no bundle.
QString fmResubmitExecutable(const QString& binFolder);
