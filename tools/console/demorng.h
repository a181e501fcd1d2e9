#pragma once
// The demo root's one source of chance: every value of a demo root is drawn from it, in a fixed
// order, so that the same seed gives the same files on every machine.

#include <cstddef>
#include <cstdint>

namespace fmDemo {

// splitmix64: a small generator with a good spread from any seed, the same on every machine.
class DemoRng
{
public:
    explicit DemoRng(uint64_t seed) : S(seed ^ 0x6A09E667F3BCC909ull) {}
    uint64_t next()
    {
        uint64_t z = (S += 0x9E3779B97F4A7C15ull);
        z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9ull;
        z = (z ^ (z >> 27)) * 0x94D049BB133111EBull;
        return z ^ (z >> 31);
    }
    // lo..hi, both included.
    int range(int lo, int hi) { return hi <= lo ? lo : lo + int(next() % uint64_t(hi - lo + 1)); }
    int64_t range64(int64_t lo, int64_t hi)
    {
        return hi <= lo ? lo : lo + int64_t(next() % uint64_t(hi - lo + 1));
    }
    double unit() { return double(next() >> 11) * (1.0 / 9007199254740992.0); }
    bool chance(double p) { return unit() < p; }
    template <class T, size_t N> const T& pick(const T (&list)[N]) { return list[next() % N]; }

private:
    uint64_t S;
};
} // namespace fmDemo
