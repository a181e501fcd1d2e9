#pragma once
// Job identifiers: the 64-bit JobID, its short and full texts, and its 32-bit short form for logs.
//
// A JobID is read as eight bytes, low byte first:
//   0     Counter  running number among jobs of one moment, 0 for the first
//   1     PartA    0..255
//   2     PartB    0..255
//   3..6  Stamp    u32, unaligned; Stamp / 10000 is the coarse part, the remainder the fine part
//   7     reserved, not read
// A real job's JobID is at least 1000; smaller values mean "no job".

#include <QString>
#include <cstddef>
#include <cstdint>

namespace fmJ {

// Below this a JobID means that there is no job.
constexpr unsigned long long JobID_None_Below = 1000;

// 36 signs, no "I".
extern const char* const ID_letters;
// 24 signs, no "i", no "m".
extern const char* const ID_letters_small;

#pragma pack(push, 1)
struct IDDecomp
{
    uint8_t Counter;
    uint8_t PartA;
    uint8_t PartB;
    uint32_t Stamp; // unaligned in the identifier
    uint8_t Reserved;

    IDDecomp() : Counter(0), PartA(0), PartB(0), Stamp(0), Reserved(0) {}
    void fromID(unsigned long long id);
    unsigned long long toID() const;

    // "{" + three signs of Stamp / 10000 + none, one or two counter letters + "}".
    // Works on this value: Counter and Stamp are consumed as the text is built, so callers
    // use a copy (ID2str does).
    QString str();
    // Three signs, counter letters, "_", the fine sign twice, PartB, PartA. No braces.
    // The fine sign stands twice on purpose: existing identifiers keep their text so.
    // Consumes Counter and Stamp like str().
    QString strFull();
};
static_assert(sizeof(IDDecomp) == 8);
static_assert(offsetof(IDDecomp, Stamp) == 3);

// What a user needs of an ID, in 4 bytes: Counter, then Coarse = Stamp / 10000 as a 16-bit low
// part and an 8-bit high part.
struct IDShort
{
    uint8_t Counter;
    uint16_t CoarseLow;
    uint8_t CoarseHigh;

    IDShort() : Counter(0), CoarseLow(0), CoarseHigh(0) {}
    void fromID(unsigned long long id);
    void fromIDDecomp(const IDDecomp& d);
    void fromInt32(unsigned int v);
    // CoarseHigh << 24 | CoarseLow << 8 | Counter.
    unsigned int int32() const;
    uint32_t coarse() const { return (uint32_t(CoarseHigh) << 16) | CoarseLow; }
    // The str() of an IDDecomp with PartA, PartB 0 and Stamp = Coarse * 10000 (wraps past 2^32).
    QString str() const;
};
#pragma pack(pop)
static_assert(sizeof(IDShort) == 4);
static_assert(offsetof(IDShort, CoarseLow) == 1);
static_assert(offsetof(IDShort, CoarseHigh) == 3);

// The 32-bit short form of a JobID in one go: (Coarse << 8) | low byte. Equals IDShort::int32().
unsigned int ID2ShortID(unsigned long long id);

// Base-36 digits of ID_letters, most significant first, at most maxDigits of them (the low ones).
// Empty for maxDigits < 1; the value 0 gives "A".
QString numberToStr(unsigned long long value, const int& maxDigits);

// IDDecomp::str() / strFull() of a copy of the identifier.
QString ID2str(unsigned long long id);
QString ID2strFull(unsigned long long id);

} // namespace fmJ
