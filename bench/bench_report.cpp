// History report over 100 projects and 200,000 jobs: the first report (no cached summaries),
// the second (every file from the cache), and the process's peak memory. The floor to compare
// the first against: reading and inflating every frame once on one core.
// Usage: fmbench_report [folder]   (default: a temporary folder; a given one is kept and reused)
// The console's demo root stops at 40 projects, so the history is written here: 2000 distinct
// frames, repeated in each project's file (the reader can't tell).

#include "joblist_fixtures.h"

#include "browser/fmhistoryframes.h"
#include "browser/fmhistoryreport.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QTemporaryDir>

#include <cstdio>

#include <random>
#include <sys/resource.h>

namespace {

constexpr int Projects = 100;
constexpr int JobsPerProject = 2000;

QByteArray projectFile()
{
    std::mt19937 rnd(7);
    QByteArray out;
    for (int n = 0; n < JobsPerProject; ++n) {
        auto r = jlfix::makeRecord(n);
        r->UserName = QStringLiteral("artist%1").arg(rnd() % 40);
        r->Software = (rnd() % 2) ? "Maya" : "Houdini";
        r->DateFinished.t = 1700000000 + int64_t(rnd() % (3 * 365 * 86400));
        r->SeqEnd = 1 + double(rnd() % 240);
        r->TotalGhzHours = (n % 4 == 0) ? 0.0f : float(rnd() % 500) / 10.0f;
        r->TotalPS = 3600ULL * (1 + rnd() % 100);
        const int clients = 20 + int(rnd() % 60);
        for (int c = 0; c < clients; ++c)
            r->ClientStats[c].FramesDone = int32_t(rnd() % 30);
        r->LogCount = int16_t(50 + rnd() % 300);
        for (int k = 0; k < r->LogCount; ++k) {
            r->Log[k].Time.t = int32_t(r->DateSend.t + k * int(rnd() % 120));
            r->Log[k].Message = int8_t(rnd() % 30);
            r->Log[k].Who = int16_t(rnd() % uint32_t(clients));
        }
        out += jlfix::frameOf(*r);
    }
    return out;
}

// Reads and inflates every frame of every file once, on this thread alone.
qint64 inflateAll(const QList<fmHistoryFile>& files)
{
    fmFrames::Reader reader;
    qint64 frames = 0;
    for (const fmHistoryFile& f : files) {
        QFile file(f.Path);
        if (!file.open(QIODevice::ReadOnly)) continue;
        fmFrames::Header h;
        const fmJ::_jobsHistoryDB* rec = nullptr;
        while (reader.next(file, h) == fmFrames::Next::Frame)
            if (reader.decode(h, rec) == fmFrames::Outcome::Job) ++frames;
    }
    return frames;
}

// CPU seconds of all the process's threads so far: on a shared machine the wall clock says
// little about the work itself.
double cpuSeconds()
{
    struct rusage u = {};
    getrusage(RUSAGE_SELF, &u);
    return double(u.ru_utime.tv_sec + u.ru_stime.tv_sec) +
           double(u.ru_utime.tv_usec + u.ru_stime.tv_usec) / 1e6;
}

long peakKb()
{
    QFile status(QStringLiteral("/proc/self/status"));
    if (!status.open(QIODevice::ReadOnly)) return -1;
    for (const QByteArray& line : status.readAll().split('\n'))
        if (line.startsWith("VmHWM:")) return line.mid(6).trimmed().split(' ').first().toLong();
    return -1;
}

} // namespace

int main(int argc, char** argv)
{
    QTemporaryDir temp;
    const QString root = argc > 1 ? QString::fromLocal8Bit(argv[1]) : temp.path();
    const QString history = root + QStringLiteral("/history_db/");
    const QString cache = root + QStringLiteral("/cache/");
    if (!QFileInfo::exists(history + QStringLiteral("Project099.db61"))) {
        const QByteArray bytes = projectFile();
        for (int p = 0; p < Projects; ++p) {
            // Every fourth project keeps its older jobs in a "__" folder, as archives do.
            const QString name = QStringLiteral("Project%1.db61").arg(p, 3, 10, QLatin1Char('0'));
            const QString path = (p % 4 == 3 ? history + QStringLiteral("__2024/") : history) + name;
            QDir().mkpath(QFileInfo(path).path());
            if (!jlfix::writeFile(path, bytes)) return 1;
        }
    }
    QDir(cache).removeRecursively();
    const QList<fmHistoryFile> files = fmListHistoryFiles(history);
    const fmClientSpeeds speeds(300, fmJ::_ClientSpeed{3.2f * 16, 16});

    QElapsedTimer t;
    t.start();
    const double cpuStart = cpuSeconds();
    const qint64 frames = inflateAll(files);
    const double floorS = double(t.nsecsElapsed()) / 1e9;
    const double floorCpu = cpuSeconds() - cpuStart;

    double seconds[2] = {}, cpu[2] = {}, grouping = 0.0;
    qint64 jobs = 0;
    int cached = 0;
    for (int pass = 0; pass < 2; ++pass) {
        t.restart();
        const double cpuBefore = cpuSeconds();
        fmHistorySummaryReader reader;
        reader.setCacheFolder(cache);
        reader.setClientSpeeds(speeds);
        const fmHistorySummary s = reader.read(history);
        QElapsedTimer g;
        g.start();
        const fmReport r = fmBuildReport(s, {fmReportKey::User, fmReportKey::Month}, fmReportFilter(), 0.05);
        seconds[pass] = double(t.nsecsElapsed()) / 1e9;
        cpu[pass] = cpuSeconds() - cpuBefore;
        grouping = double(g.nsecsElapsed()) / 1e9;
        jobs = r.Total.Jobs;
        cached = s.CachedFiles;
    }
    std::printf("files: %d\njobs: %lld\nframes_inflated: %lld\n", int(files.size()), jobs, frames);
    std::printf("inflate_one_core: %.3f s (cpu %.3f s)\n", floorS, floorCpu);
    std::printf("report_cold: %.3f s\n", seconds[0]);
    std::printf("report_warm: %.3f s (%d files from the cache)\n", seconds[1], cached);
    std::printf("report_cold_cpu: %.3f s (all threads)\nreport_warm_cpu: %.3f s (all threads)\n", cpu[0],
                cpu[1]);
    std::printf("grouping (of the warm report): %.3f s\n", grouping);
    std::printf("cold/inflate_one_core: %.2f\n", seconds[0] / floorS);
    std::printf("peak_memory: %.1f MB\n", double(peakKb()) / 1024.0);
    return 0;
}
