#pragma once
// _FM_DataBuffer: a growable byte block with zlib around it. Its first 32 bytes, the control fields,
// are at the same time the header of the container files it writes:
//
//   raw file        DataSize bytes, no header                      SaveToFile(path, false)
//   checked file    "fmDB", 32-byte header, DataSize bytes          SaveToFile(path, true)
//   compressed file one gzip stream of "fmZP", header, data         SaveToFileCompressed(path)
//   gzip file       one gzip stream of the bytes only               SaveGzipFile
//
// Header, little-endian (kHeaderSize bytes):
//   0  i32 Reserved0         0
//   4  i32 DataSize          valid bytes in the block (the compressed size when compressed)
//   8  i32 UncompressedSize  size of the data uncompressed
//   12 i32 DataOffset        where the compressed bytes begin; read position of the chunk reader
//   16 u32 CRC               fmCRCCalc over the first DataSize bytes of the block
//   20 u8[8] Reserved1       0
//   28 u8  IsCompressed      1 after compressFrom, 0 after decompressTo
//   29 u8[3] Pad             not significant
// Every field read from a file is untrusted: users clamp DataSize and DataOffset to the block.
//
// Nothing throws. Methods returning bool set Error; methods returning int return the code.

#include "foundation/fmstring.h"

#include <QString>
#include <cstddef>
#include <cstdint>
#include <zlib.h>

using fmDataBufferPath = fmString8_evenSize<250>;

// Error codes of _FM_DataBuffer (texts in errorString). -1 .. -6 are zlib's own codes.
enum fmDataBufferError : int {
    fmDB_OK = 0,
    fmDB_ZErrno = Z_ERRNO,           // -1
    fmDB_ZStream = Z_STREAM_ERROR,   // -2
    fmDB_ZData = Z_DATA_ERROR,       // -3
    fmDB_ZMem = Z_MEM_ERROR,         // -4
    fmDB_ZBuf = Z_BUF_ERROR,         // -5
    fmDB_ZVersion = Z_VERSION_ERROR, // -6
    fmDB_NoMemory = -100,            // allocation failed or size limit exceeded
    fmDB_SystemError = -101,         // fopen / gzopen for writing failed, fopen for reading failed
    fmDB_WrongHeader = -102,         // magic differs
    fmDB_CRCError = -103,            // CRC differs, file too short to hold data
    fmDB_ReadError = -104,           // gzopen for reading failed
    fmDB_WriteError = -105,          // fwrite failed
    fmDB_WrongSize = -106,           // sizes differ after uncompress
    fmDB_FileMissing = -107,         // file does not exist
    fmDB_EndOfFile = -1000,          // short read at end of file; -1000 - ferror below that
};

// zlib's texts for -1 .. -6, "Compression Error, unknown error <n>" for anything else.
QString fmConvertZLibError(const int& code);

class _FM_DataBuffer
{
public:
    static constexpr int kHeaderSize = 32;
    static constexpr int kMagicSize = 4;
    static constexpr int kMaxSize = 0x30000000;       // 805,306,368 bytes, the limit of any block
    static constexpr int kMaxMB = kMaxSize / 1048576; // the same in MB for resize / newsize
    static constexpr const char* kMagicChecked = "fmDB";
    static constexpr const char* kMagicCompressed = "fmZP";
    static constexpr const char* kZlibVersion = "1.2.5"; // passed to zlib's init calls

    // Control fields, in file order (see the layout above).
    int32_t Reserved0 = 0;
    int32_t DataSize = 0;
    int32_t UncompressedSize = 0;
    int32_t DataOffset = 0;
    uint32_t CRC = 0;
    uint8_t Reserved1[8] = {};
    uint8_t IsCompressed = 0;
    uint8_t Pad[3] = {};
    // In memory only.
    int32_t Capacity = 0; // allocated size less the one spare byte (always 0 at Capacity)
    char* Data = nullptr; // owned (malloc family); a caller may take it by setting it to null
    int32_t Error = 0;    // last error code, 0 = none
    int SysErrno = 0;     // errno of the last system failure, for the texts of -1 and -101

    _FM_DataBuffer() = default;
    ~_FM_DataBuffer();
    _FM_DataBuffer(const _FM_DataBuffer&) = delete;
    _FM_DataBuffer& operator=(const _FM_DataBuffer&) = delete;

    // Header <-> 32 file bytes (little-endian, independent of the host).
    void headerToBytes(unsigned char out[kHeaderSize]) const;
    void headerFromBytes(const unsigned char in[kHeaderSize]);

    // Block handling. resize keeps the content; newsize does not (a too small block is replaced by a
    // zero-filled one). Both: false if size < 0 or over maxMB MB (or kMaxSize); capacity never
    // shrinks. A failed allocation leaves Capacity 0, Data null and Error -100.
    bool resize(int size, int maxMB = kMaxMB);
    bool newsize(int size, int maxMB = kMaxMB);
    void fillZero();
    // Grows as resize to n, copies n bytes to the start. DataSize is not touched.
    bool copyFromBuffer(const char* p, const int& n);
    // Copies n bytes (at most Capacity) out.
    void copyToBuffer(char* p, const int& n) const;
    // Appends n bytes behind DataSize, growing to exactly DataSize + n. n <= 0 does nothing.
    void append(const char* p, const int& n);

    // zlib. compressFrom* leave the first offset bytes of the block to the caller; DataSize is the
    // compressed length without them. decompressTo* uncompress DataSize bytes from DataOffset (or
    // *offset) and check the size against UncompressedSize; decompressTo keeps a given *offset as
    // DataOffset, decompressToB leaves DataOffset alone.
    bool compressFrom(const _FM_DataBuffer& src, const int& offset = 0);
    bool compressFromB(const char* p, const int& n, const int& offset = 0);
    bool decompressTo(_FM_DataBuffer& dst, const int* offset = nullptr);
    // Into a caller's block of n bytes; result: produced size, or the (negative) error code.
    int decompressToB(char* dst, const int& n, const int* offset = nullptr);
    // Size estimate for compress: n + n/16384 + n/4096 + 211 below 50 MB, 2n/3 up to 0x63FFFFF,
    // n/2 above (large blocks are expected to compress; compress then fails if they don't).
    static int z_compressBound_copy(int n);

    QString errorString() const;
    static QString errorString(const int& code, int sysErrno = 0);
    unsigned calcCRC();

    // Boyer-Moore search for s in the first DataSize bytes, from `from` (negative counts as 0).
    // Index into the block or -1.
    int indexOf(const fmString8_evenSize<250>& s, int from = 0) const;
    int indexOfIgnCase(const fmString8_evenSize<250>& s, int from = 0) const;

    // Container files.
    bool SaveToFile(const fmDataBufferPath& path, const bool& withHeader);
    bool LoadFromFile(const fmDataBufferPath& path, bool withHeader);
    // Low level: "wb"; "fmDB" if magic; n1 bytes of p1; n2 bytes of p2 when p2 is not null.
    static int SaveToFile(const fmDataBufferPath& path, const bool& magic, const char* p1, const int& n1,
                          const char* p2, const int& n2);
    // The mirror: -107 missing, -101 cannot open, -102 wrong magic, -1000 / -1000 - ferror short.
    static int LoadFromFile(const fmDataBufferPath& path, const bool& magic, char* p1, const int& n1,
                            char* p2, const int& n2);

    bool SaveToFileCompressed(const fmDataBufferPath& path);
    // Low level through gzwrite ("fmZP" if magic); a failed write returns the gz error code.
    static int SaveToFileCompressed(const fmDataBufferPath& path, const bool& magic, const char* p1,
                                    const int& n1, const char* p2, const int& n2);
    // A missing file is not an error: true, nothing touched. readAll false reads exactly Capacity
    // bytes; if more data follows the sizes stay 0 (still true).
    bool LoadFromFileCompressed(const fmDataBufferPath& path, bool readAll);

    static int CompressNSaveToFile(const fmDataBufferPath& path, const char* p, const int& n);
    static int CompressNLoadFromFile(const fmDataBufferPath& path, char* dst, const int& n,
                                     const bool& exact);
    static int SaveToFileCompressedHeader(const fmDataBufferPath& path, const char* p, const int& n);
    // Reads exactly n bytes of a compressed file into p (0 on success).
    static int LoadFromFileCompressedHeader(const fmDataBufferPath& path, char* p, const int& n);

    // Plain gzip files. The bool form reads the whole file in steps of `chunk` bytes.
    bool LoadGzipFile(const fmDataBufferPath& path, const unsigned& chunk);
    // Reads up to n bytes into p; with exact -106 unless the file holds exactly n bytes.
    // 0 on success; *got (if given) receives the bytes read.
    static int LoadGzipFile(const fmDataBufferPath& path, char* p, const unsigned& n, const bool& exact,
                            int* got = nullptr);
    static int SaveGzipFile(const fmDataBufferPath& path, const char* p, const int& n);

    // Chunk streams for data that does not fit one call. Compressing appends to the block at DataSize;
    // uncompressing reads the block from DataOffset up to DataSize.
    bool chunkzipStart(z_stream& s, int size);
    bool chunkzipAdd(z_stream& s, unsigned char* p, int n, bool last);
    bool chunkzipFinish(z_stream& s);
    bool chunkUnzipStart(z_stream& s);
    // Inflates into p (n bytes; the produced count is n - s.avail_out). False when the data is used
    // up and on a stream, dictionary, data or memory error.
    bool chunkUnzipGet(z_stream& s, unsigned char* p, int n);
    bool chunkUnzipFinish(z_stream& s);

private:
    bool growTo(int size, int maxMB, bool keep);
    int clampedDataSize() const;
};

static_assert(offsetof(_FM_DataBuffer, Reserved0) == 0);
static_assert(offsetof(_FM_DataBuffer, DataSize) == 4);
static_assert(offsetof(_FM_DataBuffer, UncompressedSize) == 8);
static_assert(offsetof(_FM_DataBuffer, DataOffset) == 12);
static_assert(offsetof(_FM_DataBuffer, CRC) == 16);
static_assert(offsetof(_FM_DataBuffer, Reserved1) == 20);
static_assert(offsetof(_FM_DataBuffer, IsCompressed) == 28);
static_assert(offsetof(_FM_DataBuffer, Pad) == 29);
static_assert(offsetof(_FM_DataBuffer, Capacity) == _FM_DataBuffer::kHeaderSize);
