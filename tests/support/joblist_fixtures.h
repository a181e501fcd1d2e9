#pragma once
// Builders of history records and job database frames, and a capture of log lines, for the
// job list's tests, benchmark and fuzz target.

#include "app/fm.h"
#include "jobs/fmjobhistory.h"

#include <QByteArray>
#include <QList>
#include <QObject>
#include <QString>

#include <cstring>
#include <memory>
#include <type_traits>

namespace jlfix {

// A plausible current record: sequence 1..100 step 1, a JobID of 1000 + n, texts that vary with n.
std::unique_ptr<fmJ::_jobsHistoryDB> makeRecord(int n);
// A Maya/Arnold job of frames 1..100 into /out/shot_####.exr, the scene on a Linux path.
std::unique_ptr<fmJ::_jobsHistoryDB_Runtime> makeRenderJob();

// The raw bytes of a record.
template <class T> QByteArray bytesOf(const T& rec)
{
    return QByteArray(reinterpret_cast<const char*>(&rec), int(sizeof(T)));
}

// One frame: the 64-byte header with the given identifier, version and stored size, then
// `payload` compressed (or taken as it stands when `compressed` is false).
QByteArray frame(const QByteArray& payload, uint16_t id, uint16_t version, uint32_t storedSize,
                 bool compressPayload = true);
// A current frame of a record.
QByteArray frameOf(const fmJ::_jobsHistoryDB& rec);
// A database file of current frames of makeRecord(firstJob) .. makeRecord(firstJob + count - 1).
QByteArray framesOf(int count, int firstJob = 0);

// What a history report reads of a job, for records of every layout.
struct ReportFields
{
    quint64 JobID = 0;
    const char* User = "";
    const char* Software = "";
    qint64 Finished = 0;                // DateFinished; DateSend a minute before
    quint64 Exec = 0;                   // ExecutionTime, seconds
    double SeqEnd = 1.0, SeqStep = 1.0; // sequence from 1
    int TotalFrames = 0;                // current layout only
    quint64 PS = 0;
    float Ghz = 0.0f;
    int Errors = 0;
    int FramesDoneClient0 = 0;
};

// The raw bytes of a record of layout R (current or old) with those fields, all others zero.
template <class R> QByteArray reportRecordBytes(const ReportFields& f)
{
    auto r = std::make_unique<R>();
    std::memset(static_cast<void*>(r.get()), 0, sizeof(R));
    r->SeqStart = 1.0;
    r->SeqEnd = f.SeqEnd;
    r->SeqStep = f.SeqStep;
    r->JobID = f.JobID;
    r->UserName = f.User;
    r->Software = f.Software;
    r->DateFinished.t = f.Finished;
    r->DateSend.t = f.Finished - 60;
    r->ExecutionTime = f.Exec;
    r->TotalPS = f.PS;
    r->TotalGhzHours = f.Ghz;
    r->ErrorCount = int8_t(f.Errors);
    r->ClientStats[0].FramesDone = f.FramesDoneClient0;
    if constexpr (std::is_same_v<R, fmJ::_jobsHistoryDB>) {
        r->SubmitterStructVersion = 7;
        r->TotalFrames = f.TotalFrames;
    }
    return bytesOf(*r);
}

bool writeFile(const QString& path, const QByteArray& bytes);
QByteArray readFile(const QString& path);

// Log lines of FM while it lives, as "level|flags|text".
class LogCapture : public QObject
{
    Q_OBJECT
public:
    explicit LogCapture(int minLevel = 0, int maxLevel = 10);
    QStringList Lines;
    // Lines whose text contains `part`.
    QStringList matching(const QString& part) const;

private slots:
    void onLog(int level, int flags, const QString& text, const QString& where);

private:
    int MinLevel, MaxLevel;
};

} // namespace jlfix
