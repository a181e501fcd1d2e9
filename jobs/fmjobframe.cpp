#include "jobs/fmjobframe.h"

#include "foundation/fmjobid.h"

#include <QSemaphore>
#include <QThreadPool>

#include <zlib.h>

#include <algorithm>
#include <atomic>
#include <cmath>
#include <cstring>
#include <new>

namespace fmJ::frame {

uint32_t bodyCapacity()
{
    static const uint32_t capacity = uint32_t(compressBound(_JobList::ReadLimit));
    return capacity;
}

HeaderCheck readHeader(const unsigned char* bytes, Header& out)
{
    if (!magicMatches(bytes)) return HeaderCheck::FormatError;
    out.Compressed = getU32(bytes + HdrCompressed);
    out.Stored = getU32(bytes + HdrUncompressed);
    out.ID = getU16(bytes + HdrID);
    return out.Compressed >= bodyCapacity() ? HeaderCheck::TooLarge : HeaderCheck::Ok;
}

int inflateBody(const Header& h, const unsigned char* body, int64_t bodyLen, unsigned char* target,
                uint32_t& outLen)
{
    uLongf len =
        h.ID == JobHistory_StructID ? uLongf(_JobList::ReadLimit) : uLongf(expectedSize(h.ID, h.Stored));
    const int z = uncompress(target, &len, body, uLong(std::max<int64_t>(bodyLen, 0)));
    outLen = uint32_t(len);
    return z;
}

Upgrader::Upgrader() = default;
Upgrader::~Upgrader() = default;

namespace {

template <class Old>
bool upgradeFrom(const unsigned char* bytes, std::unique_ptr<Old>& scratch, _jobsHistoryDB& to)
{
    if (!scratch) scratch.reset(new (std::nothrow) Old);
    if (!scratch) return false;
    std::memcpy(static_cast<void*>(scratch.get()), bytes, sizeof(Old));
    scratch->toJobHistoryDBNew(to);
    return true;
}

} // namespace

const _jobsHistoryDB* Upgrader::upgrade(uint16_t id, uint32_t expected, const unsigned char* target)
{
    if (id == JobHistory_StructID) return reinterpret_cast<const _jobsHistoryDB*>(target);
    if (!Upgraded) Upgraded.reset(new (std::nothrow) _jobsHistoryDB);
    if (!Upgraded) return nullptr;
    bool ok = false;
    if (id == JobHistoryOld61_StructID)
        ok = upgradeFrom(target, Old61, *Upgraded);
    else if (expected == Size627)
        ok = upgradeFrom(target, Old627, *Upgraded);
    else
        ok = upgradeFrom(target, Old62, *Upgraded);
    return ok ? Upgraded.get() : nullptr;
}

Decode decodeInflated(const Header& h, int zCode, uint32_t outLen, const unsigned char* target,
                      Upgrader& upgrader, const _jobsHistoryDB*& record)
{
    record = nullptr;
    if (zCode != Z_OK) return Decode::InflateError;
    const uint32_t expected = expectedSize(h.ID, h.Stored);
    if (outLen != expected) return Decode::SizeMismatch;
    const _jobsHistoryDB* rec = upgrader.upgrade(h.ID, expected, target);
    if (!rec) return Decode::NoMemory;
    record = rec;
    const bool plausible = rec->SeqStep < 10000.0 && rec->SeqStep > 0.0 && !std::isnan(rec->SeqStart) &&
                           !std::isnan(rec->SeqEnd) && !std::isnan(rec->SeqFileOffset) &&
                           rec->ImageFileName.Data[0] < 256;
    if (!plausible) return Decode::DataError;
    // Records of an older submitter layout may carry small identifiers.
    if (rec->JobID < JobID_None_Below && rec->SubmitterStructVersion >= 7) return Decode::JobIDError;
    return Decode::Ok;
}

bool magicMatches(const unsigned char* header)
{
    return std::memcmp(header, _JobList::FrameMagic, MagicLength) == 0 && header[MagicLength] == 0;
}

QByteArray compressRecord(const _jobsHistoryDB& record, int* zError)
{
    const uLong bound = compressBound(SizeNow);
    QByteArray out;
    out.resize(qsizetype(_JobList::FrameHeaderSize + bound));
    if (out.size() != qsizetype(_JobList::FrameHeaderSize + bound)) {
        *zError = Z_MEM_ERROR;
        return QByteArray();
    }
    auto* bytes = reinterpret_cast<unsigned char*>(out.data());
    std::memset(bytes, 0, _JobList::FrameHeaderSize);
    std::strncpy(reinterpret_cast<char*>(bytes), _JobList::FrameMagic, MagicPadded);
    uLongf outLen = bound;
    const int z = compress(bytes + _JobList::FrameHeaderSize, &outLen,
                           reinterpret_cast<const Bytef*>(&record), SizeNow);
    if (z != Z_OK) {
        *zError = z;
        return QByteArray();
    }
    putU32(bytes + HdrCompressed, uint32_t(outLen));
    putU32(bytes + HdrUncompressed, SizeNow);
    putU16(bytes + HdrID, JobHistory_StructID);
    putU16(bytes + HdrVersion, JobHistory_StructVersion);
    out.resize(qsizetype(_JobList::FrameHeaderSize + outLen));
    *zError = Z_OK;
    return out;
}

void runOnPool(int count, const std::function<void(int)>& work)
{
    if (count <= 0) return;
    std::atomic<int> next{0};
    auto drain = [&] {
        for (int i = next.fetch_add(1); i < count; i = next.fetch_add(1))
            work(i);
    };
    QThreadPool* pool = QThreadPool::globalInstance();
    QSemaphore finished;
    int helpers = 0;
    // tryStart only takes an idle thread: a busy pool never leaves a task waiting in its queue,
    // so the wait below cannot outlive the caller's data.
    const int wanted = std::min(count - 1, pool->maxThreadCount() - 1);
    for (int h = 0; h < wanted; ++h) {
        if (!pool->tryStart([&] {
                drain();
                finished.release();
            }))
            break;
        ++helpers;
    }
    drain();
    finished.acquire(helpers);
}

} // namespace fmJ::frame
