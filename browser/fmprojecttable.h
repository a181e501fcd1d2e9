#pragma once
// The project table of the history folder: every ".db" and ".db61" file of the folder and of its
// "__" subfolders (one level deep), grouped by file name without extension into projects, with a
// job count that is exact for a loaded project and estimated from file sizes for the others.
// No widgets: the history window owns one table and shows it.

#include "foundation/fmtime.h"

#include <QList>
#include <QString>

#include <vector>

class __FM;
namespace fmJ {
class _JobList;
}

// One database file of a project, as the folder scan found it.
struct _projectInfo_files
{
    long long Size = 0; // bytes at the time of the scan
    fmTime_t Time;      // modification time at the time of the scan
    QString FileName;   // full path, as the directory listing gave it
};

struct _projectInfo
{
    QList<_projectInfo_files> Files; // in the order of the scan
    QString Name;                    // file name without folder and extension
    fmTime_t DateFirst;              // oldest file time; after a load the earliest DateSend
    fmTime_t DateLast;               // newest file time; after a load the latest DateFinished
    bool Opened = false;             // set with Loaded; nothing reads it
    bool Loaded = false;             // NrOfJobs is an exact count
    long long NrOfJobs = 0;          // exact if Loaded, else the estimate of calcAvJobSize

    // Resets the entry for reuse by a scan, its file list included: a rescan replaces the list.
    void clear();
};

class fmProjectTable
{
public:
    // Seeds of the average job size: 124300 bytes for 50 jobs, 2486 bytes a job.
    static constexpr double SeedSize = 124300.0;
    static constexpr long long SeedJobs = 50;

    explicit fmProjectTable(__FM& app);

    // Entries [0, nrOfProjects) are in use; a scan reuses the others. No limit on the count.
    std::vector<_projectInfo> projects;
    int nrOfProjects = 0;
    float avJobSize = 0.0f;    // average bytes of database file per job
    QString currentProject;    // Name of the project whose jobs are in the job list
    int currentProjectID = -1; // its index in projects
    bool dbChanged = false;    // jobs were deleted since the project was loaded

    // Rebuilds the table from the application's history folder (HistoryDbPath).
    void loadProjectList();
    // The same from the given folder (ending in "/").
    void loadProjectList(const QString& historyFolder);
    void loadProjectFolder(const QString& folder);
    // The first project of that name, without regard to case; -1 when there is none.
    int indexOf(const QString& name) const;
    void addProjectFile(const QString& path, fmTime_t time, long long size);
    void calcAvJobSize();
    void setNrOfJobs();

    // Outcome of loadProjectJobs.
    enum LoadResult {
        LoadDone = 0,    // every file loaded; the entry is Loaded with an exact count
        LoadFileMissing, // a file is missing, refused or empty: show `message`; earlier files' jobs stay
        LoadFileFailed,  // LoadFileJobs returned false (it logged why); `message` names the file
        LoadBadIndex,    // no such project
    };
    // Empties the list and loads the project's files in order, then sets the exact count, the
    // current project, the date range from its jobs and the new average. The caller asks to
    // save first, and afterwards updates the filter combos and the views.
    LoadResult loadProjectJobs(int index, fmJ::_JobList& list, QString& message);

    // Why a database file of a project can't be loaded, for the user: missing (with the system's
    // reason), refused (not a regular file, too large), or empty; each names the file. Empty when
    // the file can be loaded.
    static QString databaseProblem(const QString& path);

    // The text of a project's entry in the project combo (names that are no UTF-8 shown with U+FFFD):
    // ".MM.YY   <pad><count>   <name>" when loaded, ".MM.YY <pad>~<count>   <name>" for an estimate.
    static QString comboText(const _projectInfo& project);
    // The grey of an entry by the age of DateLast: 0 (black) to 150.
    static int comboGrey(const _projectInfo& project, const fmTime_t& now);

private:
    __FM& App;
};
