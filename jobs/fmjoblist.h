#pragma once
// fmJ::_JobList: every job of one loaded database in memory, its database file (a sequence of
// compressed frames), the filtered and sorted view Sorted, the selection and the custom view.
//
// Ownership: Queue owns the records (unless IsCopy); Sorted, Selection, CustomActive and
// CustomActiveSorted point into Queue and own nothing. Records are never freed one by one while in
// use: a deleted job's record moves behind the used ones and is reused by the next GetNewJob.
//
// Invariants: Queue[0..JobCount) are the jobs, each with QueueID == its index;
// Queue[JobCount..Allocated) are spare records with QueueID -1; Queue[Allocated..) is null.

#include "jobs/fmjobhistory.h"

#include <QFile>
#include <QHash>
#include <QList>
#include <QPair>
#include <QReadWriteLock>
#include <QString>
#include <QStringList>

#include <cstdint>
#include <memory>
#include <vector>

class __FMSDK;

namespace fmJ {

class _JobList
{
public:
    static constexpr int MaxJobs = 15000;  // places the arrays have at first; they grow beyond
    static constexpr int AllocBlock = 25;  // records allocated at a time
    static constexpr int MaxMoveJobs = 20; // move commands waiting at most
    static constexpr int FrameHeaderSize = 64;
    static constexpr uint16_t FrameID = JobHistory_StructID;
    static constexpr uint16_t FrameVersion = JobHistory_StructVersion;
    static constexpr int SaveLockWaitMs = 30000; // a save waits this long for a file's lock
    static constexpr int ReadLimit = 65460;      // output limit of one current-format frame
    static const char FrameMagic[45];            // 44 characters and the terminating 0

    _JobList(__FMSDK& app, _JobList* copyOf = nullptr);
    ~_JobList();
    _JobList(const _JobList&) = delete;
    _JobList& operator=(const _JobList&) = delete;

    QReadWriteLock LockList;      // taken for reading during a save
    QReadWriteLock LockJobs;      // guards the arrays and counters
    QReadWriteLock LockSelection; // taken by listCustomActive_BuildEnd

    int Allocated = 0;
    int Capacity = MaxJobs; // places of Queue, Sorted, Selection, CustomActive and CustomActiveSorted
    __FMSDK* App = nullptr; // not owned
    int JobCount = 0;
    int SortedCount = 0;
    int SelectedCount = 0;
    int CustomActiveCount = 0;
    int CustomActiveSortedCount = 0;
    std::unique_ptr<_jobsHistoryDB_Runtime*[]> CustomActiveSorted; // Capacity entries, not owning

    QString FilterUser, FilterProject, FilterApp, FilterText;
    bool FilterFlag1 = true, FilterFlag2 = true, FilterFlag3 = true, FilterFlag4 = true, FilterFlag5 = true,
         FilterInvert = false;
    // Jobs whose DateFinished lies outside [From, To] (seconds since the epoch) are filtered out.
    int64_t FilterFinishedFrom = INT64_MIN, FilterFinishedTo = INT64_MAX;
    int SortID = 0;
    int SortOrder = 1; // 0 ascending, 1 descending, anything else: only the queue-order tie-break

    int MoveJobsCount = 0;
    std::unique_ptr<_JobCommandSend[]> MoveJobs; // MaxMoveJobs entries

    std::unique_ptr<_jobsHistoryDB_Runtime*[]> Queue; // Capacity entries, owning unless IsCopy
    fmTime_t TimeLoaded, TimeChanged, TimeSaved;
    std::unique_ptr<_jobsHistoryDB_Runtime*[]> Sorted;       // Capacity entries, not owning
    std::unique_ptr<_jobsHistoryDB_Runtime*[]> Selection;    // Capacity entries, not owning
    std::unique_ptr<_jobsHistoryDB_Runtime*[]> CustomActive; // Capacity entries, not owning
    bool IsCopy = false;

    // Path of a machine-local "jobs.db" that replaces the shared one; while set, SaveFileJobs
    // never writes. Folder of the default "jobs.db" (ends in "/"). Both empty by default.
    QString AltLocalDBPath;
    QString DatabaseFolder;

    // Records and lookups.
    _jobsHistoryDB_Runtime* GetNewJob(_JobSend* ignored = nullptr, unsigned short ignored2 = 0);
    void DeleteJob(_jobsHistoryDB_Runtime* job);
    void deleteAll();
    // Exchanges the jobs, their records, the selection and the source files with `other` (a list
    // loaded on another thread, say); filter and sort settings stay with each list, and both views
    // are rebuilt. Nothing for a copy.
    void swapJobs(_JobList& other);
    bool isValidJob(_jobsHistoryDB_Runtime* job);
    _jobsHistoryDB_Runtime* GetJobByQueueID(const int& id);
    _jobsHistoryDB_Runtime* GetJobBySortedID(const int& id);
    _jobsHistoryDB_Runtime* GetJobByJobID(unsigned long long id);
    void getMemoryUsage(unsigned int& megabytes);
    void addMoveJobs(const _JobCommandSend& cmd);
    void applyMoveJobs();
    void CreateSelectionList();

    // Database file.
    // Optional observer of LoadFileJobs, called on the loading thread after each frame taken from
    // the file: the frames and bytes read so far and the file's size in bytes. A false answer stops
    // the load there: LoadFileJobs returns false with LastLoad.Cancelled set, and the jobs read
    // until then stay in the list.
    class LoadObserver
    {
    public:
        virtual ~LoadObserver() = default;
        virtual bool frameRead(int frames, qint64 bytes, qint64 fileSize) = 0;
    };
    void setLoadObserver(LoadObserver* observer) { Observer = observer; } // not owned; null: none
    bool LoadFileJobs(const QString& path = QString());
    // Writes every job of the list to `path` through a temporary file beside it, flushed and then
    // renamed over it; `backup` keeps the former file as ".bak30". On failure the former file
    // stays as it was and LastSaveError says why, naming the file.
    bool SaveFileJobs(bool backup, const QString& path, bool logIt, const QString& logPrefix);

    // What the last LoadFileJobs found, whatever the farm's log levels let through.
    struct LoadReport
    {
        bool Read = true;                    // false when the file as a whole failed
        bool Cancelled = false;              // the observer stopped the load
        int Loaded = 0;                      // jobs it added
        int Failed = 0;                      // frames of a known identifier that could not be taken
        int Skipped = 0;                     // frames of an unknown identifier
        QList<QPair<int, QString>> Messages; // level and text of each message of levels 0 to 2
    };
    LoadReport LastLoad;
    QString LastSaveError;

    // The files the jobs were loaded from, in load order, each with the JobIDs it held then (a
    // job's SourceFile is its index here + 1). deleteAll empties it.
    struct SourceFile
    {
        QString Path;
        QList<unsigned long long> JobIDs;
    };
    QList<SourceFile> Sources;
    // Rewrites each source file that lost a job since its load, in its own place: under the
    // farm's lock file for it, what is on disk now (jobs added since stay) less the deleted jobs
    // by JobID. False when a file could not be locked, read or written; it then stays as it was
    // and `messages` says why, naming it.
    bool SaveSources(QStringList& messages, int lockWaitMs = SaveLockWaitMs);

    // View: filter and sort (callers of sort() and filter() hold LockJobs for writing).
    void SetFilter(const QString& user, const QString& project, const QString& app, const QString& text,
                   const bool& invert, const bool& flag1, const bool& flag2, const bool& flag3,
                   const bool& flag4, const bool& flag5);
    bool SetSortID(int sortID, Qt::SortOrder order);
    void sort();
    void filter();

    void listCustomActive_BuildStart();
    void listCustomActive_BuildAppend(_jobsHistoryDB_Runtime* job);
    void listCustomActive_BuildSort_User();
    void listCustomActive_BuildEnd();
    void listCustomActive_Removejob(_jobsHistoryDB_Runtime* job);

    // CSV export (one line a job, ";" behind every value, "\r\n" line ends).
    bool exportAsCSV(const QString& path, _jobsHistoryDB_Runtime* job, QFile* file, const bool& allJobs,
                     const bool& append);
    static QString toCSVString(QString text);
    static QString csvHeader(__FMSDK& app);
    static QString csvLine(const _jobsHistoryDB_Runtime& job, __FMSDK& app);

    // Test and benchmark hook: when true, LoadFileJobs rebuilds the view after every job it adds
    // or drops, as a list without batching would. The final view is the same either way.
    void setPerJobViewUpdate(bool on) { PerJobViewUpdate = on; }
    bool perJobViewUpdate() const { return PerJobViewUpdate; }

    // Writes the records as frames through a temporary file renamed over `path` (none: the file
    // is deleted). An empty text, or why not, naming the file.
    static QString writeJobFile(const QString& path, const std::vector<const _jobsHistoryDB*>& records,
                                bool backup);

private:
    friend class ViewUpdateBatch;
    QHash<unsigned long long, int> deletedFromSource(int index) const;
    bool saveSource(int index, QStringList& messages, int lockWaitMs);
    bool allocateBlock();
    bool grow();
    void freeAll();
    void viewChanged(); // sort and filter now, or later when a batch is open
    int ViewBatchDepth = 0;
    bool ViewBatchPending = false;
    bool PerJobViewUpdate = false;
    LoadObserver* Observer = nullptr;
};

// Sorts `count` records by UserNameLower (as bytes), then by QueueID ascending.
void fmQuicksort_2_JLCU(_jobsHistoryDB_Runtime** array, const int& count, const bool& descending);
void fmQuicksort_2_JLCU_sub(_jobsHistoryDB_Runtime** array, int left, int right, const bool& descending,
                            _jobsHistoryDB_Runtime** tmp);

// The minor version as text: three digits, then trailing "0" cut while two characters remain.
QString getVersionMinorDisplay(uint32_t versionMinor);

} // namespace fmJ
