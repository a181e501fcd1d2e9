// Checked ("fmDB") and raw container files, and the compressed frame inside a checked file.
#include "foundation/fmdatabuffer.h"

#include <cstdint>
#include <cstdio>
#include <unistd.h>

#include "fuzz_fmdb_file.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const fmDataBufferPath path = fuzzWriteFile(data, size, "checked");

    _FM_DataBuffer b;
    if (b.LoadFromFile(path, true)) {
        _FM_DataBuffer d;
        b.decompressTo(d); // the header's sizes and offset are the file's
        int off = 0;
        b.decompressTo(d, &off);
    }
    b.errorString();

    _FM_DataBuffer r;
    r.LoadFromFile(path, false);

    char out[4096];
    _FM_DataBuffer::CompressNLoadFromFile(path, out, int(sizeof(out)), false);
    _FM_DataBuffer::CompressNLoadFromFile(path, out, 100, true);
    char head[32], rest[64];
    _FM_DataBuffer::LoadFromFile(path, true, head, 32, rest, 64);
    return 0;
}
