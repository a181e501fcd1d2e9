// The console's command line: the family's start-up options, the console's own (--verbose,
// --help), one command word, and the options and words of that command, in any order.

#include "tools/console/consolecommand.h"

// Options of the family's start-up that take a value: their value is no command word.
bool fmConsoleIsFamilyValueOption(const QString& a)
{
    static const char* const names[] = {"-fmRoot",
                                        "-loadstatus",
                                        "-LocalDataFolder",
                                        "-ThreadCheckFolder",
                                        "-OMName",
                                        "-OMN",
                                        "-OUName",
                                        "-OverrideServerName",
                                        "-OSN",
                                        "-defaultFontSize",
                                        "-smallerFontSize"};
    for (const char* n : names)
        if (a.compare(QLatin1String(n), Qt::CaseInsensitive) == 0) return true;
    // The root search takes any argument that begins with "-fmRoot" or "-loadstatus".
    return a.startsWith(QLatin1String("-fmRoot"), Qt::CaseInsensitive) ||
           a.startsWith(QLatin1String("-loadstatus"), Qt::CaseInsensitive);
}

namespace {

bool isOption(const QString& a)
{
    return a.size() > 1 && a.startsWith(QLatin1Char('-'));
}

const fmConsoleOption* findOption(std::span<const fmConsoleOption> options, const QString& a)
{
    for (const fmConsoleOption& o : options)
        if (a == QLatin1String(o.Name) || (o.Alias && a == QLatin1String(o.Alias))) return &o;
    return nullptr;
}

// The option of that name of any command: before the command word is known, it tells whether the
// next word is a value.
const fmConsoleOption* findAnyOption(const QString& a)
{
    for (const fmConsoleCommand* c : fmConsoleCommands())
        if (const fmConsoleOption* o = findOption(c->Options, a)) return o;
    return nullptr;
}

// Index of the command word: the first word that is neither an option nor an option's value.
int commandIndex(const QStringList& arguments)
{
    for (int i = 1; i < arguments.size(); ++i) {
        const QString& a = arguments[i];
        if (fmConsoleIsFamilyValueOption(a)) {
            ++i;
        } else if (isOption(a)) {
            const fmConsoleOption* o = findAnyOption(a);
            if (o && o->Value) ++i;
        } else {
            return i;
        }
    }
    return -1;
}

} // namespace

bool fmConsoleArgs::has(const char* name) const
{
    for (const auto& [n, v] : Given)
        if (n == QLatin1String(name)) return true;
    return false;
}

QString fmConsoleArgs::value(const char* name) const
{
    const QStringList all = values(name);
    return all.isEmpty() ? QString() : all.last();
}

QStringList fmConsoleArgs::values(const char* name) const
{
    QStringList out;
    for (const auto& [n, v] : Given)
        if (n == QLatin1String(name)) out.append(v);
    return out;
}

bool fmConsoleArgs::number(const char* name, long long lo, long long hi, long long fallback, long long& out,
                           QString& why) const
{
    out = fallback;
    if (!has(name)) return true;
    const QString text = value(name);
    bool ok = false;
    out = text.toLongLong(&ok);
    if (ok && out >= lo && out <= hi) return true;
    why = QStringLiteral("%1 needs a number from %2 to %3, not '%4'")
              .arg(QLatin1String(name))
              .arg(lo)
              .arg(hi)
              .arg(text);
    return false;
}

const fmConsoleCommand* fmConsoleFindCommand(const QString& name)
{
    for (const fmConsoleCommand* c : fmConsoleCommands())
        if (name == QLatin1String(c->Name)) return c;
    return nullptr;
}

QString fmConsoleParse(const QStringList& arguments, fmConsoleArgs& args)
{
    const int at = commandIndex(arguments);
    if (at > 0) args.Command = arguments[at];
    const fmConsoleCommand* command = fmConsoleFindCommand(args.Command);
    QString why; // the first mistake; --help anywhere still shows the help
    auto fail = [&why](const QString& text) {
        if (why.isEmpty()) why = text;
    };
    for (int i = 1; i < arguments.size(); ++i) {
        const QString& a = arguments[i];
        if (i == at) continue;
        if (a == QLatin1String("--help") || a == QLatin1String("-h")) {
            args.Help = true;
        } else if (a == QLatin1String("--verbose")) {
            args.Verbose = true;
        } else if (fmConsoleIsFamilyValueOption(a)) {
            ++i; // its value; the start-up reads both
        } else if (!isOption(a)) {
            args.Positional.append(a);
        } else if (const fmConsoleOption* o = command ? findOption(command->Options, a) : nullptr) {
            QString value;
            if (o->Value) {
                if (i + 1 >= arguments.size() || arguments[i + 1].isEmpty())
                    fail(QStringLiteral("%1 needs %2").arg(a, QLatin1String(o->Needs ? o->Needs : o->Value)));
                else
                    value = arguments[++i];
            }
            args.add(QLatin1String(o->Name), value);
        } else if (const fmConsoleOption* other = findAnyOption(a)) {
            if (other->Value) ++i;
            if (command) fail(QStringLiteral("'%1' does not take %2").arg(args.Command, a));
        } else if (a.startsWith(QLatin1String("--"))) {
            fail(QStringLiteral("Unknown option '%1'").arg(a));
        } else if (a.startsWith(QLatin1String("-debug"), Qt::CaseInsensitive)) {
            args.Verbose = true; // the family's debug levels: show what they allow
        }
        // Any other "-word" is an option of the family's start-up ("-darkUI", ...); it reads them.
    }
    if (args.Help) return QString();
    if (args.Command.isEmpty()) return QStringLiteral("No command given");
    if (!command) return QStringLiteral("Unknown command '%1'").arg(args.Command);
    if (!why.isEmpty()) return why;
    return command->Check ? command->Check(args) : QString();
}
