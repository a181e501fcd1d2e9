// The job database file: a sequence of frames, no file header. Each frame is a 64-byte header
//   0  44  magic FrameMagic
//  44   8  zero (the writer pads the magic with NUL up to 50; 50 and 51 stay 0)
//  52 u32  compressed size of the record
//  56 u32  uncompressed size of the record
//  60 u16  structure identifier
//  62 u16  structure version
// then the record compressed by zlib's compress() at the default level. Integers little-endian.
// The file comes from other machines: every size in it is checked before use.

#include "jobs/fmjoblist.h"

#include "foundation/fmsdk.h"
#include "foundation/fmlogfile.h"
#include "foundation/fmdatabuffer.h"
#include "foundation/fmfile.h"
#include "foundation/fmfileread.h"
#include "foundation/fmlogfile.h"
#include "foundation/fmsdk.h"
#include "jobs/fmjoblist_p.h"

#include <QFile>
#include <QWriteLocker>

#include <zlib.h>

#include <cmath>
#include <cstring>
#include <memory>
#include <new>
#include <thread>

namespace fmJ {

namespace {

constexpr int HdrCompressed = 52;
constexpr int HdrUncompressed = 56;
constexpr int HdrID = 60;
constexpr int HdrVersion = 62;

constexpr uint32_t Size61 = 30188;
constexpr uint32_t Size62 = 39516;
constexpr uint32_t Size627 = 46908;
constexpr uint32_t SizeNow = 37980;

static_assert(sizeof(_jobsHistoryDB) == SizeNow);
static_assert(sizeof(_OLD61__jobsHistoryDB) == Size61);
static_assert(sizeof(_OLD62_jobsHistoryDB) == Size62);
static_assert(sizeof(_OLD627_jobsHistoryDB) == Size627);

uint32_t getU32(const unsigned char* p)
{
    return uint32_t(p[0]) | uint32_t(p[1]) << 8 | uint32_t(p[2]) << 16 | uint32_t(p[3]) << 24;
}
uint16_t getU16(const unsigned char* p) { return uint16_t(p[0] | p[1] << 8); }
void putU32(unsigned char* p, uint32_t v)
{
    for (int i = 0; i < 4; ++i) p[i] = static_cast<unsigned char>(v >> (8 * i));
}
void putU16(unsigned char* p, uint16_t v)
{
    p[0] = static_cast<unsigned char>(v);
    p[1] = static_cast<unsigned char>(v >> 8);
}

// The header's text up to its first NUL (at most 64 bytes) must be the magic.
bool magicMatches(const unsigned char* h)
{
    return std::memcmp(h, _JobList::FrameMagic, 44) == 0 && h[44] == 0;
}

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
enum class FrameEnd { None, EndOfFile, ReadError, FormatError, BufferTooSmall };

// Only the bytes really read are handed to zlib: a frame cut short fails to inflate.
void inflateFrame(PendingFrame& f)
{
    f.OutLen = f.ID == 0x0A04 ? uLongf(_JobList::ReadLimit) : uLongf(f.Expected);
    f.Z = uncompress(f.Target, &f.OutLen, f.Compressed, uLong(f.Body));
}

// Inflates the frames of a run, every second one on a helper thread. Without a thread (the system
// refuses one) the caller's thread does all of them.
void inflateFrames(PendingFrame* frames, int count)
{
    auto work = [frames, count](int first) {
        for (int i = first; i < count; i += 2)
            if (frames[i].Inflate) inflateFrame(frames[i]);
    };
    std::thread helper;
    if (count > 1) {
        try {
            helper = std::thread(work, 1);
        } catch (...) {
        }
    }
    if (helper.joinable()) {
        work(0);
        helper.join();
    } else {
        for (int i = 0; i < count; ++i)
            if (frames[i].Inflate) inflateFrame(frames[i]);
    }
}

// An old layout copied out of the inflated bytes and upgraded.
template <class Old>
bool upgradeFrom(const unsigned char* bytes, std::unique_ptr<Old>& scratch, _jobsHistoryDB& to)
{
    if (!scratch) scratch.reset(new (std::nothrow) Old);
    if (!scratch) return false;
    std::memcpy(static_cast<void*>(scratch.get()), bytes, sizeof(Old));
    scratch->toJobHistoryDBNew(to);
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
    const QString where = QStringLiteral("JobList,LoadFileJobs");
    QString path = pathIn;
    if (path.isEmpty() && !AltLocalDBPath.isEmpty() && fmFileExists(AltLocalDBPath + QStringLiteral("jobs.db")))
        path = AltLocalDBPath + QStringLiteral("jobs.db");
    if (path.isEmpty()) path = DatabaseFolder + QStringLiteral("jobs.db");

    App->WriteLog(10, 0, QStringLiteral("{ALL} ") + path + QStringLiteral("   loading..."), where);

    long long fileSize = 0;
    if (!fmFileExists(path, nullptr, &fileSize) || fileSize == 0) return true;
    if (fileSize < FrameHeaderSize) {
        App->WriteLog(0, 0, QStringLiteral("{ALL} Wrong file size '") + path + QStringLiteral("'!; "), where);
        return false;
    }

    const uLong bufferSize = compressBound(ReadLimit);
    // The compressed bytes of a frame and, behind them (at a 16-byte boundary), its inflated record.
    const size_t targetOffset = (size_t(bufferSize) + 15) & ~size_t(15);
    const size_t slotSize = targetOffset + sizeof(InflateTarget);
    // One slot per frame of a run, made when a run first needs it: a file of a few frames takes
    // a few slots, not a whole run's.
    std::unique_ptr<unsigned char[]> slotMemory[ReadAhead];

    QFile file;
    QString why;
    if (!fmOpenRegularFile(file, path, fmFileCap::Database, &why)) {
        App->WriteLog(0, 0,
                      QStringLiteral("{ALL} Unable to open '") + fmPathForDisplay(path) +
                          QStringLiteral("' !; ") + why,
                      where);
        return false;
    }

    // Every job added or dropped below would rebuild the view; one rebuild at the end suffices.
    ViewUpdateBatch batch(*this);

    std::unique_ptr<_jobsHistoryDB> upgraded;
    std::unique_ptr<_OLD61__jobsHistoryDB> old61;
    std::unique_ptr<_OLD62_jobsHistoryDB> old62;
    std::unique_ptr<_OLD627_jobsHistoryDB> old627;

    // Bytes of a short header read keep the values of the frame before.
    unsigned char header[FrameHeaderSize] = {};
    int failed = 0;
    auto firstFailure = [&](const QString& text) {
        if (failed == 0) App->WriteLog(1, 0, text, where);
        ++failed;
    };

    // The file is read in runs of up to ReadAhead frames. A run is read in file order, its frames
    // are inflated on two threads (zlib is most of a load's time), and then taken into the list
    // one by one in file order: the jobs, their order, the failures and the messages are those of
    // reading and inflating one frame after the other.
    PendingFrame frames[ReadAhead];
    for (;;) {
        int count = 0;
        FrameEnd end = FrameEnd::None;
        QString readError;
        while (count < ReadAhead) {
            if (!slotMemory[count]) {
                slotMemory[count].reset(new (std::nothrow) unsigned char[slotSize]);
                if (!slotMemory[count] && count > 0) break; // a shorter run; the next one goes on
                if (!slotMemory[count]) {
                    App->WriteLog(0, 0,
                                  QStringLiteral("{ALL} No Memory left (%1 Mb requested)")
                                      .arg(double(slotSize) / 1048576.0, 0, 'f', 1),
                                  where);
                    return false;
                }
            }
            const qint64 got = file.read(reinterpret_cast<char*>(header), FrameHeaderSize);
            if (got == 0) {
                end = FrameEnd::EndOfFile;
                break;
            }
            if (got < 0) {
                end = FrameEnd::ReadError;
                readError = file.errorString();
                break;
            }
            if (!magicMatches(header)) {
                end = FrameEnd::FormatError;
                break;
            }
            PendingFrame& f = frames[count];
            const uint32_t compressedSize = getU32(header + HdrCompressed);
            f.StoredSize = getU32(header + HdrUncompressed);
            f.ID = getU16(header + HdrID);
            if (compressedSize >= bufferSize) {
                end = FrameEnd::BufferTooSmall;
                break;
            }
            f.Compressed = slotMemory[count].get();
            f.Target = slotMemory[count].get() + targetOffset;
            f.Body = file.read(reinterpret_cast<char*>(f.Compressed), qint64(compressedSize));
            if (f.Body < 1) {
                end = FrameEnd::ReadError;
                readError = file.errorString();
                break;
            }
            f.Expected = SizeNow;
            if (f.ID == 0x0A02)
                f.Expected = Size61;
            else if (f.ID == 0x0A03)
                f.Expected = f.StoredSize == Size627 ? Size627 : Size62;
            f.Inflate = f.ID >= 0x0A02 && f.ID <= 0x0A04 && f.StoredSize == f.Expected;
            ++count;
        }

        inflateFrames(frames, count);

        for (int i = 0; i < count; ++i) {
            if (PerJobViewUpdate) batch.flush();
            const PendingFrame& f = frames[i];
            if (f.ID < 0x0A02 || f.ID > 0x0A04) continue;
            if (f.StoredSize != f.Expected) {
                firstFailure(QStringLiteral("{ALL} Error reading job #%1; Data size does not match. file:%2 intern:%3")
                                 .arg(JobCount)
                                 .arg(f.StoredSize)
                                 .arg(f.Expected));
                continue;
            }

            _jobsHistoryDB_Runtime* job = GetNewJob(nullptr, 0);
            if (!job) return false;

            if (f.Z != Z_OK) {
                int code = f.Z;
                firstFailure(QStringLiteral("{ALL} Error decompressing job #%1; ").arg(JobCount) +
                             fmConvertZLibError(code));
                DeleteJob(job);
                continue;
            }
            if (f.OutLen != f.Expected) {
                firstFailure(QStringLiteral("{ALL} Error decompressing job #%1; Uncompressed data size does not match!")
                                 .arg(JobCount));
                DeleteJob(job);
                continue;
            }

            const _jobsHistoryDB* rec = reinterpret_cast<const _jobsHistoryDB*>(f.Target);
            if (f.ID != 0x0A04) {
                if (!upgraded) upgraded.reset(new (std::nothrow) _jobsHistoryDB);
                bool ok = upgraded != nullptr;
                if (ok && f.ID == 0x0A02)
                    ok = upgradeFrom(f.Target, old61, *upgraded);
                else if (ok && f.Expected == Size627)
                    ok = upgradeFrom(f.Target, old627, *upgraded);
                else if (ok)
                    ok = upgradeFrom(f.Target, old62, *upgraded);
                if (!ok) return false;
                rec = upgraded.get();
            }

            const bool plausible = rec->SeqStep < 10000.0 && rec->SeqStep > 0.0 && !std::isnan(rec->SeqStart) &&
                                   !std::isnan(rec->SeqEnd) && !std::isnan(rec->SeqFileOffset) &&
                                   rec->ImageFileName.Data[0] < 256;
            if (!plausible) {
                firstFailure(QStringLiteral("{ALL} Error decompressing job #%1; Data error!").arg(JobCount));
                DeleteJob(job);
                continue;
            }
            // Records of an older submitter layout may carry small identifiers.
            if (rec->JobID <= 999 && rec->SubmitterStructVersion >= 7) {
                firstFailure(QStringLiteral("{ALL} Error decompressing job #%1; Data error job ID!").arg(JobCount));
                DeleteJob(job);
                continue;
            }
            // Kept so: such a record stays in the list as the empty job GetNewJob gave.
            if (rec->Software.Length > 500) continue;

            job->fromJobSave(rec, *App);
        }

        if (end == FrameEnd::None) continue;
        if (PerJobViewUpdate) batch.flush();
        if (end == FrameEnd::EndOfFile) break;
        if (end == FrameEnd::ReadError)
            App->WriteLog(1, 0, QStringLiteral("{ALL} Unable to read '") + path + QStringLiteral("' !; ") + readError,
                          where);
        else if (end == FrameEnd::FormatError)
            App->WriteLog(1, 0, QStringLiteral("{ALL} jobs.db format error!"), where);
        else
            App->WriteLog(1, 0, QStringLiteral("{ALL} Job read buffer too small!"), where);
        return false;
    }

    file.close();
    if (failed > 0)
        App->WriteLog(2, 0, QStringLiteral("{ALL} %1 Jobs in jobs.db could not be loaded; ").arg(failed), where);
    TimeLoaded.SetCurrentTime();
    App->WriteLog(4, 8, QStringLiteral("{ALL} %1 jobs loaded").arg(JobCount), where);
    return true;
}

bool _JobList::SaveFileJobs(bool backup, const QString& pathIn, bool logIt, const QString& logPrefix)
{
    const QString where = QStringLiteral("JobList,SaveFileJobs");
    // A program that works on a machine-local copy must never touch the shared file.
    if (!AltLocalDBPath.isEmpty()) return true;
    const QString path = pathIn.isEmpty() ? DatabaseFolder + QStringLiteral("jobs.db") : pathIn;

    if (logIt) {
        App->WriteLog(4, 8, logPrefix + QStringLiteral("{ALL} ") + path + QStringLiteral("   saving..."), where);
        if (App->Log) App->Log->flush();
    }

    if (backup && fmFileExists(path)) {
        const QString bak30 = path + QStringLiteral(".bak30");
        const QString bak302 = path + QStringLiteral(".bak302");
        if (!(fmDeleteFile(bak30).isEmpty() && fmRenameFile(path, bak30, false)))
            if (fmDeleteFile(bak302).isEmpty()) fmRenameFile(path, bak302, false);
        // Neither worked: the file is overwritten without a backup.
    }

    QReadLocker listLock(&LockList);
    if (JobCount == 0) {
        fmDeleteFile(path);
        return true;
    }

    // Room for the header in front of the worst case of compress(): a record that does not
    // compress at all still fits.
    const uLong bufferSize = compressBound(SizeNow) + FrameHeaderSize;
    std::unique_ptr<unsigned char[]> buffer(new (std::nothrow) unsigned char[bufferSize]());
    if (!buffer) {
        App->WriteLog(0, 0,
                      QStringLiteral("{ALL} No Memory left (%1 Mb requested)").arg(double(bufferSize) / 1048576.0, 0, 'f', 1),
                      where);
        return false;
    }
    unsigned char* header = buffer.get();
    std::strncpy(reinterpret_cast<char*>(header), FrameMagic, 50);
    putU32(header + HdrUncompressed, SizeNow);
    putU16(header + HdrID, FrameID);
    putU16(header + HdrVersion, FrameVersion);

    QFile file(path);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate)) {
        App->WriteLog(1, 0, QStringLiteral("{ALL} Unable to open '") + path + QStringLiteral("' !; ") + file.errorString(),
                      where);
        return false;
    }
    for (int i = 0; i < JobCount; ++i) {
        const _jobsHistoryDB_Runtime* job = Queue[i];
        uLongf outLen = bufferSize - FrameHeaderSize;
        // The record's first SizeNow bytes are the stored record; the runtime fields stay behind.
        int z = compress(buffer.get() + FrameHeaderSize, &outLen,
                         reinterpret_cast<const Bytef*>(static_cast<const _jobsHistoryDB*>(job)), SizeNow);
        if (z != Z_OK) {
            App->WriteLog(0, 0, QStringLiteral("{ALL} Error compressing job data; ") + fmConvertZLibError(z), where);
            file.close();
            return false;
        }
        putU32(header + HdrCompressed, uint32_t(outLen));
        const qint64 n = qint64(FrameHeaderSize) + qint64(outLen);
        if (file.write(reinterpret_cast<const char*>(buffer.get()), n) != n) {
            App->WriteLog(1, 0, QStringLiteral("{ALL} Unable to write '") + path + QStringLiteral("' !; ") + file.errorString(),
                          where);
            file.close();
            return false;
        }
    }
    file.close();
    if (file.error() != QFileDevice::NoError) {
        App->WriteLog(1, 0, QStringLiteral("{ALL} Unable to write '") + path + QStringLiteral("' !; ") + file.errorString(),
                      where);
        return false;
    }
    App->WriteLog(4, 8, QStringLiteral("{ALL} jobs.db (%1 jobs) saved.").arg(JobCount), where);
    if (App->Log) App->Log->flush();
    TimeSaved.SetCurrentTime();
    return true;
}

} // namespace fmJ
