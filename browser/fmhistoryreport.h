#pragma once
// Reports over job summaries: jobs grouped by user, project, month or software (several keys
// nest), with their sums, and the report as a text table, CSV or JSON.

#include "browser/fmhistorysummary.h"

#include <QList>
#include <QString>
#include <QStringList>

#include <limits>

enum class fmReportKey { User, Project, Month, Software };

// Name of a key as the console's --by and the JSON's key object spell it.
QString fmReportKeyName(fmReportKey key);
// The key of that name (case-insensitive); false for no such key.
bool fmReportKeyFromName(const QString& name, fmReportKey& key);
// "YYYY-MM" of a time in local time.
QString fmReportMonth(qint64 secondsSinceEpoch);

struct fmReportFilter
{
    // DateFinished within [From, To], seconds since the epoch.
    qint64 From = std::numeric_limits<qint64>::min();
    qint64 To = std::numeric_limits<qint64>::max();
    QStringList Projects; // names compared case-insensitively; empty: all
    bool accepts(const fmHistorySummary& summary, const fmJobSummary& job) const;
};

// First second of a local date ("2026-10-01"); with endOfDay its last second. False for a bad date.
bool fmReportParseDate(const QString& text, bool endOfDay, qint64& seconds);

struct fmReportRow
{
    QStringList Key; // one value per key of the report, in the order of the keys
    qint64 Jobs = 0;
    double RenderHours = 0.0; // sum of execution times, in hours
    qint64 Frames = 0;
    double GhzHours = 0.0;
    double Cost = 0.0; // GhzHours x the farm's cost per GHz hour
    qint64 Errors = 0;
    void add(const fmJobSummary& job);
};

struct fmReport
{
    QList<fmReportKey> By;
    QList<fmReportRow> Rows; // sorted by key, month keys in time order, others case-insensitively
    fmReportRow Total;
};

// Groups the jobs that pass `filter`; `costPerGhzHour` is the farm's cfgCost. No key: no rows, the total
// alone.
fmReport fmBuildReport(const fmHistorySummary& summary, const QList<fmReportKey>& by,
                       const fmReportFilter& filter, double costPerGhzHour);

// Column titles of the measures, in report order.
QStringList fmReportMeasureTitles(const QString& costDisplay);
// A row's measures as texts: hours and GHz hours with 2 decimals, cost with 2.
QStringList fmReportMeasureTexts(const fmReportRow& row, QChar decimalMark = QLatin1Char('.'));

// Aligned text table with a header and the total in the last row.
QString fmReportTable(const fmReport& report, const QString& costDisplay);
// The farm's CSV flavour: ";" behind every value, "\r\n" line ends, the given decimal mark; total last.
QString fmReportCsv(const fmReport& report, const QString& costDisplay, QChar decimalMark);
// {"rows": [{"key": {...}, "jobs": .., "renderHours": .., "frames": .., "ghzHours": .., "cost": .., "errors":
// ..}], "total": {...}}
QByteArray fmReportJson(const fmReport& report);

class __FMSDK;

// What a report takes from the farm's configuration and the machine.
struct fmReportSettings
{
    double Cost = 0.0;                    // cfgCost, per GHz hour
    QString CostDisplay;                  // cfgCostDisplay, the currency sign
    QChar DecimalMark = QLatin1Char('.'); // first character of cfgLocalDecimalMark
    fmClientSpeeds Speeds;                // of the client table, for the GHz-hours recompute
    QString HistoryFolder;                // ends in "/"
    QString CacheFolder;                  // under the machine's local data folder
};
fmReportSettings fmReportSettingsOf(__FMSDK& app);
