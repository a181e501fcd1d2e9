#pragma once
// Summaries of finished jobs for reports: every database file of the history folder (".db" and
// ".db61", in the folder and in its "__" subfolders) is read frame by frame, each frame is
// inflated once, and of each job only a small summary is kept; the 38 KB record is dropped.
//
// Per-file API, usable on its own: fmListHistoryFiles() lists the files with size and time,
// fmSummarizeFile() reads one file, fmHistorySummaryCache keeps one file's summaries on the
// machine's local disk. fmHistorySummaryReader runs them over a whole history on all cores.
// Nothing here needs a window or the application object.

#include "jobs/fmjobhistory.h"

#include <QList>
#include <QString>
#include <QStringList>

#include <atomic>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

// One database file of the history, as the folder listing found it.
struct fmHistoryFile
{
    QString Path;     // full path
    QString Project;  // project name, grouped as the project table groups files (case-insensitive)
    qint64 Size = 0;  // bytes
    qint64 MTime = 0; // modification time, seconds since the epoch
};

// What a report or a row of the SQL store needs of one job. Texts are implicitly shared where they
// repeat. A frame the loader keeps as an empty job gives a summary of zeros and empty texts.
struct fmJobSummary
{
    quint64 JobID = 0;
    QString IdText; // ID2strFull of JobID, the form the job info page shows
    QString User;
    QString Software;
    QString Renderer;
    QString Scene; // the scene file's path as submitted
    QString Camera;
    QString Layer;
    qint64 DateSend = 0;       // seconds since the epoch
    qint64 DateFinished = 0;   // seconds since the epoch
    quint64 ExecutionTime = 0; // seconds
    qint32 Frames = 0;         // fmJobFrames: TotalFrames, or for a record without it its sequence's
    quint64 TotalPS = 0;
    float GhzHours = 0.0f; // fmJobGhzHours: after the recompute that loading a job applies
    qint32 Errors = 0;     // ErrorCount, 0..50
    qint32 File = -1;      // index of the job's file in the summary's file list
};

// The summaries of one file. A damaged file keeps the jobs read before the damage.
struct fmHistoryFileSummary
{
    fmHistoryFile File;
    std::vector<fmJobSummary> Jobs;
    int FailedFrames = 0; // frames that failed to read, inflate or pass the plausibility checks
    QString Error;        // why the file could not be read to its end; empty when it was
    bool FromCache = false;
    bool damaged() const { return FailedFrames > 0 || !Error.isEmpty(); }
};

// Client speeds by client index, as the GHz-hours recompute needs them.
using fmClientSpeeds = std::vector<fmJ::_ClientSpeed>;

// Every database file of the history folder (ending in "/"): the folder's own files by name,
// then those of each "__" subfolder (one level deep), in name order. Project names as the
// project table gives them: the first spelling of a name seen wins.
QList<fmHistoryFile> fmListHistoryFiles(const QString& historyFolder);

// Reads one file into summaries. `cancel`, when given and set, stops between frames (the result
// then has Error "cancelled"). `bytesDone`, when given, is raised by the bytes of each frame read.
fmHistoryFileSummary fmSummarizeFile(const fmHistoryFile& file, const fmClientSpeeds& speeds,
                                     const std::atomic<bool>* cancel = nullptr,
                                     std::atomic<qint64>* bytesDone = nullptr);

// What reading one file frame by frame found besides its jobs.
struct fmHistoryFileScan
{
    int FailedFrames = 0; // frames that failed to read, inflate or pass the plausibility checks
    QString Error;        // why the file could not be read to its end; empty when it was
};

// Reads one file frame by frame and hands each job to `onJob`, in frame order: its record, upgraded
// to the current layout and valid during the call only, or null for a frame the loader keeps as an
// empty job. `cancel` and `bytesDone` as for fmSummarizeFile. fmSummarizeFile reads through this;
// a reader that needs other values of a job than a summary's makes them here, once.
fmHistoryFileScan fmScanHistoryFile(const QString& path,
                                    const std::function<void(const fmJ::_jobsHistoryDB*)>& onJob,
                                    const std::atomic<bool>* cancel = nullptr,
                                    std::atomic<qint64>* bytesDone = nullptr);

// The texts of one file's records, each converted once: a text is looked up by its raw UTF-16
// units and made a QString (toQString(), as the loader makes it) only the first time it is seen.
// The repeats then share that string, and a repeated text costs a hash of its units, no copy.
class fmRecordTexts
{
public:
    template <int N> QString get(const fmString<N>& s)
    {
        const char* const bytes = reinterpret_cast<const char*>(s.Data);
        const uint32_t n = uint32_t(s.len()) * 2;
        const uint64_t h = hash(bytes, n);
        if (const QString* seen = find(h, bytes, n)) return *seen;
        return add(h, bytes, n, s.toQString());
    }

private:
    struct Slot
    {
        uint64_t Hash = 0;
        size_t At = 0; // the key's bytes in Keys
        uint32_t Len = 0;
        QString Text;
        bool Used = false;
    };
    static uint64_t hash(const char* bytes, uint32_t n);
    const QString* find(uint64_t h, const char* bytes, uint32_t n) const;
    QString add(uint64_t h, const char* bytes, uint32_t n, const QString& text);

    std::vector<Slot> Slots; // open addressing; a power of two, at most half used
    std::string Keys;        // the raw units of every text seen, one after another
    size_t Used = 0;
};

// Summaries of single files in a folder of this machine, one cache file a database file, keyed by
// the database's path, size, modification time and the client speeds (a change of any of them
// makes the entry stale). Cache files are read as untrusted: a damaged one is a miss.
class fmHistorySummaryCache
{
public:
    // `folder` ends in "/"; made when the first entry is stored. Empty: no cache.
    explicit fmHistorySummaryCache(const QString& folder);
    // The cache folder under a machine's local data folder ("/var/tmp/FM_localdata/" by default).
    static QString defaultFolder(const QString& localDataFolder);

    bool load(const fmHistoryFile& file, const fmClientSpeeds& speeds, fmHistoryFileSummary& out) const;
    // Written to a temporary file beside the entry and renamed over it.
    bool store(const fmHistoryFileSummary& summary, const fmClientSpeeds& speeds) const;
    QString folder() const { return Folder; }

private:
    QString entryPath(const QString& databasePath) const;
    QString Folder;
};

// The summaries of a whole history.
struct fmHistorySummary
{
    QList<fmHistoryFile> Files;     // Jobs[i].File indexes this
    std::vector<fmJobSummary> Jobs; // in file order, each file's jobs in frame order
    QStringList DamagedFiles;       // "path: reason" per damaged file
    int FailedFrames = 0;
    int CachedFiles = 0; // files whose summaries came from the cache
    bool Cancelled = false;
    // Project name of a job.
    QString projectOf(const fmJobSummary& job) const;
};

class fmHistorySummaryReader
{
public:
    // Called from worker threads with the bytes of database files handled so far and the bytes of
    // all files of the report; keep it short and thread-safe.
    using Progress = std::function<void(qint64 done, qint64 total)>;

    fmHistorySummaryReader() = default;
    void setCacheFolder(const QString& folder) { CacheFolder = folder; }
    void setClientSpeeds(const fmClientSpeeds& speeds) { Speeds = speeds; }
    // Only these projects (names compared case-insensitively); empty: all.
    void setProjects(const QStringList& names) { Projects = names; }
    void setProgress(Progress p) { OnProgress = std::move(p); }

    // Reads every file of the history folder on all cores; blocks until done or cancelled.
    fmHistorySummary read(const QString& historyFolder);
    // Thread-safe; read() returns soon after with Cancelled set.
    void cancel() { Cancel.store(true); }

private:
    QString CacheFolder;
    fmClientSpeeds Speeds;
    QStringList Projects;
    Progress OnProgress;
    std::atomic<bool> Cancel{false};
};
