#include "browser/fmhistoryframes.h"

#include "jobs/fmjoblist.h"

#include <zlib.h>

#include <cmath>
#include <cstring>
#include <new>

namespace fmFrames {

namespace {

constexpr uint32_t Size61 = 30188;
constexpr uint32_t Size62 = 39516;
constexpr uint32_t Size627 = 46908;
constexpr uint32_t SizeNow = 37980;
static_assert(sizeof(fmJ::_OLD61__jobsHistoryDB) == Size61);
static_assert(sizeof(fmJ::_OLD62_jobsHistoryDB) == Size62);
static_assert(sizeof(fmJ::_OLD627_jobsHistoryDB) == Size627);
static_assert(sizeof(fmJ::_jobsHistoryDB) == SizeNow);
static_assert(fmJ::_JobList::ReadLimit >= int(Size627));

uint32_t getU32(const unsigned char* p)
{
    return uint32_t(p[0]) | uint32_t(p[1]) << 8 | uint32_t(p[2]) << 16 | uint32_t(p[3]) << 24;
}
uint16_t getU16(const unsigned char* p)
{
    return uint16_t(p[0] | p[1] << 8);
}

// The record size a frame identifier and its stored size name; 0 for no job layout.
uint32_t expectedSize(const Header& h)
{
    if (h.ID == 0x0A02) return Size61;
    if (h.ID == 0x0A03) return h.Stored == Size627 ? Size627 : Size62;
    if (h.ID == 0x0A04) return SizeNow;
    return 0;
}

} // namespace

Reader::Reader()
{
    CompressedCap = compressBound(fmJ::_JobList::ReadLimit);
    Compressed.reset(new (std::nothrow) unsigned char[CompressedCap]);
    Target.reset(new (std::nothrow) unsigned char[fmJ::_JobList::ReadLimit]);
    Upgraded.reset(new (std::nothrow) fmJ::_jobsHistoryDB);
}

Next Reader::next(QIODevice& file, Header& header)
{
    unsigned char h[HeaderSize];
    BodyLen = 0;
    const qint64 got = file.read(reinterpret_cast<char*>(h), HeaderSize);
    if (got == 0) return Next::EndOfFile;
    if (got < HeaderSize) return Next::ReadError;
    if (std::memcmp(h, fmJ::_JobList::FrameMagic, 44) != 0 || h[44] != 0) return Next::FormatError;
    header.Compressed = getU32(h + 52);
    header.Stored = getU32(h + 56);
    header.ID = getU16(h + 60);
    if (header.Compressed >= CompressedCap) return Next::TooLarge;
    BodyLen = file.read(reinterpret_cast<char*>(Compressed.get()), qint64(header.Compressed));
    if (BodyLen < 1) {
        BodyLen = 0;
        return Next::ReadError;
    }
    return Next::Frame;
}

Outcome Reader::decode(const Header& header, const fmJ::_jobsHistoryDB*& record)
{
    record = nullptr;
    const uint32_t expected = expectedSize(header);
    if (expected == 0) return Outcome::Skipped;
    if (header.Stored != expected) return Outcome::Failed;
    // Only the bytes really read go to zlib: a frame cut short fails here.
    uLongf outLen = header.ID == 0x0A04 ? uLongf(fmJ::_JobList::ReadLimit) : uLongf(expected);
    if (uncompress(Target.get(), &outLen, Compressed.get(), uLong(BodyLen)) != Z_OK || outLen != expected)
        return Outcome::Failed;

    const fmJ::_jobsHistoryDB* rec = reinterpret_cast<const fmJ::_jobsHistoryDB*>(Target.get());
    if (header.ID == 0x0A02) {
        reinterpret_cast<const fmJ::_OLD61__jobsHistoryDB*>(Target.get())->toJobHistoryDBNew(*Upgraded);
        rec = Upgraded.get();
    } else if (header.ID == 0x0A03 && expected == Size627) {
        reinterpret_cast<const fmJ::_OLD627_jobsHistoryDB*>(Target.get())->toJobHistoryDBNew(*Upgraded);
        rec = Upgraded.get();
    } else if (header.ID == 0x0A03) {
        reinterpret_cast<const fmJ::_OLD62_jobsHistoryDB*>(Target.get())->toJobHistoryDBNew(*Upgraded);
        rec = Upgraded.get();
    }
    const bool plausible = rec->SeqStep < 10000.0 && rec->SeqStep > 0.0 && !std::isnan(rec->SeqStart) &&
                           !std::isnan(rec->SeqEnd) && !std::isnan(rec->SeqFileOffset) &&
                           rec->ImageFileName.Data[0] < 256;
    if (!plausible) return Outcome::Failed;
    // Records of an older submitter layout may carry small identifiers.
    if (rec->JobID < fmJ::JobID_None_Below && rec->SubmitterStructVersion >= 7) return Outcome::Failed;
    if (rec->Software.Length > 500) return Outcome::Empty;
    record = rec;
    return Outcome::Job;
}

} // namespace fmFrames
