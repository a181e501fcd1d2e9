#pragma once
// Rows for the SQL store read with the history's summary reader, one database file at a time:
// each frame is inflated once and only what a row needs is kept of it. The rows are those of the
// job list loader (fmSqlJobListSource) for the same file and client speeds, column by column.

#include "browser/fmhistorysummary.h"
#include "sql/fmsqlsource.h"

class fmSqlSummarySource : public fmSqlJobSource
{
public:
    // `speeds`: the farm's client speeds by client index, for records without GHz hours.
    explicit fmSqlSummarySource(const fmClientSpeeds& speeds);

    bool readFile(const QString& path, QList<fmSqlJob>& jobs, QString& error) override;
    bool concurrentReads() const override { return true; } // each read has its own buffers

    // The row of one summary.
    static fmSqlJob rowOf(const fmJobSummary& job);

private:
    fmClientSpeeds Speeds;
};
