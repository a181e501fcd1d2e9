#include "sql/fmsqlsummarysource.h"

#include "foundation/fmjobid.h"

#include <QFileInfo>

#include <algorithm>
#include <cmath>
#include <limits>

namespace {

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

fmSqlSummarySource::fmSqlSummarySource(const fmClientSpeeds& speeds) : Speeds(speeds) {}

fmSqlJob fmSqlSummarySource::rowOf(const fmJobSummary& job)
{
    fmSqlJob r;
    r.JobID = int64_t(job.JobID);
    r.IdText = fmJ::ID2str(job.JobID);
    r.UserName = job.User;
    r.Software = job.Software;
    r.Renderer = job.Renderer;
    r.Scene = job.Scene;
    r.Camera = job.Camera;
    r.Layer = job.Layer;
    r.DateSend = clampTime(job.DateSend);
    r.DateFinished = clampTime(job.DateFinished);
    r.ExecutionSeconds = clampU64(job.ExecutionTime);
    r.Frames = job.Frames;
    r.TotalPS = clampU64(job.TotalPS);
    r.GhzHours = std::isfinite(job.GhzHours) && job.GhzHours > 0 ? double(job.GhzHours) : 0.0;
    r.Errors = job.Errors;
    return r;
}

bool fmSqlSummarySource::readFile(const QString& path, QList<fmSqlJob>& jobs, QString& error)
{
    jobs.clear();
    error.clear();
    fmHistoryFile file;
    file.Path = path;
    file.Size = QFileInfo(path).size();
    const fmHistoryFileSummary s = fmSummarizeFile(file, Speeds);
    // A damaged frame would drop its job from the file's rows: the file must come whole.
    if (s.FailedFrames > 0) {
        error = QStringLiteral("%1 of %2 jobs could not be read")
                    .arg(s.FailedFrames)
                    .arg(qsizetype(s.FailedFrames) + qsizetype(s.Jobs.size()));
        if (!s.Error.isEmpty()) error += QStringLiteral(" (") + s.Error + QLatin1Char(')');
        return false;
    }
    if (!s.Error.isEmpty()) {
        error = s.Error;
        return false;
    }
    jobs.reserve(qsizetype(s.Jobs.size()));
    for (const fmJobSummary& j : s.Jobs)
        jobs.append(rowOf(j));
    return true;
}
