// fmHistorydbconsole: the history databases without a window. Lists the projects, exports their
// jobs as CSV, checks database files, and makes a demo farm root.
//
// It finds the shared root and starts up as the window program does (its own place in
// <root>/bin/lx/, or "-fmRoot <root>" anywhere among the arguments) and logs as a console
// program: lines go to standard output, never to a box.
//
// Exit status: 0 done, 1 a file failed (damaged frame, unreadable file, failed write),
// 2 bad arguments, 100 start-up failed (no root, no configuration, no clients).

#include "app/fm.h"
#include "browser/fmprojecttable.h"
#include "jobs/fmjoblist.h"
#include "tools/console/demoroot.h"
#include "tools/console/sqlcommand.h"

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QRegularExpression>

#include <cstdio>
#include <memory>

__FM FM(true, fm_AppType_HistoryDB, "fmHistorydbconsole", false);

namespace {

constexpr int ExitOk = 0;
constexpr int ExitFailed = 1;
constexpr int ExitUsage = 2;
constexpr int ExitStartup = 100;

const char* const kUsage =
    "Usage: fmHistorydbconsole [-fmRoot <root>] [-debug] [--verbose] <command> [options]\n"
    "\n"
    "The root is found as fmHistorydb finds it: from the program's place in <root>/bin/lx/,\n"
    "or from \"-fmRoot <root>\", which may stand anywhere among the arguments.\n"
    "\n"
    "Commands:\n"
    "  projects [--json] [--exact]\n"
    "      The project table, one project a line as the project list shows it: month of the\n"
    "      last job, job count (\"~\" for an estimate from the file sizes), name. --exact loads\n"
    "      every project to count its jobs. --json prints the table as JSON.\n"
    "  export --project NAME -o FILE\n"
    "  export --all -o FILE\n"
    "      All jobs of one project, or of all projects in table order into one file with one\n"
    "      header, as CSV (the format of the window's export). \"-o -\" writes to standard output.\n"
    "  check FILE...\n"
    "      Loads each database file and reports the jobs loaded and the frames that failed,\n"
    "      with the loader's messages. Exit status 1 if a frame failed or a file could not be read.\n"
    "  demo-root DIR [--projects N] [--jobs N] [--seed S]\n"
    "      Creates a complete demo farm root in DIR (no root needed). --projects: 1 to 40\n"
    "      (default 6); --jobs: jobs of the largest project, 1 to 15000 (default 240; the\n"
    "      others get fewer); --seed: any unsigned number (default 1). The same seed gives\n"
    "      the same root.\n"
    "  sql (--sqlite FILE | --postgres CONNINFO) [--project NAME]...\n"
    "      Writes the jobs into an SQL database or brings it up to date ('sql --help' tells more).\n"
    "      Exit status 3 if the database cannot be reached or written.\n"
    "  --help\n"
    "      This text.\n"
    "\n"
    "Exit status: 0 done, 1 a file failed, 2 bad arguments, 100 start-up failed.\n";

// Options of the family's start-up that take a value: their value is no command word.
bool isFamilyValueOption(const QString& a)
{
    static const char* const names[] = {"-fmRoot", "-loadstatus", "-LocalDataFolder", "-ThreadCheckFolder", "-OMName", "-OMN",
                                        "-OUName", "-OverrideServerName", "-OSN", "-defaultFontSize", "-smallerFontSize"};
    for (const char* n : names)
        if (a.compare(QLatin1String(n), Qt::CaseInsensitive) == 0) return true;
    // The root search takes any argument that begins with "-fmRoot" or "-loadstatus".
    return a.startsWith(QLatin1String("-fmRoot"), Qt::CaseInsensitive) ||
           a.startsWith(QLatin1String("-loadstatus"), Qt::CaseInsensitive);
}

struct Command
{
    QString Name;           // projects, export, check, demo-root, help
    QStringList Positional; // behind the command word
    bool Json = false, Exact = false, All = false, Verbose = false, Help = false;
    QString Project, Output;
    bool HasProject = false, HasOutput = false;
    int Projects = 6, Jobs = 0;
    uint64_t Seed = 1;
};

// Parses the arguments; returns an empty text or the reason they are wrong.
QString parseArgs(const QStringList& args, Command& cmd)
{
    auto number = [](const QString& text, long long lo, long long hi, long long& out) {
        bool ok = false;
        out = text.toLongLong(&ok);
        return ok && out >= lo && out <= hi;
    };
    for (int i = 1; i < args.size(); ++i) {
        const QString& a = args[i];
        auto value = [&](QString& out) -> bool {
            if (i + 1 >= args.size()) return false;
            out = args[++i];
            return true;
        };
        if (a == QLatin1String("--help") || a == QLatin1String("-h")) {
            cmd.Help = true;
            continue;
        }
        if (a == QLatin1String("--verbose")) {
            cmd.Verbose = true;
        } else if (isFamilyValueOption(a)) {
            ++i; // its value; the start-up reads both
        } else if (a == QLatin1String("--json")) {
            cmd.Json = true;
        } else if (a == QLatin1String("--exact")) {
            cmd.Exact = true;
        } else if (a == QLatin1String("--all")) {
            cmd.All = true;
        } else if (a == QLatin1String("--project")) {
            if (!value(cmd.Project) || cmd.Project.isEmpty()) return QStringLiteral("--project needs a project name");
            cmd.HasProject = true;
        } else if (a == QLatin1String("-o") || a == QLatin1String("--output")) {
            if (!value(cmd.Output) || cmd.Output.isEmpty()) return QStringLiteral("%1 needs a file name").arg(a);
            cmd.HasOutput = true;
        } else if (a == QLatin1String("--projects") || a == QLatin1String("--jobs") || a == QLatin1String("--seed")) {
            QString v;
            long long n = 0;
            if (!value(v)) return QStringLiteral("%1 needs a number").arg(a);
            if (a == QLatin1String("--seed")) {
                bool ok = false;
                cmd.Seed = v.toULongLong(&ok);
                if (!ok) return QStringLiteral("--seed needs an unsigned number, not '%1'").arg(v);
            } else if (a == QLatin1String("--projects")) {
                if (!number(v, 1, 40, n)) return QStringLiteral("--projects needs a number from 1 to 40, not '%1'").arg(v);
                cmd.Projects = int(n);
            } else {
                if (!number(v, 1, fmJ::_JobList::MaxJobs, n))
                    return QStringLiteral("--jobs needs a number from 1 to %1, not '%2'").arg(fmJ::_JobList::MaxJobs).arg(v);
                cmd.Jobs = int(n);
            }
        } else if (a.startsWith(QLatin1String("--"))) {
            return QStringLiteral("Unknown option '%1'").arg(a);
        } else if (a.startsWith(QLatin1Char('-')) && a.size() > 1) {
            // An option of the family's start-up ("-debug", "-darkUI", ...); the start-up reads it.
        } else if (cmd.Name.isEmpty()) {
            cmd.Name = a;
        } else {
            cmd.Positional.append(a);
        }
    }
    if (cmd.Help) cmd.Name = QStringLiteral("help");
    if (cmd.Name.isEmpty()) return QStringLiteral("No command given");
    static const QStringList known = {QStringLiteral("projects"), QStringLiteral("export"), QStringLiteral("check"),
                                      QStringLiteral("demo-root"), QStringLiteral("help")};
    if (!known.contains(cmd.Name)) return QStringLiteral("Unknown command '%1'").arg(cmd.Name);
    if (cmd.Name == QLatin1String("help")) return QString();

    // Options that the command does not take are refused: a misplaced one is a mistake.
    auto refuse = [&](bool present, const char* option) {
        return present ? QStringLiteral("'%1' does not take %2").arg(cmd.Name, QLatin1String(option)) : QString();
    };
    QString why;
    const bool demoOpts = cmd.Projects != 6 || cmd.Jobs != 0 || cmd.Seed != 1;
    if (cmd.Name == QLatin1String("projects")) {
        if (!cmd.Positional.isEmpty()) return QStringLiteral("Unexpected argument '%1'").arg(cmd.Positional.first());
        if (!(why = refuse(cmd.All || cmd.HasProject || cmd.HasOutput || demoOpts, "export or demo-root options")).isEmpty())
            return why;
    } else if (cmd.Name == QLatin1String("export")) {
        if (!cmd.Positional.isEmpty()) return QStringLiteral("Unexpected argument '%1'").arg(cmd.Positional.first());
        if (cmd.All == cmd.HasProject) return QStringLiteral("export needs either --project NAME or --all");
        if (!cmd.HasOutput) return QStringLiteral("export needs -o FILE");
        if (!(why = refuse(cmd.Json || cmd.Exact || demoOpts, "--json, --exact or demo-root options")).isEmpty()) return why;
    } else if (cmd.Name == QLatin1String("check")) {
        if (cmd.Positional.isEmpty()) return QStringLiteral("check needs at least one database file");
        if (!(why = refuse(cmd.Json || cmd.Exact || cmd.All || cmd.HasProject || cmd.HasOutput || demoOpts, "options"))
                 .isEmpty())
            return why;
    } else if (cmd.Name == QLatin1String("demo-root")) {
        if (cmd.Positional.size() != 1) return QStringLiteral("demo-root needs exactly one folder");
        if (!(why = refuse(cmd.Json || cmd.Exact || cmd.All || cmd.HasProject || cmd.HasOutput, "export or projects options"))
                 .isEmpty())
            return why;
    }
    return QString();
}

// ---- log lines

// Where the program's log lines go, and which are shown: errors and warnings always, the others
// with --verbose or the family's debug options.
struct LogSink
{
    bool Verbose = false;
    FILE* Out = stdout;
    bool Capture = false;
    QList<QPair<int, QString>> Captured; // level and raw text, while Capture is set
};
LogSink Sink;

void onLog(int level, int flags, const QString& text, const QString& where)
{
    if (flags & fmLog_FileOnly) return;
    if (Sink.Capture) {
        Sink.Captured.append({level, text});
        return;
    }
    if (level > 2 && !Sink.Verbose) return;
    QString line;
    FM.FormatLogMessage(level, flags, text, where, line);
    const QByteArray bytes = line.toUtf8() + '\n';
    std::fwrite(bytes.constData(), 1, size_t(bytes.size()), Sink.Out);
    std::fflush(Sink.Out);
}

void printOut(const QString& text)
{
    const QByteArray bytes = text.toUtf8();
    std::fwrite(bytes.constData(), 1, size_t(bytes.size()), stdout);
}

void printErr(const QString& text)
{
    const QByteArray bytes = text.toUtf8();
    std::fwrite(bytes.constData(), 1, size_t(bytes.size()), stderr);
}

QString plural(long long n, const char* word)
{
    return QStringLiteral("%1 %2%3").arg(n).arg(QLatin1String(word)).arg(n == 1 ? QString() : QStringLiteral("s"));
}

QString isoTime(const fmTime_t& t)
{
    return QDateTime::fromSecsSinceEpoch(t.t, Qt::UTC).toString(Qt::ISODate);
}

// ---- commands

int runProjects(const Command& cmd)
{
    auto table = std::make_unique<fmProjectTable>(FM);
    table->loadProjectList();
    int result = ExitOk;
    if (cmd.Exact) {
        auto list = std::make_unique<fmJ::_JobList>(FM);
        for (int i = 0; i < table->nrOfProjects; ++i) {
            QString message;
            const auto r = table->loadProjectJobs(i, *list, message);
            if (r == fmProjectTable::LoadFileMissing) FM.WriteLog(2, 0, message, QStringLiteral("console,projects"));
            if (r != fmProjectTable::LoadDone) result = ExitFailed;
        }
    }
    if (!cmd.Json) {
        for (int i = 0; i < table->nrOfProjects; ++i)
            printOut(fmProjectTable::comboText(table->projects[size_t(i)]) + QLatin1Char('\n'));
        return result;
    }
    QJsonArray projects;
    for (int i = 0; i < table->nrOfProjects; ++i) {
        const _projectInfo& p = table->projects[size_t(i)];
        QJsonArray files;
        for (const _projectInfo_files& f : p.Files)
            files.append(QJsonObject{{QStringLiteral("path"), f.FileName},
                                     {QStringLiteral("size"), double(f.Size)},
                                     {QStringLiteral("time"), isoTime(f.Time)}});
        projects.append(QJsonObject{{QStringLiteral("name"), p.Name},
                                    {QStringLiteral("files"), files},
                                    {QStringLiteral("first"), isoTime(p.DateFirst)},
                                    {QStringLiteral("last"), isoTime(p.DateLast)},
                                    {QStringLiteral("jobs"), double(p.NrOfJobs)},
                                    {QStringLiteral("exact"), p.Loaded}});
    }
    printOut(QString::fromUtf8(QJsonDocument(projects).toJson(QJsonDocument::Indented)));
    return result;
}

int runExport(const Command& cmd)
{
    auto table = std::make_unique<fmProjectTable>(FM);
    table->loadProjectList();
    auto list = std::make_unique<fmJ::_JobList>(FM);
    // "-o -": standard output, with the same bytes that a file would get.
    const bool toStdout = cmd.Output == QLatin1String("-");
    const QString path = toStdout ? QStringLiteral("-") : QFileInfo(cmd.Output).absoluteFilePath();
    QFile out;
    if (toStdout && !out.open(stdout, QIODevice::WriteOnly)) {
        printErr(QStringLiteral("Unable to write to standard output\n"));
        return ExitFailed;
    }

    QList<int> indexes;
    if (cmd.All) {
        for (int i = 0; i < table->nrOfProjects; ++i) indexes.append(i);
        if (indexes.isEmpty()) {
            printErr(QStringLiteral("No projects in '%1'; nothing written.\n").arg(FM.HistoryDbPath.toQString()));
            return ExitFailed;
        }
    } else {
        // Project names match without regard to case, as the table groups them.
        for (int i = 0; i < table->nrOfProjects && indexes.isEmpty(); ++i)
            if (table->projects[size_t(i)].Name.compare(cmd.Project, Qt::CaseInsensitive) == 0) indexes.append(i);
        if (indexes.isEmpty()) {
            printErr(QStringLiteral("Unknown project '%1'; 'fmHistorydbconsole projects' lists them.\n").arg(cmd.Project));
            return ExitUsage;
        }
    }

    int result = ExitOk;
    long long jobs = 0;
    for (int n = 0; n < indexes.size(); ++n) {
        QString message;
        const auto r = table->loadProjectJobs(indexes[n], *list, message);
        if (r != fmProjectTable::LoadDone) {
            // As the window's walk does: what the list holds goes out, and the walk goes on.
            if (!message.isEmpty()) FM.WriteLog(2, 0, message, QStringLiteral("console,export"));
            else
                FM.WriteLog(2, 0, QStringLiteral("Unable to load project '%1'").arg(table->projects[size_t(indexes[n])].Name),
                            QStringLiteral("console,export"));
            result = ExitFailed;
            if (!cmd.All) return result;
        }
        // A given file gets no header from exportAsCSV: it is written here once, in its encoding.
        if (toStdout && n == 0) out.write(fmJ::_JobList::csvHeader(FM).toLocal8Bit());
        if (!list->exportAsCSV(path, nullptr, toStdout ? &out : nullptr, true, n > 0)) {
            printErr(QStringLiteral("Unable to save all jobs into '%1'\n").arg(path));
            return ExitFailed;
        }
        jobs += list->JobCount;
    }
    if (toStdout) out.flush();
    else if (Sink.Verbose)
        printOut(QStringLiteral("%1 jobs of %2 project(s) written to '%3'\n").arg(jobs).arg(indexes.size()).arg(path));
    return result;
}

int runCheck(const Command& cmd)
{
    static const QRegularExpression failedLine(QStringLiteral("^\\{ALL\\} (\\d+) Jobs in jobs\\.db could not be loaded"));
    int result = ExitOk;
    long long totalJobs = 0, totalFailed = 0, unreadable = 0;
    auto list = std::make_unique<fmJ::_JobList>(FM);
    for (const QString& name : cmd.Positional) {
        const QFileInfo info(name);
        if (!info.isFile()) {
            printOut(QStringLiteral("%1: not found\n").arg(name));
            result = ExitFailed;
            ++unreadable;
            continue;
        }
        list->deleteAll();
        Sink.Captured.clear();
        Sink.Capture = true;
        const bool read = list->LoadFileJobs(info.absoluteFilePath());
        Sink.Capture = false;
        int failed = 0;
        QStringList messages;
        for (const auto& [level, text] : std::as_const(Sink.Captured)) {
            if (level > 2) continue;
            const auto m = failedLine.match(text);
            if (m.hasMatch()) failed = m.captured(1).toInt();
            messages.append((level == 0 ? QStringLiteral("CRF ") : level == 1 ? QStringLiteral("ERR ") : QStringLiteral("WRN ")) +
                            text.trimmed());
        }
        if (!read) {
            printOut(QStringLiteral("%1: could not be read; %2 loaded before the failure\n").arg(name, plural(list->JobCount, "job")));
            result = ExitFailed;
            ++unreadable;
        } else {
            printOut(QStringLiteral("%1: %2 loaded, %3 failed\n").arg(name, plural(list->JobCount, "job"), plural(failed, "frame")));
            if (failed > 0) result = ExitFailed;
            totalFailed += failed;
        }
        for (const QString& m : messages) printOut(QStringLiteral("    ") + m + QLatin1Char('\n'));
        totalJobs += list->JobCount;
        std::fflush(stdout);
    }
    if (cmd.Positional.size() > 1)
        printOut(QStringLiteral("checked %1: %2, %3 failed, %4 unreadable\n")
                     .arg(plural(cmd.Positional.size(), "file"), plural(totalJobs, "job"), plural(totalFailed, "frame"))
                     .arg(unreadable));
    return result;
}

int runDemoRoot(const Command& cmd)
{
    fmDemoRootOptions o;
    o.Dir = cmd.Positional.first();
    o.Projects = cmd.Projects;
    o.Jobs = cmd.Jobs;
    o.Seed = cmd.Seed;
    o.ExecutableDir = QCoreApplication::applicationDirPath();
    if (QFileInfo::exists(QDir(o.Dir).filePath(QStringLiteral("sub")))) {
        printErr(QStringLiteral("'%1' already holds a farm root; choose a new folder.\n").arg(o.Dir));
        return ExitFailed;
    }
    fmDemoRootReport r;
    const QString error = fmCreateDemoRoot(FM, o, &r);
    if (!error.isEmpty()) {
        printErr(error + QLatin1Char('\n'));
        return ExitFailed;
    }
    int old = 0, images = 0;
    for (const fmDemoProjectReport& p : r.Projects) {
        old += p.OldFrames;
        images += p.Images;
    }
    printOut(QStringLiteral("Demo root '%1': %2 projects, %3 jobs (%4 in old layouts), %5 clients, %6 users in %7 groups, "
                            "%8 FOI images, %9 MB\n")
                 .arg(QDir(o.Dir).absolutePath())
                 .arg(r.Projects.size())
                 .arg(r.totalJobs())
                 .arg(old)
                 .arg(r.Clients)
                 .arg(r.Users)
                 .arg(r.Groups)
                 .arg(images)
                 .arg(double(r.Bytes) / (1024.0 * 1024.0), 0, 'f', 1));
    printOut(QStringLiteral("Start it with: %1/bin/lx/fmHistorydb\n").arg(QDir(o.Dir).absolutePath()));
    return ExitOk;
}

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    qInstallMessageHandler(FMMessageOutput);
    if (const int sql = fmConsoleSqlMain(argc, argv, isFamilyValueOption); sql >= 0) return sql;

    Command cmd;
    const QString why = parseArgs(QCoreApplication::arguments(), cmd);
    if (cmd.Name == QLatin1String("help")) {
        printOut(QLatin1String(kUsage));
        return ExitOk;
    }
    if (!why.isEmpty()) {
        printErr(QStringLiteral("fmHistorydbconsole: %1\nTry 'fmHistorydbconsole --help'.\n").arg(why));
        return ExitUsage;
    }

    // Log lines reach standard output through onLog only; JSON keeps standard output to itself.
    Sink.Verbose = cmd.Verbose;
    if (cmd.Json || cmd.Output == QLatin1String("-")) Sink.Out = stderr;
    FM.NoUILog = true;
    QObject::connect(&FM, &__FM::signalLogUI, &FM, onLog);

    if (cmd.Name == QLatin1String("demo-root")) return runDemoRoot(cmd);

    // The family's debug options switch debug levels on: show what they allow.
    for (int i = 1; i < argc; ++i)
        if (QString::fromLocal8Bit(argv[i]).startsWith(QLatin1String("-debug"), Qt::CaseInsensitive)) Sink.Verbose = true;
    if (!FM.SetupCfg(argc, argv, false, nullptr)) return ExitStartup;
    FM.NoUILog = true; // "-service" and the start-up leave it as it was; keep every line on onLog

    if (cmd.Name == QLatin1String("projects")) return runProjects(cmd);
    if (cmd.Name == QLatin1String("export")) return runExport(cmd);
    return runCheck(cmd);
}
