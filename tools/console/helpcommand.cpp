// "help": the overview of all commands (also --help), a command's page (also COMMAND --help), and
// the lists that the shell completion reads.

#include "tools/console/consolecommand.h"
#include "tools/console/consoleio.h"

namespace {

const fmConsoleOption kOptions[] = {
    {.Name = "--commands", .Help = "Only the command names, one a line (for shell completion)."},
    {.Name = "--options", .Help = "Only the options of COMMAND, one a line (for shell completion)."},
};

// The options that every command takes, on every page.
const fmConsoleOption kCommon[] = {
    {.Name = "-fmRoot",
     .Value = "ROOT",
     .Help = "The farm root (default: the root that holds the program in ROOT/bin/lx/)."},
    {.Name = "--verbose", .Help = "Also print the start-up's information lines."},
    {.Name = "-debug", .Help = "Switch on all debug log levels (and print them)."},
    {.Name = "--help", .Alias = "-h", .Help = "Print this page and exit."},
};

// The common options that a command takes: -fmRoot only where there is a root to find.
std::span<const fmConsoleOption> commonOptions(const fmConsoleCommand& c)
{
    return c.NeedsRoot ? std::span(kCommon) : std::span(kCommon).subspan(1);
}

QString indent(const char* text, int width)
{
    const QString pad(width, QLatin1Char(' '));
    QString out;
    for (const QString& line : QString::fromUtf8(text).split(QLatin1Char('\n'))) {
        if (!line.isEmpty()) out += pad + line;
        out += QLatin1Char('\n');
    }
    // The text's own last line break gives no empty line.
    if (out.endsWith(QLatin1String("\n\n"))) out.chop(1);
    return out;
}

QString optionLines(std::span<const fmConsoleOption> options)
{
    QString out;
    for (const fmConsoleOption& o : options) {
        QString head = QLatin1String(o.Name);
        if (o.Alias) head = QLatin1String(o.Alias) + QStringLiteral(", ") + head;
        if (o.Value) head += QLatin1Char(' ') + QLatin1String(o.Value);
        out += QStringLiteral("    ") + head + QLatin1Char('\n') + indent(o.Help, 8);
    }
    return out;
}

QString commandPage(const fmConsoleCommand& c)
{
    QString page = QStringLiteral("NAME\n    fmHistorydbconsole %1 - %2\n\nSYNOPSIS\n")
                       .arg(QLatin1String(c.Name), QLatin1String(c.Summary));
    for (const QString& form : QString::fromUtf8(c.Synopsis).split(QLatin1Char('\n'), Qt::SkipEmptyParts))
        page += QStringLiteral("    fmHistorydbconsole %1%2\n")
                    .arg(c.NeedsRoot ? QStringLiteral("[-fmRoot ROOT] ") : QString(), form);
    page += QStringLiteral("\nDESCRIPTION\n") + indent(c.Description, 4);
    page += QStringLiteral("\nOPTIONS\n") + optionLines(c.Options);
    page += optionLines(commonOptions(c));
    page += QStringLiteral("\nEXIT STATUS\n") + indent(c.ExitStatus, 4);
    page += QStringLiteral("\nEXAMPLE\n") + indent(c.Example, 4);
    return page;
}

QString overview()
{
    QString text = QStringLiteral(
        "usage: fmHistorydbconsole [-fmRoot ROOT] [--verbose] [-debug] COMMAND [OPTIONS]\n"
        "       fmHistorydbconsole help [COMMAND]\n"
        "\n"
        "The farm's job history without a window. The root is found as fmHistorydb finds it: from the\n"
        "program's place in ROOT/bin/lx/, or from \"-fmRoot ROOT\", which may stand anywhere on the line.\n"
        "Log lines go to standard output: errors and warnings always, the rest with --verbose.\n"
        "\n"
        "Commands:\n");
    for (const fmConsoleCommand* c : fmConsoleCommands())
        text += QStringLiteral("   %1%2\n").arg(QLatin1String(c->Name), -12).arg(QLatin1String(c->Summary));
    text += QStringLiteral("\nOptions of every command:\n");
    for (const fmConsoleOption& o : kCommon) {
        const QString head =
            o.Alias
                ? QStringLiteral("%1, %2").arg(QLatin1String(o.Alias), QLatin1String(o.Name))
                : QLatin1String(o.Name) + (o.Value ? QLatin1Char(' ') + QLatin1String(o.Value) : QString());
        text += QStringLiteral("   %1%2\n").arg(head, -15).arg(QLatin1String(o.Help));
    }
    text += QStringLiteral(
        "\nExit status: 0 done, 1 a file failed, 2 bad arguments, 3 a database could not be\n"
        "reached, 100 start-up failed (no root, no configuration).\n"
        "\n"
        "Example:\n"
        "   fmHistorydbconsole -fmRoot /mnt/farm export --all -o costs.csv\n"
        "\n"
        "'fmHistorydbconsole help COMMAND' shows a command's options, exit status and an example.\n");
    return text;
}

QString check(fmConsoleArgs& args)
{
    if (args.Positional.size() > 1) return QStringLiteral("help takes one command");
    if (!args.Positional.isEmpty() && !fmConsoleFindCommand(args.Positional.first()))
        return QStringLiteral("Unknown command '%1'").arg(args.Positional.first());
    if (args.has("--options") && args.Positional.isEmpty())
        return QStringLiteral("--options needs a command");
    return QString();
}

int run(const fmConsoleArgs& args)
{
    const fmConsoleCommand* c =
        args.Positional.isEmpty() ? nullptr : fmConsoleFindCommand(args.Positional.first());
    if (args.has("--commands")) {
        for (const fmConsoleCommand* each : fmConsoleCommands())
            fmConsolePrint(QLatin1String(each->Name) + QLatin1Char('\n'));
    } else if (args.has("--options") && c) {
        for (const fmConsoleOption& o : c->Options)
            fmConsolePrint(QLatin1String(o.Name) + QLatin1Char('\n'));
        for (const fmConsoleOption& o : commonOptions(*c))
            fmConsolePrint(QLatin1String(o.Name) + QLatin1Char('\n'));
    } else {
        fmConsolePrint(c ? commandPage(*c) : overview());
    }
    return fmExitOk;
}

} // namespace

// The page of --help: of the command when one is given, otherwise the overview.
QString fmConsoleHelpText(const QString& command)
{
    const fmConsoleCommand* c = fmConsoleFindCommand(command);
    return c ? commandPage(*c) : overview();
}

extern const fmConsoleCommand fmConsoleHelp = {
    .Name = "help",
    .Summary = "show the help of a command, or this overview",
    .Synopsis = "help [COMMAND]",
    .Description = "Without COMMAND, the overview of all commands; with it, the command's page: its forms,\n"
                   "options, exit status and an example. \"COMMAND --help\" prints the same page.",
    .Options = kOptions,
    .ExitStatus = "0  the page was printed\n"
                  "2  unknown command",
    .Example = "$ fmHistorydbconsole help export",
    .NeedsRoot = false,
    .Check = check,
    .Run = run,
};
