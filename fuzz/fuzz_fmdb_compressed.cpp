// Compressed ("fmZP" inside gzip) container files, in all their read forms.
#include "foundation/fmdatabuffer.h"

#include <cstdint>

#include "fuzz_fmdb_file.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const fmDataBufferPath path = fuzzWriteFile(data, size, "compressed");

    _FM_DataBuffer all;
    if (all.LoadFromFileCompressed(path, true) && all.IsCompressed) {
        _FM_DataBuffer d;
        all.decompressTo(d);
    }
    all.errorString();

    _FM_DataBuffer fixed;
    if (fixed.newsize(1000)) fixed.LoadFromFileCompressed(path, false);

    char block[512];
    _FM_DataBuffer::LoadFromFileCompressedHeader(path, block, int(sizeof(block)));
    _FM_DataBuffer::LoadFromFileCompressedHeader(path, block, 0);
    return 0;
}
