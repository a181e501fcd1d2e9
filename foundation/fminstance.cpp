#include "foundation/fminstance.h"

#include "foundation/fmfileread.h"

#include <QByteArrayList>

#include <cstdlib>
#include <dirent.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

// The kernel keeps 15 characters of a process name (TASK_COMM_LEN 16 with its terminator).
constexpr int ShortNameMax = 15;
constexpr qint64 ProcFileCap = 256 << 10; // /proc files report size 0; this bounds the read

QByteArray procFile(long long pid, const char* what)
{
    const QString path = pid > 0 ? QStringLiteral("/proc/%1/%2").arg(pid).arg(QLatin1String(what))
                                 : QStringLiteral("/proc/self/%1").arg(QLatin1String(what));
    QByteArray bytes;
    fmReadRegularFile(path, ProcFileCap, bytes, nullptr);
    return bytes;
}

} // namespace

QString fmLoginSessionOf(long long pid)
{
    const QByteArray audit = procFile(pid, "sessionid").trimmed();
    // 4294967295 is (unsigned)-1: the process belongs to no audited login.
    if (!audit.isEmpty() && audit != "4294967295")
        return QStringLiteral("audit:") + QString::fromLatin1(audit);
    QByteArray xdg;
    if (pid <= 0) {
        xdg = qgetenv("XDG_SESSION_ID");
    } else {
        // Another process's start environment; readable for processes of the same user only.
        const QByteArrayList vars = procFile(pid, "environ").split('\0');
        for (const QByteArray& v : vars)
            if (v.startsWith("XDG_SESSION_ID=")) xdg = v.mid(15);
    }
    return xdg.isEmpty() ? QString() : QStringLiteral("xdg:") + QString::fromLocal8Bit(xdg);
}

long long fmOtherInstanceInSession(const QString& name)
{
    const QByteArray wanted = name.left(ShortNameMax).toLower().toLocal8Bit();
    if (wanted.isEmpty()) return 0;
    const long long self = ::getpid();
    const uid_t user = ::geteuid();
    const QString session = fmLoginSessionOf(0);
    DIR* proc = ::opendir("/proc");
    if (!proc) return 0;
    long long found = 0;
    while (const dirent* e = ::readdir(proc)) {
        char* end = nullptr;
        const long long pid = std::strtoll(e->d_name, &end, 10);
        if (pid <= 0 || !end || *end || pid == self) continue;
        // The owner of /proc/<pid> is the process's effective user.
        struct stat st;
        const QByteArray dir = QByteArray("/proc/") + e->d_name;
        if (::stat(dir.constData(), &st) != 0 || st.st_uid != user) continue;
        if (procFile(pid, "comm").trimmed().toLower() != wanted) continue;
        if (fmLoginSessionOf(pid) != session) continue;
        found = pid;
        break;
    }
    ::closedir(proc);
    return found;
}
