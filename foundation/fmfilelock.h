#pragma once
// Advisory lock between programs and machines through a companion file beside the protected file.
// Exclusive creation ("wx") alone gives the mutual exclusion, so it works on every network file
// system that honours O_EXCL. The existence of "<file>_lock.txt" is the lock; its text is
// informative only. A lock file older than 3 hours is taken as left behind by a dead process.

#include "foundation/fmstring.h"

#include <QString>
#include <cstdio>

class fmFileLocker
{
public:
    static constexpr int WaitStepMs = 250;
    static constexpr long long StaleSeconds = 10800; // 3 hours

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
