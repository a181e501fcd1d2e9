// Loading a job database file. The load runs in five steps, each its own function: read a run of
// frames in file order, inflate the run on the thread pool (zlib is most of a load's time),
// upgrade old layouts, check each record, add it to the list. The per-frame steps themselves are
// those of jobs/fmjobframe.h, shared with the history's summary reader. The jobs, their order, the failures
// and the messages are those of reading and inflating one frame after the other.
// The file comes from other machines: every size in it is checked before use.

#include "jobs/fmjoblist.h"

#include "foundation/fmdatabuffer.h"
#include "foundation/fmfile.h"
#include "foundation/fmfileread.h"
#include "foundation/fmsdk.h"
#include "jobs/fmjobframe.h"
#include "jobs/fmjoblist_p.h"

#include <QFile>
#include <QWriteLocker>

#include <zlib.h>

#include <cstring>
#include <memory>
#include <new>

namespace fmJ {

using namespace frame;

namespace {

// Where one frame is inflated to: the current record at the start, so that a frame of the
// current layout needs no further copy, then room for what a frame may hold beyond it.
struct InflateTarget
{
    _jobsHistoryDB Now;
    unsigned char Tail[_JobList::ReadLimit - sizeof(_jobsHistoryDB)];
};
static_assert(sizeof(InflateTarget) == _JobList::ReadLimit);

// Frames read ahead of their processing; each has its own input and output buffer.
constexpr int ReadAhead = 32;

struct PendingFrame
{
    Header H;
    uint32_t Expected = 0; // size of the record layout the identifier names
    qint64 Body = 0;       // compressed bytes really read
    bool Inflate = false;  // a frame that is to be inflated
    unsigned char* Compressed = nullptr;
    unsigned char* Target = nullptr; // ReadLimit bytes
    int Z = Z_OK;
    uint32_t OutLen = 0;
};

// Why a run of frames ended before it was full.
enum class FrameEnd { None, EndOfFile, ReadError, FormatError, BufferTooSmall, NoMemory };

class FrameLoader
{
public:
    FrameLoader(_JobList& list, const QString& path, _JobList::LoadObserver* observer)
        : List(list), Path(path), File(path), Observer(observer)
    {
    }
    bool run();

private:
    FrameEnd readRun(int& count);
    bool readFrame(PendingFrame& f, FrameEnd& end);
    void inflateRun(int count);
    QString check(const PendingFrame& f, const _jobsHistoryDB*& rec);
    bool add(const PendingFrame& f);
    bool finishRun(FrameEnd end);
    void log(int level, const QString& text);
    void failure(const QString& text);

    _JobList& List;
    const QString Path;
    QFile File;
    QString ReadError;
    // The compressed bytes of a frame and, behind them (at a 16-byte boundary), its inflated record.
    const size_t TargetOffset = (size_t(bodyCapacity()) + 15) & ~size_t(15);
    // One slot per frame of a run, made when a run first needs it: a file of a few frames takes
    // a few slots, not a whole run's.
    std::unique_ptr<unsigned char[]> Slots[ReadAhead];
    PendingFrame Frames[ReadAhead];
    unsigned char Header[_JobList::FrameHeaderSize] = {}; // a short read keeps the former bytes
    Upgrader Upgrades;
    int SourceIndex = 0;
    _JobList::LoadObserver* const Observer; // not owned; may be null
};

void FrameLoader::log(int level, const QString& text)
{
    List.LastLoad.Messages.append({level, text});
    List.App->WriteLog(level, 0, text, QStringLiteral("JobList,LoadFileJobs"));
}

// Only the first failing frame of a file is told in detail; the rest are counted.
void FrameLoader::failure(const QString& text)
{
    if (List.LastLoad.Failed++ == 0) log(1, text);
}

bool FrameLoader::readFrame(PendingFrame& f, FrameEnd& end)
{
    const qint64 got = File.read(reinterpret_cast<char*>(Header), _JobList::FrameHeaderSize);
    if (got <= 0) {
        end = got == 0 ? FrameEnd::EndOfFile : FrameEnd::ReadError;
        ReadError = File.errorString();
        return false;
    }
    const HeaderCheck h = readHeader(Header, f.H);
    if (h != HeaderCheck::Ok) {
        end = h == HeaderCheck::FormatError ? FrameEnd::FormatError : FrameEnd::BufferTooSmall;
        return false;
    }
    f.Body = File.read(reinterpret_cast<char*>(f.Compressed), qint64(f.H.Compressed));
    if (f.Body < 1) {
        end = FrameEnd::ReadError;
        ReadError = File.errorString();
        return false;
    }
    f.Expected = expectedSize(f.H.ID, f.H.Stored);
    f.Inflate = knownID(f.H.ID) && f.H.Stored == f.Expected;
    return true;
}

// Step 1: up to ReadAhead frames in file order, each into its own slot.
FrameEnd FrameLoader::readRun(int& count)
{
    const size_t slotSize = TargetOffset + sizeof(InflateTarget);
    FrameEnd end = FrameEnd::None;
    for (count = 0; count < ReadAhead; ++count) {
        if (!Slots[count]) {
            Slots[count].reset(new (std::nothrow) unsigned char[slotSize]);
            if (!Slots[count] && count > 0) break; // a shorter run; the next one goes on
            if (!Slots[count]) return FrameEnd::NoMemory;
        }
        PendingFrame& f = Frames[count];
        f.Compressed = Slots[count].get();
        f.Target = Slots[count].get() + TargetOffset;
        if (!readFrame(f, end)) break;
    }
    return end;
}

// Step 2: inflate a run on the pool.
void FrameLoader::inflateRun(int count)
{
    runOnPool(count, [this](int i) {
        PendingFrame& f = Frames[i];
        if (f.Inflate) f.Z = inflateBody(f.H, f.Compressed, f.Body, f.Target, f.OutLen);
    });
}

// Steps 3 and 4: upgrade and check. Why an inflated frame cannot be taken, or an empty text. `rec`
// gets the upgraded record (null when memory ran out: then the text is empty too).
QString FrameLoader::check(const PendingFrame& f, const _jobsHistoryDB*& rec)
{
    const Decode d = decodeInflated(f.H, f.Z, f.OutLen, f.Target, Upgrades, rec);
    if (d == Decode::Ok || d == Decode::NoMemory) return QString();
    const QString job = QStringLiteral("{ALL} Error decompressing job #%1; ").arg(List.JobCount);
    int code = f.Z;
    if (d == Decode::InflateError) return job + fmConvertZLibError(code);
    if (d == Decode::SizeMismatch) return job + QStringLiteral("Uncompressed data size does not match!");
    return job +
           (d == Decode::DataError ? QStringLiteral("Data error!") : QStringLiteral("Data error job ID!"));
}

// Step 5: one frame of the run into the list. False only when the list cannot take a job.
bool FrameLoader::add(const PendingFrame& f)
{
    if (!knownID(f.H.ID)) {
        ++List.LastLoad.Skipped;
        return true;
    }
    if (f.H.Stored != f.Expected) {
        failure(QStringLiteral("{ALL} Error reading job #%1; Data size does not match. file:%2 intern:%3")
                    .arg(List.JobCount)
                    .arg(f.H.Stored)
                    .arg(f.Expected));
        return true;
    }
    _jobsHistoryDB_Runtime* job = List.GetNewJob(nullptr, 0);
    if (!job) return false;
    const _jobsHistoryDB* rec = nullptr;
    const QString why = check(f, rec);
    if (!why.isEmpty()) {
        rec = nullptr;
        failure(why);
        List.DeleteJob(job);
        return true;
    }
    if (!rec) return false; // no memory for an upgrade
    // Kept so: such a record stays in the list as the empty job GetNewJob gave.
    if (rec->Software.Length <= 500) job->fromJobSave(rec, *List.App);
    job->SourceFile = uint16_t(SourceIndex);
    List.Sources[SourceIndex - 1].JobIDs.append(job->JobID);
    return true;
}

// Tells why a run ended early; true when the file was read to its end.
bool FrameLoader::finishRun(FrameEnd end)
{
    switch (end) {
    case FrameEnd::None:
    case FrameEnd::EndOfFile:
        return true;
    case FrameEnd::ReadError:
        log(1, QStringLiteral("{ALL} Unable to read '") + Path + QStringLiteral("' !; ") + ReadError);
        break;
    case FrameEnd::FormatError:
        log(1, QStringLiteral("{ALL} jobs.db format error!"));
        break;
    case FrameEnd::BufferTooSmall:
        log(1, QStringLiteral("{ALL} Job read buffer too small!"));
        break;
    case FrameEnd::NoMemory:
        log(0, QStringLiteral("{ALL} No Memory left (%1 Mb requested)")
                   .arg(double(TargetOffset + sizeof(InflateTarget)) / 1048576.0, 0, 'f', 1));
        break;
    }
    return false;
}

bool FrameLoader::run()
{
    long long fileSize = 0;
    if (!fmFileExists(Path, nullptr, &fileSize) || fileSize == 0) return true;
    if (fileSize < _JobList::FrameHeaderSize) {
        log(0, QStringLiteral("{ALL} Wrong file size '") + Path + QStringLiteral("'!; "));
        return false;
    }
    QString why;
    if (!fmOpenRegularFile(File, Path, fmFileCap::Database, &why)) {
        log(0, QStringLiteral("{ALL} Unable to open '") + fmPathForDisplay(Path) + QStringLiteral("' !; ") +
                   why);
        return false;
    }
    // A file's jobs carry 1 + its index in Sources, so that a save can find what each file held.
    List.Sources.append({Path, {}});
    SourceIndex = int(List.Sources.size());
    // Every job added or dropped below would rebuild the view; one rebuild at the end suffices.
    ViewUpdateBatch batch(List);
    int framesRead = 0;
    qint64 bytesRead = 0;
    for (;;) {
        int count = 0;
        const FrameEnd end = readRun(count);
        inflateRun(count);
        for (int i = 0; i < count; ++i) {
            if (List.perJobViewUpdate()) batch.flush();
            if (!add(Frames[i])) return false;
            bytesRead += _JobList::FrameHeaderSize + Frames[i].Body;
            if (Observer && !Observer->frameRead(++framesRead, bytesRead, fileSize)) {
                List.LastLoad.Cancelled = true;
                return false;
            }
        }
        if (List.perJobViewUpdate()) batch.flush();
        if (end == FrameEnd::None) continue;
        if (!finishRun(end)) return false;
        break;
    }
    if (List.LastLoad.Failed > 0)
        log(2, QStringLiteral("{ALL} %1 Jobs in jobs.db could not be loaded; ").arg(List.LastLoad.Failed));
    List.TimeLoaded.SetCurrentTime();
    List.App->WriteLog(4, 8, QStringLiteral("{ALL} %1 jobs loaded").arg(List.JobCount),
                       QStringLiteral("JobList,LoadFileJobs"));
    return true;
}

} // namespace

ViewUpdateBatch::ViewUpdateBatch(_JobList& list) : List(list)
{
    QWriteLocker lock(&List.LockJobs);
    ++List.ViewBatchDepth;
}

ViewUpdateBatch::~ViewUpdateBatch()
{
    QWriteLocker lock(&List.LockJobs);
    if (--List.ViewBatchDepth == 0 && List.ViewBatchPending) {
        List.ViewBatchPending = false;
        List.sort();
        List.filter();
    }
}

void ViewUpdateBatch::flush()
{
    QWriteLocker lock(&List.LockJobs);
    if (List.ViewBatchPending) {
        List.ViewBatchPending = false;
        List.sort();
        List.filter();
    }
}

bool _JobList::LoadFileJobs(const QString& pathIn)
{
    QString path = pathIn;
    if (path.isEmpty() && !AltLocalDBPath.isEmpty() &&
        fmFileExists(AltLocalDBPath + QStringLiteral("jobs.db")))
        path = AltLocalDBPath + QStringLiteral("jobs.db");
    if (path.isEmpty()) path = DatabaseFolder + QStringLiteral("jobs.db");
    App->WriteLog(10, 0, QStringLiteral("{ALL} ") + path + QStringLiteral("   loading..."),
                  QStringLiteral("JobList,LoadFileJobs"));
    LastLoad = LoadReport();
    const int before = JobCount;
    auto loader = std::make_unique<FrameLoader>(*this, path, Observer);
    LastLoad.Read = loader->run();
    LastLoad.Loaded = JobCount - before;
    return LastLoad.Read;
}

} // namespace fmJ
