// Writing job database files. A file is never truncated in place: the frames go into a temporary
// file beside it, which is flushed to disk and then renamed over it, so a full disk, a crash or a
// failed write leaves the old file as it was. Records are compressed on the thread pool, each into
// the bytes one compress() call gives, so the file is byte for byte what a serial writer makes.
// A project's files are rewritten one by one, each under the farm's lock file for it, from what
// is on disk at that moment less the jobs deleted from it since the load.

#include "jobs/fmjoblist.h"

#include "foundation/fmdatabuffer.h"
#include "foundation/fmfile.h"
#include "foundation/fmfilelock.h"
#include "foundation/fmlogfile.h"
#include "foundation/fmsdk.h"
#include "jobs/fmjobframe.h"

#include <QFile>
#include <QHash>
#include <QReadLocker>
#include <QSysInfo>
#include <QTemporaryFile>

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <memory>
#include <vector>

namespace fmJ {

namespace {

// Records compressed at a time: bounds the memory of frames waiting to be written.
constexpr int CompressChunk = 256;

QString systemError(int code)
{
    return qt_error_string(code);
}

QByteArray nativePath(const QString& path)
{
    return QFile::encodeName(path);
}

// Writes all of `bytes` to `fd`; an empty text, or the system's reason.
QString writeAll(int fd, const QByteArray& bytes)
{
    const char* p = bytes.constData();
    qsizetype left = bytes.size();
    while (left > 0) {
        const ssize_t n = ::write(fd, p, size_t(left));
        if (n < 0 && errno == EINTR) continue;
        if (n <= 0) return systemError(n < 0 ? errno : ENOSPC);
        p += n;
        left -= n;
    }
    return QString();
}

// Compresses the records on the pool and writes their frames to `fd` in order.
QString writeFrames(int fd, const std::vector<const _jobsHistoryDB*>& records)
{
    std::vector<QByteArray> frames(CompressChunk);
    std::vector<int> errors(CompressChunk);
    for (size_t first = 0; first < records.size(); first += CompressChunk) {
        const int n = int(std::min(records.size() - first, size_t(CompressChunk)));
        frame::runOnPool(n, [&](int i) {
            frames[size_t(i)] = frame::compressRecord(*records[first + size_t(i)], &errors[size_t(i)]);
        });
        for (int i = 0; i < n; ++i) {
            if (frames[size_t(i)].isEmpty()) {
                int code = errors[size_t(i)];
                return QStringLiteral("Error compressing job data; ") + fmConvertZLibError(code);
            }
            const QString why = writeAll(fd, frames[size_t(i)]);
            if (!why.isEmpty()) return why;
            frames[size_t(i)].clear();
        }
    }
    return QString();
}

// The old file goes to ".bak30" (or ".bak302" when that cannot be replaced). A hard link keeps the
// file in its place until the new one is renamed over it; where links are not to be had, it is
// renamed. Returns the backup's name when the file itself was moved there, else an empty text.
QString keepBackup(const QString& path)
{
    for (const QString& bak : {path + QStringLiteral(".bak30"), path + QStringLiteral(".bak302")}) {
        if (!fmDeleteFile(bak).isEmpty()) continue;
        if (::link(nativePath(path).constData(), nativePath(bak).constData()) == 0) return QString();
        if (fmRenameFile(path, bak, false)) return bak;
    }
    return QString(); // neither worked: the file is replaced without a backup
}

} // namespace

QString _JobList::writeJobFile(const QString& path, const std::vector<const _jobsHistoryDB*>& records,
                               bool backup)
{
    const QString cannot = QStringLiteral("Unable to write '") + path + QStringLiteral("' !; ");
    if (records.empty()) {
        if (backup && fmFileExists(path)) keepBackup(path);
        const QString why = fmDeleteFile(path);
        return why.isEmpty() ? QString()
                             : QStringLiteral("Unable to delete '") + path + QStringLiteral("' !; ") + why;
    }
    QTemporaryFile tmp(path + QStringLiteral(".saving.XXXXXX"));
    if (!tmp.open())
        return QStringLiteral("Unable to open '") + tmp.fileTemplate() + QStringLiteral("' !; ") +
               tmp.errorString();
    const int fd = int(tmp.handle());
    // The new file gets the old one's rights (a temporary file is made private to its owner).
    struct stat old = {};
    const bool existed = ::stat(nativePath(path).constData(), &old) == 0;
    ::fchmod(
        fd, existed ? (old.st_mode & 07777) : 0666 & ~[] {
            const mode_t m = ::umask(0);
            ::umask(m);
            return m;
        }());
    QString why = writeFrames(fd, records);
    if (why.isEmpty() && ::fsync(fd) != 0) why = systemError(errno);
    if (!why.isEmpty()) return cannot + why;
    const QString movedTo = backup && existed ? keepBackup(path) : QString();
    if (::rename(nativePath(tmp.fileName()).constData(), nativePath(path).constData()) != 0) {
        why = systemError(errno);
        if (!movedTo.isEmpty()) fmRenameFile(movedTo, path, false);
        return cannot + why;
    }
    tmp.setAutoRemove(false);
    return QString();
}

bool _JobList::SaveFileJobs(bool backup, const QString& pathIn, bool logIt, const QString& logPrefix)
{
    const QString where = QStringLiteral("JobList,SaveFileJobs");
    // A program that works on a machine-local copy must never touch the shared file.
    if (!AltLocalDBPath.isEmpty()) return true;
    const QString path = pathIn.isEmpty() ? DatabaseFolder + QStringLiteral("jobs.db") : pathIn;
    if (logIt) {
        App->WriteLog(4, 8, logPrefix + QStringLiteral("{ALL} ") + path + QStringLiteral("   saving..."),
                      where);
        if (App->Log) App->Log->flush();
    }
    QReadLocker listLock(&LockList);
    std::vector<const _jobsHistoryDB*> records;
    records.reserve(size_t(std::max(JobCount, 0)));
    for (int i = 0; i < JobCount; ++i)
        records.push_back(Queue[i]);
    LastSaveError = writeJobFile(path, records, backup);
    if (!LastSaveError.isEmpty()) {
        App->WriteLog(1, 0, QStringLiteral("{ALL} ") + LastSaveError, where);
        return false;
    }
    if (JobCount == 0) return true;
    App->WriteLog(4, 8, QStringLiteral("{ALL} jobs.db (%1 jobs) saved.").arg(JobCount), where);
    if (App->Log) App->Log->flush();
    TimeSaved.SetCurrentTime();
    return true;
}

// Identifiers loaded from source `index` that no job of the list carries any more, with their
// counts (a file may hold one identifier twice).
QHash<unsigned long long, int> _JobList::deletedFromSource(int index) const
{
    QHash<unsigned long long, int> present;
    for (int i = 0; i < JobCount; ++i)
        if (Queue[i]->SourceFile == index + 1) ++present[Queue[i]->JobID];
    QHash<unsigned long long, int> deleted;
    for (unsigned long long id : Sources[index].JobIDs) {
        int& left = present[id];
        if (left > 0)
            --left;
        else
            ++deleted[id];
    }
    return deleted;
}

bool _JobList::saveSource(int index, QStringList& messages, int lockWaitMs)
{
    QHash<unsigned long long, int> deleted = deletedFromSource(index);
    if (deleted.isEmpty()) return true;
    const QString path = Sources[index].Path;
    fmFileLocker lock(path);
    int waited = 0;
    if (!lock.lock(lockWaitMs, QSysInfo::machineHostName() + QLatin1Char(' ') + App->AppName, &waited)) {
        messages.append(waited < 0
                            ? QStringLiteral("Unable to lock '%1'; not saved.").arg(path)
                            : QStringLiteral("'%1' is locked by another program (waited %2 s); not saved.")
                                  .arg(path)
                                  .arg(waited / 1000));
        return false;
    }
    // What is on disk now: jobs the farm added since the load stay, other saves' deletions too.
    auto disk = std::make_unique<_JobList>(*App);
    if (!disk->LoadFileJobs(path)) {
        const QString why =
            disk->LastLoad.Messages.isEmpty() ? QString() : disk->LastLoad.Messages.last().second;
        messages.append(QStringLiteral("Unable to read '%1'; not saved. %2").arg(path, why).trimmed());
        return false;
    }
    std::vector<const _jobsHistoryDB*> keep;
    for (int i = 0; i < disk->JobCount; ++i) {
        auto it = deleted.find(disk->Queue[i]->JobID);
        if (it != deleted.end() && it.value() > 0) {
            --it.value();
            continue;
        }
        keep.push_back(disk->Queue[i]);
    }
    const QString why = writeJobFile(path, keep, true);
    if (!why.isEmpty()) {
        messages.append(why);
        return false;
    }
    // The file now holds what the list holds of it: a second save has nothing to do.
    QList<unsigned long long> now;
    for (int i = 0; i < JobCount; ++i)
        if (Queue[i]->SourceFile == index + 1) now.append(Queue[i]->JobID);
    Sources[index].JobIDs = now;
    return true;
}

bool _JobList::SaveSources(QStringList& messages, int lockWaitMs)
{
    if (IsCopy) return false;
    bool ok = true;
    for (int i = 0; i < int(Sources.size()); ++i)
        ok = saveSource(i, messages, lockWaitMs) && ok;
    return ok;
}

} // namespace fmJ
