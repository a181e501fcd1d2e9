#pragma once
// What the SQL store needs of one finished job, and the interface that reads those rows from one
// project database file. The store does not care how a file is read: the summary reader serves
// (fmSqlSummarySource), the job list loader (fmSqlJobListSource) gives the same rows.

#include <QList>
#include <QString>

#include <cstdint>

// One row of fm_jobs without its project and source file (those belong to the file).
// Every value is already clamped to what both databases store: texts as the window shows them,
// times in whole seconds since the epoch (UTC) within the years 1970 to 9999, counts not negative.
struct fmSqlJob
{
    int64_t JobID = 0; // the 64-bit JobID's bits as a signed number; its top byte is 0 in real IDs
    QString IdText;    // as the job tree shows it, "{...}"
    QString UserName;
    QString Software;
    QString Renderer;
    QString Scene; // the scene file's path as submitted
    QString Camera;
    QString Layer;
    int64_t DateSend = 0;     // seconds since the epoch, UTC
    int64_t DateFinished = 0; // seconds since the epoch, UTC; 0 when the job has none
    int64_t ExecutionSeconds = 0;
    int32_t Frames = 0;
    int64_t TotalPS = 0;   // processor seconds
    double GhzHours = 0.0; // after the recompute from the client table for records without one
    int32_t Errors = 0;    // entries of the job's error list, 0..50
};

class fmSqlJobSource
{
public:
    virtual ~fmSqlJobSource() = default;
    // Reads every job of the database file at `path` into `jobs` (emptied first). Returns false
    // when the file could not be read whole (unreadable, damaged frames); `error` then says why
    // and `jobs` must not be written anywhere.
    virtual bool readFile(const QString& path, QList<fmSqlJob>& jobs, QString& error) = 0;
    // True when readFile may run for several files at the same time, on any threads.
    virtual bool concurrentReads() const { return false; }
};

// Latest time either database keeps as text and timestamp alike: 9999-12-31T23:59:59Z.
constexpr int64_t fmSqlMaxTime = 253402300799LL;
