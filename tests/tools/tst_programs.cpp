// The built programs run as processes: the window program's start-up in a demo root made by the
// console program, as its log file tells it.

#include "foundation/fmprocess.h"

#include <QFile>
#include <QProcess>
#include <QTemporaryDir>
#include <QtTest>

namespace {

const QString kWindow = QStringLiteral(FM_WINDOW_EXE);
const QString kConsole = QStringLiteral(FM_CONSOLE_EXE);

QByteArray readAll(const QString& path)
{
    QFile f(path);
    return f.open(QIODevice::ReadOnly) ? f.readAll() : QByteArray();
}

} // namespace

class tst_programs : public QObject
{
    Q_OBJECT
    QTemporaryDir Tmp;
    QString Root;

private slots:
    void initTestCase()
    {
        QVERIFY(Tmp.isValid());
        Root = Tmp.filePath(QStringLiteral("root"));
        QProcess p;
        p.start(kConsole, {QStringLiteral("demo-root"), Root, QStringLiteral("--projects"),
                           QStringLiteral("2"), QStringLiteral("--jobs"), QStringLiteral("12"),
                           QStringLiteral("--seed"), QStringLiteral("3")});
        QVERIFY(p.waitForFinished(120000));
        QCOMPARE(p.exitCode(), 0);
    }

    // Catches a start-up that builds the window before the tables are loaded, or that logs its
    // steps in another order.
    void windowStartupOrder()
    {
        // One instance a machine: another fmHistorydb running here would make ours end at once.
        if (ourProcessAlreadyExists("fmHistorydb", false, false, nullptr))
            QSKIP("another fmHistorydb runs on this machine");
        QProcess p;
        p.setProcessChannelMode(QProcess::MergedChannels);
        p.start(kWindow, {QStringLiteral("-fmRoot"), Root, QStringLiteral("-debug"),
                          QStringLiteral("-LogFlushAll"), QStringLiteral("-OMN"), QStringLiteral("Box1")});
        QVERIFY(p.waitForStarted());
        const QString log = Root + QStringLiteral("/sub/log/fmHistorydb_Box1.txt");
        QTRY_VERIFY_WITH_TIMEOUT(
            readAll(log).contains("Show main_window") || p.state() == QProcess::NotRunning, 50000);
        const bool running = p.state() == QProcess::Running;
        p.terminate();
        if (!p.waitForFinished(10000)) {
            p.kill();
            p.waitForFinished();
        }
        QVERIFY2(running, p.readAll().constData());
        const QByteArray text = readAll(log);
        qsizetype at = 0;
        for (const char* step : {"SetupCfgSDK", "FM Config...", "Creating main_window", "Show main_window"}) {
            const qsizetype next = text.indexOf(step, at);
            QVERIFY2(next >= 0, step);
            at = next;
        }
    }
};

QTEST_GUILESS_MAIN(tst_programs)
#include "tst_programs.moc"
