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

bool fmSqlSummarySource::readFile(const QString& path, QList<fmSqlJob>& jobs, QString& error)
{
    jobs.clear();
    error.clear();
    jobs.reserve(qsizetype(std::min<qint64>(QFileInfo(path).size() / 1500 + 1, 100000)));
    // A table a column: the small ones (users, programs) stay in the processor's cache. Scenes
    // mostly differ from job to job: a table of them would cost more than the copies it saves.
    fmRecordTexts users, programs, renderers, cameras, layers;
    const fmJ::_ClientSpeed none{0.0f, 0};
    const fmJ::_ClientSpeed* speedData = Speeds.empty() ? &none : Speeds.data();
    const int speedCount = int(std::min<size_t>(Speeds.size(), size_t(fmJ::JobClients_Max)));
    // The row of a frame the loader keeps as an empty job: that job's values, texts empty.
    const QString empty = QStringLiteral("");
    fmSqlJob emptyRow;
    emptyRow.IdText = fmJ::ID2str(0);
    emptyRow.UserName = emptyRow.Software = emptyRow.Renderer = emptyRow.Scene = emptyRow.Camera =
        emptyRow.Layer = empty;

    const fmHistoryFileScan scan = fmScanHistoryFile(path, [&](const fmJ::_jobsHistoryDB* rec) {
        if (!rec) {
            jobs.append(emptyRow);
            return;
        }
        fmSqlJob& r = jobs.emplace_back();
        r.JobID = int64_t(rec->JobID);
        r.IdText = fmJ::ID2str(rec->JobID);
        r.UserName = users.get(rec->UserName);
        r.Software = programs.get(rec->Software);
        r.Renderer = renderers.get(rec->Renderer);
        r.Scene = rec->SceneName.toQString();
        r.Camera = cameras.get(rec->Camera);
        r.Layer = layers.get(rec->Layer);
        r.DateSend = clampTime(rec->DateSend.t);
        r.DateFinished = clampTime(rec->DateFinished.t);
        r.ExecutionSeconds = clampU64(rec->ExecutionTime);
        r.Frames = fmJ::fmJobFrames(*rec);
        r.TotalPS = clampU64(rec->TotalPS);
        const float ghz = fmJ::fmJobGhzHours(*rec, speedData, speedCount);
        r.GhzHours = std::isfinite(ghz) && ghz > 0 ? double(ghz) : 0.0;
        r.Errors = rec->errorCountClamped();
    });
    // A damaged frame would drop its job from the file's rows: the file must come whole.
    if (scan.FailedFrames > 0) {
        error = QStringLiteral("%1 of %2 jobs could not be read")
                    .arg(scan.FailedFrames)
                    .arg(qsizetype(scan.FailedFrames) + jobs.size());
        if (!scan.Error.isEmpty()) error += QStringLiteral(" (") + scan.Error + QLatin1Char(')');
    } else {
        error = scan.Error;
    }
    if (error.isEmpty()) return true;
    jobs.clear();
    return false;
}
