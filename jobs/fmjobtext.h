#pragma once
// Turning a job's numeric records (status byte, error entries, log entries) into the words a user
// reads, and the writers that append those entries.

#include "foundation/fmstring.h"
#include "jobs/fmjob.h"

#include <QString>
#include <cstdint>

class __FMSDK;

namespace fmJ {

// Number of a log entry's message (the `Message` byte of a _Log).
using _LogMessage = signed char;

// Status byte to its long text ("Finished", "Render", ...), by threshold.
QString jobStatusAsString(unsigned char status);

// Error code to text; unknown codes as "Unknown error <code>". Cut to 50 characters.
fmString<50> Err2Str(const _Error& error);
// Message number to its short text; unknown numbers as "Unknown command <n>", 0 empty.
fmString<50> Log2StrID(const _LogMessage& message);
// The detailed text of a log entry. With a job, frame indices become frame numbers.
fmString<50> Log2Str(const _Log& log, _JobSend* job);
// "<n> <user name>" for the messages that a user gave, "-" for all others.
fmString<50> Log2Username(const _Log& log, __FMSDK& app);
// ARGB colour of a message in the log page.
uint32_t LogColorID(const _LogMessage& message);
// Client name for a client index, or the name of another program for the negative codes.
fmString<25> Who2Str(int who, __FMSDK& app);

} // namespace fmJ
