#pragma once
// The rows of the log pages of one job, without any widget: "Job Log" (eight columns, one row per
// log entry) and "Errors" (three columns, one row per error).

#include <QList>
#include <QString>
#include <QStringList>

#include <array>
#include <cstdint>

class __FM;
namespace fmJ {
struct _jobsHistoryDB;
}

struct fmJobLogRow
{
    std::array<QString, 8> Cells;
    uint32_t MessageColor = 0xFF000000; // ARGB text colour of column 6
};

struct fmJobErrorRow
{
    std::array<QString, 3> Cells;
};

// Headers of the two pages.
QStringList fmJobLogHeaders();
QStringList fmJobErrorHeaders();

// One row per log entry in stored order; LogCount is clamped to the record's array.
QList<fmJobLogRow> fmJobLogRows(const fmJ::_jobsHistoryDB& job, __FM& app);
// One row per error; ErrorCount is clamped to the record's array.
QList<fmJobErrorRow> fmJobErrorRows(const fmJ::_jobsHistoryDB& job, __FM& app);

// Column 7 of a return (message 14): "<segment length>   <time taken>". `sendTime` is the time of the
// matching sending (message 21). Empty when the step (third parameter) is 0.
QString fmJobLogSegmentText(uint16_t firstFrame, uint16_t lastFrame, uint8_t step, int32_t returnTime,
                            int32_t sendTime);
