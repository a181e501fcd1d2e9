#include "foundation/fmjobid.h"

#include <cstring>

namespace fmJ {

const char* const ID_letters = "ABCDEFGHJKLMNOPQRSTUVWXYZ1234567890-";
const char* const ID_letters_small = "abcdefghjklnopqrstuvwxyz";

namespace {
constexpr unsigned kLetters = 36;
constexpr unsigned kSmall = 24;

// A text built from its end, as the identifier's signs are found: last sign first. Big enough for
// the longest, strFull(): three coarse signs, two counter letters and five more.
class Backwards
{
public:
    void prepend(char c) { Buf[--At] = c; }
    QString text() const { return QString::fromLatin1(Buf + At, qsizetype(sizeof(Buf)) - At); }

private:
    char Buf[16];
    qsizetype At = qsizetype(sizeof(Buf));
};

// Counter letters, put in front of `s`: none for 0, one for 1..24, two from 25.
void prependCounter(IDDecomp& d, Backwards& s)
{
    if (d.Counter == 0) return;
    d.Counter = uint8_t(d.Counter - 1);
    s.prepend(ID_letters_small[d.Counter % kSmall]);
    d.Counter = uint8_t(d.Counter / kSmall);
    if (d.Counter != 0) s.prepend(ID_letters_small[d.Counter % kSmall]);
}

// Three signs of Stamp / 10000, put in front of `s`.
void prependCoarse(IDDecomp& d, Backwards& s)
{
    d.Stamp /= 10000;
    for (int i = 0; i < 3; ++i) {
        s.prepend(ID_letters[d.Stamp % kLetters]);
        d.Stamp /= kLetters;
    }
}
} // namespace

void IDDecomp::fromID(unsigned long long id)
{
    unsigned char b[8];
    const unsigned long long v = id;
    for (int i = 0; i < 8; ++i)
        b[i] = static_cast<unsigned char>(v >> (8 * i));
    Counter = b[0];
    PartA = b[1];
    PartB = b[2];
    Stamp = uint32_t(b[3]) | (uint32_t(b[4]) << 8) | (uint32_t(b[5]) << 16) | (uint32_t(b[6]) << 24);
    Reserved = b[7];
}

unsigned long long IDDecomp::toID() const
{
    return (unsigned long long)Counter | ((unsigned long long)PartA << 8) |
           ((unsigned long long)PartB << 16) | ((unsigned long long)Stamp << 24) |
           ((unsigned long long)Reserved << 56);
}

QString IDDecomp::str()
{
    Backwards s;
    s.prepend('}');
    prependCounter(*this, s);
    prependCoarse(*this, s);
    s.prepend('{');
    return s.text();
}

QString IDDecomp::strFull()
{
    Backwards s;
    s.prepend(ID_letters[PartA % kLetters]);
    s.prepend(ID_letters[PartB % kLetters]);
    const unsigned r = (Stamp % 10000) / kLetters;
    s.prepend(ID_letters[r % kLetters]);
    s.prepend(ID_letters[r % kLetters]);
    s.prepend('_');
    prependCounter(*this, s);
    prependCoarse(*this, s);
    return s.text();
}

void IDShort::fromIDDecomp(const IDDecomp& d)
{
    Counter = d.Counter;
    const uint32_t coarse = d.Stamp / 10000;
    CoarseLow = uint16_t(coarse & 0xFFFF);
    CoarseHigh = uint8_t((coarse >> 16) & 0xFF);
}

void IDShort::fromID(unsigned long long id)
{
    IDDecomp d;
    d.fromID(id);
    fromIDDecomp(d);
}

void IDShort::fromInt32(unsigned int v)
{
    Counter = uint8_t(v & 0xFF);
    CoarseLow = uint16_t((v >> 8) & 0xFFFF);
    CoarseHigh = uint8_t((v >> 24) & 0xFF);
}

unsigned int IDShort::int32() const
{
    return (unsigned(CoarseHigh) << 24) | (unsigned(CoarseLow) << 8) | Counter;
}

QString IDShort::str() const
{
    IDDecomp d;
    d.Counter = Counter;
    d.Stamp = coarse() * 10000u; // wraps for a Coarse above 429496, as the short form can't hold more
    return d.str();
}

unsigned int ID2ShortID(unsigned long long id)
{
    const uint32_t stamp = uint32_t(id >> 24);
    const uint32_t coarse = stamp / 10000;
    return ((coarse & 0xFFFFFFu) << 8) | unsigned(id & 0xFF);
}

QString numberToStr(unsigned long long value, const int& maxDigits)
{
    QString s;
    if (maxDigits < 1) return s;
    do {
        s.prepend(QLatin1Char(ID_letters[value % kLetters]));
        value /= kLetters;
    } while (value != 0 && s.size() < maxDigits);
    return s;
}

QString ID2str(unsigned long long id)
{
    IDDecomp d;
    d.fromID(id);
    return d.str();
}

QString ID2strFull(unsigned long long id)
{
    IDDecomp d;
    d.fromID(id);
    return d.strFull();
}

} // namespace fmJ
