#include "fmtestroot.h"

#include "foundation/fminstance.h"
#include "foundation/fmprocess.h"

#include <QFile>
#include <QProcess>
#include <QTemporaryDir>
#include <QtTest>

#include <cerrno>
#include <csignal>
#include <cstring>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

class tst_fmprocess : public QObject
{
    Q_OBJECT

private slots:
    // Catches arguments that get split, joined or interpreted by a shell on their way to the child,
    // and a NUL-character entry (the re-submit's unset flag) that does not arrive as an empty one.
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
                                  QString(QChar(0)),
                                  "  lead and trail  "};
        QStringList args{"-c", "printf '%s\\0' \"$@\" > \"$0.part\" && mv \"$0.part\" \"$0\"", out};
        args += payload;
        QVERIFY(fmStartProcess(fmString<250>("/bin/sh"), args, fmString<250>()) > 0);
        QTRY_VERIFY_WITH_TIMEOUT(QFile::exists(out), 60000);
        QList<QByteArray> got = fmTestReadAll(out).split('\0');
        QCOMPARE(got.takeLast(), QByteArray()); // behind the last terminator
        QCOMPARE(got.size(), payload.size());
        for (int i = 0; i < payload.size(); ++i)
            QCOMPARE(QString::fromUtf8(got.at(i)), QString(payload.at(i)).remove(QChar(0)));
        QVERIFY(!QFile::exists(tmp.filePath("pwned")));
    }

    // Catches a missing log redirection and a lost or wrong failure text.
    void failureGoesToLog()
    {
        QTemporaryDir tmp;
        const QString log = tmp.filePath("child.log");
        QVERIFY(fmTestWriteAll(log, "earlier\n"));
        const QString exe = tmp.filePath("no-such-program");
        QCOMPARE(fmStartProcess(fmString<250>(exe), QStringList{"x"}, fmString<250>(log)), -1LL);
        QCOMPARE(fmTestReadAll(log),
                 "earlier\nFailed to start new process (execvp) No such file or directory\n"
                 "Executable access rights: (missing)  " +
                     QFile::encodeName(exe) + '\n');

        // Standard output and standard error of a started program both land in the log.
        QVERIFY(fmStartProcess(fmString<250>("/bin/sh"), QStringList{"-c", "echo out; echo err >&2"},
                               fmString<250>(log)) > 0);
        QTRY_VERIFY_WITH_TIMEOUT(fmTestReadAll(log).endsWith("out\nerr\n"), 60000);
    }

    // Catches a started program that stays our child, a zombie when it ends until someone reaps it.
    void startedProgramIsNoChild()
    {
        QVERIFY(fmStartProcess(fmString<250>("/bin/true"), QStringList(), fmString<250>()) > 0);
        QCOMPARE(::waitpid(-1, nullptr, WNOHANG), -1);
        QCOMPARE(errno, ECHILD);
    }

    // Catches a second instance refused for another user of the machine or for the same user in
    // another login session, and one let through in the same session.
    void instanceInSession_data()
    {
        QTest::addColumn<QString>("childSession");
        QTest::addColumn<int>("childUser"); // -1: the same user
        QTest::addColumn<bool>("found");
        QTest::newRow("same user and session") << "s1" << -1 << true;
        QTest::newRow("another session") << "s2" << -1 << false;
        QTest::newRow("another user") << "s1" << 65534 << false;
    }
    void instanceInSession()
    {
        QFETCH(QString, childSession);
        QFETCH(int, childUser);
        QFETCH(bool, found);
        if (fmLoginSessionOf(0).startsWith("audit:") && childSession != "s1")
            QSKIP("an audited login session can't be left by a child");
        if (childUser >= 0 && ::geteuid() != 0) QSKIP("needs root to start a process of another user");
        QTemporaryDir tmp;
        ::chmod(QFile::encodeName(tmp.path()).constData(), 0755); // the other user runs from here
        QVERIFY(QFile::link(u"/bin/sleep"_s, tmp.filePath("fmInstTest")));
        qputenv("XDG_SESSION_ID", "s1");
        QProcess child;
        QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
        env.insert("XDG_SESSION_ID", childSession);
        child.setProcessEnvironment(env);
        if (childUser >= 0)
            child.setChildProcessModifier([childUser] {
                if (::setgid(gid_t(childUser)) != 0 || ::setuid(uid_t(childUser)) != 0) ::_exit(126);
            });
        child.start(tmp.filePath("fmInstTest"), {"30"});
        QVERIFY(child.waitForStarted());
        const long long other = fmOtherInstanceInSession(u"FMINSTTEST"_s);
        const long long pid = child.processId();
        child.kill();
        child.waitForFinished();
        qunsetenv("XDG_SESSION_ID");
        QCOMPARE(other, found ? pid : 0);
    }
};

QTEST_GUILESS_MAIN(tst_fmprocess)
#include "tst_fmprocess.moc"
