#include "jobs/fminflate.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstdint>
#include <cstring>

static_assert(std::endian::native == std::endian::little, "the bit reader loads input words little-endian");

namespace fmJ::frame {

namespace {

using u8 = unsigned char;

// A table entry, 32 bits: bits 0-7 the code bits it takes, 8-11 its kind, 12-15 the extra bits
// that follow it (for a Sub entry: the index bits of its subtable), 16-31 its value (a literal
// byte, a length or distance base, a subtable's first entry).
enum Kind : uint32_t { Literal = 0, Length = 1, End = 2, Invalid = 3, Sub = 4, Distance = 5 };

constexpr uint32_t entry(uint32_t bits, uint32_t kind, uint32_t extra, uint32_t value)
{
    return bits | kind << 8 | extra << 12 | value << 16;
}
inline uint32_t bitsOf(uint32_t e)
{
    return e & 0xff;
}
inline uint32_t kindOf(uint32_t e)
{
    return (e >> 8) & 0xf;
}
inline uint32_t extraOf(uint32_t e)
{
    return (e >> 12) & 0xf;
}
inline uint32_t valueOf(uint32_t e)
{
    return e >> 16;
}

// Root bits of the primary tables; longer codes go through a subtable. The capacities are above
// the most a complete code can need with these roots (1332 and 402 entries); the builder checks
// them all the same.
constexpr unsigned LitRoot = 10, DistRoot = 8, CodeLenRoot = 7;
constexpr unsigned LitCap = 2048, DistCap = 1024, CodeLenCap = 1u << CodeLenRoot;
constexpr unsigned MaxBits = 15;

// The entries of each symbol, without their code bits.
struct Symbols
{
    uint32_t Lit[288];
    uint32_t Dist[32];
    uint32_t CodeLen[19];
};

const Symbols& symbols()
{
    static const Symbols s = [] {
        static constexpr uint16_t lenBase[29] = {3,  4,  5,  6,   7,   8,   9,   10,  11, 13,
                                                 15, 17, 19, 23,  27,  31,  35,  43,  51, 59,
                                                 67, 83, 99, 115, 131, 163, 195, 227, 258};
        static constexpr uint8_t lenExtra[29] = {0, 0, 0, 0, 0, 0, 0, 0, 1, 1, 1, 1, 2, 2, 2,
                                                 2, 3, 3, 3, 3, 4, 4, 4, 4, 5, 5, 5, 5, 0};
        static constexpr uint16_t distBase[30] = {
            1,   2,   3,   4,   5,   7,    9,    13,   17,   25,   33,   49,   65,    97,    129,
            193, 257, 385, 513, 769, 1025, 1537, 2049, 3073, 4097, 6145, 8193, 12289, 16385, 24577};
        Symbols t{};
        for (uint32_t i = 0; i < 256; ++i)
            t.Lit[i] = entry(0, Literal, 0, i);
        t.Lit[256] = entry(0, End, 0, 0);
        for (uint32_t i = 0; i < 29; ++i)
            t.Lit[257 + i] = entry(0, Length, lenExtra[i], lenBase[i]);
        t.Lit[286] = t.Lit[287] = entry(0, Invalid, 0, 0); // codes of the fixed set no stream may use
        for (uint32_t i = 0; i < 30; ++i)
            t.Dist[i] = entry(0, Distance, i < 4 ? 0 : i / 2 - 1, distBase[i]);
        t.Dist[30] = t.Dist[31] = entry(0, Invalid, 0, 0);
        for (uint32_t i = 0; i < 19; ++i)
            t.CodeLen[i] = entry(0, Literal, 0, i);
        return t;
    }();
    return s;
}

enum class Set { CodeLengths, LitLen, Dist };

// The low `len` bits of `code` in reverse order.
inline unsigned reversed(unsigned code, unsigned len)
{
    static const auto byteTable = [] {
        std::array<uint8_t, 256> t{};
        for (unsigned i = 0; i < 256; ++i)
            for (unsigned b = 0; b < 8; ++b)
                t[i] |= uint8_t(((i >> b) & 1u) << (7 - b));
        return t;
    }();
    return (unsigned(byteTable[code & 0xff]) << 8 | byteTable[(code >> 8) & 0xff]) >> (16 - len);
}

// Builds the decoding table of a canonical code from its `n` code lengths, as zlib's table builder
// decides: an over-subscribed set fails; an incomplete one fails, except a literal/length or
// distance set of a single one-bit code (its other code then decodes as Invalid); a distance set
// of no code at all makes every distance Invalid. A code longer than `root` bits takes the primary
// entry of its first `root` bits, which points into a subtable sized as zlib sizes it.
bool buildTable(const u8* lens, unsigned n, unsigned root, Set set, const uint32_t* sym, uint32_t* table,
                unsigned cap)
{
    unsigned count[MaxBits + 1] = {};
    for (unsigned s = 0; s < n; ++s)
        ++count[lens[s]];
    count[0] = 0;
    unsigned max = MaxBits;
    while (max > 0 && count[max] == 0)
        --max;
    const unsigned size = 1u << root;
    if (max == 0) {
        // zlib fails a block of no code-length codes later, on its missing end-of-block code.
        if (set == Set::CodeLengths) return false;
        std::fill(table, table + size, entry(1, Invalid, 0, 0));
        return true;
    }
    int left = 1;
    for (unsigned len = 1; len <= MaxBits; ++len) {
        left = left * 2 - int(count[len]);
        if (left < 0) return false;
    }
    if (left > 0) {
        if (set == Set::CodeLengths || max != 1) return false;
        std::fill(table, table + size, entry(1, Invalid, 0, 0));
    }

    unsigned next[MaxBits + 1] = {}, offs[MaxBits + 2] = {};
    for (unsigned len = 1, code = 0; len <= MaxBits; ++len) {
        code = (code + count[len - 1]) << 1;
        next[len] = code;
        offs[len + 1] = offs[len] + count[len];
    }
    uint16_t sorted[288]; // by length, then by symbol: the order canonical codes are given in
    unsigned total = 0;
    for (unsigned s = 0; s < n; ++s)
        if (lens[s]) {
            sorted[offs[lens[s]]++] = uint16_t(s);
            ++total;
        }

    unsigned remaining[MaxBits + 1];
    std::copy(count, count + MaxBits + 1, remaining);
    unsigned used = size, subStart = 0, subBits = 0;
    int prefix = -1;
    for (unsigned i = 0; i < total; ++i) {
        const unsigned s = sorted[i], len = lens[s];
        // Codes are sent first bit first: the table index is the code bit-reversed.
        const unsigned code = next[len]++;
        const unsigned rev = reversed(code, len);
        if (len <= root) {
            for (unsigned idx = rev; idx < size; idx += 1u << len)
                table[idx] = sym[s] | len;
        } else {
            if (int(rev & (size - 1)) != prefix) {
                // A new subtable, big enough for the longest codes behind this prefix.
                prefix = int(rev & (size - 1));
                unsigned curr = len - root;
                int room = 1 << curr;
                while (curr + root < max) {
                    room -= int(remaining[curr + root]);
                    if (room <= 0) break;
                    ++curr;
                    room <<= 1;
                }
                if (used + (1u << curr) > cap) return false;
                subStart = used;
                subBits = curr;
                used += 1u << curr;
                table[prefix] = entry(root, Sub, subBits, subStart);
            }
            const unsigned subLen = len - root;
            for (unsigned idx = rev >> root; idx < (1u << subBits); idx += 1u << subLen)
                table[subStart + idx] = sym[s] | subLen;
        }
        --remaining[len];
    }
    return true;
}

// Input bits, lowest first. refill() tops the buffer up to at least 56 bits, which is more than one
// length and distance pair takes (15 + 5 + 15 + 13). Past the input's end it shifts in zero bytes
// and counts them: a stream that really uses them is cut short.
struct BitReader
{
    const u8* Start;
    const u8* In;
    const u8* End;
    uint64_t Buf = 0;
    unsigned Have = 0;    // valid bits in Buf; bits above them may hold the next byte's first bits
    unsigned Overrun = 0; // zero bytes shifted in past the end

    BitReader(const u8* in, size_t len) : Start(in), In(in), End(in + len) {}

    bool refill()
    {
        if (End - In >= 8) {
            uint64_t w;
            std::memcpy(&w, In, 8);
            Buf |= w << Have;
            In += (63 - Have) >> 3;
            Have |= 56;
            return true;
        }
        while (Have <= 56) {
            if (In < End)
                Buf |= uint64_t(*In++) << Have;
            else
                ++Overrun;
            Have += 8;
        }
        return Overrun <= 8; // more: some bit already taken was one past the end
    }
    uint32_t peek(unsigned k) const { return uint32_t(Buf & ((uint64_t(1) << k) - 1)); }
    void drop(unsigned k)
    {
        Buf >>= k;
        Have -= k;
    }
    uint32_t take(unsigned k)
    {
        const uint32_t v = peek(k);
        drop(k);
        return v;
    }
    // Input bytes taken so far, a partly taken byte counted whole.
    size_t used() const
    {
        const size_t loaded = size_t(In - Start) + Overrun;
        return (loaded * 8 - Have + 7) / 8;
    }
    void restartAt(size_t pos)
    {
        In = Start + pos;
        Buf = 0;
        Have = 0;
        Overrun = 0;
    }
};

// A match of `len` bytes from `dist` bytes back. Zero runs are the common case (distance 1).
inline void copyMatch(u8* o, size_t dist, unsigned len, const u8* oEnd)
{
    const u8* s = o - dist;
    if (dist == 1) {
        std::memset(o, s[0], len);
    } else if (dist >= 8 && size_t(oEnd - o) >= size_t(len) + 8) {
        // 8 bytes a step, up to 7 bytes beyond the match; each step reads only bytes made before it.
        const u8* e = o + len;
        do {
            uint64_t w;
            std::memcpy(&w, s, 8);
            std::memcpy(o, &w, 8);
            s += 8;
            o += 8;
        } while (o < e);
    } else {
        for (unsigned i = 0; i < len; ++i)
            o[i] = s[i];
    }
}

struct Tables
{
    uint32_t Lit[LitCap];
    uint32_t Dist[DistCap];
};

const Tables& fixedTables()
{
    static const Tables t = [] {
        Tables f{};
        u8 lens[288];
        std::fill(lens, lens + 144, u8(8));
        std::fill(lens + 144, lens + 256, u8(9));
        std::fill(lens + 256, lens + 280, u8(7));
        std::fill(lens + 280, lens + 288, u8(8));
        buildTable(lens, 288, LitRoot, Set::LitLen, symbols().Lit, f.Lit, LitCap);
        std::fill(lens, lens + 32, u8(5));
        buildTable(lens, 32, DistRoot, Set::Dist, symbols().Dist, f.Dist, DistCap);
        return f;
    }();
    return t;
}

// The code lengths of a dynamic block, then its two tables.
bool readDynamic(BitReader& b, Tables& t)
{
    static constexpr u8 order[19] = {16, 17, 18, 0, 8, 7, 9, 6, 10, 5, 11, 4, 12, 3, 13, 2, 14, 1, 15};
    if (!b.refill()) return false;
    const unsigned nLit = b.take(5) + 257, nDist = b.take(5) + 1, nCodeLen = b.take(4) + 4;
    if (nLit > 286 || nDist > 30) return false;
    u8 codeLens[19] = {};
    for (unsigned i = 0; i < nCodeLen; ++i) {
        if (b.Have < 3 && !b.refill()) return false;
        codeLens[order[i]] = u8(b.take(3));
    }
    uint32_t codeTable[CodeLenCap];
    if (!buildTable(codeLens, 19, CodeLenRoot, Set::CodeLengths, symbols().CodeLen, codeTable, CodeLenCap))
        return false;
    u8 lens[286 + 30];
    const unsigned total = nLit + nDist;
    for (unsigned have = 0; have < total;) {
        if (!b.refill()) return false;
        const uint32_t e = codeTable[b.peek(CodeLenRoot)]; // a complete set: every entry is a symbol
        b.drop(bitsOf(e));
        const unsigned sym = valueOf(e);
        if (sym < 16) {
            lens[have++] = u8(sym);
            continue;
        }
        unsigned repeat = 0;
        u8 value = 0;
        if (sym == 16) {
            if (have == 0) return false;
            value = lens[have - 1];
            repeat = 3 + b.take(2);
        } else if (sym == 17) {
            repeat = 3 + b.take(3);
        } else {
            repeat = 11 + b.take(7);
        }
        if (repeat > total - have) return false;
        std::memset(lens + have, value, repeat);
        have += repeat;
    }
    if (lens[256] == 0) return false; // no end-of-block code
    return buildTable(lens, nLit, LitRoot, Set::LitLen, symbols().Lit, t.Lit, LitCap) &&
           buildTable(lens + nLit, nDist, DistRoot, Set::Dist, symbols().Dist, t.Dist, DistCap);
}

// The symbols of one Huffman-coded block, up to its end-of-block code. The reader and the output
// position live in locals here: stores through the byte pointer could alias the caller's copies
// and would keep them out of registers.
bool decodeBlock(BitReader& reader, const Tables& t, const u8* out, u8*& outPos, const u8* oEnd)
{
    BitReader b = reader;
    u8* o = outPos;
    bool ended = false;
    for (;;) {
        if (!b.refill()) break;
        uint32_t e = t.Lit[b.peek(LitRoot)];
        if (kindOf(e) == Literal) {
            // Up to three literals a refill (3 x 15 bits of the 56): text runs between the zeros.
            b.drop(bitsOf(e));
            if (o == oEnd) break;
            *o++ = u8(valueOf(e));
            e = t.Lit[b.peek(LitRoot)];
            if (kindOf(e) != Literal) continue;
            b.drop(bitsOf(e));
            if (o == oEnd) break;
            *o++ = u8(valueOf(e));
            e = t.Lit[b.peek(LitRoot)];
            if (kindOf(e) != Literal) continue;
            b.drop(bitsOf(e));
            if (o == oEnd) break;
            *o++ = u8(valueOf(e));
            continue;
        }
        if (kindOf(e) == Sub) {
            b.drop(LitRoot);
            e = t.Lit[valueOf(e) + b.peek(extraOf(e))];
        }
        b.drop(bitsOf(e));
        const uint32_t kind = kindOf(e);
        if (kind == Literal) {
            if (o == oEnd) break;
            *o++ = u8(valueOf(e));
            continue;
        }
        if (kind != Length) {
            ended = kind == End;
            break;
        }
        const unsigned len = valueOf(e) + b.take(extraOf(e));
        uint32_t d = t.Dist[b.peek(DistRoot)];
        if (kindOf(d) == Sub) {
            b.drop(DistRoot);
            d = t.Dist[valueOf(d) + b.peek(extraOf(d))];
        }
        b.drop(bitsOf(d));
        if (kindOf(d) != Distance) break;
        const size_t dist = valueOf(d) + b.take(extraOf(d));
        if (dist > size_t(o - out) || len > size_t(oEnd - o)) break;
        copyMatch(o, dist, len, oEnd);
        o += len;
    }
    reader = b;
    outPos = o;
    return ended;
}

// A stored block: its length and the length's complement at the next byte boundary, then the bytes.
bool copyStored(BitReader& b, size_t inLen, u8*& o, const u8* oEnd)
{
    b.drop(b.Have & 7);
    size_t pos = b.used();
    if (pos > inLen || inLen - pos < 4) return false;
    const u8* p = b.Start + pos;
    const unsigned len = unsigned(p[0] | p[1] << 8), nlen = unsigned(p[2] | p[3] << 8);
    if (len != (~nlen & 0xffffu)) return false;
    pos += 4;
    if (inLen - pos < len || size_t(oEnd - o) < len) return false;
    std::memcpy(o, b.Start + pos, len);
    o += len;
    b.restartAt(pos + len);
    return true;
}

} // namespace

bool inflateRawFast(const unsigned char* in, size_t inLen, unsigned char* out, size_t outCap, size_t& outLen,
                    size_t& inUsed)
{
    outLen = inUsed = 0;
    BitReader b(in, inLen);
    u8* o = out;
    const u8* const oEnd = out + outCap;
    Tables dynamic;
    for (bool last = false; !last;) {
        if (!b.refill()) return false;
        last = b.take(1) != 0;
        const unsigned type = b.take(2);
        bool ok = false;
        if (type == 0)
            ok = copyStored(b, inLen, o, oEnd);
        else if (type == 1)
            ok = decodeBlock(b, fixedTables(), out, o, oEnd);
        else if (type == 2)
            ok = readDynamic(b, dynamic) && decodeBlock(b, dynamic, out, o, oEnd);
        if (!ok) return false;
    }
    const size_t used = b.used();
    if (used > inLen) return false;
    outLen = size_t(o - out);
    inUsed = used;
    return true;
}

} // namespace fmJ::frame
