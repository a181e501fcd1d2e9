#include "tools/console/consoleedit.h"

#include "app/fm.h"
#include "browser/fmprojecttable.h"
#include "jobs/fmjoblist.h"

#include <QCoreApplication>

namespace {

constexpr int ExitUsage = 2;
constexpr int ExitStartup = 100;

bool Verbose = false;

// Errors and warnings of the program go to standard error, so that standard output holds the
// jobs alone; the rest with --verbose.
void onLog(int level, int flags, const QString& text, const QString& where)
{
    if (flags & fmLog_FileOnly) return;
    if (level > 2 && !Verbose) return;
    Q_UNUSED(where);
    fmConsolePrint(stderr, text.trimmed() + QLatin1Char('\n'));
}

// The command word and the options of a job command; an empty text, or why they are wrong.
QString parse(const QStringList& args, bool (*isValueOption)(const QString&), fmConsoleEditArgs& a)
{
    for (int i = 1; i < args.size(); ++i) {
        const QString& s = args[i];
        auto value = [&](QString& out) {
            if (i + 1 >= args.size() || args[i + 1].isEmpty()) return false;
            out = args[++i];
            return true;
        };
        if (isValueOption(s)) {
            ++i;
        } else if (s == QLatin1String("--json")) {
            a.Json = true;
        } else if (s == QLatin1String("--verbose")) {
            a.Verbose = true;
        } else if (s == QLatin1String("--project") || s == QLatin1String("--user") ||
                   s == QLatin1String("--app") || s == QLatin1String("--text")) {
            QString& out = s == QLatin1String("--project") ? a.Project
                           : s == QLatin1String("--user")  ? a.User
                           : s == QLatin1String("--app")   ? a.App
                                                           : a.Text;
            if (!value(out)) return QStringLiteral("%1 needs a value").arg(s);
        } else if (s.startsWith(QLatin1String("--"))) {
            return QStringLiteral("Unknown option '%1'").arg(s);
        } else if (s.startsWith(QLatin1Char('-')) && s.size() > 1) {
            // An option of the family's start-up ("-debug", ...); the start-up reads it.
        } else if (a.Name.isEmpty()) {
            a.Name = s;
        } else {
            a.IDs.append(s);
        }
    }
    if (a.Project.isEmpty()) return QStringLiteral("%1 needs --project NAME").arg(a.Name);
    if (a.Name == QLatin1String("jobs") && !a.IDs.isEmpty())
        return QStringLiteral("Unexpected argument '%1'").arg(a.IDs.first());
    if (a.Name == QLatin1String("delete")) {
        if (a.IDs.isEmpty()) return QStringLiteral("delete needs at least one job identifier");
        if (a.Json || !a.User.isEmpty() || !a.App.isEmpty() || !a.Text.isEmpty())
            return QStringLiteral("'delete' takes identifiers, not filters");
    }
    return QString();
}

// The first word that is no option, as the command parser finds it.
QString commandWord(const QStringList& args, bool (*isValueOption)(const QString&))
{
    for (int i = 1; i < args.size(); ++i) {
        if (isValueOption(args[i]))
            ++i;
        else if (!args[i].startsWith(QLatin1Char('-')) || args[i].size() == 1)
            return args[i];
    }
    return QString();
}

} // namespace

void fmConsolePrint(FILE* to, const QString& text)
{
    const QByteArray bytes = text.toUtf8();
    std::fwrite(bytes.constData(), 1, size_t(bytes.size()), to);
}

int fmConsoleEditCommand(__FM& fm, int argc, char** argv, bool (*isValueOption)(const QString&))
{
    const QStringList args = QCoreApplication::arguments();
    const QString word = commandWord(args, isValueOption);
    if (word != QLatin1String("jobs") && word != QLatin1String("delete")) return -1;
    fmConsoleEditArgs a;
    const QString why = parse(args, isValueOption, a);
    if (!why.isEmpty()) {
        fmConsolePrint(stderr,
                       QStringLiteral("fmHistorydbconsole: %1\nTry 'fmHistorydbconsole --help'.\n").arg(why));
        return ExitUsage;
    }
    Verbose = a.Verbose;
    for (const QString& s : args)
        if (s.startsWith(QLatin1String("-debug"), Qt::CaseInsensitive)) Verbose = true;
    fm.NoUILog = true;
    QObject::connect(&fm, &__FM::signalLogUI, &fm, onLog);
    if (!fm.SetupCfg(argc, argv, false, nullptr)) return ExitStartup;
    fm.NoUILog = true;
    return a.Name == QLatin1String("jobs") ? fmConsoleJobs(fm, a) : fmConsoleDelete(fm, a);
}

int fmConsoleLoadProject(__FM& fm, const QString& name, fmConsoleProject& project)
{
    project.Table = std::make_unique<fmProjectTable>(fm);
    project.List = std::make_unique<fmJ::_JobList>(fm);
    project.Table->loadProjectList();
    for (int i = 0; i < project.Table->nrOfProjects && project.Index < 0; ++i)
        if (project.Table->projects[size_t(i)].Name.compare(name, Qt::CaseInsensitive) == 0)
            project.Index = i;
    if (project.Index < 0) {
        fmConsolePrint(
            stderr,
            QStringLiteral("Unknown project '%1'; 'fmHistorydbconsole projects' lists them.\n").arg(name));
        return ExitUsage;
    }
    QString message;
    const auto r = project.Table->loadProjectJobs(project.Index, *project.List, message);
    if (r == fmProjectTable::LoadDone) return 0;
    fmConsolePrint(stderr,
                   (message.isEmpty() ? QStringLiteral("Unable to load project '%1'").arg(name) : message) +
                       QLatin1Char('\n'));
    return 1;
}
