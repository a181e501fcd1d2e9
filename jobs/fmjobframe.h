#pragma once
// One frame of a job database file: a 64-byte header, then the record compressed by zlib's
// compress() at the default level. No file header, no checksum of its own (zlib's serves).
//   0  44  magic _JobList::FrameMagic
//  44   8  zero (the writer pads the magic with NUL up to 50; 50 and 51 stay 0)
//  52 u32  compressed size of the record
//  56 u32  uncompressed size of the record
//  60 u16  structure identifier (JobHistory*_StructID)
//  62 u16  structure version
// Integers little-endian. Shared by the loader and the writer of _JobList; not for other callers.

#include "jobs/fmjobhistory.h"
#include "jobs/fmjoblist.h"

#include <QByteArray>

#include <cstdint>
#include <functional>

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

// The frame of one current record: header and compressed bytes, ready to be written. Empty when
// zlib fails (*zError gets its code) or memory runs out (*zError Z_MEM_ERROR).
QByteArray compressRecord(const _jobsHistoryDB& record, int* zError);

// Runs work(0) .. work(count - 1) on the calling thread and on idle threads of the global pool,
// and returns when all are done. Without an idle thread the caller does them all.
void runOnPool(int count, const std::function<void(int)>& work);

} // namespace fmJ::frame
