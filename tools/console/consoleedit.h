#pragma once
// The console's job commands, "jobs" (list a project's jobs) and "delete" (take jobs out of a
// project and save it). They parse their own options and start up as the other commands do.

#include <QString>
#include <QStringList>

#include <cstdio>
#include <memory>

class __FM;
class fmProjectTable;
namespace fmJ {
class _JobList;
}

// Runs "jobs" or "delete" when the command word of argv is one of them and returns the exit
// status; -1 for any other command. isValueOption tells the start-up's options that take a value.
int fmConsoleEditCommand(__FM& fm, int argc, char** argv, bool (*isValueOption)(const QString&));

struct fmConsoleEditArgs
{
    QString Name; // "jobs" or "delete"
    QString Project, User, App, Text;
    QStringList IDs; // delete: identifiers as "jobs" prints them, the tree's or the numeric form
    bool Json = false, Verbose = false;
};

// The loaded project of a job command: its table and list.
struct fmConsoleProject
{
    std::unique_ptr<fmProjectTable> Table;
    std::unique_ptr<fmJ::_JobList> List;
    int Index = -1;
};

// Loads the named project (names match without regard to case); prints why not and gives the exit
// status (2 unknown project, 1 a file failed), or 0.
int fmConsoleLoadProject(__FM& fm, const QString& name, fmConsoleProject& project);

int fmConsoleJobs(__FM& fm, const fmConsoleEditArgs& args);
int fmConsoleDelete(__FM& fm, const fmConsoleEditArgs& args);
void fmConsolePrint(FILE* to, const QString& text);
