// Figures of the data buffer: CRC-32 throughput and the cost of _FM_DataBuffer's compress and
// uncompress round trip over the same raw zlib calls on the same data. One figure a line.
#include "foundation/fmchecksum.h"
#include "foundation/fmdatabuffer.h"
#include "foundation/fmrandom.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <vector>
#include <zlib.h>

namespace {

using Clock = std::chrono::steady_clock;

double seconds(Clock::time_point a, Clock::time_point b)
{
    return std::chrono::duration<double>(b - a).count();
}

// Data that compresses like a job database: runs of text with numbers and a little noise.
std::vector<char> makeData(size_t n)
{
    static const char* words[] = {"render", "frame", "scene", "/mnt/projects/",
                                  "camera", "done",  ".exr",  "user"};
    std::vector<char> d(n);
    unsigned x = 12345;
    size_t i = 0;
    while (i < n) {
        x = fmRandStep(x);
        const char* w = words[x % 8];
        const size_t l = std::min(std::strlen(w), n - i);
        std::memcpy(d.data() + i, w, l);
        i += l;
        if (i < n) d[i++] = char(x >> 8);
        if (i < n) d[i++] = char('0' + x % 10);
    }
    return d;
}

template <class F> double best(int rounds, F&& f)
{
    double b = 1e30;
    for (int r = 0; r < rounds; ++r) {
        const auto t0 = Clock::now();
        f();
        b = std::min(b, seconds(t0, Clock::now()));
    }
    return b;
}

} // namespace

int main()
{
    const size_t n = 8u << 20;
    const std::vector<char> data = makeData(n);
    const auto* u = reinterpret_cast<const unsigned char*>(data.data());
    const double mb = double(n) / 1048576.0;

    volatile unsigned sink = 0;
    const double tCrc = best(5, [&] { sink = sink + fmCRCCalc(u, unsigned(n)); });
    std::printf("crc32_throughput: %.0f MB/s\n", mb / tCrc);
    const double tCrc64 = best(3, [&] { sink = sink + unsigned(fmCRCCalc64(u, n)); });
    std::printf("crc64_throughput: %.0f MB/s\n", mb / tCrc64);
    const double tZCrc = best(5, [&] { sink = sink + unsigned(crc32(0, u, uInt(n))); });
    std::printf("zlib_crc32_throughput: %.0f MB/s\n", mb / tZCrc);

    // Raw zlib: one destination block of compressBound bytes, one output block, allocated once.
    // The buffer is reused across rounds as its callers do. Raw and buffer rounds alternate and
    // the best of each counts, so that load from other processes hits both alike.
    std::vector<Bytef> zbuf(compressBound(uLong(n)));
    std::vector<Bytef> out(n);
    uLongf zlen = 0;
    _FM_DataBuffer z, d;
    double tRawC = 1e30, tRawD = 1e30, tBufC = 1e30, tBufD = 1e30;
    for (int round = 0; round < 7; ++round) {
        tRawC = std::min(tRawC, best(1, [&] {
                             zlen = uLongf(zbuf.size());
                             if (compress(zbuf.data(), &zlen, u, uLong(n)) != Z_OK)
                                 std::printf("raw compress failed\n");
                         }));
        tBufC = std::min(tBufC, best(1, [&] {
                             if (!z.compressFromB(data.data(), int(n), 0))
                                 std::printf("buffer compress failed: %d\n", z.Error);
                         }));
        tRawD = std::min(tRawD, best(1, [&] {
                             uLongf olen = uLongf(n);
                             if (uncompress(out.data(), &olen, zbuf.data(), zlen) != Z_OK || olen != n)
                                 std::printf("raw uncompress failed\n");
                         }));
        tBufD = std::min(tBufD, best(1, [&] {
                             if (!z.decompressTo(d) || d.DataSize != int(n))
                                 std::printf("buffer decompress failed: %d\n", z.Error);
                         }));
    }
    if (std::memcmp(d.Data, data.data(), n) != 0) std::printf("round trip differs\n");

    std::printf("data_size: %.0f MB\n", mb);
    std::printf("compressed_size: %.2f MB\n", double(z.DataSize) / 1048576.0);
    std::printf("zlib_compress: %.1f ms\n", tRawC * 1e3);
    std::printf("buffer_compress: %.1f ms\n", tBufC * 1e3);
    std::printf("buffer_compress_overhead: %+.1f %%\n", (tBufC / tRawC - 1.0) * 100.0);
    std::printf("zlib_uncompress: %.1f ms\n", tRawD * 1e3);
    std::printf("buffer_decompress: %.1f ms\n", tBufD * 1e3);
    std::printf("buffer_decompress_overhead: %+.1f %%\n", (tBufD / tRawD - 1.0) * 100.0);
    std::printf("buffer_roundtrip_overhead: %+.1f %%\n", ((tBufC + tBufD) / (tRawC + tRawD) - 1.0) * 100.0);
    return sink == 0x12345678u ? 1 : 0;
}
