// The buffer's files: plain, with the 36-byte header, compressed, and gzip.

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

} // namespace

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
