#pragma once
// Byte patterns and raw field access by file offset, for tests of packed records.

#include <cstdint>
#include <cstring>
#include <type_traits>

namespace jobtest {

// A byte pattern in which neighbouring fields get different values (a small hash of the offset
// and a seed), so that a field copied from the wrong place shows.
inline uint8_t patternByte(size_t offset, uint32_t seed)
{
    uint32_t x = uint32_t(offset) * 2654435761u + seed * 40503u + 0x9E37u;
    x ^= x >> 15;
    x *= 2246822519u;
    x ^= x >> 13;
    return uint8_t(x);
}

inline void fillPattern(void* record, size_t size, uint32_t seed)
{
    auto* b = static_cast<uint8_t*>(record);
    for (size_t i = 0; i < size; ++i)
        b[i] = patternByte(i, seed);
}

template <class T> T readAt(const void* record, size_t offset)
{
    static_assert(std::is_trivially_copyable_v<T>);
    T v;
    std::memcpy(&v, static_cast<const uint8_t*>(record) + offset, sizeof(T));
    return v;
}

template <class T> void writeAt(void* record, size_t offset, T v)
{
    static_assert(std::is_trivially_copyable_v<T>);
    std::memcpy(static_cast<uint8_t*>(record) + offset, &v, sizeof(T));
}

// Writes a 16-bit text with its Length word into a fmString<N> that starts at `offset`.
inline void writeText16(void* record, size_t offset, int capacity, const char16_t* text)
{
    int n = 0;
    for (; text[n] && n < capacity; ++n)
        writeAt<uint16_t>(record, offset + 2 * size_t(n), uint16_t(text[n]));
    writeAt<uint16_t>(record, offset + 2 * size_t(n), 0);
    writeAt<uint16_t>(record, offset + 2 * size_t(capacity) + 2, uint16_t(n));
}

} // namespace jobtest
