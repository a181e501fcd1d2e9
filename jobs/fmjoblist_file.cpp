// Loading a job database file. The load runs in five steps, each its own function: read a run of
// frames in file order, inflate the run on the thread pool (zlib is most of a load's time),
// upgrade old layouts, check each record, add it to the list. The jobs, their order, the failures
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

#include <cmath>
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
    uint16_t ID = 0;
    uint32_t StoredSize = 0; // uncompressed size the header gives
    uint32_t Expected = 0;   // size of the record layout the identifier names
    qint64 Body = 0;         // compressed bytes really read
    bool Inflate = false;    // a frame that is to be inflated
    unsigned char* Compressed = nullptr;
    unsigned char* Target = nullptr; // ReadLimit bytes
    int Z = Z_OK;
    uLongf OutLen = 0;
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
    const _jobsHistoryDB* upgrade(const PendingFrame& f);
    QString check(const PendingFrame& f, const _jobsHistoryDB*& rec);
    bool add(const PendingFrame& f);
    bool finishRun(FrameEnd end);
    void log(int level, const QString& text);
    void failure(const QString& text);

    _JobList& List;
    const QString Path;
    QFile File;
    QString ReadError;
    const uLong BufferSize = compressBound(_JobList::ReadLimit);
    // The compressed bytes of a frame and, behind them (at a 16-byte boundary), its inflated record.
    const size_t TargetOffset = (size_t(BufferSize) + 15) & ~size_t(15);
    // One slot per frame of a run, made when a run first needs it: a file of a few frames takes
    // a few slots, not a whole run's.
    std::unique_ptr<unsigned char[]> Slots[ReadAhead];
    PendingFrame Frames[ReadAhead];
    unsigned char Header[_JobList::FrameHeaderSize] = {}; // a short read keeps the former bytes
    std::unique_ptr<_jobsHistoryDB> Upgraded;
    std::unique_ptr<_OLD61__jobsHistoryDB> Old61;
    std::unique_ptr<_OLD62_jobsHistoryDB> Old62;
    std::unique_ptr<_OLD627_jobsHistoryDB> Old627;
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
    if (!magicMatches(Header)) {
        end = FrameEnd::FormatError;
        return false;
    }
    const uint32_t compressedSize = getU32(Header + HdrCompressed);
    f.StoredSize = getU32(Header + HdrUncompressed);
    f.ID = getU16(Header + HdrID);
    if (compressedSize >= BufferSize) {
        end = FrameEnd::BufferTooSmall;
        return false;
    }
    f.Body = File.read(reinterpret_cast<char*>(f.Compressed), qint64(compressedSize));
    if (f.Body < 1) {
        end = FrameEnd::ReadError;
        ReadError = File.errorString();
        return false;
    }
    f.Expected = expectedSize(f.ID, f.StoredSize);
    f.Inflate = knownID(f.ID) && f.StoredSize == f.Expected;
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

// Step 2: inflate a run on the pool. Only the bytes really read are handed to zlib: a frame cut
// short fails to inflate.
void FrameLoader::inflateRun(int count)
{
    runOnPool(count, [this](int i) {
        PendingFrame& f = Frames[i];
        if (!f.Inflate) return;
        f.OutLen = f.ID == JobHistory_StructID ? uLongf(_JobList::ReadLimit) : uLongf(f.Expected);
        f.Z = uncompress(f.Target, &f.OutLen, f.Compressed, uLong(f.Body));
    });
}

template <class Old>
bool upgradeFrom(const unsigned char* bytes, std::unique_ptr<Old>& scratch, _jobsHistoryDB& to)
{
    if (!scratch) scratch.reset(new (std::nothrow) Old);
    if (!scratch) return false;
    std::memcpy(static_cast<void*>(scratch.get()), bytes, sizeof(Old));
    scratch->toJobHistoryDBNew(to);
    return true;
}

// Step 3: the record in the current layout, or null when memory ran out.
const _jobsHistoryDB* FrameLoader::upgrade(const PendingFrame& f)
{
    if (f.ID == JobHistory_StructID) return reinterpret_cast<const _jobsHistoryDB*>(f.Target);
    if (!Upgraded) Upgraded.reset(new (std::nothrow) _jobsHistoryDB);
    if (!Upgraded) return nullptr;
    bool ok = false;
    if (f.ID == JobHistoryOld61_StructID)
        ok = upgradeFrom(f.Target, Old61, *Upgraded);
    else if (f.Expected == Size627)
        ok = upgradeFrom(f.Target, Old627, *Upgraded);
    else
        ok = upgradeFrom(f.Target, Old62, *Upgraded);
    return ok ? Upgraded.get() : nullptr;
}

// Step 4: why an inflated frame cannot be taken, or an empty text. `rec` gets the upgraded record
// (null when memory ran out: then the text is empty too).
QString FrameLoader::check(const PendingFrame& f, const _jobsHistoryDB*& rec)
{
    rec = nullptr;
    const int n = List.JobCount;
    if (f.Z != Z_OK) {
        int code = f.Z;
        return QStringLiteral("{ALL} Error decompressing job #%1; ").arg(n) + fmConvertZLibError(code);
    }
    if (f.OutLen != f.Expected)
        return QStringLiteral("{ALL} Error decompressing job #%1; Uncompressed data size does not match!")
            .arg(n);
    rec = upgrade(f);
    if (!rec) return QString();
    const bool plausible = rec->SeqStep < 10000.0 && rec->SeqStep > 0.0 && !std::isnan(rec->SeqStart) &&
                           !std::isnan(rec->SeqEnd) && !std::isnan(rec->SeqFileOffset) &&
                           rec->ImageFileName.Data[0] < 256;
    if (!plausible) return QStringLiteral("{ALL} Error decompressing job #%1; Data error!").arg(n);
    // Records of an older submitter layout may carry small identifiers.
    if (rec->JobID <= 999 && rec->SubmitterStructVersion >= 7)
        return QStringLiteral("{ALL} Error decompressing job #%1; Data error job ID!").arg(n);
    return QString();
}

// Step 5: one frame of the run into the list. False only when the list cannot take a job.
bool FrameLoader::add(const PendingFrame& f)
{
    if (!knownID(f.ID)) {
        ++List.LastLoad.Skipped;
        return true;
    }
    if (f.StoredSize != f.Expected) {
        failure(QStringLiteral("{ALL} Error reading job #%1; Data size does not match. file:%2 intern:%3")
                    .arg(List.JobCount)
                    .arg(f.StoredSize)
                    .arg(f.Expected));
        return true;
    }
    _jobsHistoryDB_Runtime* job = List.GetNewJob(nullptr, 0);
    if (!job) return false;
    const _jobsHistoryDB* rec = nullptr;
    const QString why = check(f, rec);
    if (!why.isEmpty()) {
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
