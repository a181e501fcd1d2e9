#include "foundation/fmcrypt.h"

#include "foundation/fmchecksum.h"
#include "foundation/fmrandom.h"

#include <cstring>

namespace {

constexpr int kMaxScrambled = 250; // longest scrambled form that can be restored
constexpr int kMaxText = 250;
constexpr int kStepCount = 251;

// Step table of the scatter walk: t = 180, then t = (t + 567) mod 65530, the low byte of each.
void makeSteps(unsigned char* step)
{
    unsigned t = 180;
    for (int i = 0; i < kStepCount; ++i) {
        t = (t + 567) % 65530;
        step[i] = static_cast<unsigned char>(t & 0xFF);
    }
}

// The walk that places N bytes: slot k receives the byte of place order[k] ... expressed as
// placeOf[i] = the index whose byte goes to output place i. Every slot is used once.
void makeWalk(int n, int* placeOf)
{
    unsigned char step[kStepCount];
    makeSteps(step);
    bool taken[kMaxScrambled];
    std::memset(taken, 0, sizeof(taken));
    int p = 50;
    for (int i = 0; i < n; ++i) {
        p = (p + step[i]) % n;
        while (taken[p])
            p = (p + 1) % n;
        taken[p] = true;
        placeOf[i] = p;
    }
}

size_t boundedLength(const char* buf, int bufSize)
{
    const void* z = std::memchr(buf, 0, size_t(bufSize));
    return z ? size_t(static_cast<const char*>(z) - buf) : size_t(bufSize);
}

} // namespace

namespace fmCrypt {

bool Rmpg4(char* buf, const int& bufSize, int outSize, unsigned short* length)
{
    if (!buf || bufSize <= 0) return false;
    const int n = length ? int(*length) : int(boundedLength(buf, bufSize));
    const int m = outSize < bufSize ? outSize : bufSize;
    if (n > m - 8 || n > kMaxText || m > kMaxScrambled) return false;

    // Work on a copy: the output place of a byte is chosen from the whole block.
    unsigned char w[kMaxScrambled + 8];
    const int N = m - 4;
    const unsigned crc = fmCRCCalc(reinterpret_cast<const unsigned char*>(buf), unsigned(n));
    w[0] = static_cast<unsigned char>(n);
    std::memcpy(w + 1, buf, size_t(n));
    // Filler behind the text, so that the length is not visible. It runs on to the end of the
    // whole buffer: bytes m to bufSize - 1 are filler too (byte 360 of a user record, behind its
    // 50 scrambled password bytes, is one of them).
    unsigned s = crc + 5;
    auto filler = [&s, n] {
        s = (s + unsigned(n + 1) * 15 + 13) % 68;
        return fmLetters[s];
    };
    for (int i = n + 1; i < m; ++i)
        w[i] = static_cast<unsigned char>(filler());
    for (int i = n + 1; i >= 0; --i)
        w[i] ^= w[i + 1];

    int placeOf[kMaxScrambled];
    makeWalk(N, placeOf);
    std::memcpy(buf, "fmCB", 4);
    for (int i = 0; i < N; ++i)
        buf[4 + i] = static_cast<char>(w[placeOf[i]]);
    for (int i = m; i < bufSize; ++i)
        buf[i] = filler();
    if (length) *length = static_cast<unsigned short>(m);
    return true;
}

bool DeRmpg4(char* buf, const int& bufSize, unsigned short* length)
{
    if (!buf || bufSize < 4 || std::memcmp(buf, "fmCB", 4) != 0) return true;
    const int m = length ? int(*length) : int(boundedLength(buf, bufSize));
    if (m > kMaxScrambled || m > bufSize || m < 8) return false;
    const int N = m - 4;

    int placeOf[kMaxScrambled];
    makeWalk(N, placeOf);
    unsigned char w[kMaxScrambled];
    for (int i = 0; i < N; ++i)
        w[placeOf[i]] = static_cast<unsigned char>(buf[4 + i]);
    for (int i = 0; i + 1 < N; ++i)
        w[i] ^= w[i + 1];

    const int n = w[0];
    if (n + 1 > bufSize || n > N - 2) return false;
    std::memcpy(buf, w + 1, size_t(n));
    buf[n] = 0;
    if (length) *length = static_cast<unsigned short>(n);
    return true;
}

} // namespace fmCrypt
