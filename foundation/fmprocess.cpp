#include "foundation/fmprocess.h"

#include <QFile>
#include <QProcess>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/time.h>
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
    for (int i = 0; i < n; ++i)
        buf[i] = upperAscii(in.Data[i]);
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
        for (const QString& a : args)
            Store.push_back(a.toLocal8Bit());
        for (QByteArray& b : Store)
            Ptrs.push_back(b.data());
        Ptrs.push_back(nullptr);
    }
};

QStringList toQStringList(const fmStringList& l)
{
    QStringList out;
    out.reserve(l.count());
    for (int i = 0; i < l.count(); ++i)
        out.append(l.at(i).toQString());
    return out;
}

// The rights of a file as ls shows them ("-rwxr-x---"), or "(missing) " when there is none.
QByteArray modeText(const QByteArray& path)
{
    struct stat st;
    if (::stat(path.constData(), &st) != 0) return QByteArrayLiteral("(missing) ");
    QByteArray mode("----------");
    if (S_ISDIR(st.st_mode)) mode[0] = 'd';
    const char* rwx = "rwxrwxrwx";
    for (int i = 0; i < 9; ++i)
        if (st.st_mode & (1u << (8 - i))) mode[i + 1] = rwx[i];
    return mode;
}

// A start that failed leaves the farm's usual two lines where the program's output would have
// gone: appended to the log file, else on standard output.
void reportStartFailure(const QString& exe, const QString& logFile, const QString& reason)
{
    const QByteArray path = QFile::encodeName(exe);
    const QByteArray text = "Failed to start new process (execvp) " + reason.toLocal8Bit() +
                            "\nExecutable access rights: " + modeText(path) + ' ' + path + '\n';
    if (logFile.isEmpty()) {
        std::fwrite(text.constData(), 1, size_t(text.size()), stdout);
        std::fflush(stdout);
        return;
    }
    QFile log(logFile);
    if (log.open(QIODevice::WriteOnly | QIODevice::Append)) log.write(text);
}

// Why exec would fail: the system's word on the file when it can't be run, else QProcess's.
QString startFailureReason(const QString& exe, const QProcess& process)
{
    if (::access(QFile::encodeName(exe).constData(), X_OK) != 0)
        return QString::fromLocal8Bit(std::strerror(errno));
    return process.errorString();
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
        for (char* p = name; *p; ++p)
            *p = upperAscii(*p);
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
    if (exe.isEmpty()) return -1;
    const QString program = exe.toQString();
    const QString log = logFile.toQString();
    QProcess process;
    process.setProgram(program);
    process.setArguments(args);
    if (!log.isEmpty()) {
        process.setStandardOutputFile(log, QIODevice::Append);
        process.setStandardErrorFile(log, QIODevice::Append);
    }
    // Detached: the program is not our child, so nothing is left to collect when it ends.
    qint64 pid = 0;
    if (!process.startDetached(&pid)) {
        reportStartFailure(program, log, startFailureReason(program, process));
        return -1;
    }
    return pid > 0 ? (long long)pid : -1;
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
    if (exe.isEmpty()) return -1;
    auto process = std::make_unique<QProcess>();
    process->setProgram(exe.toQString());
    process->setArguments(args);
    if (logFile.isEmpty())
        process->setProcessChannelMode(QProcess::MergedChannels);
    else
        process->setStandardErrorFile(logFile.toQString(), QIODevice::Append);
    process->start(QIODevice::ReadOnly);
    if (!process->waitForStarted()) return -1;
    pp.Process = std::move(process);
    pp.PID = pp.Process->processId();
    pp.Filled = 0;
    pp.EndOfData = false;
    return pp.PID;
}

long long fmStartProcess_pipe(_processPipe& pp, fmString<250> exe, const fmStringList& args,
                              const fmString<250>& logFile)
{
    return fmStartProcess_pipe(pp, exe, toQStringList(args), logFile);
}

// ---- pipe --------------------------------------------------------------------------------------

_processPipe::_processPipe() = default;

_processPipe::~_processPipe()
{
    close();
}

void _processPipe::close()
{
    if (!Process) return;
    if (Process->state() != QProcess::NotRunning) {
        Process->kill();
        Process->waitForFinished();
    }
    Process.reset();
}

int _processPipe::readPipe(const int& waitMs)
{
    if (!Process || EndOfData) return -1;
    Filled = std::clamp(Filled, 0, BufferSize);
    // Room for the line feed that may be added at the end.
    const int room = BufferSize - Filled - 1;
    if (room <= 0) return 0;
    if (Process->bytesAvailable() <= 0 && Process->state() != QProcess::NotRunning)
        Process->waitForReadyRead(std::max(0, waitMs));
    const qint64 n = Process->read(Buffer + Filled, room);
    if (n > 0) {
        Filled += int(n);
        return int(n);
    }
    if (n == 0 && Process->state() != QProcess::NotRunning) return 0;
    EndOfData = true;
    if (Filled > 0 && Buffer[Filled - 1] != '\n') Buffer[Filled++] = '\n';
    return -1;
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
