#pragma once
// One frame of a job database file: a 64-byte header, then the record compressed by zlib's
// compress() at the default level. No file header, no checksum of its own (zlib's serves).
//   0  44  magic _JobList::FrameMagic
//  44   8  zero (the writer pads the magic with NUL up to 50; 50 and 51 stay 0)
//  52 u32  compressed size of the record
//  56 u32  uncompressed size of the record
//  60 u16  structure identifier (JobHistory*_StructID)
//  62 u16  structure version
// Integers little-endian. The per-frame steps below (header check, size limits, inflate, upgrade
// of the old layouts, plausibility checks) are the one implementation of them: the job list's
// loader and writer and the history's summary reader all use these.

#include "jobs/fmjobhistory.h"
#include "jobs/fmjoblist.h"

#include <QByteArray>

#include <cstdint>
#include <functional>
#include <memory>

namespace fmJ::frame {

constexpr int HdrCompressed = 52;
constexpr int HdrUncompressed = 56;
constexpr int HdrID = 60;
constexpr int HdrVersion = 62;
constexpr int MagicLength = 44;
constexpr int MagicPadded = 50; // the writer copies the magic with strncpy of 50 bytes

// Record sizes of the layouts a frame may hold.
constexpr uint32_t Size61 = 30188;
constexpr uint32_t Size62 = 39516;
constexpr uint32_t Size627 = 46908;
constexpr uint32_t SizeNow = 37980;

static_assert(sizeof(_jobsHistoryDB) == SizeNow);
static_assert(sizeof(_OLD61__jobsHistoryDB) == Size61);
static_assert(sizeof(_OLD62_jobsHistoryDB) == Size62);
static_assert(sizeof(_OLD627_jobsHistoryDB) == Size627);

inline uint32_t getU32(const unsigned char* p)
{
    return uint32_t(p[0]) | uint32_t(p[1]) << 8 | uint32_t(p[2]) << 16 | uint32_t(p[3]) << 24;
}
inline uint16_t getU16(const unsigned char* p)
{
    return uint16_t(p[0] | p[1] << 8);
}
inline void putU32(unsigned char* p, uint32_t v)
{
    for (int i = 0; i < 4; ++i)
        p[i] = static_cast<unsigned char>(v >> (8 * i));
}
inline void putU16(unsigned char* p, uint16_t v)
{
    p[0] = static_cast<unsigned char>(v);
    p[1] = static_cast<unsigned char>(v >> 8);
}

// The header's text up to its first NUL (at most 64 bytes) must be the magic.
bool magicMatches(const unsigned char* header);

// True for the identifiers a loader reads; frames of any other identifier are skipped.
inline bool knownID(uint16_t id)
{
    return id == JobHistory_StructID || id == JobHistoryOld61_StructID || id == JobHistoryOld62_StructID;
}

// The record size the identifier names; the two layouts of JobHistoryOld62_StructID are told apart
// by the stored size.
inline uint32_t expectedSize(uint16_t id, uint32_t storedSize)
{
    if (id == JobHistoryOld61_StructID) return Size61;
    if (id == JobHistoryOld62_StructID) return storedSize == Size627 ? Size627 : Size62;
    return SizeNow;
}

// What a frame header gives.
struct Header
{
    uint32_t Compressed = 0; // bytes behind the header
    uint32_t Stored = 0;     // uncompressed size the header claims
    uint16_t ID = 0;         // structure identifier
};

// Bytes a frame's compressed body may need at most (zlib's bound of ReadLimit); a body of this size
// or more is refused.
uint32_t bodyCapacity();

enum class HeaderCheck { Ok, FormatError, TooLarge };
// Reads the 64 header bytes into `out`. FormatError: no magic (the rest of the file can't be found);
// TooLarge: a compressed size of bodyCapacity() or more (the fields are read all the same).
HeaderCheck readHeader(const unsigned char* bytes, Header& out);

// Inflates a body of `bodyLen` bytes (only what was really read: a frame cut short fails) into
// `target` of ReadLimit bytes. A current record may inflate to up to ReadLimit bytes (then fails
// on its size), an old layout to its own size. Returns zlib's code; `outLen` gets the bytes made.
int inflateBody(const Header& h, const unsigned char* body, int64_t bodyLen, unsigned char* target,
                uint32_t& outLen);

// Adler-32 of `len` bytes (zlib's adler32 from its start value), vectorised where the processor can.
uint32_t adler32Of(const unsigned char* data, size_t len);

// Upgrades inflated records of the old layouts to the current one. Holds the scratch records of
// one thread, made when first needed.
class Upgrader
{
public:
    Upgrader();
    ~Upgrader();
    // The record in the current layout: `target` itself for a current record, else a record of
    // this upgrader valid until the next call; null when memory ran out.
    const _jobsHistoryDB* upgrade(uint16_t id, uint32_t expected, const unsigned char* target);

private:
    std::unique_ptr<_jobsHistoryDB> Upgraded;
    std::unique_ptr<_OLD61__jobsHistoryDB> Old61;
    std::unique_ptr<_OLD62_jobsHistoryDB> Old62;
    std::unique_ptr<_OLD627_jobsHistoryDB> Old627;
};

// What an inflated frame gives, in the order the steps find it.
enum class Decode {
    Ok,
    InflateError, // zlib failed (its code beside)
    SizeMismatch, // inflated to another size than the layout's
    NoMemory,     // no memory for an upgrade
    DataError,    // implausible sequence or image name
    JobIDError,   // an identifier below JobID_None_Below in a record of submitter layout 7 or later
};

// The steps after the inflate: inflate result, size, upgrade, plausibility. `record` gets the
// upgraded record with Ok (and with DataError and JobIDError), null otherwise.
Decode decodeInflated(const Header& h, int zCode, uint32_t outLen, const unsigned char* target,
                      Upgrader& upgrader, const _jobsHistoryDB*& record);

// The frame of one current record: header and compressed bytes, ready to be written. Empty when
// zlib fails (*zError gets its code) or memory runs out (*zError Z_MEM_ERROR).
QByteArray compressRecord(const _jobsHistoryDB& record, int* zError);

// Runs work(0) .. work(count - 1) on the calling thread and on idle threads of the global pool,
// and returns when all are done. Without an idle thread the caller does them all.
void runOnPool(int count, const std::function<void(int)>& work);

} // namespace fmJ::frame
