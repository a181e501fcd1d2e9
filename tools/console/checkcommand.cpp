// "check": loads database files one by one and reports the jobs loaded and the frames that
// failed, with the loader's own messages.

#include "app/fm.h"
#include "jobs/fmjoblist.h"
#include "tools/console/consolecommand.h"
#include "tools/console/consoleio.h"

#include <QFileInfo>
#include <QRegularExpression>

#include <memory>

namespace {

QString check(fmConsoleArgs& args)
{
    if (args.Positional.isEmpty()) return QStringLiteral("check needs at least one database file");
    return QString();
}

struct Totals
{
    long long Jobs = 0, Failed = 0, Unreadable = 0;
};

// Loads one file and prints its lines; false when it failed.
bool checkFile(const QString& name, fmJ::_JobList& list, Totals& totals)
{
    static const QRegularExpression failedLine(
        QStringLiteral("^\\{ALL\\} (\\d+) Jobs in jobs\\.db could not be loaded"));
    const QFileInfo info(name);
    if (!info.isFile()) {
        fmConsolePrint(QStringLiteral("%1: not found\n").arg(name));
        ++totals.Unreadable;
        return false;
    }
    fmConsoleLogSink& sink = fmConsoleLog();
    list.deleteAll();
    sink.Captured.clear();
    sink.Capture = true;
    const bool read = list.LoadFileJobs(info.absoluteFilePath());
    sink.Capture = false;
    int failed = 0;
    QStringList messages;
    for (const auto& [level, text] : std::as_const(sink.Captured)) {
        if (level > 2) continue;
        const auto m = failedLine.match(text);
        if (m.hasMatch()) failed = m.captured(1).toInt();
        messages.append((level == 0   ? QStringLiteral("CRF ")
                         : level == 1 ? QStringLiteral("ERR ")
                                      : QStringLiteral("WRN ")) +
                        text.trimmed());
    }
    const QString jobs = fmConsolePlural(list.JobCount, "job");
    if (!read) {
        fmConsolePrint(
            QStringLiteral("%1: could not be read; %2 loaded before the failure\n").arg(name, jobs));
        ++totals.Unreadable;
    } else {
        fmConsolePrint(
            QStringLiteral("%1: %2 loaded, %3 failed\n").arg(name, jobs, fmConsolePlural(failed, "frame")));
        totals.Failed += failed;
    }
    for (const QString& m : messages)
        fmConsolePrint(QStringLiteral("    ") + m + QLatin1Char('\n'));
    totals.Jobs += list.JobCount;
    std::fflush(stdout);
    return read && failed == 0;
}

int run(const fmConsoleArgs& args)
{
    int result = fmExitOk;
    Totals totals;
    auto list = std::make_unique<fmJ::_JobList>(FM);
    for (const QString& name : args.Positional)
        if (!checkFile(name, *list, totals)) result = fmExitFailed;
    if (args.Positional.size() > 1)
        fmConsolePrint(QStringLiteral("checked %1: %2, %3 failed, %4 unreadable\n")
                           .arg(fmConsolePlural(args.Positional.size(), "file"),
                                fmConsolePlural(totals.Jobs, "job"), fmConsolePlural(totals.Failed, "frame"))
                           .arg(totals.Unreadable));
    return result;
}

} // namespace

extern const fmConsoleCommand fmConsoleCheck = {
    .Name = "check",
    .Summary = "load database files and report damaged frames",
    .Synopsis = "check FILE...",
    .Description =
        "Loads each database file (\".db\", \".db61\", backups too) and prints the jobs loaded and\n"
        "the frames that failed, with the loader's messages; e.g. after a server crash. Several\n"
        "files end with a line of totals.",
    .Options = {},
    .ExitStatus = "0    every file loaded without a failed frame\n"
                  "1    a frame failed or a file could not be read\n"
                  "2    bad arguments\n"
                  "100  start-up failed (no root, no configuration)",
    .Example = "$ fmHistorydbconsole -fmRoot /mnt/farm check /mnt/farm/sub/history_db/*.db*\n"
               "/mnt/farm/sub/history_db/Aurora_Documentary.db: 240 jobs loaded, 0 frames failed",
    .NeedsRoot = true,
    .Check = check,
    .Run = run,
};
