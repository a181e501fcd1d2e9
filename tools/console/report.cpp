// fmHistorydbconsole report [--by user|project|month|software]... [--from DATE] [--to DATE]
//                           [--project NAME]... [--format table|csv|json]

#include "tools/console/report.h"

#include "app/fm.h"
#include "browser/fmhistoryreport.h"
#include "tools/console/consolecommand.h"

#include <cstdio>

namespace {

struct ReportArgs
{
    QList<fmReportKey> By;
    fmReportFilter Filter;
    QString Format = QStringLiteral("table");
    bool Verbose = false;
};

void printTo(FILE* f, const QByteArray& bytes)
{
    std::fwrite(bytes.constData(), 1, size_t(bytes.size()), f);
}

QString parse(const QStringList& args, ReportArgs& r)
{
    bool seenCommand = false;
    for (int i = 1; i < args.size(); ++i) {
        const QString& a = args[i];
        auto value = [&](QString& out) {
            if (i + 1 >= args.size()) return false;
            out = args[++i];
            return true;
        };
        QString v;
        if (fmConsoleIsFamilyValueOption(a)) {
            ++i;
        } else if (a == QLatin1String("--by")) {
            fmReportKey k = fmReportKey::User;
            if (!value(v) || !fmReportKeyFromName(v, k))
                return QStringLiteral("--by needs user, project, month or software, not '%1'").arg(v);
            if (r.By.contains(k)) return QStringLiteral("--by %1 given twice").arg(v);
            r.By.append(k);
        } else if (a == QLatin1String("--from") || a == QLatin1String("--to")) {
            const bool to = a == QLatin1String("--to");
            if (!value(v) || !fmReportParseDate(v, to, to ? r.Filter.To : r.Filter.From))
                return QStringLiteral("%1 needs a date as 2026-10-01, not '%2'").arg(a, v);
        } else if (a == QLatin1String("--project")) {
            if (!value(v) || v.isEmpty()) return QStringLiteral("--project needs a project name");
            r.Filter.Projects.append(v);
        } else if (a == QLatin1String("--format")) {
            if (!value(v) ||
                !QStringList{QStringLiteral("table"), QStringLiteral("csv"), QStringLiteral("json")}.contains(
                    v))
                return QStringLiteral("--format needs table, csv or json, not '%1'").arg(v);
            r.Format = v;
        } else if (a == QLatin1String("--verbose")) {
            r.Verbose = true;
        } else if (a.startsWith(QLatin1String("--"))) {
            return QStringLiteral("Unknown option '%1'").arg(a);
        } else if (a.startsWith(QLatin1Char('-')) && a.size() > 1) {
            // An option of the family's start-up; the start-up reads it.
        } else if (!seenCommand && a == QLatin1String("report")) {
            seenCommand = true;
        } else {
            return QStringLiteral("Unexpected argument '%1'").arg(a);
        }
    }
    if (r.Filter.From > r.Filter.To) return QStringLiteral("--from is later than --to");
    return QString();
}

} // namespace

bool fmConsoleIsReport(const QStringList& args)
{
    for (int i = 1; i < args.size(); ++i) {
        if (fmConsoleIsFamilyValueOption(args[i])) {
            ++i;
            continue;
        }
        if (!args[i].startsWith(QLatin1Char('-'))) return args[i] == QLatin1String("report");
    }
    return false;
}

int fmConsoleReport(const QStringList& args, int argc, char** argv)
{
    ReportArgs r;
    const QString why = parse(args, r);
    if (!why.isEmpty()) {
        printTo(
            stderr,
            QStringLiteral("fmHistorydbconsole: %1\nTry 'fmHistorydbconsole --help'.\n").arg(why).toUtf8());
        return 2;
    }
    // Log lines go to standard error: standard output holds the report alone.
    FM.NoUILog = true;
    // By value: FM outlives this function and still logs at its end.
    QObject::connect(&FM, &__FM::signalLogUI, &FM,
                     [verbose = r.Verbose](int level, int flags, const QString& text, const QString& where) {
                         if ((flags & fmLog_FileOnly) || (level > 2 && !verbose)) return;
                         QString line;
                         FM.FormatLogMessage(level, flags, text, where, line);
                         printTo(stderr, line.toUtf8() + '\n');
                     });
    if (!FM.SetupCfg(argc, argv, false, nullptr)) return 100;
    FM.NoUILog = true;

    const fmReportSettings s = fmReportSettingsOf(FM);
    fmHistorySummaryReader reader;
    reader.setCacheFolder(s.CacheFolder);
    reader.setClientSpeeds(s.Speeds);
    reader.setProjects(r.Filter.Projects);
    const fmHistorySummary summary = reader.read(s.HistoryFolder);
    const fmReport report = fmBuildReport(summary, r.By, r.Filter, s.Cost);

    if (r.Format == QLatin1String("json"))
        printTo(stdout, fmReportJson(report));
    else if (r.Format == QLatin1String("csv"))
        printTo(stdout, fmReportCsv(report, s.CostDisplay, s.DecimalMark).toUtf8());
    else
        printTo(stdout, fmReportTable(report, s.CostDisplay).toUtf8());
    std::fflush(stdout);
    // A damaged file is named; the rest is summed all the same.
    for (const QString& d : summary.DamagedFiles)
        printTo(stderr, (QStringLiteral("damaged: ") + d + QLatin1Char('\n')).toUtf8());
    return summary.DamagedFiles.isEmpty() ? 0 : 1;
}
