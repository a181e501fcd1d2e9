#include "jobs/fmjobframe.h"

#include "foundation/fmjobid.h"
#include "jobs/fminflate.h"

#include <QSemaphore>
#include <QThreadPool>

#include <zlib.h>

#include <immintrin.h>

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

namespace {

// Adler-32 of `len` bytes continuing `adler`, 32 bytes a step with SSSE3 (the sums of bytes by
// _mm_sad_epu8, the position-weighted sums by _mm_maddubs_epi16); the scalar tail and zlib's own
// adler32 on processors without SSSE3. Both sums are reduced modulo 65521 at least every 5552
// bytes, as zlib does, so no 32-bit lane overflows.
__attribute__((target("ssse3"))) uint32_t adler32Ssse3(uint32_t adler, const unsigned char* buf, size_t len)
{
    constexpr uint32_t Base = 65521;
    constexpr size_t Block = 32, MaxBlocks = 5552 / Block;
    uint32_t s1 = adler & 0xffff, s2 = adler >> 16;
    size_t blocks = len / Block;
    len -= blocks * Block;
    const __m128i tap1 = _mm_setr_epi8(32, 31, 30, 29, 28, 27, 26, 25, 24, 23, 22, 21, 20, 19, 18, 17);
    const __m128i tap2 = _mm_setr_epi8(16, 15, 14, 13, 12, 11, 10, 9, 8, 7, 6, 5, 4, 3, 2, 1);
    const __m128i zero = _mm_setzero_si128();
    const __m128i ones = _mm_set1_epi16(1);
    while (blocks) {
        size_t n = std::min(blocks, MaxBlocks);
        blocks -= n;
        __m128i ps = _mm_set_epi32(0, 0, 0, int(s1 * uint32_t(n))); // s1 so far, once per block
        __m128i v2 = _mm_set_epi32(0, 0, 0, int(s2));
        __m128i v1 = zero;
        do {
            const __m128i b1 = _mm_loadu_si128(reinterpret_cast<const __m128i*>(buf));
            const __m128i b2 = _mm_loadu_si128(reinterpret_cast<const __m128i*>(buf + 16));
            ps = _mm_add_epi32(ps, v1);
            v1 = _mm_add_epi32(v1, _mm_sad_epu8(b1, zero));
            v2 = _mm_add_epi32(v2, _mm_madd_epi16(_mm_maddubs_epi16(b1, tap1), ones));
            v1 = _mm_add_epi32(v1, _mm_sad_epu8(b2, zero));
            v2 = _mm_add_epi32(v2, _mm_madd_epi16(_mm_maddubs_epi16(b2, tap2), ones));
            buf += Block;
        } while (--n);
        v2 = _mm_add_epi32(v2, _mm_slli_epi32(ps, 5));
        v1 = _mm_add_epi32(v1, _mm_shuffle_epi32(v1, _MM_SHUFFLE(2, 3, 0, 1)));
        v1 = _mm_add_epi32(v1, _mm_shuffle_epi32(v1, _MM_SHUFFLE(1, 0, 3, 2)));
        s1 += uint32_t(_mm_cvtsi128_si32(v1));
        v2 = _mm_add_epi32(v2, _mm_shuffle_epi32(v2, _MM_SHUFFLE(2, 3, 0, 1)));
        v2 = _mm_add_epi32(v2, _mm_shuffle_epi32(v2, _MM_SHUFFLE(1, 0, 3, 2)));
        s2 = uint32_t(_mm_cvtsi128_si32(v2));
        s1 %= Base;
        s2 %= Base;
    }
    while (len--) {
        s1 += *buf++;
        s2 += s1;
    }
    return (s1 % Base) | (s2 % Base) << 16;
}

// The raw inflater of a thread, reset for each frame: no allocation of zlib's state per frame.
struct RawInflater
{
    z_stream S = {};
    bool Ready = false;
    RawInflater() { Ready = inflateInit2(&S, -15) == Z_OK; }
    ~RawInflater()
    {
        if (Ready) inflateEnd(&S);
    }
};

} // namespace

uint32_t adler32Of(const unsigned char* data, size_t len)
{
    static const bool ssse3 = __builtin_cpu_supports("ssse3");
    if (ssse3) return adler32Ssse3(1, data, len);
    return uint32_t(adler32_z(adler32(0L, Z_NULL, 0), data, len));
}

// zlib's uncompress() in its outcome (code and bytes made, for every input), done as a raw inflate
// of the deflate data between the 2-byte zlib header, checked here, and the 4-byte Adler-32 trailer,
// checked here too over all the bytes made. Z_FINISH spares zlib the copy of the output into its
// window, which uncompress() makes after every call.
int inflateBody(const Header& h, const unsigned char* body, int64_t bodyLen, unsigned char* target,
                uint32_t& outLen)
{
    const uint32_t limit =
        h.ID == JobHistory_StructID ? uint32_t(_JobList::ReadLimit) : expectedSize(h.ID, h.Stored);
    outLen = 0;
    const uint64_t in = uint64_t(std::max<int64_t>(bodyLen, 0));
    // Header: a multiple of 31, method 8 (deflate), a window of at most 32 KB, no preset dictionary
    // (uncompress() gives Z_DATA_ERROR for a dictionary as for a bad header; a header cut short
    // leaves input wanted, the same).
    if (in < 2) return Z_DATA_ERROR;
    const unsigned cmf = body[0], flg = body[1];
    if ((cmf * 256 + flg) % 31 != 0 || (cmf & 15) != 8 || (cmf >> 4) + 8 > 15 || (flg & 0x20))
        return Z_DATA_ERROR;
    const auto trailer = [](const unsigned char* t) {
        return uint32_t(t[0]) << 24 | uint32_t(t[1]) << 16 | uint32_t(t[2]) << 8 | t[3];
    };
    // The fast decoder says yes only where zlib does, with the same bytes; zlib gives every "no"
    // its exact code.
    size_t made = 0, used = 0;
    if (inflateRawFast(body + 2, size_t(in - 2), target, limit, made, used) && in - 2 - used >= 4 &&
        adler32Of(target, made) == trailer(body + 2 + used)) {
        outLen = uint32_t(made);
        return Z_OK;
    }
    thread_local RawInflater raw;
    if (!raw.Ready) return Z_MEM_ERROR;
    inflateReset(&raw.S);
    raw.S.next_in = const_cast<unsigned char*>(body + 2);
    raw.S.avail_in = uInt(in - 2);
    raw.S.next_out = target;
    raw.S.avail_out = limit;
    const int z = inflate(&raw.S, Z_FINISH);
    outLen = uint32_t(raw.S.total_out);
    // Input used up or output full before the end: uncompress() says Z_BUF_ERROR only when the
    // output is full, Z_DATA_ERROR when input was wanted.
    const auto stalled = [&] { return raw.S.avail_out == 0 ? Z_BUF_ERROR : Z_DATA_ERROR; };
    if (z == Z_BUF_ERROR) return stalled();
    if (z != Z_STREAM_END) return z;
    if (raw.S.avail_in < 4) return stalled(); // the trailer cut short
    return adler32Of(target, outLen) == trailer(raw.S.next_in) ? Z_OK : Z_DATA_ERROR;
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
