#include "foundation/fmchecksum.h"

#include <array>

namespace {

// Slicing-by-8 tables of the reflected CRC-32: table[0] is the classic byte table, table[k][b] is
// the CRC of byte b followed by k zero bytes. Eight input bytes are folded per step.
constexpr std::array<std::array<uint32_t, 256>, 8> makeCrc32Tables()
{
    std::array<std::array<uint32_t, 256>, 8> t{};
    for (uint32_t b = 0; b < 256; ++b) {
        uint32_t c = b;
        for (int k = 0; k < 8; ++k) c = (c & 1) ? (c >> 1) ^ 0xEDB88320u : c >> 1;
        t[0][b] = c;
    }
    for (uint32_t b = 0; b < 256; ++b)
        for (int k = 1; k < 8; ++k) t[k][b] = (t[k - 1][b] >> 8) ^ t[0][t[k - 1][b] & 0xFF];
    return t;
}
constexpr auto kCrc32 = makeCrc32Tables();
static_assert(kCrc32[0][1] == 0x77073096u);

constexpr std::array<uint64_t, 256> makeCrc64Table()
{
    std::array<uint64_t, 256> t{};
    for (uint64_t b = 0; b < 256; ++b) {
        uint64_t c = b;
        for (int k = 0; k < 8; ++k) c = (c & 1) ? (c >> 1) ^ 0x95AC9329AC4BC9B5ull : c >> 1;
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
        for (int k = 0; k < 8; ++k) c = (c & 0x8000) ? (c << 1) ^ 0x1021u : c << 1;
        t[b] = uint16_t(c);
    }
    return t;
}
constexpr auto crc16tab = makeCrc16Table();
static_assert(crc16tab[1] == 0x1021);

inline uint32_t load32le(const unsigned char* p)
{
    return uint32_t(p[0]) | uint32_t(p[1]) << 8 | uint32_t(p[2]) << 16 | uint32_t(p[3]) << 24;
}

} // namespace

void fmCRCInitialize() {}

void fmCRCPartial(unsigned* crc, const unsigned char* p, unsigned n)
{
    if (!crc || !p) return;
    uint32_t c = *crc;
    while (n >= 8) {
        const uint32_t a = load32le(p) ^ c;
        const uint32_t b = load32le(p + 4);
        c = kCrc32[7][a & 0xFF] ^ kCrc32[6][(a >> 8) & 0xFF] ^ kCrc32[5][(a >> 16) & 0xFF] ^ kCrc32[4][a >> 24] ^
            kCrc32[3][b & 0xFF] ^ kCrc32[2][(b >> 8) & 0xFF] ^ kCrc32[1][(b >> 16) & 0xFF] ^ kCrc32[0][b >> 24];
        p += 8;
        n -= 8;
    }
    while (n--) c = (c >> 8) ^ kCrc32[0][(c ^ *p++) & 0xFF];
    *crc = c;
}

unsigned fmCRCCalc(const unsigned char* p, const unsigned& n)
{
    if (n == 0 || !p) return 0;
    unsigned c = 0xFFFFFFFFu;
    fmCRCPartial(&c, p, n);
    return ~c;
}

unsigned long long fmCRCCalc64(const void* p, unsigned long n)
{
    uint64_t c = 0;
    const unsigned char* s = static_cast<const unsigned char*>(p);
    if (!s) return 0;
    for (unsigned long i = 0; i < n; ++i) c = crctab64[(c ^ s[i]) & 0xFF] ^ (c >> 8);
    return c;
}

unsigned fmCRCCalc16(const unsigned char* p, unsigned long n)
{
    uint16_t c = 0;
    if (!p) return 0;
    for (unsigned long i = 0; i < n; ++i) c = uint16_t((c << 8) ^ crc16tab[((c >> 8) ^ p[i]) & 0xFF]);
    return c;
}

unsigned char fmCRCCalc8(const unsigned char* p, unsigned long n, bool everySecond)
{
    unsigned char x = 0;
    if (!p) return 0;
    const unsigned long step = everySecond ? 2 : 1;
    for (unsigned long i = 0; i < n; ++i) x ^= p[i * step];
    return x;
}
