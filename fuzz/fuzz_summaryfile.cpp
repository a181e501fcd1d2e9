// libFuzzer target: a job database of any bytes must summarize without a crash, hang or read out
// of bounds; every frame is counted once (a job, a failed frame or a skipped one), and the
// summaries must survive the cache's store and load unchanged.

#include "browser/fmhistorysummary.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QString>

#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>

namespace {
QString Path;
fmHistorySummaryCache* Cache = nullptr;
fmClientSpeeds Speeds;
} // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***)
{
    Path = QStringLiteral("/tmp/fuzz_summaryfile_%1.db").arg(::getpid());
    Cache = new fmHistorySummaryCache(QStringLiteral("/tmp/fuzz_summaryfile_%1/").arg(::getpid()));
    Speeds = {{2.0f, 1}, {0.0f, 0}, {8.0f, 4}}; // the GHz-hours recompute with used and unused clients
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    {
        QFile f(Path);
        if (!f.open(QIODevice::WriteOnly | QIODevice::Truncate)) return 0;
        f.write(reinterpret_cast<const char*>(data), qint64(size));
    }
    fmHistoryFile file;
    file.Path = Path;
    file.Project = QStringLiteral("fuzz");
    file.Size = qint64(size);
    file.MTime = 1;
    const fmHistoryFileSummary s = fmSummarizeFile(file, Speeds);
    // A frame is at least a 64-byte header and one byte of body.
    if (qint64(s.Jobs.size()) + s.FailedFrames > qint64(size) / 65) std::abort();
    for (const fmJobSummary& j : s.Jobs)
        if (j.Errors < 0 || j.Errors > 50 || j.Frames < 0) std::abort();

    if (!Cache->store(s, Speeds)) return 0;
    fmHistoryFileSummary back;
    if (!Cache->load(file, Speeds, back)) {
        // A miss only for an entry beyond the cache's bound of 4 bytes a database byte (long texts
        // inflated from tiny frames).
        qint64 largest = 0;
        for (const QFileInfo& e : QDir(Cache->folder()).entryInfoList(QDir::Files))
            largest = std::max(largest, e.size());
        if (largest <= file.Size * 4 + 4096) std::abort();
        return 0;
    }
    if (back.Jobs.size() != s.Jobs.size() || back.FailedFrames != s.FailedFrames || back.Error != s.Error)
        std::abort();
    for (size_t i = 0; i < s.Jobs.size(); ++i) {
        const fmJobSummary &a = s.Jobs[i], &b = back.Jobs[i];
        if (a.JobID != b.JobID || a.IdText != b.IdText || a.User != b.User || a.Software != b.Software ||
            a.Renderer != b.Renderer || a.Scene != b.Scene || a.Camera != b.Camera || a.Layer != b.Layer ||
            a.DateSend != b.DateSend || a.DateFinished != b.DateFinished || a.Frames != b.Frames ||
            a.TotalPS != b.TotalPS || a.Errors != b.Errors || a.ExecutionTime != b.ExecutionTime)
            std::abort();
    }
    return 0;
}
