// libFuzzer target: the fast deflate decoder of the frame reader against zlib's raw inflate. Both
// must take and refuse the same streams; where they take one, the bytes made and the input used
// must be the same. The first input byte sets the output room (0: 70,000 bytes, else 256 a step),
// so streams that outgrow it are tried too.

#include "jobs/fminflate.h"

#include <zlib.h>

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    if (size < 1) return 0;
    const size_t room = data[0] == 0 ? 70000 : size_t(data[0]) * 256;
    const uint8_t* in = data + 1;
    const size_t inLen = size - 1;
    std::vector<unsigned char> mine(room), theirs(room);
    size_t made = 0, used = 0;
    const bool fast = fmJ::frame::inflateRawFast(in, inLen, mine.data(), room, made, used);

    z_stream d{};
    if (inflateInit2(&d, -15) != Z_OK) return 0;
    d.next_in = const_cast<Bytef*>(in);
    d.avail_in = uInt(inLen);
    d.next_out = theirs.data();
    d.avail_out = uInt(room);
    const bool zlib = inflate(&d, Z_FINISH) == Z_STREAM_END;
    const size_t zMade = d.total_out, zUsed = d.total_in;
    inflateEnd(&d);

    if (fast != zlib) std::abort();
    if (fast && (made != zMade || used != zUsed || std::memcmp(mine.data(), theirs.data(), made) != 0))
        std::abort();
    return 0;
}
