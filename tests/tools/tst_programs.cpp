// The built programs run as processes: the window program's start-up in a demo root made by the
// console program, as its log file tells it, and its end outside a root. (The console's exit codes
// are in tst_console.)

#include "fmtestroot.h"

#include "foundation/fmprocess.h"

#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QTemporaryDir>
#include <QtTest>

using namespace Qt::StringLiterals;

static const QString kWindow = QStringLiteral(FM_WINDOW_EXE);
static const QString kConsole = QStringLiteral(FM_CONSOLE_EXE);

class tst_programs : public QObject
{
    Q_OBJECT
    QTemporaryDir Tmp;
    QString Root;

private slots:
    void initTestCase()
    {
        QVERIFY(Tmp.isValid());
        Root = Tmp.filePath(u"root"_s);
        QCOMPARE(fmTestRunProgram(kConsole, {"demo-root", Root, "--projects", "2", "--jobs", "12"}).Code, 0);
    }

    // Catches a start outside a farm root that does not end with 100, or that waits on a warning
    // box nobody can answer (without a screen the line is printed instead).
    void windowOutsideRoot()
    {
        if (ourProcessAlreadyExists("fmHistorydb", false, false, nullptr))
            QSKIP("another fmHistorydb runs on this machine");
        QProcess p;
        p.setProcessChannelMode(QProcess::MergedChannels);
        p.setWorkingDirectory(Tmp.path());
        p.start(kWindow, {u"-fmRoot"_s, Tmp.filePath(u"none"_s)});
        QVERIFY(p.waitForFinished(20000));
        QCOMPARE(p.exitCode(), 100);
        QVERIFY(p.readAll().contains("Unable to get FM Root path"));
    }

    // Catches a start-up that loads the farm's tables in another order than the log states, or
    // that ends instead of going on to its window. The lines after "init done" wait in the log's
    // buffer, so the window's own steps are not read here.
    void windowStartupOrder()
    {
        // One instance a machine: another fmHistorydb running here would make ours end at once.
        if (ourProcessAlreadyExists("fmHistorydb", false, false, nullptr))
            QSKIP("another fmHistorydb runs on this machine");
        QProcess p;
        p.setProcessChannelMode(QProcess::MergedChannels);
        p.start(kWindow, {u"-fmRoot"_s, Root, u"-debug"_s, u"-OMN"_s, u"Box1"_s});
        QVERIFY(p.waitForStarted());
        const QString log = Root + u"/sub/log/fmHistorydb_Box1.txt"_s;
        QTRY_VERIFY_WITH_TIMEOUT(
            fmTestReadAll(log).contains("init done") || p.state() == QProcess::NotRunning, 30000);
        const bool running = p.state() == QProcess::Running;
        p.terminate();
        if (!p.waitForFinished(10000)) {
            p.kill();
            p.waitForFinished();
        }
        QVERIFY2(running, p.readAll().constData());
        const QByteArray text = fmTestReadAll(log);
        qsizetype at = 0;
        const QByteArray root = QFileInfo(Root).canonicalFilePath().toUtf8() + '/';
        for (const QByteArray& step :
             {QByteArray("FM Config..."), QByteArray("Application Init done"), QByteArray("SetupCfgSDK Done"),
              QByteArray("init cfg"), "shared FM root is " + root, QByteArray("globalconfig.ini   loading"),
              QByteArray("clients.ini   loaded"), QByteArray("clientgroups.ini   loaded"),
              QByteArray("users7.dat   loaded"), QByteArray("init done")}) {
            const qsizetype next = text.indexOf(step, at);
            QVERIFY2(next >= 0, step.constData());
            at = next;
        }
    }
};

QTEST_GUILESS_MAIN(tst_programs)
#include "tst_programs.moc"
