#pragma once
// Advisory lock between programs and machines through a companion file beside the protected file.
// Exclusive creation ("wx") alone gives the mutual exclusion, so it works on every network file
// system that honours O_EXCL. The existence of "<file>_lock.txt" is the lock; its text is
// informative only. A lock file older than 3 hours is taken as left behind by a dead process, and so
// is one dated more than 5 minutes in the future (a machine whose clock is out of step wrote it, or
// it was touched to block the farm): waiting for it to age would take as long as the clocks differ.

#include "foundation/fmstring.h"

#include <QString>
#include <cstdio>

class fmFileLocker
{
public:
    static constexpr int WaitStepMs = 250;
    static constexpr long long StaleSeconds = 10800; // 3 hours
    static constexpr long long FutureSeconds = 300;  // a lock dated further ahead is stale

    // The pause between two tries, in ms. Tests replace it so that a wait of seconds takes none
    // (or so that "another program" acts at a given try); null restores the real sleep.
    using SleepFn = void (*)(int ms);
    static void setSleepFunction(SleepFn fn);
    // Sleeps through the installed function: callers that wait for the farm (a server's client
    // sort) use it so that tests can run their waits in no time as well.
    static void pause(int ms);
    // True if a lock file of this modification time counts as left behind at the time now.
    static bool isStale(long long mtime, long long now);

    explicit fmFileLocker(const QString& file);
    ~fmFileLocker();
    fmFileLocker(const fmFileLocker&) = delete;
    fmFileLocker& operator=(const fmFileLocker&) = delete;

    // Tries every 250 ms for timeoutMs (at least one try). True when the lock is held (or, with
    // testOnly, when it is free: then nothing is created). *waitedMs gets the time waited; after a
    // failure to create the lock file for another reason than its existence it is negative.
    // Calling lock again while this object holds the lock gives true at once.
    bool lock(const int& timeoutMs, const QString& owner, int* waitedMs = nullptr, bool testOnly = false);
    bool isFree(const int& timeoutMs, int* waitedMs = nullptr);
    // Closes and deletes the lock file; if it cannot be deleted it is renamed to "<lock>.none".
    void unlock();
    bool isLocked() const { return File != nullptr; }
    QString lockFileName() const;

    fmString8_evenSize<250>* LockFileName; // owned: protected name cut to 250 + "_lock.txt", cut to 250
    FILE* File = nullptr;                  // open while this object holds the lock
};
