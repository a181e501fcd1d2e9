#pragma once
// The machine's process table (read from /proc) and the starting of other programs of the tool set.
// Nothing here goes through a shell: every argument reaches the started program as one entry of its
// argument vector, whatever blanks, quotes or shell characters it holds.

#include "foundation/fmstring.h"

#include <QStringList>

#include <cstdint>
#include <memory>

class QProcess;

// One process as the kernel names it. Name is the kernel's short name (at most 15 characters),
// upper-cased. The processor times are left for the tools that measure load; they stay 0 here.
struct _fmProcessEntry
{
    fmString8_UnevenSize<25> Name;
    int32_t PID;
    int32_t ParentPID;
    int64_t TimeUser;
    int64_t TimeSystem;
    int64_t TimeUserLast;
    int64_t TimeSystemLast;
};

// Large (about 240 KB): allocate on the heap.
struct _fmProcessList
{
    static constexpr int MaxEntries = 4000;

    int32_t Count = 0;
    _fmProcessEntry Entries[MaxEntries];
    fmString<250> Reserved;
    double LastTime = 0;  // seconds (gettimeofday) at the last initGetProcessInfo
    double TimeDelta = 0; // seconds between the last two calls of initGetProcessInfo
    bool Collected = false;

    _fmProcessList();

    // Takes the time; the next search collects the table afresh.
    void initGetProcessInfo();
    // Reads the table: id, parent id and upper-cased short name of at most 3999 processes.
    // If /proc cannot be read the list stays empty.
    void collectAllProcesses();
    // True if more than one process has this name (the caller itself is one of them). *pid gets
    // the id of the last match, preferring another process over the caller.
    bool doesProcessExistTwice(fmString8_UnevenSize<25> name, long long* pid = nullptr);
    // Number of processes with this name; *pid as above.
    int processExists(fmString8_UnevenSize<25> name, long long* pid = nullptr);
    bool processExistsPID(const long long& pid);
    // Index into Entries, or -1.
    int getListIDByPID(const long long& pid);
    // Send SIGKILL / SIGINT to a listed process; false if it is not in the list or the signal failed.
    bool killProcess(const long long& pid);
    bool INTProcess(const long long& pid);

private:
    int matchCount(fmString8_UnevenSize<25> name, long long* pid);
};

// True if another process of this name runs. See the start-up use: ourProcessAlreadyExists("fmHistorydb",
// false, false, nullptr) refuses a second instance.
bool ourProcessAlreadyExists(fmString8_UnevenSize<25> name, bool exactFirst, bool withConsole,
                             long long* pid = nullptr);

// The reading end of a started process's output.
struct _processPipe
{
    static constexpr int BufferSize = 51200;

    std::unique_ptr<QProcess> Process; // owned; null when closed
    int Filled = 0;                    // bytes in Buffer
    long long PID = 0;
    bool EndOfData = false;
    char Buffer[BufferSize];

    _processPipe();
    ~_processPipe();
    _processPipe(const _processPipe&) = delete;
    _processPipe& operator=(const _processPipe&) = delete;

    // Waits up to waitMs for output and appends what came to Buffer (as much as fits). At the end
    // of the output a line feed is added when the last line has none. Returns the bytes added,
    // 0 on time-out or a full buffer, -1 at the end of the output (the process has ended) or when
    // closed.
    int readPipe(const int& waitMs);
    // Hands over up to max bytes from the start of Buffer; n gets the count. The rest moves up.
    void readout(char* out, const int& max, int& n);
    // Closes the reading end; a process that still runs is killed and collected.
    void close();
};

// Starts exe with the arguments through QProcess, detached: it is not our child and runs on when
// we end, and nothing has to collect it. With a log file the program's standard output and
// standard error are appended to it. Returns its id, or -1 if it could not be started; then the
// lines "Failed to start new process (execvp) <reason>" and "Executable access rights: <mode>
// <path>" go to the log file (standard output without one).
long long fmStartProcess(fmString<250> exe, const fmStringList& args, const fmString<250>& logFile);
long long fmStartProcess(fmString<250> exe, const QStringList& args, const fmString<250>& logFile);
// execvp in place of the running process; returns only on failure (false).
bool fmStartProcessNoFork(fmString<250> exe, const fmStringList& args);
bool fmStartProcessNoFork(fmString<250> exe, const QStringList& args);
// Starts exe as our child with standard output in the pipe; standard error goes to the log file
// if one is given, else into the pipe as well. Returns the child's id, or -1.
long long fmStartProcess_pipe(_processPipe& pipe, fmString<250> exe, const fmStringList& args,
                              const fmString<250>& logFile);
long long fmStartProcess_pipe(_processPipe& pipe, fmString<250> exe, const QStringList& args,
                              const fmString<250>& logFile);

// usleep in portions below one second. Nothing for ms < 1.
void fmSleep(int ms);
// Text of the system's error code; -1 means the last error (errno).
fmString<500> fmLastOSError(int code);
fmString8_evenSize<500> fmLastOSError8(int code);
