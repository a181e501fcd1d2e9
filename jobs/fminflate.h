#pragma once
// A fast decoder of raw deflate data (RFC 1951) for the records of job database frames: a 38 KB
// record is mostly runs of zero bytes, which zlib's inflate copies a byte at a time. This one
// fills them with memset and copies other matches 8 bytes a step.
//
// It only ever says yes to a stream zlib accepts too, with the same bytes: every rule zlib applies
// (code sets neither over-subscribed nor incomplete, end-of-block code present, no length or
// distance symbol beyond the alphabet, no distance before the first byte, stored lengths that
// match their complement) is applied here, and anything else it cannot decode is a plain "no".
// Callers then run zlib on the same input, which gives the exact error; so a "no" costs time,
// never a different outcome.

#include <cstddef>

namespace fmJ::frame {

// Decodes the raw deflate stream at `in` (`inLen` bytes) into `out` (room for `outCap` bytes).
// True when the stream's final block ended within both: `outLen` gets the bytes made, `inUsed`
// the input bytes up to and with the one that holds the stream's last bit (where zlib's trailer
// starts). False for damaged or cut input, output beyond `outCap`, or any case left to zlib.
bool inflateRawFast(const unsigned char* in, size_t inLen, unsigned char* out, size_t outCap, size_t& outLen,
                    size_t& inUsed);

} // namespace fmJ::frame
