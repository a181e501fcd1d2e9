#include "browser/fmjoblogpage.h"

#include "app/fm.h"

#include "jobs/fmjobhistory.h"
#include "jobs/fmjobtext.h"

#include <QHash>

#include <algorithm>
#include <limits>

namespace {

// Log message numbers that column 7 pairs: a segment sent to a client, and its return.
constexpr int8_t MessageSegmentReturned = 14;
constexpr int8_t MessageSegmentSent = 21;

// Key of a sending: who got it and its first frame.
quint32 segmentKey(int16_t who, uint16_t firstFrame)
{
    return (quint32(uint16_t(who)) << 16) | firstFrame;
}

} // namespace

QStringList fmJobLogHeaders()
{
    return {QStringLiteral("Date"),        QStringLiteral("Status"),
            QStringLiteral("Fr. Missing"), QStringLiteral("# of Clients"),
            QStringLiteral("Machine"),     QStringLiteral("User"),
            QStringLiteral("Message"),     QStringLiteral("Segment length, time taken")};
}

QStringList fmJobErrorHeaders()
{
    return {QStringLiteral("Date"), QStringLiteral("Where"), QStringLiteral("Error")};
}

QString fmJobLogSegmentText(uint16_t firstFrame, uint16_t lastFrame, uint8_t step, int32_t returnTime,
                            int32_t sendTime)
{
    // The step divides the segment length. A record with step 0 (damaged, or written by a tool
    // that leaves it unset) has no meaningful length: the cell stays empty rather than dividing by 0.
    if (step == 0) return QString();
    const int length = (int(lastFrame) - int(firstFrame)) / int(step) + 1;
    // Times of damaged entries may lie further apart than an int holds.
    const long long taken =
        std::clamp<long long>(static_cast<long long>(returnTime) - sendTime,
                              std::numeric_limits<int>::min() + 1, std::numeric_limits<int>::max());
    return QStringLiteral("%1   %2").arg(length).arg(fmSec2hms(int(taken)));
}

QList<fmJobLogRow> fmJobLogRows(const fmJ::_jobsHistoryDB& job, __FM& app)
{
    const int count = job.logCountClamped();
    QList<fmJobLogRow> rows;
    rows.reserve(count);
    // The nearest earlier sending of each (who, first frame): the latest one seen so far, so a
    // segment sent twice pairs its return with the later sending. One pass instead of a search
    // back from every return.
    QHash<quint32, int> lastSent;
    for (int i = 0; i < count; ++i) {
        const fmJ::_History_Log& h = job.Log[i];
        const fmJ::_Log log = h.toNew();
        fmJobLogRow row;
        row.Cells[0] = log.Time.asString();
        row.Cells[1] = fmJ::jobStatusAsString(log.JobStatus);
        row.Cells[2] = QString::number(log.FramesLeft);
        row.Cells[3] = QString::number(log.ClientsRendering);
        row.Cells[4] = fmJ::Who2Str(log.Who, app).toQString();
        row.Cells[5] = fmJ::Log2Username(log, app).toQString();
        row.Cells[6] = fmJ::Log2Str(log, nullptr).toQString();
        const fmJ::_LogMessage message = log.Message;
        row.MessageColor = fmJ::LogColorID(message);
        const quint32 key = segmentKey(log.Who, log.Param1);
        if (log.Message == MessageSegmentReturned) {
            const auto found = lastSent.constFind(key);
            if (found != lastSent.constEnd()) {
                const fmJ::_Log sent = job.Log[found.value()].toNew();
                row.Cells[7] =
                    fmJobLogSegmentText(log.Param1, log.Param2, log.Param3, log.Time.t, sent.Time.t);
            }
        } else if (log.Message == MessageSegmentSent) {
            lastSent.insert(key, i);
        }
        rows.append(std::move(row));
    }
    return rows;
}

QList<fmJobErrorRow> fmJobErrorRows(const fmJ::_jobsHistoryDB& job, __FM& app)
{
    const int count = job.errorCountClamped();
    QList<fmJobErrorRow> rows;
    rows.reserve(count);
    for (int i = 0; i < count; ++i) {
        const fmJ::_History_Error& e = job.Errors[i];
        fmJobErrorRow row;
        const fmTime_t time = e.Time;
        row.Cells[0] = time.asString();
        row.Cells[1] = fmJ::Who2Str(e.Who, app).toQString();
        row.Cells[2] = fmJ::Err2Str(e.toNew()).toQString();
        rows.append(std::move(row));
    }
    return rows;
}
