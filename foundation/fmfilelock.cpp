#include "foundation/fmfilelock.h"

#include "foundation/fmfileread.h"
#include "foundation/fmtime.h"

#include <atomic>
#include <cerrno>
#include <ctime>
#include <sys/stat.h>
#include <unistd.h>

namespace {

QByteArray lockPath(const fmString8_evenSize<250>* name)
{
    return fmPathToBytes(name->toQString());
}

void realSleep(int ms)
{
    if (ms > 0) ::usleep(useconds_t(ms) * 1000);
}

std::atomic<fmFileLocker::SleepFn> sleepFn{realSleep};

// 0 no lock file, 1 a lock file (not a folder), 2 a folder of that name. mtime for a lock file.
int lockState(const QByteArray& path, time_t* mtime)
{
    struct stat st;
    if (::stat(path.constData(), &st) != 0) return 0;
    if (S_ISDIR(st.st_mode)) return 2;
    if (mtime) *mtime = st.st_mtime;
    return 1;
}

} // namespace

fmFileLocker::fmFileLocker(const QString& file) : LockFileName(new fmString8_evenSize<250>())
{
    const QString cut = file.left(250);
    LockFileName->set((cut + QStringLiteral("_lock.txt")).left(250));
}

fmFileLocker::~fmFileLocker()
{
    unlock();
    delete LockFileName;
    LockFileName = nullptr;
}

QString fmFileLocker::lockFileName() const
{
    return LockFileName->toQString();
}

void fmFileLocker::setSleepFunction(SleepFn fn)
{
    sleepFn = fn ? fn : realSleep;
}

void fmFileLocker::pause(int ms)
{
    sleepFn.load()(ms);
}

bool fmFileLocker::isStale(long long mtime, long long now)
{
    return now - mtime > StaleSeconds || mtime - now > FutureSeconds;
}

bool fmFileLocker::isFree(const int& timeoutMs, int* waitedMs)
{
    return lock(timeoutMs, QString(), waitedMs, true);
}

bool fmFileLocker::lock(const int& timeoutMs, const QString& owner, int* waitedMs, bool testOnly)
{
    if (waitedMs) *waitedMs = 1;
    if (File) {
        if (waitedMs) *waitedMs = 0;
        return true;
    }
    const QByteArray path = lockPath(LockFileName);
    const int tries = std::max(1, timeoutMs / WaitStepMs);
    for (int i = 0;; ++i) {
        if (i < tries && lockState(path, nullptr) != 0) {
            pause(WaitStepMs);
            continue;
        }
        if (waitedMs) *waitedMs = i * WaitStepMs;
        if (i >= tries) {
            // The wait is over. A lock file untouched for 3 hours belongs to a process that died;
            // one from the future would block for as long as the clocks differ.
            time_t mtime = 0;
            if (lockState(path, &mtime) == 1 && isStale(mtime, ::time(nullptr))) ::unlink(path.constData());
            if (lockState(path, nullptr) == 1) return false;
        }
        if (testOnly) return true;
        // A folder of the lock's name is no lock: let the exclusive creation decide.
        FILE* f = std::fopen(path.constData(), "wx");
        if (f) {
            if (waitedMs) *waitedMs = i * WaitStepMs;
            fmTime_t now;
            now.SetCurrentTime();
            QByteArray who = owner.toLatin1();
            for (char& c : who)
                if (static_cast<unsigned char>(c) > 0x7F || c < 0x20) c = '?';
            const QByteArray text =
                QByteArray("\n File locked by: ") + who + QByteArray("\n Time locked: ") +
                now.asString().toLatin1() +
                QByteArray("\nInfo: This lock file should only exist a few seconds for config files.\n\n");
            // Write errors are of no concern: the existence of the file is the lock.
            (void)std::fwrite(text.constData(), 1, size_t(text.size()), f);
            std::fflush(f);
            File = f;
            return true;
        }
        if (errno != EEXIST) {
            if (waitedMs) *waitedMs = *waitedMs > 0 ? -*waitedMs : -1;
            return false;
        }
        // Somebody else was quicker. After the last try, or with a folder of the lock's name
        // (which fails the creation for ever), that is the end.
        if (i >= tries) return false;
        pause(WaitStepMs);
    }
}

void fmFileLocker::unlock()
{
    if (!File) return;
    std::fclose(File);
    File = nullptr;
    const QByteArray path = lockPath(LockFileName);
    if (::unlink(path.constData()) != 0) {
        // At least free the lock's name.
        const QByteArray none = path + ".none";
        ::rename(path.constData(), none.constData());
    }
}
