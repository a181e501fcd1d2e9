// Contender for the lock tests: takes the lock of a file several times and records in a journal
// when it enters and leaves. While it holds the lock it creates a marker file exclusively: if the
// marker already exists, another holder is inside at the same time and the helper fails.
// Usage: tst_fmfilelock_helper <protected file> <journal> <rounds>

#include "foundation/fmfilelock.h"

#include <QByteArray>
#include <QString>

#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

static void note(const char* journal, const char* what)
{
    const int fd = ::open(journal, O_WRONLY | O_CREAT | O_APPEND, 0644);
    if (fd < 0) std::exit(3);
    char line[64];
    const int n = std::snprintf(line, sizeof(line), "%s %d\n", what, int(::getpid()));
    if (::write(fd, line, size_t(n)) != n) std::exit(3);
    ::close(fd);
}

int main(int argc, char** argv)
{
    if (argc != 4) return 4;
    const QString file = QString::fromLocal8Bit(argv[1]);
    const QByteArray marker = QByteArray(argv[1]) + ".inside";
    const int rounds = std::atoi(argv[3]);
    for (int r = 0; r < rounds; ++r) {
        fmFileLocker lock(file);
        int waited = 0;
        if (!lock.lock(120000, u"helper"_s, &waited, false)) return 1;
        note(argv[2], "enter");
        const int fd = ::open(marker.constData(), O_WRONLY | O_CREAT | O_EXCL, 0644);
        if (fd < 0) {
            note(argv[2], "OVERLAP");
            return 2;
        }
        ::close(fd);
        ::usleep(30000); // hold the lock a while so that the other contender must wait
        ::unlink(marker.constData());
        note(argv[2], "leave");
        lock.unlock();
    }
    return 0;
}
