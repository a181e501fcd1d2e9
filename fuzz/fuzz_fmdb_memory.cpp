// A block as it comes out of a file, in memory: the first 32 bytes are a hostile header, the rest
// the compressed data. Exercises decompressTo, the chunk reader and both searches.
#include "foundation/fmdatabuffer.h"

#include <cstdint>
#include <cstring>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    if (size < size_t(_FM_DataBuffer::kHeaderSize) + 1) return 0;
    _FM_DataBuffer b;
    const int n = int(size) - _FM_DataBuffer::kHeaderSize;
    if (!b.copyFromBuffer(reinterpret_cast<const char*>(data) + _FM_DataBuffer::kHeaderSize, n)) return 0;
    b.headerFromBytes(data);
    // Keep the stored sizes from asking for huge blocks on every input; the bounds stay hostile.
    if (b.UncompressedSize > (1 << 22)) b.UncompressedSize &= (1 << 22) - 1;

    _FM_DataBuffer d;
    b.decompressTo(d);

    z_stream s;
    if (b.chunkUnzipStart(s)) {
        unsigned char out[777];
        int rounds = 0;
        while (rounds++ < 10000 && b.chunkUnzipGet(s, out, int(sizeof(out)))) {
        }
        b.chunkUnzipFinish(s); // harmless after the reader ended the stream itself
    }

    // Pattern: the first data byte gives its length, taken from the data itself.
    fmString8_evenSize<250> pat;
    const int m = data[_FM_DataBuffer::kHeaderSize] % 32;
    const int avail = n - 1 < m ? n - 1 : m;
    std::memcpy(pat.Data, data + _FM_DataBuffer::kHeaderSize + 1, size_t(avail > 0 ? avail : 0));
    pat.Length = uint16_t(avail > 0 ? avail : 0);
    b.DataSize = n;
    const int from = int(int8_t(data[1]));
    b.indexOf(pat, from);
    b.indexOfIgnCase(pat, from);
    return 0;
}
