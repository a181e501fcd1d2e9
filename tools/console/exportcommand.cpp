// "export": the jobs of one project, or of all of them into one file, as CSV: byte for byte what
// the window's export writes for the same jobs.

#include "app/fm.h"
#include "browser/fmprojecttable.h"
#include "foundation/fmfileread.h"
#include "jobs/fmjoblist.h"
#include "tools/console/consolecommand.h"
#include "tools/console/consoleio.h"

#include <QFile>
#include <QFileInfo>

#include <memory>

namespace {

const fmConsoleOption kOptions[] = {
    {.Name = "--project",
     .Value = "NAME",
     .Needs = "a project name",
     .Help = "The project, as 'projects' lists it (case does not matter)."},
    {.Name = "--all", .Help = "Every project in the table's order, into one file with one header."},
    {.Name = "--output",
     .Alias = "-o",
     .Value = "FILE",
     .Needs = "a file name",
     .Help = "The CSV file to write; \"-\" writes to standard output (log lines then go to\n"
             "standard error)."},
};

QString check(fmConsoleArgs& args)
{
    if (!args.Positional.isEmpty())
        return QStringLiteral("Unexpected argument '%1'").arg(args.Positional.first());
    if (args.has("--all") == args.has("--project"))
        return QStringLiteral("export needs either --project NAME or --all");
    if (!args.has("--output")) return QStringLiteral("export needs -o FILE");
    args.DataOnStdout = args.value("--output") == QLatin1String("-");
    return QString();
}

// The table's indexes of the projects to export; empty (with the message printed) when none.
QList<int> chosenProjects(const fmConsoleArgs& args, const fmProjectTable& table, int& result)
{
    QList<int> indexes;
    if (args.has("--all")) {
        for (int i = 0; i < table.nrOfProjects; ++i)
            indexes.append(i);
        if (indexes.isEmpty()) {
            fmConsolePrintErr(
                QStringLiteral("No projects in '%1'; nothing written.\n").arg(FM.HistoryDbPath.toQString()));
            result = fmExitFailed;
        }
        return indexes;
    }
    // Project names match without regard to case, as the table groups them.
    const QString name = args.value("--project");
    for (int i = 0; i < table.nrOfProjects && indexes.isEmpty(); ++i)
        if (table.projects[size_t(i)].Name.compare(name, Qt::CaseInsensitive) == 0 ||
            fmPathForDisplay(table.projects[size_t(i)].Name).compare(name, Qt::CaseInsensitive) == 0)
            indexes.append(i);
    if (indexes.isEmpty()) {
        fmConsolePrintErr(
            QStringLiteral("Unknown project '%1'; 'fmHistorydbconsole projects' lists them.\n").arg(name));
        result = fmExitUsage;
    }
    return indexes;
}

int run(const fmConsoleArgs& args)
{
    auto table = std::make_unique<fmProjectTable>(FM);
    table->loadProjectList();
    auto list = std::make_unique<fmJ::_JobList>(FM);
    // "-o -": standard output, with the same bytes that a file would get.
    const QString output = args.value("--output");
    const bool toStdout = output == QLatin1String("-");
    const QString path = toStdout ? QStringLiteral("-") : QFileInfo(output).absoluteFilePath();
    QFile out;
    if (toStdout && !out.open(stdout, QIODevice::WriteOnly)) {
        fmConsolePrintErr(QStringLiteral("Unable to write to standard output\n"));
        return fmExitFailed;
    }
    int result = fmExitOk;
    const QList<int> indexes = chosenProjects(args, *table, result);
    if (indexes.isEmpty()) return result;

    const bool all = args.has("--all");
    long long jobs = 0;
    for (int n = 0; n < indexes.size(); ++n) {
        QString message;
        const auto r = table->loadProjectJobs(indexes[n], *list, message);
        if (r != fmProjectTable::LoadDone) {
            // As the window's walk does: what the list holds goes out, and the walk goes on.
            if (message.isEmpty())
                message = QStringLiteral("Unable to load project '%1'")
                              .arg(table->projects[size_t(indexes[n])].Name);
            FM.WriteLog(2, 0, message, QStringLiteral("console,export"));
            result = fmExitFailed;
            if (!all) return result;
        }
        // A given file gets no header from exportAsCSV: it is written here once, in its encoding.
        if (toStdout && n == 0) out.write(fmJ::_JobList::csvHeader(FM).toLocal8Bit());
        if (!list->exportAsCSV(path, nullptr, toStdout ? &out : nullptr, true, n > 0)) {
            fmConsolePrintErr(QStringLiteral("Unable to save all jobs into '%1'\n").arg(path));
            return fmExitFailed;
        }
        jobs += list->JobCount;
    }
    if (toStdout && !out.flush()) {
        fmConsolePrintErr(QStringLiteral("Unable to write to standard output; %1\n").arg(out.errorString()));
        return fmExitFailed;
    }
    if (!toStdout && args.Verbose)
        fmConsolePrint(QStringLiteral("%1 jobs of %2 project(s) written to '%3'\n")
                           .arg(jobs)
                           .arg(indexes.size())
                           .arg(path));
    return result;
}

} // namespace

extern const fmConsoleCommand fmConsoleExport = {
    .Name = "export",
    .Summary = "write the jobs of a project, or of all projects, as CSV",
    .Synopsis = "export --project NAME -o FILE\n"
                "export --all -o FILE",
    .Description =
        "All jobs of one project, or of every project into one file with one header, as CSV: byte\n"
        "for byte what the window's export writes for the same jobs. A project that fails to load\n"
        "is reported; with --all the others are still written.",
    .Options = kOptions,
    .ExitStatus = "0    done\n"
                  "1    a project failed to load, or the file could not be written\n"
                  "2    bad arguments, unknown project\n"
                  "100  start-up failed (no root, no configuration)",
    .Example = "$ fmHistorydbconsole -fmRoot /mnt/farm export --project Aurora_Documentary -o aurora.csv\n"
               "$ fmHistorydbconsole -fmRoot /mnt/farm export --all -o - | gzip > costs.csv.gz",
    .NeedsRoot = true,
    .Check = check,
    .Run = run,
};
