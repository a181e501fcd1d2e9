#include "browser/fmhistoryreport.h"

#include "foundation/fmsdk.h"

#include <QDate>
#include <QDateTime>
#include <QHash>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <algorithm>
#include <cmath>
#include <ctime>

QString fmReportKeyName(fmReportKey key)
{
    switch (key) {
    case fmReportKey::User:
        return QStringLiteral("user");
    case fmReportKey::Project:
        return QStringLiteral("project");
    case fmReportKey::Month:
        return QStringLiteral("month");
    case fmReportKey::Software:
        return QStringLiteral("software");
    }
    return QString();
}

bool fmReportKeyFromName(const QString& name, fmReportKey& key)
{
    for (fmReportKey k : {fmReportKey::User, fmReportKey::Project, fmReportKey::Month, fmReportKey::Software})
        if (name.compare(fmReportKeyName(k), Qt::CaseInsensitive) == 0) {
            key = k;
            return true;
        }
    return false;
}

QString fmReportMonth(qint64 secondsSinceEpoch)
{
    // localtime_r rather than QDateTime: a report converts every job, and this is many times faster.
    const time_t t = time_t(secondsSinceEpoch);
    struct tm tm = {};
    if (!localtime_r(&t, &tm)) return QStringLiteral("unknown");
    const int year = tm.tm_year + 1900;
    const int month = tm.tm_mon + 1;
    QString s = QString::number(year).rightJustified(4, QLatin1Char('0'));
    s += QLatin1Char('-');
    s += QLatin1Char(char('0' + month / 10));
    s += QLatin1Char(char('0' + month % 10));
    return s;
}

bool fmReportParseDate(const QString& text, bool endOfDay, qint64& seconds)
{
    const QDate d = QDate::fromString(text, Qt::ISODate);
    if (!d.isValid() || text.size() != 10) return false;
    const QDateTime t = endOfDay ? QDateTime(d.addDays(1), QTime(0, 0), Qt::LocalTime).addSecs(-1)
                                 : QDateTime(d, QTime(0, 0), Qt::LocalTime);
    seconds = t.toSecsSinceEpoch();
    return true;
}

bool fmReportFilter::accepts(const fmHistorySummary& summary, const fmJobSummary& job) const
{
    if (job.DateFinished < From || job.DateFinished > To) return false;
    if (Projects.isEmpty()) return true;
    const QString project = summary.projectOf(job);
    for (const QString& p : Projects)
        if (p.compare(project, Qt::CaseInsensitive) == 0) return true;
    return false;
}

void fmReportRow::add(const fmJobSummary& job)
{
    ++Jobs;
    RenderHours += double(job.ExecutionTime) / 3600.0;
    Frames += job.Frames;
    GhzHours += double(job.GhzHours);
    Errors += job.Errors;
}

fmReport fmBuildReport(const fmHistorySummary& summary, const QList<fmReportKey>& by,
                       const fmReportFilter& filter, double costPerGhzHour)
{
    fmReport report;
    report.By = by.mid(0, 4); // four keys at most, each once
    QHash<QString, int> rowOf;
    // Month texts by quarter hour: every zone's midnights and clock changes fall on one, so all
    // seconds of a quarter hour have one month. Saves a local-time conversion per job.
    QHash<qint64, QString> months;
    auto monthOf = [&months](qint64 t) {
        const qint64 q = t >= 0 ? t / 900 : (t - 899) / 900;
        auto it = months.constFind(q);
        return it != months.constEnd() ? *it : *months.insert(q, fmReportMonth(t));
    };
    QString values[4];
    QString joined;
    for (const fmJobSummary& job : summary.Jobs) {
        if (!filter.accepts(summary, job)) continue;
        report.Total.add(job);
        if (by.isEmpty()) continue; // no groups: the total alone
        joined.clear();
        for (int i = 0; i < by.size() && i < 4; ++i) {
            switch (by[i]) {
            case fmReportKey::User:
                values[i] = job.User;
                break;
            case fmReportKey::Project:
                values[i] = summary.projectOf(job);
                break;
            case fmReportKey::Month:
                values[i] = monthOf(job.DateFinished);
                break;
            case fmReportKey::Software:
                values[i] = job.Software;
                break;
            }
            joined += values[i];
            joined += QChar(0x1f);
        }
        auto it = rowOf.constFind(joined);
        if (it == rowOf.constEnd()) {
            it = rowOf.insert(joined, int(report.Rows.size()));
            report.Rows.append(fmReportRow());
            for (int i = 0; i < by.size() && i < 4; ++i)
                report.Rows.last().Key.append(values[i]);
        }
        report.Rows[it.value()].add(job);
    }
    std::sort(report.Rows.begin(), report.Rows.end(), [](const fmReportRow& a, const fmReportRow& b) {
        for (int i = 0; i < a.Key.size() && i < b.Key.size(); ++i) {
            int c = a.Key[i].compare(b.Key[i], Qt::CaseInsensitive);
            if (c == 0) c = a.Key[i].compare(b.Key[i]);
            if (c != 0) return c < 0;
        }
        return false;
    });
    for (fmReportRow& r : report.Rows)
        r.Cost = r.GhzHours * costPerGhzHour;
    report.Total.Cost = report.Total.GhzHours * costPerGhzHour;
    return report;
}

QStringList fmReportMeasureTitles(const QString& costDisplay)
{
    return {QStringLiteral("jobs"),      QStringLiteral("render hours"),        QStringLiteral("frames"),
            QStringLiteral("GHz hours"), QStringLiteral("cost ") + costDisplay, QStringLiteral("errors")};
}

QStringList fmReportMeasureTexts(const fmReportRow& row, QChar decimalMark)
{
    auto fixed = [decimalMark](double v) {
        QString s = QString::number(v, 'f', 2);
        if (decimalMark != QLatin1Char('.')) s.replace(QLatin1Char('.'), decimalMark);
        return s;
    };
    return {QString::number(row.Jobs), fixed(row.RenderHours), QString::number(row.Frames),
            fixed(row.GhzHours),       fixed(row.Cost),        QString::number(row.Errors)};
}

namespace {

QStringList keyTitles(const fmReport& report)
{
    QStringList t;
    for (fmReportKey k : report.By)
        t.append(fmReportKeyName(k));
    return t;
}

// The total row's key cells: "total" in the first, the others empty.
QStringList totalKey(const fmReport& report)
{
    QStringList k;
    for (int i = 0; i < report.By.size(); ++i)
        k.append(i == 0 ? QStringLiteral("total") : QString());
    if (k.isEmpty()) k.append(QStringLiteral("total"));
    return k;
}

} // namespace

QString fmReportTable(const fmReport& report, const QString& costDisplay)
{
    QList<QStringList> lines;
    QStringList head = keyTitles(report);
    if (head.isEmpty()) head.append(QString());
    lines.append(head + fmReportMeasureTitles(costDisplay));
    const int keyCols = int(head.size());
    for (const fmReportRow& r : report.Rows)
        lines.append((keyCols > r.Key.size() ? QStringList{QString()} : r.Key) + fmReportMeasureTexts(r));
    lines.append(totalKey(report) + fmReportMeasureTexts(report.Total));
    QList<int> width(lines.first().size(), 0);
    for (const QStringList& l : lines)
        for (int i = 0; i < l.size() && i < width.size(); ++i)
            width[i] = std::max(width[i], int(l[i].size()));
    QString out;
    for (const QStringList& l : lines) {
        QString line;
        for (int i = 0; i < l.size() && i < width.size(); ++i) {
            if (i > 0) line += QStringLiteral("  ");
            // Keys left, measures right.
            line += i < keyCols ? l[i].leftJustified(width[i]) : l[i].rightJustified(width[i]);
        }
        while (line.endsWith(QLatin1Char(' ')))
            line.chop(1);
        out += line + QLatin1Char('\n');
    }
    return out;
}

QString fmReportCsv(const fmReport& report, const QString& costDisplay, QChar decimalMark)
{
    auto cell = [](QString s) { return s.remove(QLatin1Char(';')) + QLatin1Char(';'); };
    auto line = [&](const QStringList& cells) {
        QString l;
        for (const QString& c : cells)
            l += cell(c);
        return l + QStringLiteral("\r\n");
    };
    QString out = line(keyTitles(report) + fmReportMeasureTitles(costDisplay));
    for (const fmReportRow& r : report.Rows)
        out += line(r.Key + fmReportMeasureTexts(r, decimalMark));
    QStringList total = totalKey(report);
    if (report.By.isEmpty()) total.clear(); // no key column: the last line is the total
    out += line(total + fmReportMeasureTexts(report.Total, decimalMark));
    return out;
}

namespace {

QJsonObject measures(const fmReportRow& r)
{
    auto round2 = [](double v) { return std::round(v * 100.0) / 100.0; };
    return QJsonObject{
        {QStringLiteral("jobs"), double(r.Jobs)},     {QStringLiteral("renderHours"), round2(r.RenderHours)},
        {QStringLiteral("frames"), double(r.Frames)}, {QStringLiteral("ghzHours"), round2(r.GhzHours)},
        {QStringLiteral("cost"), round2(r.Cost)},     {QStringLiteral("errors"), double(r.Errors)}};
}

} // namespace

QByteArray fmReportJson(const fmReport& report)
{
    QJsonArray rows;
    for (const fmReportRow& r : report.Rows) {
        QJsonObject key;
        for (int i = 0; i < report.By.size() && i < r.Key.size(); ++i)
            key.insert(fmReportKeyName(report.By[i]), r.Key[i]);
        QJsonObject o = measures(r);
        o.insert(QStringLiteral("key"), key);
        rows.append(o);
    }
    return QJsonDocument(
               QJsonObject{{QStringLiteral("rows"), rows}, {QStringLiteral("total"), measures(report.Total)}})
        .toJson(QJsonDocument::Indented);
}

fmReportSettings fmReportSettingsOf(__FMSDK& app)
{
    fmReportSettings s;
    if (const float* cost = app.cfgGetF("cfgCost")) s.Cost = double(*cost);
    if (const fmString<100>* d = app.cfgGetS("cfgCostDisplay")) s.CostDisplay = d->toQString();
    if (const fmString<100>* m = app.cfgGetS("cfgLocalDecimalMark"); m && m->len() > 0)
        s.DecimalMark = QChar(m->Data[0]);
    s.Speeds.resize(size_t(fmJ::JobClients_Max));
    s.Speeds.resize(size_t(fmJ::fmJobClientSpeeds(app, s.Speeds.data(), fmJ::JobClients_Max)));
    s.HistoryFolder = app.HistoryDbPath.toQString();
    const QString local = app.LocalDataPath.isEmpty() ? QStringLiteral("/var/tmp/FM_localdata/")
                                                      : app.LocalDataPath.toQString();
    s.CacheFolder = fmHistorySummaryCache::defaultFolder(local);
    return s;
}
