#include "foundation/fmrandom.h"

const char fmLetters[69] = "ABCDEFGHIJKLMNOPQRSTUVWXYZ1234567890_!/()=abcdefghijklmnopqrstuvwxyz";
const char fmNumbers[11] = "1234567890";
static_assert(sizeof(fmLetters) == 69 && sizeof(fmNumbers) == 11);

unsigned fmRandStep(unsigned x)
{
    // The seed is taken as a signed 32-bit value; the products are formed in 64 bits so that no
    // seed can overflow (for seeds below 2^31 they stay inside 32 bits, as the method intends).
    const int64_t s = int32_t(x);
    int64_t r = 16807 * (s % 127773) - 2836 * (s / 127773);
    if (r < 1) r += 0x7FFFFFFF;
    return uint32_t(r);
}

float fmRand(unsigned& seed)
{
    seed = fmRandStep(seed);
    return float(double(seed) * (1.0 / 2147483648.0));
}

unsigned fmRandCalc(const unsigned char* p, const unsigned& n)
{
    uint32_t s = 0;
    if (p)
        for (uint32_t i = 0; i < n; ++i)
            s += i * uint32_t(p[i]);
    return fmRandStep(fmRandStep(s));
}

fmString8_evenSize<10> fmRandString(unsigned seed, int mode)
{
    fmString8_evenSize<10> r;
    uint32_t x = seed;
    for (int i = 0; i < 10; ++i) {
        x = fmRandStep(x);
        char c;
        if (mode == 2)
            c = fmNumbers[x % 10];
        else if (mode == 1)
            c = fmLetters[x % 68];
        else
            c = char(x & 0xFF);
        r.Data[i] = c;
    }
    r.Data[10] = 0;
    r.Length = 10;
    return r;
}
