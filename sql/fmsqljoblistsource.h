#pragma once
// Rows for the SQL store read with the job list loader, one database file at a time: frames of
// every layout are upgraded, and records without GHz hours get them recomputed from the farm's
// client table, exactly as the window shows them. The store reads with fmSqlSummarySource; this
// one is the reference its rows are checked against.

#include "sql/fmsqlsource.h"

#include <memory>

class __FM;
namespace fmJ {
class _JobList;
struct _jobsHistoryDB_Runtime;
} // namespace fmJ

class fmSqlJobListSource : public fmSqlJobSource
{
public:
    explicit fmSqlJobListSource(__FM& app);
    ~fmSqlJobListSource() override;

    bool readFile(const QString& path, QList<fmSqlJob>& jobs, QString& error) override;

    // The row of one loaded record.
    static fmSqlJob rowOf(const fmJ::_jobsHistoryDB_Runtime& job);
    // Frames of the file whose identifier the loader takes as a job (0x0A02 to 0x0A04), counted
    // from the frame headers alone; -1 when the file cannot be opened.
    static int jobFrames(const QString& path);

private:
    __FM& App;
    std::unique_ptr<fmJ::_JobList> List; // reused from file to file: its records stay allocated
};
