// "demo-root": a complete demo farm root made from nothing, the same for the same seed.

#include "app/fm.h"
#include "jobs/fmjoblist.h"
#include "tools/console/consolecommand.h"
#include "tools/console/consoleio.h"
#include "tools/console/demoroot.h"

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>

namespace {

const fmConsoleOption kOptions[] = {
    {.Name = "--projects", .Value = "N", .Needs = "a number", .Help = "Projects, 1 to 40 (default 6)."},
    {.Name = "--jobs",
     .Value = "N",
     .Needs = "a number",
     .Help = "Jobs of the largest project, 1 to 15000 (default 240); the others get fewer."},
    {.Name = "--seed",
     .Value = "S",
     .Needs = "a number",
     .Help = "Any unsigned number (default 1). The same seed gives the same files."},
};

// The options as the generator takes them; the reason when one is wrong.
QString readOptions(const fmConsoleArgs& args, fmDemoRootOptions& o)
{
    QString why;
    long long n = 0;
    if (!args.number("--projects", 1, 40, 6, n, why)) return why;
    o.Projects = int(n);
    if (!args.number("--jobs", 1, fmJ::_JobList::MaxJobs, 0, n, why)) return why;
    o.Jobs = int(n);
    if (args.has("--seed")) {
        bool ok = false;
        o.Seed = args.value("--seed").toULongLong(&ok);
        if (!ok) return QStringLiteral("--seed needs an unsigned number, not '%1'").arg(args.value("--seed"));
    }
    return QString();
}

QString check(fmConsoleArgs& args)
{
    if (args.Positional.size() != 1) return QStringLiteral("demo-root needs exactly one folder");
    fmDemoRootOptions o;
    return readOptions(args, o);
}

void printReport(const QString& dir, const fmDemoRootReport& r)
{
    int old = 0, images = 0;
    for (const fmDemoProjectReport& p : r.Projects) {
        old += p.OldFrames;
        images += p.Images;
    }
    fmConsolePrint(
        QStringLiteral("Demo root '%1': %2 projects, %3 jobs (%4 in old layouts), %5 clients, %6 users in "
                       "%7 groups, %8 FOI images, %9 MB\n")
            .arg(dir)
            .arg(r.Projects.size())
            .arg(r.totalJobs())
            .arg(old)
            .arg(r.Clients)
            .arg(r.Users)
            .arg(r.Groups)
            .arg(images)
            .arg(double(r.Bytes) / (1024.0 * 1024.0), 0, 'f', 1));
    fmConsolePrint(QStringLiteral("Start it with: %1/bin/lx/fmHistorydb\n").arg(dir));
}

int run(const fmConsoleArgs& args)
{
    fmDemoRootOptions o;
    readOptions(args, o);
    o.Dir = args.Positional.first();
    o.ExecutableDir = QCoreApplication::applicationDirPath();
    if (QFileInfo::exists(QDir(o.Dir).filePath(QStringLiteral("sub")))) {
        fmConsolePrintErr(
            QStringLiteral("'%1' already holds a farm root; choose a new folder.\n").arg(o.Dir));
        return fmExitFailed;
    }
    fmDemoRootReport r;
    const QString error = fmCreateDemoRoot(FM, o, &r);
    if (!error.isEmpty()) {
        fmConsolePrintErr(error + QLatin1Char('\n'));
        return fmExitFailed;
    }
    printReport(QDir(o.Dir).absolutePath(), r);
    return fmExitOk;
}

} // namespace

extern const fmConsoleCommand fmConsoleDemoRoot = {
    .Name = "demo-root",
    .Summary = "create a complete demo farm root",
    .Synopsis = "demo-root DIR [--projects N] [--jobs N] [--seed S]",
    .Description =
        "Creates a farm root in the new folder DIR (no root needed): configuration, 41 clients, 13 users\n"
        "in two groups, two years of projects in \".db61\" and \".db\" files (the oldest split over\n"
        "\"__archive/\", frames of the old layouts among the current one), FOI images, and bin/lx/ with\n"
        "both programs and an fmSubmitter script that records its arguments in\n"
        "sub/log/submitter_calls.txt. No clock is read: the same seed gives the same files.",
    .Options = kOptions,
    .ExitStatus = "0  done\n"
                  "1  DIR already holds a root, or a file could not be written\n"
                  "2  bad arguments",
    .Example = "$ fmHistorydbconsole demo-root /tmp/demo --jobs 15000\n"
               "$ /tmp/demo/bin/lx/fmHistorydb",
    .NeedsRoot = false,
    .Check = check,
    .Run = run,
};
