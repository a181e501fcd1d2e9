// Plain gzip files through both gzip loaders.
#include "foundation/fmdatabuffer.h"

#include <cstdint>

#include "fuzz_fmdb_file.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const fmDataBufferPath path = fuzzWriteFile(data, size, "gzip");

    _FM_DataBuffer g;
    g.LoadGzipFile(path, 4096);
    g.errorString();

    char block[1024];
    int got = 0;
    _FM_DataBuffer::LoadGzipFile(path, block, unsigned(sizeof(block)), true, &got);
    _FM_DataBuffer::LoadGzipFile(path, block, 100, false, &got);
    return 0;
}
