#include "foundation/fmprocess.h"

#include <QFile>
#include <QTemporaryDir>
#include <QtTest>

#include <cerrno>
#include <csignal>
#include <cstring>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

class tst_fmprocess : public QObject
{
    Q_OBJECT

    QList<long long> Started; // children to stop and collect at the end of each test

    long long startSleeper(const QString& exe)
    {
        const long long pid = fmStartProcess(fmString<250>(exe), QStringList{"300"}, fmString<250>());
        if (pid > 0) Started.append(pid);
        return pid;
    }
    static int waitExit(long long pid)
    {
        int status = 0;
        while (::waitpid(pid_t(pid), &status, 0) < 0 && errno == EINTR) {
        }
        return status;
    }
    // A copy of sleep under a chosen name, so that the kernel lists it under that name.
    static QString sleeperCopy(const QTemporaryDir& dir, const QString& name)
    {
        const QString target = dir.filePath(name);
        if (!QFile::exists(target)) {
            QFile::copy("/bin/sleep", target);
            QFile::setPermissions(target, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
        }
        return target;
    }

private slots:
    void cleanup()
    {
        for (long long pid : Started) {
            ::kill(pid_t(pid), SIGKILL);
            waitExit(pid);
        }
        Started.clear();
    }

    // Catches arguments that get split, joined or interpreted by a shell on their way to the child.
    void argumentsArriveWhole()
    {
        QTemporaryDir tmp;
        const QString out = tmp.filePath("args.bin");
        const QStringList payload{"two words",
                                  "'single'",
                                  "\"double\"",
                                  "a;b",
                                  "$(touch " + tmp.filePath("pwned") + ")",
                                  "`id`",
                                  "",
                                  "back\\slash",
                                  "*",
                                  "line\nfeed",
                                  "  lead and trail  "};
        QStringList args{"-c", "printf '%s\\0' \"$@\" > \"$0\"", out};
        args += payload;
        const long long pid = fmStartProcess(fmString<250>("/bin/sh"), args, fmString<250>());
        QVERIFY(pid > 0);
        const int status = waitExit(pid);
        QVERIFY(WIFEXITED(status));
        QCOMPARE(WEXITSTATUS(status), 0);
        QFile f(out);
        QVERIFY(f.open(QIODevice::ReadOnly));
        QList<QByteArray> got = f.readAll().split('\0');
        QCOMPARE(got.takeLast(), QByteArray()); // behind the last terminator
        QCOMPARE(got.size(), payload.size());
        for (int i = 0; i < payload.size(); ++i)
            QCOMPARE(QString::fromUtf8(got.at(i)), payload.at(i));
        QVERIFY(!QFile::exists(tmp.filePath("pwned")));
    }

    // Catches a missing log redirection and a lost failure text of execvp.
    void failureGoesToLog()
    {
        QTemporaryDir tmp;
        const QString log = tmp.filePath("child.log");
        {
            QFile f(log);
            QVERIFY(f.open(QIODevice::WriteOnly));
            f.write("earlier\n");
        }
        const long long pid = fmStartProcess(fmString<250>(tmp.filePath("no-such-program")), QStringList{"x"},
                                             fmString<250>(log));
        QVERIFY(pid > 0);
        const int status = waitExit(pid);
        QVERIFY(WIFEXITED(status));
        QCOMPARE(WEXITSTATUS(status), 127);
        QFile f(log);
        QVERIFY(f.open(QIODevice::ReadOnly));
        const QByteArray text = f.readAll();
        QVERIFY2(text.startsWith("earlier\nFailed to start new process (execvp) "), text.constData());
        QVERIFY2(text.contains("Executable access rights: "), text.constData());

        // Standard output and standard error of a started program both land in the log.
        const long long pid2 = fmStartProcess(
            fmString<250>("/bin/sh"), QStringList{"-c", "echo out; echo err >&2"}, fmString<250>(log));
        QVERIFY(pid2 > 0);
        waitExit(pid2);
        f.seek(0);
        const QByteArray all = f.readAll();
        QVERIFY2(all.endsWith("out\nerr\n"), all.constData());
    }

    // Catches a search that counts the caller as a second instance, or misses one, or compares case.
    void secondInstance()
    {
        // A name of our own, unique on this machine, so that parallel test runs cannot interfere.
        const QByteArray self = "fmT" + QByteArray::number(qint64(::getpid()) % 1000000);
        QVERIFY(::prctl(PR_SET_NAME, self.constData(), 0, 0, 0) == 0);
        const fmString8_UnevenSize<25> name(self.constData());
        const fmString8_UnevenSize<25> lower(self.toLower().constData());
        long long pid = 0;
        QVERIFY(!ourProcessAlreadyExists(name, false, false, &pid));
        QCOMPARE(pid, (long long)::getpid()); // found once: ourselves
        QVERIFY(!ourProcessAlreadyExists(fmString8_UnevenSize<25>(""), false, false, nullptr));

        QTemporaryDir tmp;
        const long long other = startSleeper(sleeperCopy(tmp, QString::fromLatin1(self)));
        QVERIFY(other > 0);
        // The child's name changes at exec: look until it shows (no time limit on the outcome).
        while (!ourProcessAlreadyExists(lower, false, false, &pid))
            fmSleep(10);
        QCOMPARE(pid, other); // the other process, not ourselves
        QVERIFY(ourProcessAlreadyExists(name, true, true, nullptr));
    }

    // Catches a table without ourselves or our parent, and a kill that misses its target.
    void tableAndSignals()
    {
        auto list = std::make_unique<_fmProcessList>();
        list->collectAllProcesses();
        QVERIFY(list->Count > 1);
        const int me = list->getListIDByPID(::getpid());
        QVERIFY(me >= 0);
        QCOMPARE((int)list->Entries[me].ParentPID, (int)::getppid());
        QVERIFY(!list->processExistsPID(-5));
        QVERIFY(!list->killProcess(-5));

        QTemporaryDir tmp;
        const long long pid =
            fmStartProcess(fmString<250>("/bin/sleep"), QStringList{"300"}, fmString<250>());
        QVERIFY(pid > 0);
        list->initGetProcessInfo();
        QVERIFY(list->processExistsPID(pid));
        QVERIFY(list->INTProcess(pid));
        const int status = waitExit(pid);
        QVERIFY(WIFSIGNALED(status));
        QCOMPARE(WTERMSIG(status), SIGINT);
    }

    // Catches ended children left behind as zombies.
    void childrenAreCollected()
    {
        const long long pid = fmStartProcess(fmString<250>("/bin/true"), QStringList(), fmString<250>());
        QVERIFY(pid > 0);
        // Until collected, an ended child keeps its id (as a zombie); afterwards the id is gone.
        int rounds = 0;
        while (::kill(pid_t(pid), 0) == 0 && rounds++ < 6000) {
            fmStartProcess_checkallChildren();
            fmSleep(10);
        }
        QCOMPARE(::kill(pid_t(pid), 0), -1);
        QCOMPARE(errno, ESRCH);
    }
};

QTEST_GUILESS_MAIN(tst_fmprocess)
#include "tst_fmprocess.moc"
