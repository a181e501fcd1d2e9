#pragma once
// One project load on a thread of its own: the project's files are read into a job list that
// belongs to the load, through a copy of the project table, while the window goes on drawing the
// list it shows. The window reads the progress counters, takes the finished list on its own
// thread, and cancels a load that the user no longer wants; a cancelled load stops between frames.

#include "browser/fmprojecttable.h"
#include "jobs/fmjoblist.h"

#include <QString>
#include <QThread>

#include <atomic>
#include <memory>

class __FM;

class fmProjectLoad final : public QThread, private fmJ::_JobList::LoadObserver
{
public:
    // Loads project `index` of `table` (copied here) once start() is called.
    fmProjectLoad(__FM& app, const fmProjectTable& table, int index);
    // Cancels the load and waits for its thread.
    ~fmProjectLoad() override;
    fmProjectLoad(const fmProjectLoad&) = delete;
    fmProjectLoad& operator=(const fmProjectLoad&) = delete;

    const int Index;
    const QString Name;     // the project's name; empty for an index outside the table
    const qint64 FileBytes; // the size of its files at the last scan

    void cancel() { Cancel.store(true, std::memory_order_relaxed); }
    bool cancelled() const { return Cancel.load(std::memory_order_relaxed); }
    // Frames and bytes read so far over all files of the project.
    int frames() const { return Frames.load(std::memory_order_relaxed); }
    qint64 bytes() const { return Bytes.load(std::memory_order_relaxed); }

    // Once the thread has finished: what loadProjectJobs gave, the table copy as it left it (the
    // exact count and dates of the project, the current project, the average job size) and the
    // jobs (none after a cancel).
    fmProjectTable::LoadResult Result = fmProjectTable::LoadBadIndex;
    QString Message;
    fmProjectTable Table;
    std::unique_ptr<fmJ::_JobList> List;

protected:
    void run() override;

private:
    bool frameRead(int frames, qint64 bytes, qint64 fileSize) override;
    std::atomic<bool> Cancel = false;
    std::atomic<int> Frames = 0;
    std::atomic<qint64> Bytes = 0;
    int FramesOfFiles = 0;    // frames of the files read before the current one
    qint64 BytesOfFiles = 0;  // their bytes
    int FileFrames = 0;       // frames of the current file so far
    qint64 FileBytesRead = 0; // its bytes so far
};
