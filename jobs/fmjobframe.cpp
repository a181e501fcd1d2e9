#include "jobs/fmjobframe.h"

#include <QSemaphore>
#include <QThreadPool>

#include <zlib.h>

#include <atomic>
#include <cstring>

namespace fmJ::frame {

bool magicMatches(const unsigned char* header)
{
    return std::memcmp(header, _JobList::FrameMagic, MagicLength) == 0 && header[MagicLength] == 0;
}

QByteArray compressRecord(const _jobsHistoryDB& record, int* zError)
{
    const uLong bound = compressBound(SizeNow);
    QByteArray out;
    out.resize(qsizetype(_JobList::FrameHeaderSize + bound));
    if (out.size() != qsizetype(_JobList::FrameHeaderSize + bound)) {
        *zError = Z_MEM_ERROR;
        return QByteArray();
    }
    auto* bytes = reinterpret_cast<unsigned char*>(out.data());
    std::memset(bytes, 0, _JobList::FrameHeaderSize);
    std::strncpy(reinterpret_cast<char*>(bytes), _JobList::FrameMagic, MagicPadded);
    uLongf outLen = bound;
    const int z = compress(bytes + _JobList::FrameHeaderSize, &outLen,
                           reinterpret_cast<const Bytef*>(&record), SizeNow);
    if (z != Z_OK) {
        *zError = z;
        return QByteArray();
    }
    putU32(bytes + HdrCompressed, uint32_t(outLen));
    putU32(bytes + HdrUncompressed, SizeNow);
    putU16(bytes + HdrID, JobHistory_StructID);
    putU16(bytes + HdrVersion, JobHistory_StructVersion);
    out.resize(qsizetype(_JobList::FrameHeaderSize + outLen));
    *zError = Z_OK;
    return out;
}

void runOnPool(int count, const std::function<void(int)>& work)
{
    if (count <= 0) return;
    std::atomic<int> next{0};
    auto drain = [&] {
        for (int i = next.fetch_add(1); i < count; i = next.fetch_add(1))
            work(i);
    };
    QThreadPool* pool = QThreadPool::globalInstance();
    QSemaphore finished;
    int helpers = 0;
    // tryStart only takes an idle thread: a busy pool never leaves a task waiting in its queue,
    // so the wait below cannot outlive the caller's data.
    const int wanted = std::min(count - 1, pool->maxThreadCount() - 1);
    for (int h = 0; h < wanted; ++h) {
        if (!pool->tryStart([&] {
                drain();
                finished.release();
            }))
            break;
        ++helpers;
    }
    drain();
    finished.acquire(helpers);
}

} // namespace fmJ::frame
