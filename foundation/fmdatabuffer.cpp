#include "foundation/fmdatabuffer.h"

#include "foundation/fmchecksum.h"
#include "foundation/fmfileread.h"

#include <QFile>
#include <QString>
#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <sys/stat.h>

namespace {

void put32(unsigned char* p, uint32_t v)
{
    p[0] = uint8_t(v);
    p[1] = uint8_t(v >> 8);
    p[2] = uint8_t(v >> 16);
    p[3] = uint8_t(v >> 24);
}

uint32_t get32(const unsigned char* p)
{
    return uint32_t(p[0]) | uint32_t(p[1]) << 8 | uint32_t(p[2]) << 16 | uint32_t(p[3]) << 24;
}

int64_t limitBytes(int maxMB)
{
    int64_t l = int64_t(maxMB) * 1048576;
    return l < _FM_DataBuffer::kMaxSize ? l : _FM_DataBuffer::kMaxSize;
}

// Code of a short read: -1000 at end of file, -1000 - ferror when the stream has an error.
QString cut50(const QString& s)
{
    return s.size() > 50 ? s.left(50) : s;
}

} // namespace

QString fmConvertZLibError(const int& code)
{
    switch (code) {
    case Z_ERRNO:
        return QStringLiteral("Compression Error, system error;") +
               QString::fromLocal8Bit(std::strerror(errno));
    case Z_STREAM_ERROR:
        return QStringLiteral("Compression Error, stream error");
    case Z_DATA_ERROR:
        return QStringLiteral("Compression Error, data CRC error");
    case Z_MEM_ERROR:
        return QStringLiteral("Compression Error, memory");
    case Z_BUF_ERROR:
        return QStringLiteral("Compression Error, buffer");
    case Z_VERSION_ERROR:
        return QStringLiteral("Compression Error, version mismatch");
    default:
        return QStringLiteral("Compression Error, unknown error ") + QString::number(code);
    }
}

_FM_DataBuffer::~_FM_DataBuffer()
{
    std::free(Data);
}

void _FM_DataBuffer::headerToBytes(unsigned char out[kHeaderSize]) const
{
    put32(out + 0, uint32_t(Reserved0));
    put32(out + 4, uint32_t(DataSize));
    put32(out + 8, uint32_t(UncompressedSize));
    put32(out + 12, uint32_t(DataOffset));
    put32(out + 16, CRC);
    std::memcpy(out + 20, Reserved1, 8);
    out[28] = IsCompressed;
    std::memcpy(out + 29, Pad, 3);
}

void _FM_DataBuffer::headerFromBytes(const unsigned char in[kHeaderSize])
{
    Reserved0 = int32_t(get32(in + 0));
    DataSize = int32_t(get32(in + 4));
    UncompressedSize = int32_t(get32(in + 8));
    DataOffset = int32_t(get32(in + 12));
    CRC = get32(in + 16);
    std::memcpy(Reserved1, in + 20, 8);
    IsCompressed = in[28];
    std::memcpy(Pad, in + 29, 3);
}

int _FM_DataBuffer::clampedDataSize() const
{
    if (!Data || DataSize <= 0) return 0;
    return DataSize < Capacity ? DataSize : Capacity;
}

bool _FM_DataBuffer::growTo(int size, int maxMB, bool keep)
{
    if (size < 0 || int64_t(size) > limitBytes(maxMB)) {
        Error = fmDB_NoMemory;
        return false;
    }
    if (Data && size <= Capacity) return true;
    char* p = nullptr;
    if (keep && Data) {
        p = static_cast<char*>(std::realloc(Data, size_t(size) + 1));
        if (p) p[size] = 0;
    } else {
        std::free(Data);
        Data = nullptr;
        p = static_cast<char*>(std::calloc(size_t(size) + 1, 1));
    }
    if (!p) {
        std::free(Data);
        Data = nullptr;
        Capacity = 0;
        Error = fmDB_NoMemory;
        return false;
    }
    Data = p;
    Capacity = size;
    return true;
}

bool _FM_DataBuffer::resize(int size, int maxMB)
{
    return growTo(size, maxMB, true);
}

bool _FM_DataBuffer::newsize(int size, int maxMB)
{
    return growTo(size, maxMB, false);
}

void _FM_DataBuffer::fillZero()
{
    if (Data) std::memset(Data, 0, size_t(Capacity) + 1);
}

bool _FM_DataBuffer::copyFromBuffer(const char* p, const int& n)
{
    if (n < 0 || (!p && n > 0)) return false;
    if (!resize(n, kMaxMB)) return false;
    if (n > 0) std::memcpy(Data, p, size_t(n));
    return true;
}

void _FM_DataBuffer::copyToBuffer(char* p, const int& n) const
{
    if (!p || !Data || n <= 0) return;
    std::memcpy(p, Data, size_t(n < Capacity ? n : Capacity));
}

void _FM_DataBuffer::append(const char* p, const int& n)
{
    if (n <= 0 || !p) return;
    const int have = clampedDataSize();
    const int64_t want = int64_t(have) + n;
    if (want > kMaxSize) {
        Error = fmDB_NoMemory;
        return;
    }
    if (!resize(int(want), kMaxMB)) return;
    std::memcpy(Data + have, p, size_t(n));
    DataSize = int(want);
}

int _FM_DataBuffer::z_compressBound_copy(int n)
{
    if (n < 0) return 0;
    if (n < 52428800) return (n >> 14) + (n >> 12) + n + 211;
    if (n <= 0x63FFFFF) return int(int64_t(n) * 2 / 3);
    return n >> 1;
}

bool _FM_DataBuffer::compressFrom(const _FM_DataBuffer& src, const int& offset)
{
    return compressFromB(src.Data, src.clampedDataSize(), offset);
}

bool _FM_DataBuffer::compressFromB(const char* p, const int& n, const int& offset)
{
    Error = 0;
    if (n < 0 || offset < 0 || (!p && n > 0)) {
        Error = Z_STREAM_ERROR;
        return false;
    }
    const int64_t need = int64_t(z_compressBound_copy(n)) + offset;
    if (need > kMaxSize) {
        Error = fmDB_NoMemory;
        return false;
    }
    if (!resize(int(need), kMaxMB)) return false;
    IsCompressed = 1;
    UncompressedSize = n;
    DataOffset = offset;
    uLongf out = uLongf(Capacity - offset);
    const int r =
        compress(reinterpret_cast<Bytef*>(Data + offset), &out, reinterpret_cast<const Bytef*>(p), uLong(n));
    Error = r;
    DataSize = r == Z_OK ? int(out) : 0;
    return r == Z_OK;
}

int _FM_DataBuffer::decompressToB(char* dst, const int& n, const int* offset)
{
    Error = 0;
    const int off = offset ? *offset : DataOffset;
    if (!dst || n < 0 || !Data || off < 0 || off > Capacity || DataSize < 0) {
        Error = Z_BUF_ERROR;
        return Error;
    }
    // The stored sizes may come from a file: never read behind the block.
    const int avail = Capacity - off;
    const int srcLen = DataSize < avail ? DataSize : avail;
    uLongf out = uLongf(n);
    const int r = uncompress(reinterpret_cast<Bytef*>(dst), &out, reinterpret_cast<const Bytef*>(Data + off),
                             uLong(srcLen));
    Error = r;
    if (r == Z_OK && int64_t(out) != int64_t(UncompressedSize)) Error = fmDB_WrongSize;
    return Error == 0 ? int(out) : Error;
}

bool _FM_DataBuffer::decompressTo(_FM_DataBuffer& dst, const int* offset)
{
    Error = 0;
    if (UncompressedSize < 0 || UncompressedSize > kMaxSize) {
        Error = fmDB_NoMemory;
        return false;
    }
    if (!dst.newsize(UncompressedSize, kMaxMB)) {
        Error = dst.Error;
        return false;
    }
    // A given offset becomes the stored one: the chunk reader and later calls start from it.
    if (offset) DataOffset = *offset;
    const int r = decompressToB(dst.Data, dst.Capacity, nullptr);
    dst.DataSize = r;
    dst.IsCompressed = 0;
    return r > 0;
}

QString _FM_DataBuffer::errorString() const
{
    return errorString(Error, SysErrno);
}

QString _FM_DataBuffer::errorString(const int& code, int sysErrno)
{
    const int e = sysErrno ? sysErrno : errno;
    switch (code) {
    case Z_ERRNO:
        return cut50(QStringLiteral("Compression Error, system error;") +
                     QString::fromLocal8Bit(std::strerror(e)));
    case Z_STREAM_ERROR:
    case Z_DATA_ERROR:
    case Z_MEM_ERROR:
    case Z_BUF_ERROR:
    case Z_VERSION_ERROR:
        return fmConvertZLibError(code);
    case fmDB_NoMemory:
        return QStringLiteral("Unable to allocate memory");
    case fmDB_SystemError:
        return cut50(QStringLiteral("System error: ") + QString::fromLocal8Bit(std::strerror(e)));
    case fmDB_WrongHeader:
        return QStringLiteral("Wrong File Header");
    case fmDB_CRCError:
        return QStringLiteral("CRC Error, data corrupt!");
    case fmDB_ReadError:
        return QStringLiteral("Unable to read data from file!");
    case fmDB_WriteError:
        return QStringLiteral("Unable to write data into file");
    case fmDB_WrongSize:
        return QStringLiteral("Decompression error, wrong result size");
    case fmDB_FileMissing:
        return QStringLiteral("File does not exists");
    case fmDB_EndOfFile:
        return QStringLiteral("File error: End of file reached!");
    default:
        break;
    }
    if (code < fmDB_EndOfFile) return QStringLiteral("File error %1.").arg(int64_t(fmDB_EndOfFile) - code);
    return QStringLiteral("unknown error %1.").arg(code);
}

unsigned _FM_DataBuffer::calcCRC()
{
    CRC = fmCRCCalc(reinterpret_cast<const unsigned char*>(Data), unsigned(clampedDataSize()));
    return CRC;
}

namespace {

// Boyer-Moore over bytes. fold maps a byte before comparison (identity or ASCII upper case); the
// bad-character table holds for each byte value the distance of its last occurrence from the end
// of the pattern (both cases when folding), the good-suffix table the shift after a mismatch at
// each pattern position (Charras-Lecroq construction).
template <bool IgnCase> int bmSearch(const unsigned char* text, int textLen, const char* pat, int m, int from)
{
    auto fold = [](unsigned char c) -> unsigned char {
        if constexpr (IgnCase)
            return (c >= 'a' && c <= 'z') ? static_cast<unsigned char>(c - 32) : c;
        else
            return c;
    };
    if (m <= 0 || !text) return -1;
    if (from < 0) from = 0;
    if (from >= textLen || textLen - from < m) return -1;

    unsigned char x[256];
    for (int i = 0; i < m; ++i)
        x[i] = fold(static_cast<unsigned char>(pat[i]));

    int32_t bc[256];
    for (int i = 0; i < 256; ++i)
        bc[i] = m;
    for (int i = 0; i < m - 1; ++i) {
        const unsigned char c = static_cast<unsigned char>(pat[i]);
        bc[c] = m - 1 - i;
        if constexpr (IgnCase) {
            bc[x[i]] = m - 1 - i;
            if (x[i] >= 'A' && x[i] <= 'Z') bc[x[i] + 32] = m - 1 - i;
        }
    }
    int suff[256];
    suff[m - 1] = m;
    int g = m - 1, f = m - 1;
    for (int i = m - 2; i >= 0; --i) {
        if (i > g && suff[i + m - 1 - f] < i - g) {
            suff[i] = suff[i + m - 1 - f];
        } else {
            if (i < g) g = i;
            f = i;
            while (g >= 0 && x[g] == x[g + m - 1 - f])
                --g;
            suff[i] = f - g;
        }
    }
    int gs[256];
    for (int i = 0; i < m; ++i)
        gs[i] = m;
    for (int i = m - 1, j = 0; i >= 0; --i)
        if (suff[i] == i + 1)
            for (; j < m - 1 - i; ++j)
                if (gs[j] == m) gs[j] = m - 1 - i;
    for (int i = 0; i <= m - 2; ++i)
        gs[m - 1 - suff[i]] = m - 1 - i;

    int j = from;
    while (j <= textLen - m) {
        int i = m - 1;
        while (i >= 0 && x[i] == fold(text[i + j]))
            --i;
        if (i < 0) return j;
        const int bcShift = bc[text[i + j]] - (m - 1 - i);
        j += gs[i] > bcShift ? gs[i] : bcShift;
    }
    return -1;
}

} // namespace

int _FM_DataBuffer::indexOf(const fmString8_evenSize<250>& s, int from) const
{
    return bmSearch<false>(reinterpret_cast<const unsigned char*>(Data), clampedDataSize(), s.Data, s.len(),
                           from);
}

int _FM_DataBuffer::indexOfIgnCase(const fmString8_evenSize<250>& s, int from) const
{
    return bmSearch<true>(reinterpret_cast<const unsigned char*>(Data), clampedDataSize(), s.Data, s.len(),
                          from);
}

// ---- container files ----

bool _FM_DataBuffer::chunkzipStart(z_stream& s, int size)
{
    Error = 0;
    if (!resize(size < 1 ? 1 : size, kMaxMB)) return false;
    DataSize = 0;
    std::memset(&s, 0, sizeof(s));
    Error = deflateInit_(&s, 3, kZlibVersion, int(sizeof(z_stream)));
    return Error == Z_OK;
}

bool _FM_DataBuffer::chunkzipAdd(z_stream& s, unsigned char* p, int n, bool last)
{
    if (n < 0 || (!p && n > 0) || !Data || DataSize < 0 || DataSize > Capacity) return false;
    // Room for the worst case of this call: regrow once by half when twice the input doesn't fit.
    auto grow = [&]() {
        if (3 * int64_t(Capacity) + 1 > 0x60000002) return false;
        return resize(int(int64_t(Capacity) * 3 / 2 + 1), kMaxMB);
    };
    if (2 * int64_t(n) + DataSize > Capacity && !grow()) return false;
    s.next_in = p;
    s.avail_in = unsigned(n);
    int r;
    do {
        // Output full: grow again rather than call deflate with no space (it would never finish).
        if (DataSize >= Capacity && !grow()) return false;
        s.next_out = reinterpret_cast<Bytef*>(Data + DataSize);
        s.avail_out = unsigned(Capacity - DataSize);
        r = deflate(&s, last ? Z_FINISH : Z_NO_FLUSH);
        if (r == Z_STREAM_ERROR) {
            Error = r;
            return false;
        }
        DataSize = Capacity - int(s.avail_out);
    } while (s.avail_out == 0);
    return last ? r == Z_STREAM_END : true;
}

bool _FM_DataBuffer::chunkzipFinish(z_stream& s)
{
    return deflateEnd(&s) == Z_OK;
}

bool _FM_DataBuffer::chunkUnzipStart(z_stream& s)
{
    DataOffset = 0;
    std::memset(&s, 0, sizeof(s));
    Error = inflateInit_(&s, kZlibVersion, int(sizeof(z_stream)));
    return Error == Z_OK;
}

bool _FM_DataBuffer::chunkUnzipGet(z_stream& s, unsigned char* p, int n)
{
    const int size = clampedDataSize();
    if (!p || n < 0 || DataOffset < 0 || DataOffset >= size) return false;
    s.next_in = reinterpret_cast<Bytef*>(Data + DataOffset);
    s.avail_in = unsigned(size - DataOffset);
    s.next_out = p;
    s.avail_out = unsigned(n);
    const int r = inflate(&s, Z_NO_FLUSH);
    switch (r) {
    case Z_STREAM_ERROR:
        Error = r;
        return false;
    case Z_NEED_DICT:
    case Z_DATA_ERROR:
    case Z_MEM_ERROR:
        Error = r == Z_NEED_DICT ? Z_DATA_ERROR : r;
        inflateEnd(&s);
        return false;
    default:
        break;
    }
    // After the end of the stream nothing more can come: anything behind it is ignored.
    DataOffset = r == Z_STREAM_END ? size : size - int(s.avail_in);
    return true;
}

bool _FM_DataBuffer::chunkUnzipFinish(z_stream& s)
{
    return inflateEnd(&s) == Z_OK;
}
