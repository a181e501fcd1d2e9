#include "fmtestroot.h"

#include "foundation/fmfile.h"
#include "foundation/fmfilelock.h"

#include <QFile>
#include <QProcess>
#include <QTemporaryDir>
#include <QtTest>

class tst_fmfilelock : public QObject
{
    Q_OBJECT

private slots:
    // Catches a lock that waits on a free file, a wrong lock file text, or an unlock that leaves it.
    void freeFileTakenAtOnce()
    {
        QTemporaryDir tmp;
        const QString file = tmp.filePath("clients.ini");
        const QString lockName = file + "_lock.txt";
        {
            fmFileLocker l(file);
            int waited = -7;
            QVERIFY(l.lock(0, "host fmHistorydb", &waited, false));
            QCOMPARE(waited, 0);
            QVERIFY(l.isLocked());
            const QList<QByteArray> lines = fmTestReadAll(lockName).split('\n');
            QCOMPARE(lines.size(), 6);
            QCOMPARE(lines.at(0), QByteArray());
            QCOMPARE(lines.at(1), QByteArray(" File locked by: host fmHistorydb"));
            QVERIFY(lines.at(2).startsWith(" Time locked: "));
            QCOMPARE(lines.at(2).size(), 14 + 14); // "MM.DD hh:mm.ss"
            QCOMPARE(lines.at(3),
                     QByteArray("Info: This lock file should only exist a few seconds for config files."));
            QCOMPARE(lines.at(4), QByteArray());
            QVERIFY(l.lock(0, "again", &waited, false)); // held already
            l.unlock();
            QVERIFY(!QFile::exists(lockName));
            QVERIFY(!l.isLocked());
            QVERIFY(l.lock(0, "x", nullptr, false));
        }
        // The destructor gives the lock back.
        QVERIFY(!QFile::exists(lockName));
    }

    // Catches a stale test at the wrong age or one that breaks fresh locks: fresh foreign locks hold.
    void foreignLock_data()
    {
        QTest::addColumn<int>("ageSeconds");
        QTest::addColumn<bool>("taken");
        QTest::newRow("two hours") << 7200 << false;
        QTest::newRow("four hours") << 4 * 3600 << true;
        QTest::newRow("one minute ahead") << -60 << false;
        QTest::newRow("one hour ahead") << -3600 << true; // would block for an hour otherwise
    }
    void foreignLock()
    {
        QFETCH(int, ageSeconds);
        QFETCH(bool, taken);
        QTemporaryDir tmp;
        const QString file = tmp.filePath("users7.dat");
        const QString lockName = file + "_lock.txt";
        QVERIFY(fmTestWriteAll(lockName, "foreign"));
        fmTime_t t;
        t.SetCurrentTime(-ageSeconds);
        fmSetFileTime(lockName, &t);
        fmFileLocker l(file);
        int waited = 0;
        // The waits are counted, not slept.
        static int pauses;
        pauses = 0;
        fmFileLocker::setSleepFunction([](int ms) { pauses += ms; });
        const bool got = l.lock(500, "me", &waited, false);
        fmFileLocker::setSleepFunction(nullptr);
        QCOMPARE(got, taken);
        QCOMPARE(waited, 500); // two waits of 250 ms
        QCOMPARE(pauses, 500);
        if (taken) {
            QVERIFY(fmTestReadAll(lockName).contains("File locked by: me"));
        } else {
            QCOMPARE(fmTestReadAll(lockName), QByteArray("foreign"));
            QVERIFY(!l.isLocked());
        }
    }

    // Catches a hang on a folder of the lock's name and a failure reported without a negative wait.
    void failuresEnd()
    {
        QTemporaryDir tmp;
        const QString file = tmp.filePath("f");
        QVERIFY(fmCreateFolder(file + "_lock.txt", false));
        fmFileLocker l(file);
        int waited = 0;
        QVERIFY(!l.lock(0, "x", &waited, false));
        QVERIFY(l.isFree(0, &waited)); // a folder is no lock

        fmFileLocker missing(tmp.filePath("no/such/folder/f"));
        QVERIFY(!missing.lock(0, "x", &waited, false));
        QVERIFY(waited < 0);
    }

    // Catches two processes holding one lock at the same time.
    void twoContenders()
    {
        QTemporaryDir tmp;
        const QString file = tmp.filePath("shared.ini");
        const QString journal = tmp.filePath("journal.txt");
        const int rounds = 6;
        QProcess a, b;
        a.start(FM_LOCK_HELPER, {file, journal, QString::number(rounds)});
        b.start(FM_LOCK_HELPER, {file, journal, QString::number(rounds)});
        QVERIFY(a.waitForStarted(-1));
        QVERIFY(b.waitForStarted(-1));
        QVERIFY(a.waitForFinished(-1));
        QVERIFY(b.waitForFinished(-1));
        QCOMPARE(a.exitStatus(), QProcess::NormalExit);
        QCOMPARE(b.exitStatus(), QProcess::NormalExit);
        const QByteArray text = fmTestReadAll(journal);
        QCOMPARE(a.exitCode(), 0);
        QCOMPARE(b.exitCode(), 0);
        // Strict alternation: every "enter" is followed by the "leave" of the same process.
        const QList<QByteArray> lines = text.trimmed().split('\n');
        QCOMPARE(lines.size(), 4 * rounds);
        for (int i = 0; i + 1 < lines.size(); i += 2) {
            QVERIFY2(lines.at(i).startsWith("enter "), text.constData());
            QCOMPARE(lines.at(i + 1), "leave " + lines.at(i).mid(6));
        }
        QVERIFY(!QFile::exists(file + "_lock.txt"));
    }
};

QTEST_GUILESS_MAIN(tst_fmfilelock)
#include "tst_fmfilelock.moc"
