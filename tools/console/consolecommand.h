#pragma once
// The console's commands: each is one table entry (name, help page, options, what it runs) defined
// in its own file and listed once in commands.cpp. The help pages, the argument checks and the
// shell completion are all made from these entries.

#include <QList>
#include <QPair>
#include <QString>
#include <QStringList>

#include <span>

// Exit status of every command.
constexpr int fmExitOk = 0;
constexpr int fmExitFailed = 1;   // a file failed: damaged frame, unreadable file, failed write
constexpr int fmExitUsage = 2;    // bad arguments: unknown command or option, bad number, unknown name
constexpr int fmExitDatabase = 3; // a database could not be reached
constexpr int fmExitStartup = 100;

// An option of one command. Options may stand anywhere on the line, before or behind the command.
struct fmConsoleOption
{
    const char* Name;            // "--project"
    const char* Alias = nullptr; // "-o", or none
    const char* Value = nullptr; // the value's name in the help ("NAME"); none for a flag
    const char* Needs = nullptr; // what the value must be, for the error message ("a project name")
    const char* Help = "";       // one or more lines for the help page
    bool Repeatable = false;     // may be given more than once (all values are kept)
};

// The arguments of one call, after the family's start-up options were taken out.
class fmConsoleArgs
{
public:
    QString Command;
    QStringList Positional;    // words behind the command word, in order
    bool Verbose = false;      // --verbose or one of the family's -debug options
    bool Help = false;         // --help or -h
    bool DataOnStdout = false; // set by a command's check: log lines then go to standard error

    bool has(const char* name) const;
    QString value(const char* name) const;      // the last value given, or empty
    QStringList values(const char* name) const; // every value given, in order
    void add(const QString& name, const QString& value) { Given.append({name, value}); }

    // The option's number in lo..hi (or `fallback` when absent); false with the reason otherwise.
    bool number(const char* name, long long lo, long long hi, long long fallback, long long& out,
                QString& why) const;

private:
    QList<QPair<QString, QString>> Given; // option name (its long form) and value
};

struct fmConsoleCommand
{
    const char* Name;
    const char* Summary;     // one line of the command overview
    const char* Synopsis;    // one form a line, without the program's name
    const char* Description; // lines of the help page
    std::span<const fmConsoleOption> Options;
    const char* ExitStatus; // one code a line: "0  done"
    const char* Example;    // command lines with a comment
    bool NeedsRoot;         // runs the family's start-up first (exit 100 when it fails)
    // Checks what the option table can't (combinations, numbers); empty when right.
    QString (*Check)(fmConsoleArgs& args);
    int (*Run)(const fmConsoleArgs& args);
};

// Every command, in the order of the help's overview.
std::span<const fmConsoleCommand* const> fmConsoleCommands();
const fmConsoleCommand* fmConsoleFindCommand(const QString& name);

// Fills `args` from the program's arguments (argv[0] first); an empty text or the reason they are
// wrong. Options are checked against the command's table; the family's own start-up options
// ("-fmRoot <root>", "-debug", "-darkUI", ...) are passed over.
QString fmConsoleParse(const QStringList& arguments, fmConsoleArgs& args);

// Options of the family's start-up that take a value (-fmRoot, -OMName, ...): their value is no
// command word.
bool fmConsoleIsFamilyValueOption(const QString& a);

// The page of --help: the command's own when `command` names one, otherwise the overview.
QString fmConsoleHelpText(const QString& command);
