#pragma once
// Fixed-capacity strings: the in-memory and on-disk form of every text field of a record.
// Plain values: no pointers, no virtual table; a raw copy of the bytes is a valid copy.
// Length rules, the terminator is a convenience. Text is cut silently at the capacity N.
//
// A value read from a file may carry any Length and no terminator: every operation goes
// through len(), which clamps Length to N, and never reads Data beyond that.
//
// Comparisons are case-insensitive: each unit goes through the C library's toupper (units of
// 256 and above are left as they are; toupper is only defined on byte values), and the results
// are compared in memcmp order. For 16-bit units that is the order of their little-endian bytes:
// low byte first, then high byte. Kept so: sort orders of stored lists depend on it.

#include <QString>
#include <QStringList>
#include <algorithm>
#include <cctype>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <type_traits>
#include <utility>

namespace fmStringDetail {
inline uint16_t upper(uint16_t u)
{
    return u < 256 ? static_cast<uint16_t>(::toupper(u) & 0xFFFF) : u;
}
inline char upper(char c)
{
    return static_cast<char>(::toupper(static_cast<unsigned char>(c)));
}
inline uint16_t widen(char c)
{
    return static_cast<unsigned char>(c);
}

// Order of two units as memcmp sees their little-endian bytes.
inline int unitOrder(uint16_t a, uint16_t b)
{
    const int lo = int(a & 0xFF) - int(b & 0xFF);
    return lo != 0 ? lo : int(a >> 8) - int(b >> 8);
}
inline int unitOrder(char a, char b)
{
    return int(static_cast<unsigned char>(a)) - int(static_cast<unsigned char>(b));
}

// Length of a C text, masked to 16 bits as every fixed string stores it.
inline int cLen(const char* s)
{
    return s ? int(std::strlen(s) & 0xFFFF) : 0;
}
} // namespace fmStringDetail

// Operations shared by the three families. D is the string type, U its unit (uint16_t or char).
// An empty base: it adds no bytes, and D stays standard-layout and trivially copyable.
template <class D, class U, int N> struct fmStringOps
{
    static constexpr int Capacity = N;

    // Length clamped to the capacity: a value read from an untrusted file may carry any Length.
    int len() const { return self().Length > N ? N : int(self().Length); }
    bool isEmpty() const { return len() == 0; }
    void clear()
    {
        self().Length = 0;
        self().Data[0] = 0;
    }

    // Length = min(strlen & 0xFFFF, N); bytes copied (widened as unsigned in the 16-bit family);
    // one 0 written behind. A null pointer leaves the string empty.
    void set(const char* s)
    {
        if (!s) {
            clear();
            return;
        }
        // Length first and memmove: s may point into this value's own Data.
        const int n = std::min(fmStringDetail::cLen(s), N);
        D& d = self();
        if constexpr (sizeof(U) == 1)
            std::memmove(d.Data, s, size_t(n));
        else
            for (int i = 0; i < n; ++i)
                d.Data[i] = fmStringDetail::widen(s[i]);
        d.Data[n] = 0;
        d.Length = static_cast<uint16_t>(n);
    }
    // Length = min(size & 0xFFFF, N); the mask is kept: a text of 65,546 characters gets Length 10.
    // The 8-bit families take the bytes of toLatin1(): characters beyond Latin-1 become "?".
    void set(const QString& s)
    {
        const int n = std::min(int(s.size() & 0xFFFF), N);
        D& d = self();
        if constexpr (sizeof(U) == 1) {
            const QByteArray b = s.left(n).toLatin1();
            if (n > 0) std::memcpy(d.Data, b.constData(), size_t(n));
        } else {
            if (n > 0) std::memcpy(d.Data, s.utf16(), size_t(n) * 2);
        }
        d.Data[n] = 0;
        d.Length = static_cast<uint16_t>(n);
    }
    // Units (16-bit) or bytes (8-bit) taken as they are, cut at N.
    void setUnits(const U* p, int n)
    {
        clear();
        if (!p || n <= 0) return;
        n = std::min(n, N);
        std::memmove(self().Data, p, size_t(n) * sizeof(U));
        self().Data[n] = 0;
        self().Length = static_cast<uint16_t>(n);
    }

    QString toQString() const
    {
        if constexpr (sizeof(U) == 1)
            return QString::fromLatin1(self().Data, len());
        else
            return QString::fromUtf16(reinterpret_cast<const char16_t*>(self().Data), len());
    }
    operator QString() const { return toQString(); }

    // With m the smaller Length: memcmp order of the upper-cased first m units; if equal, 0 for
    // equal Lengths, -1 when this is shorter, 1 when longer.
    int compare(const D& other) const
    {
        const int a = len(), b = other.len();
        const int m = std::min(a, b);
        const U* x = self().Data;
        const U* y = other.Data;
        for (int i = 0; i < m; ++i) {
            const U ux = fmStringDetail::upper(x[i]);
            const U uy = fmStringDetail::upper(y[i]);
            if (ux != uy) return fmStringDetail::unitOrder(ux, uy);
        }
        return a == b ? 0 : (a < b ? -1 : 1);
    }

    // Case-insensitive search of needle from unit `from`; -1 when not found. A window is only
    // compared where the sums of its upper-cased units and of the needle's agree; the window sum
    // rolls along, so the search stays linear in practice. An empty needle yields `from`.
    int indexOf(const D& needle, int from = 0) const
    {
        const int hl = len(), nl = needle.len();
        if (from < 0) from = 0;
        if (nl + from > hl) return -1;
        if (nl == hl) return compare(needle) == 0 ? 0 : -1;
        U h[N + 1];
        U n[N + 1];
        long long hs = 0, ns = 0;
        for (int i = 0; i < nl; ++i) {
            n[i] = fmStringDetail::upper(needle.Data[i]);
            ns += static_cast<std::make_unsigned_t<U>>(n[i]);
        }
        for (int i = from; i < hl; ++i)
            h[i] = fmStringDetail::upper(self().Data[i]);
        for (int i = from; i < from + nl; ++i)
            hs += static_cast<std::make_unsigned_t<U>>(h[i]);
        for (int p = from;; ++p) {
            if (hs == ns && std::memcmp(h + p, n, size_t(nl) * sizeof(U)) == 0) return p;
            if (p + nl >= hl) return -1;
            hs += static_cast<std::make_unsigned_t<U>>(h[p + nl]);
            hs -= static_cast<std::make_unsigned_t<U>>(h[p]);
        }
    }

    // False when this is empty or s is null; s is cut to N; false when s is empty or longer
    // than this; else the case-insensitive prefix test.
    bool startsWith(const char* s) const { return affix(s, false); }
    bool endsWith(const char* s) const { return affix(s, true); }
    // The toolkit's endsWith, case-insensitive (so an empty s gives true).
    bool endsWith(const QString& s) const { return toQString().endsWith(s, Qt::CaseInsensitive); }

    // Rebuilds the value: left part, other, rest; each appended up to N, silently cut.
    void insert(const int& pos, const D& other)
    {
        const D a = self();
        const D b = other;
        const int l = a.len();
        const int p = std::clamp(pos, 0, l);
        clear();
        append(a.Data, p);
        append(b.Data, b.len());
        append(a.Data + p, l - p);
    }
    // Rebuilds the value from the left part and the rest behind pos + count.
    void remove(const int& pos, const int& count)
    {
        const int l = len();
        if (pos < 0 || pos >= l || count <= 0) return;
        const int p = pos;
        const int e = count > l - p ? l : p + count;
        D& d = self();
        std::memmove(d.Data + p, d.Data + e, size_t(l - e) * sizeof(U));
        d.Length = static_cast<uint16_t>(l - (e - p));
        d.Data[d.Length] = 0;
    }
    // 8-bit families: removes every occurrence of c, case-insensitively, from the end towards the
    // start; changes this value and also returns it.
    D remove(const char& c) requires(sizeof(U) == 1)
    {
        const char uc = fmStringDetail::upper(c);
        for (int i = len() - 1; i >= 0; --i)
            if (fmStringDetail::upper(self().Data[i]) == uc) remove(i, 1);
        return self();
    }

    // Replaces every case-insensitive occurrence of what by with. After a replacement at p the
    // search goes on at p + Length(with); every step cuts silently at N. An empty `what` changes
    // nothing (it would be found again at the same place for ever).
    D& replace(const D& what, const D& with)
    {
        if (what.len() == 0) return self();
        const D w = what;
        const D r = with;
        int p = indexOf(w, 0);
        while (p >= 0) {
            const D a = self();
            const int l = a.len();
            clear();
            append(a.Data, p);
            append(r.Data, r.len());
            const int rest = std::min(l, p + w.len());
            append(a.Data + rest, l - rest);
            p = indexOf(w, p + r.len());
        }
        return self();
    }

    // The value as QString with s appended as Latin-1: the result is a QString.
    QString operator+(const char* s) const { return toQString() + QString::fromLatin1(s ? s : ""); }
    QString operator+(const D& other) const { return toQString() + other.toQString(); }

    // Appends up to N units; the terminator follows. Used by the rebuilding operations.
    void append(const U* p, int n)
    {
        D& d = self();
        const int l = len();
        n = std::min(n, N - l);
        if (n > 0 && p) std::memmove(d.Data + l, p, size_t(n) * sizeof(U));
        if (n < 0) n = 0;
        d.Length = static_cast<uint16_t>(l + n);
        d.Data[d.Length] = 0;
    }

private:
    D& self() { return static_cast<D&>(*this); }
    const D& self() const { return static_cast<const D&>(*this); }

    bool affix(const char* s, bool atEnd) const
    {
        const int l = len();
        if (l == 0 || !s) return false;
        const int n = std::min(fmStringDetail::cLen(s), N);
        if (n == 0 || n > l) return false;
        const U* d = self().Data + (atEnd ? l - n : 0);
        for (int i = 0; i < n; ++i) {
            const U su = sizeof(U) == 1 ? U(s[i]) : U(fmStringDetail::widen(s[i]));
            if (fmStringDetail::upper(d[i]) != fmStringDetail::upper(su)) return false;
        }
        return true;
    }
};

// Any of the two 8-bit families, whatever its capacity.
template <class O>
concept fmString8Type = requires(const O& o)
{
    o.Data[0];
    o.Length;
    o.len();
}
&&(sizeof(std::declval<const O&>().Data[0]) == 1);

// 16-bit units (UTF-16 as QString holds it). Layout, little-endian:
//   0       2(N+1)  Data: N units and at least one terminating 0
//   2N+2    2       Length: units in use, 0..N
//   2N+4    2       Reserved: 0 when built, carried along by copies, read by nothing
// Total 2N+6 bytes.
template <int N> struct fmString : fmStringOps<fmString<N>, uint16_t, N>
{
    static_assert(N > 0 && N < 65536);
    uint16_t Data[N + 1] = {};
    uint16_t Length = 0;
    uint16_t Reserved = 0;

    fmString() = default;
    fmString(const char* s) { this->set(s); }
    fmString(const QString& s) { this->set(s); }
    fmString& operator=(const char* s)
    {
        this->set(s);
        return *this;
    }
    fmString& operator=(const QString& s)
    {
        this->set(s);
        return *this;
    }
    // From another capacity: units copied, cut at N.
    template <int M> fmString(const fmString<M>& o) { this->setUnits(o.Data, o.len()); }
    template <int M> fmString& operator=(const fmString<M>& o)
    {
        this->setUnits(o.Data, o.len());
        return *this;
    }
    using fmStringOps<fmString<N>, uint16_t, N>::remove;
};

// 8-bit Latin-1 units, N even. Layout: Data N+1 bytes, one pad byte at N+1 (0 when built),
// Length at N+2. Total N+4 bytes.
template <int N> struct fmString8_evenSize : fmStringOps<fmString8_evenSize<N>, char, N>
{
    static_assert(N > 0 && N < 65536 && N % 2 == 0, "fmString8_evenSize needs an even capacity");
    char Data[N + 1] = {};
    uint8_t Pad = 0;
    uint16_t Length = 0;

    fmString8_evenSize() = default;
    fmString8_evenSize(const char* s) { this->set(s); }
    fmString8_evenSize(const QString& s) { this->set(s); }
    fmString8_evenSize& operator=(const char* s)
    {
        this->set(s);
        return *this;
    }
    fmString8_evenSize& operator=(const QString& s)
    {
        this->set(s);
        return *this;
    }
    // From any 8-bit string of another capacity: bytes copied, cut at N.
    template <fmString8Type O>
    requires(!std::is_same_v<O, fmString8_evenSize>) fmString8_evenSize(const O& o)
    {
        this->setUnits(o.Data, o.len());
    }
    template <fmString8Type O>
    requires(!std::is_same_v<O, fmString8_evenSize>) fmString8_evenSize& operator=(const O& o)
    {
        this->setUnits(o.Data, o.len());
        return *this;
    }
    using fmStringOps<fmString8_evenSize<N>, char, N>::remove;
};

// 8-bit Latin-1 units, N odd. Layout: Data N+1 bytes (even, so no pad), Length at N+1.
// Total N+3 bytes.
template <int N> struct fmString8_UnevenSize : fmStringOps<fmString8_UnevenSize<N>, char, N>
{
    static_assert(N > 0 && N < 65536 && N % 2 == 1, "fmString8_UnevenSize needs an odd capacity");
    char Data[N + 1] = {};
    uint16_t Length = 0;

    fmString8_UnevenSize() = default;
    fmString8_UnevenSize(const char* s) { this->set(s); }
    fmString8_UnevenSize(const QString& s) { this->set(s); }
    fmString8_UnevenSize& operator=(const char* s)
    {
        this->set(s);
        return *this;
    }
    fmString8_UnevenSize& operator=(const QString& s)
    {
        this->set(s);
        return *this;
    }
    // From any 8-bit string of another capacity: bytes copied, cut at N.
    template <fmString8Type O>
    requires(!std::is_same_v<O, fmString8_UnevenSize>) fmString8_UnevenSize(const O& o)
    {
        this->setUnits(o.Data, o.len());
    }
    template <fmString8Type O>
    requires(!std::is_same_v<O, fmString8_UnevenSize>) fmString8_UnevenSize& operator=(const O& o)
    {
        this->setUnits(o.Data, o.len());
        return *this;
    }
    using fmStringOps<fmString8_UnevenSize<N>, char, N>::remove;
};

// Pins size and Length offset of one instantiation, and that it stays a plain value.
#define FM_STRING_LAYOUT(T, SIZE, LENGTH_AT)                                                                 \
    static_assert(sizeof(T) == (SIZE) && offsetof(T, Length) == (LENGTH_AT) &&                               \
                  std::is_trivially_copyable_v<T> && std::is_standard_layout_v<T>)

FM_STRING_LAYOUT(fmString<10>, 26, 22);
FM_STRING_LAYOUT(fmString<25>, 56, 52);
FM_STRING_LAYOUT(fmString<30>, 66, 62);
FM_STRING_LAYOUT(fmString<50>, 106, 102);
FM_STRING_LAYOUT(fmString<75>, 156, 152);
FM_STRING_LAYOUT(fmString<100>, 206, 202);
FM_STRING_LAYOUT(fmString<200>, 406, 402);
FM_STRING_LAYOUT(fmString<250>, 506, 502);
FM_STRING_LAYOUT(fmString<500>, 1006, 1002);
FM_STRING_LAYOUT(fmString<2500>, 5006, 5002);
FM_STRING_LAYOUT(fmString8_evenSize<30>, 34, 32);
FM_STRING_LAYOUT(fmString8_evenSize<50>, 54, 52);
FM_STRING_LAYOUT(fmString8_evenSize<100>, 104, 102);
FM_STRING_LAYOUT(fmString8_evenSize<200>, 204, 202);
FM_STRING_LAYOUT(fmString8_evenSize<250>, 254, 252);
FM_STRING_LAYOUT(fmString8_evenSize<500>, 504, 502);
FM_STRING_LAYOUT(fmString8_evenSize<1000>, 1004, 1002);
FM_STRING_LAYOUT(fmString8_UnevenSize<25>, 28, 26);
FM_STRING_LAYOUT(fmString8_UnevenSize<75>, 78, 76);
static_assert(offsetof(fmString<250>, Reserved) == 504);
static_assert(offsetof(fmString8_evenSize<100>, Pad) == 101);

// A list of texts on the heap: a 32-bit count and an array of fmString<500>, grown by exactly one
// element per append (realloc; the first block by calloc). The list owns the array.
// Not a record: it is never written to disk.
class fmStringList
{
public:
    fmStringList() = default;
    fmStringList(const fmStringList& other) { copyFrom(other); }
    fmStringList& operator=(const fmStringList& other)
    {
        if (this != &other) copyFrom(other);
        return *this;
    }
    ~fmStringList();

    int count() const { return Count; }
    int size() const { return Count; }
    void clear();

    // With unique true and s already in the list (by find), nothing is added; otherwise one more
    // element. When memory runs out the list is emptied (count 0).
    void append(const fmString<500>& s, const bool& unique = false, const bool& caseSensitive = true);
    // Index of the first element with the same Length and equal text, else -1.
    int find(const fmString<500>& s, const bool& caseSensitive = true) const;
    // Element i; out of range gives the first element (an empty text when the list is empty).
    const fmString<500>& at(const int& i) const;
    // Element i as 8-bit text: units cut to their low byte, at most 499. The text lives in a
    // buffer inside the list and is overwritten by the next call; out of range gives "".
    const char* atAsChar(const int& i);
    // Bubble sort by compare: false ascending, true descending.
    void sort(const bool& descending = false);
    // Deep copy.
    void copyFrom(const fmStringList& other);

private:
    int32_t Count = 0;
    fmString<500>* List = nullptr; // owned, Count elements
    char CharBuffer[500] = {};
};

// A short list of names as the configuration stores it: twenty fmString<50> in a row and a
// 32-bit count behind them, 2124 bytes, a plain value.
template <int N> struct _cfgStrList
{
    fmString<50> List[N];
    int32_t Count = 0;

    int count() const { return std::clamp(int(Count), 0, N); }

    // Split at ";" if s holds one, else at ","; empty parts dropped; at most N parts, each
    // lower-cased, trimmed and cut to 50. The whole value is zeroed first.
    void fromString(const QString& s)
    {
        *this = _cfgStrList();
        const QStringList parts =
            s.split(s.contains(QLatin1Char(';')) ? QLatin1Char(';') : QLatin1Char(','), Qt::SkipEmptyParts);
        int n = 0;
        for (const QString& p : parts) {
            if (n >= N) break;
            List[n++].set(p.toLower().trimmed());
        }
        Count = n;
    }
    // All non-empty elements joined by "; ", lower-cased.
    QString asString() const
    {
        QString r;
        for (int i = 0; i < N; ++i) {
            if (List[i].isEmpty()) continue;
            if (!r.isEmpty()) r += QLatin1String("; ");
            r += List[i].toQString();
        }
        return r.toLower();
    }
    // True when each non-empty element of either list has a case-insensitively equal element in
    // the other one. Order does not count.
    bool isEqual(const _cfgStrList& other) const { return coveredBy(other) && other.coveredBy(*this); }

private:
    bool coveredBy(const _cfgStrList& other) const
    {
        for (int i = 0; i < N; ++i) {
            if (List[i].isEmpty()) continue;
            bool found = false;
            for (int j = 0; j < N && !found; ++j)
                found = List[i].compare(other.List[j]) == 0;
            if (!found) return false;
        }
        return true;
    }
};
static_assert(sizeof(_cfgStrList<20>) == 2124 && offsetof(_cfgStrList<20>, Count) == 2120);
static_assert(std::is_trivially_copyable_v<_cfgStrList<20>> && std::is_standard_layout_v<_cfgStrList<20>>);

// Count of units before the first 0, at most 1024; 0 for a null pointer.
int fmCharLen(const unsigned short* s);
// sprintf("%d").
fmString<25> int2Str(const int& v);
// Integer part, separator, then the fraction rounded to `decimals` digits with zeros in front.
// No carry from the fraction into the integer part; a negative value gives the fraction its own
// minus sign. Kept so: stored texts were made this way.
fmString<25> float2Str(float v, const int& decimals, const unsigned short& separator);
// True for "-" and "0" to "9".
bool fmIsDigit(const unsigned short& c);
// Two lower-case hexadecimal digits per byte, no separators; empty for n < 1.
QString byte2Hex(const unsigned char* p, const int& n);
// "1" or "0".
QString bool2String(const bool& b);
// Short form of a name for a narrow column: an optional "co"/"pp"/"so" prefix, then every
// character of the rest that stands in fmrShortNameLetters.
QString fmCalcShortName(const QString& name);
// Blanks removed from b; equal upper-cased, or (when not both have 10 or more characters)
// equal short names.
bool fmStringCompareShort(const QString& a, QString b);

#include "foundation/fmtextcodec.h"
