#pragma once
// Shared by the container fuzzers: the input goes to a file of this process, since the loaders
// take paths. /dev/shm keeps it in memory where there is one.
#include "foundation/fmdatabuffer.h"

#include <QByteArray>
#include <cstdio>
#include <unistd.h>

inline fmDataBufferPath fuzzWriteFile(const uint8_t* data, size_t size, const char* tag)
{
    static const QByteArray dir = access("/dev/shm", W_OK) == 0 ? QByteArray("/dev/shm") : QByteArray("/tmp");
    const QByteArray name = dir + "/fmfuzz_" + tag + "_" + QByteArray::number(int(getpid()));
    if (FILE* f = std::fopen(name.constData(), "wb")) {
        if (size) std::fwrite(data, 1, size, f);
        std::fclose(f);
    }
    return fmDataBufferPath(name.constData());
}
