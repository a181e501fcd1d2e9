#pragma once
// Fixed-capacity strings: the in-memory and on-disk form of every text field of a record.
// Plain values: no pointers, no virtual table; a raw copy of the bytes is a valid copy.
// Length rules, the terminator is a convenience. Text is cut silently at the capacity N.

#include <QString>
#include <cstddef>
#include <cstdint>
#include <cstring>

// 16-bit units (UTF-16 as QString holds it). Layout, little-endian:
//   0       2(N+1)  Data: N units and at least one terminating 0
//   2N+2    2       Length: units in use, 0..N
//   2N+4    2       Reserved: 0 when built, carried along by copies, read by nothing
// Total 2N+6 bytes.
template <int N>
struct fmString
{
    static constexpr int Capacity = N;
    uint16_t Data[N + 1];
    uint16_t Length;
    uint16_t Reserved;

    fmString() { std::memset(this, 0, sizeof(*this)); }
    fmString(const char* s) { std::memset(this, 0, sizeof(*this)); set(s); }
    fmString(const QString& s) { std::memset(this, 0, sizeof(*this)); set(s); }
    fmString& operator=(const char* s) { set(s); return *this; }
    fmString& operator=(const QString& s) { set(s); return *this; }

    // Length clamped to the capacity: a value read from an untrusted file may carry any Length.
    int len() const { return Length > N ? N : Length; }
    bool isEmpty() const { return len() == 0; }

    void clear()
    {
        Length = 0;
        Data[0] = 0;
    }
    void set(const char* s)
    {
        clear();
        if (!s) return;
        size_t n = std::strlen(s) & 0xFFFF;
        if (n > size_t(N)) n = N;
        for (size_t i = 0; i < n; ++i) Data[i] = static_cast<unsigned char>(s[i]);
        Data[n] = 0;
        Length = static_cast<uint16_t>(n);
    }
    // The mask is kept: a text of 65,546 characters gets Length 10.
    void set(const QString& s)
    {
        int n = int(s.size() & 0xFFFF);
        if (n > N) n = N;
        if (n > 0) std::memcpy(Data, s.utf16(), size_t(n) * 2);
        Data[n] = 0;
        Length = static_cast<uint16_t>(n);
    }
    QString toQString() const { return QString::fromUtf16(reinterpret_cast<const char16_t*>(Data), len()); }
    operator QString() const { return toQString(); }
};

// 8-bit Latin-1 units, N even. Layout: Data N+1 bytes, one pad byte at N+1, Length at N+2.
// Total N+4 bytes.
template <int N>
struct fmString8_evenSize
{
    static_assert(N % 2 == 0, "fmString8_evenSize needs an even capacity");
    static constexpr int Capacity = N;
    char Data[N + 1];
    uint8_t Pad;
    uint16_t Length;

    fmString8_evenSize() { std::memset(this, 0, sizeof(*this)); }
    fmString8_evenSize(const char* s) { std::memset(this, 0, sizeof(*this)); set(s); }
    fmString8_evenSize(const QString& s) { std::memset(this, 0, sizeof(*this)); set(s); }
    fmString8_evenSize& operator=(const char* s) { set(s); return *this; }
    fmString8_evenSize& operator=(const QString& s) { set(s); return *this; }

    int len() const { return Length > N ? N : Length; }
    bool isEmpty() const { return len() == 0; }
    void clear()
    {
        Length = 0;
        Data[0] = 0;
    }
    void set(const char* s)
    {
        clear();
        if (!s) return;
        size_t n = std::strlen(s) & 0xFFFF;
        if (n > size_t(N)) n = N;
        std::memcpy(Data, s, n);
        Data[n] = 0;
        Length = static_cast<uint16_t>(n);
    }
    void set(const QString& s)
    {
        int n = int(s.size() & 0xFFFF);
        if (n > N) n = N;
        const QByteArray b = s.left(n).toLatin1();
        std::memcpy(Data, b.constData(), size_t(n));
        Data[n] = 0;
        Length = static_cast<uint16_t>(n);
    }
    QString toQString() const { return QString::fromLatin1(Data, len()); }
    operator QString() const { return toQString(); }
};

// 8-bit Latin-1 units, N odd. Layout: Data N+1 bytes (even, so no pad), Length at N+1.
// Total N+3 bytes.
template <int N>
struct fmString8_UnevenSize
{
    static_assert(N % 2 == 1, "fmString8_UnevenSize needs an odd capacity");
    static constexpr int Capacity = N;
    char Data[N + 1];
    uint16_t Length;

    fmString8_UnevenSize() { std::memset(this, 0, sizeof(*this)); }
    fmString8_UnevenSize(const char* s) { std::memset(this, 0, sizeof(*this)); set(s); }
    fmString8_UnevenSize(const QString& s) { std::memset(this, 0, sizeof(*this)); set(s); }
    fmString8_UnevenSize& operator=(const char* s) { set(s); return *this; }
    fmString8_UnevenSize& operator=(const QString& s) { set(s); return *this; }

    int len() const { return Length > N ? N : Length; }
    bool isEmpty() const { return len() == 0; }
    void clear()
    {
        Length = 0;
        Data[0] = 0;
    }
    void set(const char* s)
    {
        clear();
        if (!s) return;
        size_t n = std::strlen(s) & 0xFFFF;
        if (n > size_t(N)) n = N;
        std::memcpy(Data, s, n);
        Data[n] = 0;
        Length = static_cast<uint16_t>(n);
    }
    void set(const QString& s)
    {
        int n = int(s.size() & 0xFFFF);
        if (n > N) n = N;
        const QByteArray b = s.left(n).toLatin1();
        std::memcpy(Data, b.constData(), size_t(n));
        Data[n] = 0;
        Length = static_cast<uint16_t>(n);
    }
    QString toQString() const { return QString::fromLatin1(Data, len()); }
    operator QString() const { return toQString(); }
};

static_assert(sizeof(fmString<25>) == 56 && offsetof(fmString<25>, Length) == 52);
static_assert(sizeof(fmString<250>) == 506 && offsetof(fmString<250>, Length) == 502);
static_assert(sizeof(fmString<2500>) == 5006);
static_assert(sizeof(fmString8_evenSize<100>) == 104 && offsetof(fmString8_evenSize<100>, Length) == 102);
static_assert(sizeof(fmString8_evenSize<1000>) == 1004);
static_assert(sizeof(fmString8_UnevenSize<75>) == 78 && offsetof(fmString8_UnevenSize<75>, Length) == 76);
static_assert(sizeof(fmString8_UnevenSize<25>) == 28);
