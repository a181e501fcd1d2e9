#include "foundation/fmstring.h"

#include "foundation/fmglobal.h"

#include <cmath>
#include <cstdio>
#include <cstdlib>

int fmCharLen(const unsigned short* s)
{
    if (!s) return 0;
    int n = 0;
    while (n < 1024 && s[n] != 0)
        ++n;
    return n;
}

fmString<25> int2Str(const int& v)
{
    char b[32];
    std::snprintf(b, sizeof(b), "%d", v);
    return fmString<25>(b);
}

fmString<25> float2Str(float v, const int& decimals, const unsigned short& separator)
{
    // Values beyond the int range (and NaN) are clamped first: the conversions below would be
    // undefined for them.
    if (std::isnan(v)) v = 0.0f;
    v = std::clamp(v, -2147483520.0f, 2147483520.0f);
    float scale = 1.0f;
    for (int i = 0; i < decimals && i < 40; ++i)
        scale *= 10.0f;
    const int whole = int(v);
    float f = (v - float(whole)) * scale;
    f += f >= 0.0f ? 0.5f : -0.5f;
    if (!(f > -2147483520.0f)) f = -2147483520.0f;
    if (!(f < 2147483520.0f)) f = 2147483520.0f;

    fmString<25> r;
    char b[32];
    std::snprintf(b, sizeof(b), "%d", whole);
    r.set(b);
    const uint16_t sep = separator;
    r.append(&sep, 1);
    std::snprintf(b, sizeof(b), "%d", int(f));
    const int digits = int(std::strlen(b));
    const uint16_t zero = '0';
    for (int i = digits; i < decimals && r.len() < 25; ++i)
        r.append(&zero, 1);
    const fmString<25> frac(b);
    r.append(frac.Data, frac.len());
    return r;
}

bool fmIsDigit(const unsigned short& c)
{
    return c == '-' || (c >= '0' && c <= '9');
}

QString byte2Hex(const unsigned char* p, const int& n)
{
    if (!p || n < 1) return QString();
    static const char hex[] = "0123456789abcdef";
    QString r(qsizetype(n) * 2, Qt::Uninitialized);
    QChar* o = r.data();
    for (int i = 0; i < n; ++i) {
        o[2 * i] = QLatin1Char(hex[p[i] >> 4]);
        o[2 * i + 1] = QLatin1Char(hex[p[i] & 15]);
    }
    return r;
}

QString bool2String(const bool& b)
{
    return b ? QStringLiteral("1") : QStringLiteral("0");
}

QString fmCalcShortName(const QString& name)
{
    QString r;
    int from = 0;
    if (name.startsWith(QLatin1String("co"), Qt::CaseInsensitive) && name != QLatin1String("Color_ID") &&
        name != QLatin1String("CompanyProjectName")) {
        r = QStringLiteral("co");
        from = 2;
    } else if (name.startsWith(QLatin1String("pp"), Qt::CaseInsensitive)) {
        r = QStringLiteral("pp");
        from = 2;
    } else if (name.startsWith(QLatin1String("so"), Qt::CaseInsensitive)) {
        r = QStringLiteral("so");
        from = 2;
    }
    for (qsizetype i = from; i < name.size(); ++i)
        if (fmrShortNameLetters.contains(name.at(i), Qt::CaseSensitive)) r += name.at(i);
    return r;
}

bool fmStringCompareShort(const QString& a, QString b)
{
    b.remove(QLatin1Char(' '));
    if (a.toUpper() == b.toUpper()) return true;
    if (a.size() >= 10 && b.size() >= 10) return false;
    return fmCalcShortName(a) == fmCalcShortName(b);
}

fmStringList::~fmStringList()
{
    clear();
}

void fmStringList::clear()
{
    std::free(List);
    List = nullptr;
    Count = 0;
}

void fmStringList::append(const fmString<500>& s, const bool& unique, const bool& caseSensitive)
{
    if (unique && find(s, caseSensitive) >= 0) return;
    const fmString<500> copy = s; // s may live inside the block that realloc moves
    void* p = List ? std::realloc(List, sizeof(fmString<500>) * size_t(Count + 1))
                   : std::calloc(1, sizeof(fmString<500>));
    if (!p) {
        clear();
        return;
    }
    List = static_cast<fmString<500>*>(p);
    std::memcpy(static_cast<void*>(List + Count), &copy, sizeof(copy));
    ++Count;
}

int fmStringList::find(const fmString<500>& s, const bool& caseSensitive) const
{
    const int n = s.len();
    for (int i = 0; i < Count; ++i) {
        const fmString<500>& e = List[i];
        if (e.len() != n) continue;
        if (caseSensitive ? std::memcmp(e.Data, s.Data, size_t(n) * 2) == 0 : e.compare(s) == 0) return i;
    }
    return -1;
}

const fmString<500>& fmStringList::at(const int& i) const
{
    static const fmString<500> empty;
    if (!List || Count <= 0) return empty;
    if (i < 0 || i >= Count) return List[0];
    return List[i];
}

const char* fmStringList::atAsChar(const int& i)
{
    CharBuffer[0] = 0;
    if (!List || i < 0 || i >= Count) return CharBuffer;
    const fmString<500>& e = List[i];
    const int n = std::min(e.len(), int(sizeof(CharBuffer)) - 1);
    for (int k = 0; k < n; ++k)
        CharBuffer[k] = static_cast<char>(e.Data[k] & 0xFF);
    CharBuffer[n] = 0;
    return CharBuffer;
}

void fmStringList::sort(const bool& descending)
{
    if (Count < 2) return;
    // Bubble sort; it stops as soon as a pass swaps nothing, so sorted input costs one pass.
    for (int end = Count - 1; end > 0; --end) {
        bool swapped = false;
        for (int i = 0; i < end; ++i) {
            const int c = List[i].compare(List[i + 1]);
            if (descending ? c < 0 : c > 0) {
                std::swap(List[i], List[i + 1]);
                swapped = true;
            }
        }
        if (!swapped) break;
    }
}

void fmStringList::copyFrom(const fmStringList& other)
{
    if (this == &other) return;
    clear();
    if (other.Count <= 0 || !other.List) return;
    void* p = std::calloc(size_t(other.Count), sizeof(fmString<500>));
    if (!p) return;
    List = static_cast<fmString<500>*>(p);
    std::memcpy(static_cast<void*>(List), other.List, sizeof(fmString<500>) * size_t(other.Count));
    Count = other.Count;
}
