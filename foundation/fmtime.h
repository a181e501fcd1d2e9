#pragma once
// Points in time as plain integers: seconds since the epoch, 0 means "not set".
// fmTime_t is 8 bytes on disk, fmTime_t32 4 bytes, both little-endian, no other member.

#include <QString>
#include <cstdint>
#include <ctime>

struct fmTime_t
{
    int64_t t;

    // Seconds by which the local wall clock runs ahead of the stored clock; -1 until computed.
    static int32_t fmTime_Start_OffSet;

    fmTime_t() : t(0) {}
    explicit fmTime_t(bool now) : t(now ? int64_t(::time(nullptr)) : 0) {}

    static int64_t CurrentTime() { return int64_t(::time(nullptr)); }
    void SetCurrentTime(long long delta = 0) { t = int64_t(::time(nullptr)) + delta; }
};

struct fmTime_t32
{
    int32_t t;
    fmTime_t32() : t(0) {}
};

static_assert(sizeof(fmTime_t) == 8);
static_assert(sizeof(fmTime_t32) == 4);
