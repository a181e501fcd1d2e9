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

constexpr int kReadStep = 1048576; // growth step of the compressed loader

// Local file name of a path field: its Latin-1 text in the file system's encoding.
QByteArray localName(const fmDataBufferPath& path)
{
    return fmPathToBytes(path.toQString());
}

// Size of a regular file, or -1 when there is none. A folder counts as missing, as it does for
// fmFileExists: loading one gives "File does not exists".
int64_t fileSize(const QByteArray& name)
{
    struct stat st;
    if (name.isEmpty() || ::stat(name.constData(), &st) != 0 || S_ISDIR(st.st_mode)) return -1;
    return int64_t(st.st_size);
}

bool fileExists(const QByteArray& name)
{
    return fileSize(name) >= 0;
}

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
int shortReadCode(FILE* f)
{
    const int e = std::ferror(f);
    return e ? fmDB_EndOfFile - (e > 0 ? e : 1) : fmDB_EndOfFile;
}

// The code of a failed gz read: zlib's error, or -1000 for a clean end of data.
int gzFailCode(gzFile gz)
{
    int e = Z_OK;
    gzerror(gz, &e);
    return e != Z_OK ? e : fmDB_EndOfFile;
}

// Reads up to n bytes; result: bytes read, or -1 on error. gzread takes an unsigned length and
// returns int, so large reads are split.
int64_t gzReadAll(gzFile gz, char* p, int64_t n)
{
    int64_t got = 0;
    while (got < n) {
        const int64_t want = n - got < (1 << 30) ? n - got : (1 << 30);
        const int r = gzread(gz, p + got, unsigned(want));
        if (r < 0) return -1;
        if (r == 0) break;
        got += r;
    }
    return got;
}

// A gz stream that ended without error at exactly this point (a truncated stream reports
// Z_BUF_ERROR only through gzerror).
int gzEndCode(gzFile gz)
{
    int e = Z_OK;
    gzerror(gz, &e);
    return e;
}

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

int _FM_DataBuffer::SaveToFile(const fmDataBufferPath& path, const bool& magic, const char* p1, const int& n1,
                               const char* p2, const int& n2)
{
    const QByteArray name = localName(path);
    FILE* f = name.isEmpty() ? nullptr : std::fopen(name.constData(), "wb");
    if (!f) return fmDB_SystemError;
    bool ok = true;
    if (magic) ok = std::fwrite(kMagicChecked, 1, kMagicSize, f) == size_t(kMagicSize);
    if (ok && p1 && n1 > 0) ok = std::fwrite(p1, 1, size_t(n1), f) == size_t(n1);
    if (ok && p2 && n2 > 0) ok = std::fwrite(p2, 1, size_t(n2), f) == size_t(n2);
    if (std::fclose(f) != 0) ok = false;
    return ok ? 0 : fmDB_WriteError;
}

int _FM_DataBuffer::LoadFromFile(const fmDataBufferPath& path, const bool& magic, char* p1, const int& n1,
                                 char* p2, const int& n2)
{
    const QByteArray name = localName(path);
    if (!fileExists(name)) return fmDB_FileMissing;
    FILE* f = std::fopen(name.constData(), "rb");
    if (!f) return fmDB_SystemError;
    struct stat st;
    if (::fstat(fileno(f), &st) == 0 && S_ISDIR(st.st_mode)) { // opens, but can't be read
        std::fclose(f);
        errno = EISDIR;
        return fmDB_SystemError;
    }
    int r = 0;
    if (magic) {
        char m[kMagicSize];
        if (std::fread(m, 1, kMagicSize, f) != size_t(kMagicSize))
            r = shortReadCode(f);
        else if (std::memcmp(m, kMagicChecked, kMagicSize) != 0)
            r = fmDB_WrongHeader;
    }
    if (r == 0 && p1 && n1 > 0 && std::fread(p1, 1, size_t(n1), f) != size_t(n1)) r = shortReadCode(f);
    if (r == 0 && p2 && n2 > 0 && std::fread(p2, 1, size_t(n2), f) != size_t(n2)) r = shortReadCode(f);
    std::fclose(f);
    return r;
}

bool _FM_DataBuffer::SaveToFile(const fmDataBufferPath& path, const bool& withHeader)
{
    calcCRC();
    const int n = clampedDataSize();
    if (withHeader) {
        unsigned char h[kHeaderSize];
        headerToBytes(h);
        Error = SaveToFile(path, true, reinterpret_cast<const char*>(h), kHeaderSize, Data, n);
    } else {
        Error = SaveToFile(path, false, Data, n, nullptr, 0);
    }
    if (Error) SysErrno = errno;
    return Error == 0;
}

bool _FM_DataBuffer::LoadFromFile(const fmDataBufferPath& path, bool withHeader)
{
    Error = 0;
    const QByteArray name = localName(path);
    int64_t size = fileSize(name);
    if (size < 0) {
        Error = fmDB_FileMissing;
        return false;
    }
    if (withHeader) size -= kMagicSize + kHeaderSize;
    if (size <= 0) {
        Error = fmDB_CRCError;
        return false;
    }
    if (size > kMaxSize) {
        Error = fmDB_NoMemory;
        return false;
    }
    if (!resize(int(size), kMaxMB)) return false;
    if (withHeader) {
        unsigned char h[kHeaderSize] = {};
        Error = LoadFromFile(path, true, reinterpret_cast<char*>(h), kHeaderSize, Data, int(size));
        // The stored control fields replace this object's; a short read may stop inside them.
        if (Error == 0) headerFromBytes(h);
    } else {
        Error = LoadFromFile(path, false, Data, int(size), nullptr, 0);
    }
    if (Error == fmDB_SystemError) SysErrno = errno;
    if (Error != 0) return false;
    DataSize = int(size);
    if (withHeader) {
        const unsigned stored = CRC;
        if (calcCRC() != stored) {
            Error = fmDB_CRCError;
            return false;
        }
    }
    return true;
}

int _FM_DataBuffer::SaveToFileCompressed(const fmDataBufferPath& path, const bool& magic, const char* p1,
                                         const int& n1, const char* p2, const int& n2)
{
    const QByteArray name = localName(path);
    gzFile gz = name.isEmpty() ? nullptr : gzopen(name.constData(), "wb");
    if (!gz) return fmDB_SystemError;
    int r = 0;
    auto put = [&](const char* p, int n) {
        if (r != 0 || !p || n <= 0) return;
        if (gzwrite(gz, p, unsigned(n)) != n) {
            r = gzEndCode(gz);
            if (r == Z_OK) r = fmDB_WriteError;
        }
    };
    if (magic) put(kMagicCompressed, kMagicSize);
    put(p1, n1);
    put(p2, n2);
    const int c = gzclose(gz);
    if (r == 0 && c != Z_OK) r = c;
    return r;
}

bool _FM_DataBuffer::SaveToFileCompressed(const fmDataBufferPath& path)
{
    unsigned char h[kHeaderSize];
    headerToBytes(h);
    Error = SaveToFileCompressed(path, true, reinterpret_cast<const char*>(h), kHeaderSize, Data,
                                 clampedDataSize());
    if (Error) SysErrno = errno;
    return Error == 0;
}

bool _FM_DataBuffer::LoadFromFileCompressed(const fmDataBufferPath& path, bool readAll)
{
    Error = 0;
    const QByteArray name = localName(path);
    if (!fileExists(name)) return true;
    gzFile gz = gzopen(name.constData(), "rb");
    if (!gz) {
        Error = fmDB_ReadError;
        return false;
    }
    auto fail = [&](int code) {
        Error = code;
        if (code == Z_ERRNO) SysErrno = errno;
        gzclose(gz);
        return false;
    };
    // A short read reports what gzerror says, Z_OK (0) included: a stream that ends cleanly inside
    // the magic or the header fails with Error 0.
    char m[kMagicSize];
    if (gzReadAll(gz, m, kMagicSize) != kMagicSize) return fail(gzEndCode(gz));
    if (std::memcmp(m, kMagicCompressed, kMagicSize) != 0) return fail(fmDB_WrongHeader);
    unsigned char h[kHeaderSize];
    if (gzReadAll(gz, reinterpret_cast<char*>(h), kHeaderSize) != kHeaderSize) return fail(gzEndCode(gz));
    headerFromBytes(h);
    DataSize = 0;
    UncompressedSize = 0;

    int64_t total = 0;
    if (readAll) {
        for (int64_t steps = 0;; ++steps) {
            const int64_t want = (steps + 1) * kReadStep;
            if (want > kMaxSize) return fail(fmDB_NoMemory);
            if (!resize(int(want), kMaxMB)) return fail(Error);
            const int64_t r = gzReadAll(gz, Data + total, want - total);
            if (r < 0) return fail(gzFailCode(gz));
            total += r;
            if (total < want) break; // end of data
        }
        // A stream cut short or with a bad trailer ends reading quietly: ask zlib how it ended.
        if (const int e = gzEndCode(gz); e != Z_OK) return fail(e);
    } else {
        const int cap = Data ? Capacity : 0;
        const int64_t r = gzReadAll(gz, Data, cap);
        if (r != cap) return fail(gzFailCode(gz));
        total = cap;
        char one;
        const int more = gzread(gz, &one, 1);
        if (more < 0) return fail(gzFailCode(gz));
        if (more > 0) {
            gzclose(gz);
            return true; // more data behind: the sizes stay 0
        }
        if (const int e = gzEndCode(gz); e != Z_OK) return fail(e);
    }
    gzclose(gz);
    DataSize = int(total);
    UncompressedSize = int(total);
    return true;
}

int _FM_DataBuffer::CompressNSaveToFile(const fmDataBufferPath& path, const char* p, const int& n)
{
    _FM_DataBuffer b;
    if (!b.compressFromB(p, n, 0)) return b.Error ? b.Error : fmDB_ZStream;
    b.SaveToFile(path, true);
    return b.Error;
}

int _FM_DataBuffer::CompressNLoadFromFile(const fmDataBufferPath& path, char* dst, const int& n,
                                          const bool& exact)
{
    _FM_DataBuffer b;
    if (!b.LoadFromFile(path, true)) return b.Error;
    if (exact && b.UncompressedSize != n) return fmDB_WrongSize;
    const int r = b.decompressToB(dst, n, nullptr);
    if (r < 0) return r;
    return r != n ? fmDB_WrongSize : 0;
}

int _FM_DataBuffer::SaveToFileCompressedHeader(const fmDataBufferPath& path, const char* p, const int& n)
{
    _FM_DataBuffer b;
    b.DataSize = n;
    b.UncompressedSize = n;
    unsigned char h[kHeaderSize];
    b.headerToBytes(h);
    return SaveToFileCompressed(path, true, reinterpret_cast<const char*>(h), kHeaderSize, p, n);
}

int _FM_DataBuffer::LoadFromFileCompressedHeader(const fmDataBufferPath& path, char* p, const int& n)
{
    if (!p || n < 0) return fmDB_NoMemory;
    if (!fileExists(localName(path))) return fmDB_FileMissing;
    // A buffer that borrows the caller's block; it is handed back before the destructor runs.
    _FM_DataBuffer b;
    b.Data = p;
    b.Capacity = n;
    const bool ok = b.LoadFromFileCompressed(path, false);
    b.Data = nullptr;
    b.Capacity = 0;
    if (!ok) return b.Error ? b.Error : fmDB_ReadError;
    if (b.DataSize != n) return fmDB_WrongSize; // more data behind the n bytes
    return 0;
}

bool _FM_DataBuffer::LoadGzipFile(const fmDataBufferPath& path, const unsigned& chunk)
{
    Error = 0;
    const QByteArray name = localName(path);
    gzFile gz = name.isEmpty() ? nullptr : gzopen(name.constData(), "rb");
    if (!gz) {
        Error = fmDB_ReadError;
        return false;
    }
    DataSize = 0;
    UncompressedSize = 0;
    // A step of 0 would never end; over the limit it could never be allocated.
    const int64_t step =
        chunk == 0 ? kReadStep : (chunk > unsigned(kMaxSize) ? int64_t(kMaxSize) : int64_t(chunk));
    int64_t total = 0;
    for (;;) {
        const int64_t want = total + step;
        if (want > kMaxSize || !resize(int(want), kMaxMB)) {
            Error = fmDB_NoMemory;
            gzclose(gz);
            return false;
        }
        const int64_t r = gzReadAll(gz, Data + total, step);
        if (r < 0) {
            Error = gzFailCode(gz);
            if (Error == Z_ERRNO) SysErrno = errno;
            gzclose(gz);
            return false;
        }
        total += r;
        DataSize = int(total);
        UncompressedSize = int(total);
        if (r < step) break;
    }
    const int e = gzEndCode(gz);
    gzclose(gz);
    if (e != Z_OK) {
        Error = e;
        return false;
    }
    return true;
}

int _FM_DataBuffer::LoadGzipFile(const fmDataBufferPath& path, char* p, const unsigned& n, const bool& exact,
                                 int* got)
{
    if (got) *got = 0;
    const QByteArray name = localName(path);
    gzFile gz = name.isEmpty() ? nullptr : gzopen(name.constData(), "rb");
    if (!gz) return fmDB_ReadError;
    const int64_t want = !p ? 0 : (n > unsigned(INT_MAX) ? int64_t(INT_MAX) : int64_t(n));
    const int64_t r = gzReadAll(gz, p, want);
    if (r < 0) {
        const int e = gzFailCode(gz);
        gzclose(gz);
        return e;
    }
    if (got) *got = int(r);
    int code = 0;
    if (exact) {
        char one;
        if (r != int64_t(n) || gzread(gz, &one, 1) != 0) code = fmDB_WrongSize;
    }
    if (code == 0) code = gzEndCode(gz);
    gzclose(gz);
    return code;
}

int _FM_DataBuffer::SaveGzipFile(const fmDataBufferPath& path, const char* p, const int& n)
{
    return SaveToFileCompressed(path, false, p, n, nullptr, 0);
}

// ---- chunk streams ----

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
