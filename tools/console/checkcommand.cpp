// "check": loads database files one by one and reports the jobs loaded and the frames that
// failed, with the loader's own messages.

#include "app/fm.h"
#include "jobs/fmjoblist.h"
#include "tools/console/consolecommand.h"
#include "tools/console/consoleio.h"

#include <QFileInfo>

#include <memory>

namespace {

QString check(fmConsoleArgs& args)
{
    if (args.Positional.isEmpty()) return QStringLiteral("check needs at least one database file");
    return QString();
}

struct Totals
{
    long long Jobs = 0, Failed = 0, Skipped = 0, Unreadable = 0;
};

QString levelTag(int level)
{
    return level == 0 ? QStringLiteral("CRF ") : level == 1 ? QStringLiteral("ERR ") : QStringLiteral("WRN ");
}

// Loads one file and prints its lines; false when it failed or skipped a frame. Counts and messages
// come from the loader's own report: the farm's log levels do not hide them.
bool checkFile(const QString& name, fmJ::_JobList& list, Totals& totals)
{
    const QFileInfo info(name);
    if (!info.isFile()) {
        fmConsolePrint(QStringLiteral("%1: not found\n").arg(name));
        ++totals.Unreadable;
        return false;
    }
    fmConsoleLogSink& sink = fmConsoleLog();
    list.deleteAll();
    sink.Capture = true; // the report below tells them once
    const bool read = list.LoadFileJobs(info.absoluteFilePath());
    sink.Capture = false;
    sink.Captured.clear();
    const fmJ::_JobList::LoadReport& r = list.LastLoad;
    if (!read) {
        fmConsolePrint(QStringLiteral("%1: could not be read; %2 loaded before the failure\n")
                           .arg(name, fmConsolePlural(r.Loaded, "job")));
        ++totals.Unreadable;
    } else {
        fmConsolePrint(QStringLiteral("%1: %2 loaded, %3 failed, %4 skipped\n")
                           .arg(name, fmConsolePlural(r.Loaded, "job"), fmConsolePlural(r.Failed, "frame"),
                                fmConsolePlural(r.Skipped, "frame")));
    }
    totals.Failed += r.Failed;
    totals.Skipped += r.Skipped;
    for (const auto& [level, text] : r.Messages)
        fmConsolePrint(QStringLiteral("    ") + levelTag(level) + text.trimmed() + QLatin1Char('\n'));
    totals.Jobs += r.Loaded;
    std::fflush(stdout);
    return read && r.Failed == 0 && r.Skipped == 0;
}

int run(const fmConsoleArgs& args)
{
    int result = fmExitOk;
    Totals totals;
    auto list = std::make_unique<fmJ::_JobList>(FM);
    for (const QString& name : args.Positional)
        if (!checkFile(name, *list, totals)) result = fmExitFailed;
    if (args.Positional.size() > 1)
        fmConsolePrint(QStringLiteral("checked %1: %2, %3 failed, %4 unreadable, %5 skipped\n")
                           .arg(fmConsolePlural(args.Positional.size(), "file"),
                                fmConsolePlural(totals.Jobs, "job"), fmConsolePlural(totals.Failed, "frame"))
                           .arg(totals.Unreadable)
                           .arg(fmConsolePlural(totals.Skipped, "frame")));
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
