#include "foundation/fmprocess.h"

#include <QFile>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <dirent.h>
#include <fcntl.h>
#include <sys/select.h>
#include <sys/stat.h>
#include <sys/time.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <memory>
#include <vector>

namespace {

// The kernel keeps 15 characters of a process name (TASK_COMM_LEN 16 with its terminator).
constexpr int kernelNameLen = 15;

char upperAscii(char c)
{
    return (c >= 'a' && c <= 'z') ? char(c - 'a' + 'A') : c;
}

fmString8_UnevenSize<25> upperName(const fmString8_UnevenSize<25>& in, int cut)
{
    fmString8_UnevenSize<25> out;
    const int n = std::min(in.len(), cut);
    char buf[26];
    for (int i = 0; i < n; ++i) buf[i] = upperAscii(in.Data[i]);
    buf[n] = 0;
    out.set(buf);
    return out;
}

double nowSeconds()
{
    struct timeval tv;
    ::gettimeofday(&tv, nullptr);
    return double(tv.tv_sec) + double(tv.tv_usec) / 1e6;
}

// Reads /proc/<pid>/stat: "pid (comm) state ppid ...". comm may hold blanks and ")", so the name
// ends at the last ")". Returns false for a process that went away meanwhile.
bool readStat(const char* pidText, char* name, int nameCap, int* ppid)
{
    char path[64];
    std::snprintf(path, sizeof(path), "/proc/%s/stat", pidText);
    const int fd = ::open(path, O_RDONLY | O_CLOEXEC);
    if (fd < 0) return false;
    char buf[512];
    ssize_t n = ::read(fd, buf, sizeof(buf) - 1);
    ::close(fd);
    if (n <= 0) return false;
    buf[n] = 0;
    char* open = std::strchr(buf, '(');
    char* close = std::strrchr(buf, ')');
    if (!open || !close || close < open) return false;
    int len = int(close - open - 1);
    if (len > nameCap) len = nameCap;
    std::memcpy(name, open + 1, size_t(len));
    name[len] = 0;
    // Behind ") " come the state letter and the parent id.
    char state = 0;
    int pp = 0;
    if (std::sscanf(close + 1, " %c %d", &state, &pp) != 2) return false;
    *ppid = pp;
    return true;
}

struct ArgVector
{
    std::vector<QByteArray> Store;
    std::vector<char*> Ptrs;

    ArgVector(const fmString<250>& exe, const QStringList& args)
    {
        Store.reserve(size_t(args.size()) + 1);
        Store.push_back(QFile::encodeName(exe.toQString()));
        for (const QString& a : args) Store.push_back(a.toLocal8Bit());
        for (QByteArray& b : Store) Ptrs.push_back(b.data());
        Ptrs.push_back(nullptr);
    }
};

QStringList toQStringList(const fmStringList& l)
{
    QStringList out;
    out.reserve(l.count());
    for (int i = 0; i < l.count(); ++i) out.append(l.at(i).toQString());
    return out;
}

// Only async-signal-safe calls from here on: the parent may have other threads.
void childWrite(const char* s)
{
    if (!s) return;
    size_t n = std::strlen(s);
    while (n > 0) {
        const ssize_t w = ::write(STDOUT_FILENO, s, n);
        if (w <= 0) return;
        s += w;
        n -= size_t(w);
    }
}

[[noreturn]] void childExec(char* const* argv)
{
    ::execvp(argv[0], argv);
    const int e = errno;
    childWrite("Failed to start new process (execvp) ");
#ifdef __GLIBC__
    childWrite(::strerrordesc_np(e));
#else
    (void)e;
    childWrite("error");
#endif
    childWrite("\n");
    // The rights of the executable as ls shows them, then its path.
    char mode[11] = "----------";
    struct stat st;
    if (::stat(argv[0], &st) == 0) {
        if (S_ISDIR(st.st_mode)) mode[0] = 'd';
        const char* rwx = "rwxrwxrwx";
        for (int i = 0; i < 9; ++i)
            if (st.st_mode & (1u << (8 - i))) mode[i + 1] = rwx[i];
    } else {
        std::memcpy(mode, "(missing) ", 11);
    }
    childWrite("Executable access rights: ");
    childWrite(mode);
    childWrite(" ");
    childWrite(argv[0]);
    childWrite("\n");
    ::_exit(127);
}

// Forks and execs. outFd/errFd: descriptors for the child's standard output and error, or -1 to keep.
long long forkExec(const fmString<250>& exe, const QStringList& args, int outFd, int errFd, int closeFd)
{
    if (exe.isEmpty()) return -1;
    ArgVector av(exe, args);
    const pid_t pid = ::fork();
    if (pid < 0) return -1;
    if (pid == 0) {
        if (closeFd >= 0) ::close(closeFd);
        if (outFd >= 0) ::dup2(outFd, STDOUT_FILENO);
        if (errFd >= 0) ::dup2(errFd, STDERR_FILENO);
        if (outFd > STDERR_FILENO) ::close(outFd);
        if (errFd > STDERR_FILENO && errFd != outFd) ::close(errFd);
        childExec(av.Ptrs.data());
    }
    return (long long)pid;
}

int openLog(const fmString<250>& logFile)
{
    if (logFile.isEmpty()) return -1;
    return ::open(QFile::encodeName(logFile.toQString()).constData(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0666);
}

} // namespace

// ---- process table -----------------------------------------------------------------------------

_fmProcessList::_fmProcessList()
{
    std::memset(static_cast<void*>(Entries), 0, sizeof(Entries));
}

void _fmProcessList::initGetProcessInfo()
{
    const double now = nowSeconds();
    TimeDelta = LastTime > 0 ? now - LastTime : 0;
    LastTime = now;
    Collected = false;
}

void _fmProcessList::collectAllProcesses()
{
    Collected = true;
    Count = 0;
    DIR* d = ::opendir("/proc");
    if (!d) return;
    while (struct dirent* e = ::readdir(d)) {
        if (Count >= MaxEntries - 1) break;
        const char* s = e->d_name;
        bool numeric = *s != 0;
        for (const char* p = s; *p; ++p)
            if (*p < '0' || *p > '9') numeric = false;
        if (!numeric) continue;
        char name[26];
        int ppid = 0;
        if (!readStat(s, name, 25, &ppid)) continue;
        _fmProcessEntry& en = Entries[Count];
        std::memset(static_cast<void*>(&en), 0, sizeof(en));
        for (char* p = name; *p; ++p) *p = upperAscii(*p);
        en.Name.set(name);
        en.PID = int32_t(std::strtol(s, nullptr, 10));
        en.ParentPID = int32_t(ppid);
        ++Count;
    }
    ::closedir(d);
}

int _fmProcessList::matchCount(fmString8_UnevenSize<25> name, long long* pid)
{
    if (!Collected) collectAllProcesses();
    // Compared in the kernel's form: upper case, at most 15 characters.
    const fmString8_UnevenSize<25> want = upperName(name, kernelNameLen);
    const int n = want.len();
    if (n == 0) return 0;
    const int self = int(::getpid());
    int found = 0;
    long long last = 0;
    bool lastIsOther = false;
    const int count = std::clamp(int(Count), 0, MaxEntries);
    for (int i = 0; i < count; ++i) {
        const _fmProcessEntry& e = Entries[i];
        if (e.Name.len() != n || std::memcmp(e.Name.Data, want.Data, size_t(n)) != 0) continue;
        ++found;
        if (e.PID != self || !lastIsOther) {
            last = e.PID;
            lastIsOther = e.PID != self;
        }
    }
    if (pid && found > 0) *pid = last;
    return found;
}

bool _fmProcessList::doesProcessExistTwice(fmString8_UnevenSize<25> name, long long* pid)
{
    return matchCount(name, pid) > 1;
}

int _fmProcessList::processExists(fmString8_UnevenSize<25> name, long long* pid)
{
    return matchCount(name, pid);
}

int _fmProcessList::getListIDByPID(const long long& pid)
{
    if (!Collected) collectAllProcesses();
    const int count = std::clamp(int(Count), 0, MaxEntries);
    for (int i = 0; i < count; ++i)
        if (Entries[i].PID == pid) return i;
    return -1;
}

bool _fmProcessList::processExistsPID(const long long& pid)
{
    return getListIDByPID(pid) >= 0;
}

bool _fmProcessList::killProcess(const long long& pid)
{
    if (pid <= 0 || getListIDByPID(pid) < 0) return false;
    return ::kill(pid_t(pid), SIGKILL) == 0;
}

bool _fmProcessList::INTProcess(const long long& pid)
{
    if (pid <= 0 || getListIDByPID(pid) < 0) return false;
    return ::kill(pid_t(pid), SIGINT) == 0;
}

bool ourProcessAlreadyExists(fmString8_UnevenSize<25> name, bool exactFirst, bool withConsole, long long* pid)
{
    // About 240 KB: on the heap, never on the stack.
    auto list = std::make_unique<_fmProcessList>();
    list->initGetProcessInfo();
    if (!withConsole) return list->doesProcessExistTwice(name, pid);

    fmString8_UnevenSize<25> console;
    {
        QString s = name.toQString() + QStringLiteral("console");
        console.set(s.left(25));
    }
    if (!exactFirst) {
        if (list->doesProcessExistTwice(name, pid)) return true;
        return list->processExists(console, pid) >= 1;
    }
    if (list->processExists(name, pid) >= 1) return true;
    return list->doesProcessExistTwice(console, pid);
}

// ---- starting processes ------------------------------------------------------------------------

long long fmStartProcess(fmString<250> exe, const QStringList& args, const fmString<250>& logFile)
{
    const int log = openLog(logFile);
    const long long pid = forkExec(exe, args, log, log, -1);
    if (log >= 0) ::close(log);
    return pid;
}

long long fmStartProcess(fmString<250> exe, const fmStringList& args, const fmString<250>& logFile)
{
    return fmStartProcess(exe, toQStringList(args), logFile);
}

bool fmStartProcessNoFork(fmString<250> exe, const QStringList& args)
{
    if (exe.isEmpty()) return false;
    ArgVector av(exe, args);
    ::execvp(av.Ptrs[0], av.Ptrs.data());
    return false;
}

bool fmStartProcessNoFork(fmString<250> exe, const fmStringList& args)
{
    return fmStartProcessNoFork(exe, toQStringList(args));
}

long long fmStartProcess_pipe(_processPipe& pp, fmString<250> exe, const QStringList& args,
                              const fmString<250>& logFile)
{
    pp.close();
    int fds[2];
    if (::pipe2(fds, O_CLOEXEC) != 0) return -1;
    const int log = openLog(logFile);
    const long long pid = forkExec(exe, args, fds[1], log >= 0 ? log : fds[1], fds[0]);
    if (log >= 0) ::close(log);
    ::close(fds[1]);
    if (pid < 0) {
        ::close(fds[0]);
        return -1;
    }
    pp.FD = fds[0];
    pp.PID = pid;
    pp.Filled = 0;
    pp.EndOfData = false;
    return pid;
}

long long fmStartProcess_pipe(_processPipe& pp, fmString<250> exe, const fmStringList& args,
                              const fmString<250>& logFile)
{
    return fmStartProcess_pipe(pp, exe, toQStringList(args), logFile);
}

void fmStartProcess_checkallChildren()
{
    while (::waitpid(-1, nullptr, WNOHANG | WUNTRACED) > 0) {
    }
}

// ---- pipe --------------------------------------------------------------------------------------

_processPipe::~_processPipe()
{
    close();
}

void _processPipe::close()
{
    if (FD >= 0) ::close(FD);
    FD = -1;
    if (PID > 0) ::waitpid(pid_t(PID), nullptr, WNOHANG);
}

int _processPipe::readPipe(const int& waitMs)
{
    if (FD < 0 || EndOfData) return -1;
    Filled = std::clamp(Filled, 0, BufferSize);
    // Room for the line feed that may be added at the end.
    const int room = BufferSize - Filled - 1;
    if (room <= 0) return 0;
    fd_set set;
    FD_ZERO(&set);
    FD_SET(FD, &set);
    const int ms = std::max(0, waitMs);
    struct timeval tv;
    tv.tv_sec = ms / 1000;
    tv.tv_usec = (ms % 1000) * 1000;
    const int r = ::select(FD + 1, &set, nullptr, nullptr, &tv);
    if (r < 0) return errno == EINTR ? 0 : -1;
    if (r == 0) return 0;
    const ssize_t n = ::read(FD, Buffer + Filled, size_t(room));
    if (n < 0) return errno == EINTR || errno == EAGAIN ? 0 : -1;
    if (n == 0) {
        EndOfData = true;
        if (Filled > 0 && Buffer[Filled - 1] != '\n') Buffer[Filled++] = '\n';
        return -1;
    }
    Filled += int(n);
    return int(n);
}

void _processPipe::readout(char* out, const int& max, int& n)
{
    n = 0;
    Filled = std::clamp(Filled, 0, BufferSize);
    if (!out || max <= 0 || Filled == 0) return;
    n = std::min(max, Filled);
    std::memcpy(out, Buffer, size_t(n));
    std::memmove(Buffer, Buffer + n, size_t(Filled - n));
    Filled -= n;
}

// ---- small helpers -----------------------------------------------------------------------------

void fmSleep(int ms)
{
    while (ms > 0) {
        const int part = std::min(ms, 999);
        ::usleep(useconds_t(part) * 1000);
        ms -= part;
    }
}

namespace {
QString osErrorText(int code)
{
    if (code == -1) code = errno;
    char buf[256];
    buf[0] = 0;
    const char* r = strerror_r(code, buf, sizeof(buf));
    return QString::fromLocal8Bit(r ? r : buf);
}
} // namespace

fmString<500> fmLastOSError(int code)
{
    return fmString<500>(osErrorText(code));
}

fmString8_evenSize<500> fmLastOSError8(int code)
{
    return fmString8_evenSize<500>(osErrorText(code));
}
