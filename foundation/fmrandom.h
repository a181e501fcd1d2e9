#pragma once
// A seedable generator whose sequence is the same on all machines: the minimal standard generator
// (multiplier 16807, modulus 2^31 - 1) computed by Schrage's method in 32-bit arithmetic.

#include "foundation/fmstring.h"

// 68 characters, the alphabet of fmRandString mode 1 and of the scrambler's filler.
extern const char fmLetters[69];
// "1234567890", the alphabet of fmRandString mode 2.
extern const char fmNumbers[11];

// One generator step: x = 16807 * (x mod 127773) - 2836 * (x / 127773); below 1 add 0x7FFFFFFF.
// Seed 1 gives 16807; the 10000th value from seed 1 is 1043618065.
unsigned fmRandStep(unsigned x);
// One step on seed; the result is the new seed * 2^-31, in [0, 1).
float fmRand(unsigned& seed);
// s = sum of i * p[i] (32-bit, wrapping), then two steps on s. Draws the job colour from its text.
unsigned fmRandCalc(const unsigned char* p, const unsigned& n);
// Ten steps from seed; after each append: mode 2 fmNumbers[x % 10], mode 1 fmLetters[x % 68],
// mode 0 the low byte of x. Length is 10 whatever was appended (mode 0 may append zero bytes).
fmString8_evenSize<10> fmRandString(unsigned seed, int mode);
