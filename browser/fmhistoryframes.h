#pragma once
// One frame of a job database at a time, for summaries: one record at a time, without a list. The
// steps (header check, size limits, inflate, upgrade of the old layouts, plausibility checks) are
// the job list loader's own, from jobs/fmjobframe.h, so a frame gives the outcome a load gives.

#include "jobs/fmjobframe.h"
#include "jobs/fmjobhistory.h"

#include <QIODevice>
#include <QString>

#include <cstdint>
#include <memory>

namespace fmFrames {

constexpr int HeaderSize = 64;

using Header = fmJ::frame::Header;

// How reading a file's next frame ended.
enum class Next {
    Frame,       // header and body read; body may be short at the file's end (it then fails to inflate)
    EndOfFile,   // no byte left
    ReadError,   // the file could not be read, or a header was cut short
    FormatError, // a header without the magic: the rest of the file can't be found
    TooLarge,    // a compressed size beyond what any record needs
};

// What one frame gives.
enum class Outcome {
    Job,     // a record, upgraded to the current layout and plausible
    Empty,   // the loader keeps it as an empty job (a Software length above 500)
    Skipped, // an identifier of no job layout: passed over without a word
    Failed,  // wrong size, no inflate, implausible, an identifier below 1000, no memory: counted
};

// Reusable buffers of one reading thread (about 200 KB). Not shareable between threads.
class Reader
{
public:
    Reader();
    bool isValid() const { return Compressed && Target; }
    // Reads the next frame of `file`; the body stays in this reader until the next call.
    Next next(QIODevice& file, Header& header);
    // Inflates the frame last read. With Job, `record` points into this reader until next().
    Outcome decode(const Header& header, const fmJ::_jobsHistoryDB*& record);
    // Bytes of the frame last read (header and body).
    qint64 frameBytes() const { return HeaderSize + BodyLen; }

private:
    std::unique_ptr<unsigned char[]> Compressed; // bodyCapacity()
    std::unique_ptr<unsigned char[]> Target;     // ReadLimit, the inflated record
    fmJ::frame::Upgrader Upgrades;
    qint64 BodyLen = 0;
};

} // namespace fmFrames
