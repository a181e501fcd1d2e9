#pragma once
// The project a job command ("jobs", "delete") works on, loaded as the window loads it.

#include <QString>

#include <memory>

class __FM;
class fmProjectTable;
namespace fmJ {
class _JobList;
}

struct fmConsoleProject
{
    std::unique_ptr<fmProjectTable> Table;
    std::unique_ptr<fmJ::_JobList> List;
    int Index = -1;
};

// Loads the named project (names match without regard to case); prints why not and gives the exit
// status (2 unknown project, 1 a file failed), or 0.
int fmConsoleLoadProject(__FM& fm, const QString& name, fmConsoleProject& project);
