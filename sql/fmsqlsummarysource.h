#pragma once
// Rows for the SQL store read with the history's frame reader, one database file at a time: each
// frame is inflated once and its row is made straight from the record, with the texts of a file
// converted once each. The rows are those of the job list loader (fmSqlJobListSource) for the same
// file and client speeds, column by column.

#include "browser/fmhistorysummary.h"
#include "sql/fmsqlsource.h"

class fmSqlSummarySource : public fmSqlJobSource
{
public:
    // `speeds`: the farm's client speeds by client index, for records without GHz hours.
    explicit fmSqlSummarySource(const fmClientSpeeds& speeds);

    bool readFile(const QString& path, QList<fmSqlJob>& jobs, QString& error) override;
    bool concurrentReads() const override { return true; } // each read has its own buffers

private:
    fmClientSpeeds Speeds;
};
