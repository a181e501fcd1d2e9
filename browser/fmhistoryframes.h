#pragma once
// One frame of a job database at a time: header, inflate, upgrade of the old layouts and the
// plausibility checks, with the outcome the job list's loader gives the same bytes. The loader
// inflates whole runs into its own list; this reads frames for summaries, one record at a time,
// without a list.
//
// Frame header, 64 bytes, little-endian:
//   0  44  magic (fmJ::_JobList::FrameMagic), then NUL
//  52 u32  compressed size       56 u32  uncompressed size
//  60 u16  structure identifier  62 u16  structure version

#include "jobs/fmjobhistory.h"

#include <QIODevice>
#include <QString>

#include <cstdint>
#include <memory>

namespace fmFrames {

constexpr int HeaderSize = 64;

struct Header
{
    uint32_t Compressed = 0; // bytes behind the header
    uint32_t Stored = 0;     // uncompressed size the header claims
    uint16_t ID = 0;
};

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
    Failed,  // wrong size, no inflate, implausible or an identifier below 1000: counted
};

// Reusable buffers of one reading thread (about 200 KB). Not shareable between threads.
class Reader
{
public:
    Reader();
    bool isValid() const { return Compressed && Target && Upgraded; }
    // Reads the next frame of `file`; the body stays in this reader until the next call.
    Next next(QIODevice& file, Header& header);
    // Inflates the frame last read. With Job, `record` points into this reader until next().
    Outcome decode(const Header& header, const fmJ::_jobsHistoryDB*& record);
    // Bytes of the frame last read (header and body).
    qint64 frameBytes() const { return HeaderSize + BodyLen; }

private:
    std::unique_ptr<unsigned char[]> Compressed; // compressBound(ReadLimit)
    std::unique_ptr<unsigned char[]> Target;     // ReadLimit, the inflated record
    std::unique_ptr<fmJ::_jobsHistoryDB> Upgraded;
    unsigned long CompressedCap = 0;
    qint64 BodyLen = 0;
};

} // namespace fmFrames
