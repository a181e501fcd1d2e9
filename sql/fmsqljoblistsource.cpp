#include "sql/fmsqljoblistsource.h"

#include "app/fm.h"
#include "foundation/fmjobid.h"
#include "jobs/fmjoblist.h"

#include <QFile>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>

namespace {

constexpr int FrameHeader = fmJ::_JobList::FrameHeaderSize;
constexpr int HdrCompressed = 52; // u32, bytes of the record behind the header
constexpr int HdrID = 60;         // u16, structure identifier

int64_t clampTime(int64_t t)
{
    return std::clamp<int64_t>(t, 0, fmSqlMaxTime);
}

int64_t clampU64(uint64_t v)
{
    return v > uint64_t(std::numeric_limits<int64_t>::max()) ? std::numeric_limits<int64_t>::max()
                                                             : int64_t(v);
}

} // namespace

fmSqlJobListSource::fmSqlJobListSource(__FM& app) : App(app), List(std::make_unique<fmJ::_JobList>(app)) {}

fmSqlJobListSource::~fmSqlJobListSource() = default;

fmSqlJob fmSqlJobListSource::rowOf(const fmJ::_jobsHistoryDB_Runtime& job)
{
    fmSqlJob r;
    r.JobID = int64_t(job.JobID);
    r.IdText = fmJ::ID2str(job.JobID);
    r.UserName = job.UserName.toQString();
    r.Software = job.Software.toQString();
    r.Renderer = job.Renderer.toQString();
    r.Scene = job.SceneName.toQString();
    r.Camera = job.Camera.toQString();
    r.Layer = job.Layer.toQString();
    r.DateSend = clampTime(job.DateSend.t);
    r.DateFinished = clampTime(job.DateFinished.t);
    r.ExecutionSeconds = clampU64(job.ExecutionTime);
    r.Frames = fmJ::fmJobFrames(job);
    r.TotalPS = clampU64(job.TotalPS);
    const float ghz = job.TotalGhzHours;
    r.GhzHours = std::isfinite(ghz) && ghz > 0 ? double(ghz) : 0.0;
    r.Errors = std::clamp<int32_t>(job.ErrorCount, 0, 50);
    return r;
}

int fmSqlJobListSource::jobFrames(const QString& path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) return -1;
    int frames = 0;
    unsigned char h[FrameHeader];
    qint64 pos = 0;
    while (file.seek(pos) && file.read(reinterpret_cast<char*>(h), FrameHeader) == FrameHeader) {
        if (std::memcmp(h, fmJ::_JobList::FrameMagic, 44) != 0) break;
        const uint32_t packed = uint32_t(h[HdrCompressed]) | uint32_t(h[HdrCompressed + 1]) << 8 |
                                uint32_t(h[HdrCompressed + 2]) << 16 | uint32_t(h[HdrCompressed + 3]) << 24;
        const unsigned id = unsigned(h[HdrID]) | unsigned(h[HdrID + 1]) << 8;
        if (id >= 0x0A02 && id <= 0x0A04) ++frames;
        pos += FrameHeader + qint64(packed);
    }
    return frames;
}

bool fmSqlJobListSource::readFile(const QString& path, QList<fmSqlJob>& jobs, QString& error)
{
    jobs.clear();
    error.clear();
    // The loader tells what went wrong only through the log: keep its first complaint.
    QString complaint;
    const QMetaObject::Connection c = QObject::connect(
        &App, &__FM::signalLogUI, &App, [&complaint](int level, int, const QString& text, const QString&) {
            if (level <= 2 && complaint.isEmpty())
                complaint = text.trimmed().remove(QStringLiteral("{ALL} "));
        });
    List->deleteAll();
    const bool read = List->LoadFileJobs(path);
    QObject::disconnect(c);
    if (!read) {
        error = complaint.isEmpty() ? QStringLiteral("could not be read") : complaint;
        return false;
    }
    // A damaged frame is dropped by the loader and the file still counts as read; here the file
    // must come whole, or its rows in the database would lose the jobs of the damaged frames.
    const int expected = jobFrames(path);
    if (List->JobCount < expected) {
        error =
            QStringLiteral("%1 of %2 jobs could not be read").arg(expected - List->JobCount).arg(expected);
        if (!complaint.isEmpty()) error += QStringLiteral(" (") + complaint + QLatin1Char(')');
        return false;
    }
    jobs.reserve(List->JobCount);
    for (int q = 0; q < List->JobCount; ++q)
        if (const fmJ::_jobsHistoryDB_Runtime* job = List->GetJobByQueueID(q)) jobs.append(rowOf(*job));
    return true;
}
