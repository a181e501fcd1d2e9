#include "foundation/fmchecksum.h"

#include <array>
#include <zlib.h>

namespace {

constexpr std::array<uint64_t, 256> makeCrc64Table()
{
    std::array<uint64_t, 256> t{};
    for (uint64_t b = 0; b < 256; ++b) {
        uint64_t c = b;
        for (int k = 0; k < 8; ++k)
            c = (c & 1) ? (c >> 1) ^ 0x95AC9329AC4BC9B5ull : c >> 1;
        t[b] = c;
    }
    return t;
}
constexpr auto crctab64 = makeCrc64Table();
static_assert(crctab64[1] == 0x7AD870C830358979ull);

constexpr std::array<uint16_t, 256> makeCrc16Table()
{
    std::array<uint16_t, 256> t{};
    for (uint32_t b = 0; b < 256; ++b) {
        uint32_t c = b << 8;
        for (int k = 0; k < 8; ++k)
            c = (c & 0x8000) ? (c << 1) ^ 0x1021u : c << 1;
        t[b] = uint16_t(c);
    }
    return t;
}
constexpr auto crc16tab = makeCrc16Table();
static_assert(crc16tab[1] == 0x1021);

} // namespace

void fmCRCInitialize() {}

// zlib's crc32 is this very CRC (reflected 0x04C11DB7, complement in and out) with the fastest
// table scheme for the machine; it complements on entry and exit, so a running value without
// them is ~crc32(~value).
void fmCRCPartial(unsigned* crc, const unsigned char* p, unsigned n)
{
    if (!crc || !p || n == 0) return;
    *crc = ~unsigned(crc32_z(~uLong(*crc) & 0xFFFFFFFFu, p, z_size_t(n)));
}

unsigned fmCRCCalc(const unsigned char* p, const unsigned& n)
{
    if (n == 0 || !p) return 0;
    return unsigned(crc32_z(0, p, z_size_t(n)));
}

unsigned long long fmCRCCalc64(const void* p, unsigned long n)
{
    uint64_t c = 0;
    const unsigned char* s = static_cast<const unsigned char*>(p);
    if (!s) return 0;
    for (unsigned long i = 0; i < n; ++i)
        c = crctab64[(c ^ s[i]) & 0xFF] ^ (c >> 8);
    return c;
}

unsigned fmCRCCalc16(const unsigned char* p, unsigned long n)
{
    uint16_t c = 0;
    if (!p) return 0;
    for (unsigned long i = 0; i < n; ++i)
        c = uint16_t((c << 8) ^ crc16tab[((c >> 8) ^ p[i]) & 0xFF]);
    return c;
}

unsigned char fmCRCCalc8(const unsigned char* p, unsigned long n, bool everySecond)
{
    unsigned char x = 0;
    if (!p) return 0;
    const unsigned long step = everySecond ? 2 : 1;
    for (unsigned long i = 0; i < n; ++i)
        x ^= p[i * step];
    return x;
}
