#include "app/fm.h"
#include "farm/fmgconfig.h"
#include "fmtestroot.h"
#include "foundation/fmlogfile.h"
#include "foundation/fmsdk.h"

#include <QFile>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTest>

#include <sys/stat.h>

using namespace Qt::StringLiterals;

namespace {

// What the window side would have shown.
struct Shown
{
    int count = 0;
    bool critical = false;
    QString text;
    QString button;
    int seconds = 0;
};
Shown g_shown;

bool recordBox(bool critical, const QString& text, const QString& button, int seconds, bool)
{
    ++g_shown.count;
    g_shown.critical = critical;
    g_shown.text = text;
    g_shown.button = button;
    g_shown.seconds = seconds;
    return true;
}

} // namespace

class tst_fmlog : public QObject
{
    Q_OBJECT
private slots:
    // The fixed line format: level prefixes, tags, continuation lines, place and stack suffixes.
    void format_data()
    {
        QTest::addColumn<int>("level");
        QTest::addColumn<int>("flags");
        QTest::addColumn<bool>("level16");
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("out");
        const QString stack = u" fmTest 7.0.10 64bit []"_s;
        QTest::newRow("warning") << 2 << 16 << false << u"careful"_s << u"  WRN careful"_s;
        QTest::newRow("warning with place")
            << 2 << 16 << true << u"careful"_s << u"  WRN careful;;   (W,here)"_s;
        QTest::newRow("error") << 1 << 16 << false << "bad"
                               << "  ERR bad;;   (W,here)" + stack;
        QTest::newRow("critical") << 0 << 16 << false << "boom"
                                  << "  CRF Critical Failure - boom;;   (W,here)" + stack;
        QTest::newRow("error, no place") << 1 << 20 << false << u"bad"_s << u"  ERR bad"_s;
        QTest::newRow("source tag") << 3 << 16 << false << u"S|hello"_s << u"S|     hello"_s;
        QTest::newRow("source tag and blank") << 3 << 16 << false << u"S| hello"_s << u"S|     hello"_s;
        QTest::newRow("too short for a tag") << 3 << 16 << false << u"a|"_s << u"      a|"_s;
        QTest::newRow("own tag") << 3 << 16 << false << u"DBG detail"_s << u"  DBG detail"_s;
        QTest::newRow("own tag on a warning") << 2 << 16 << false << u"INF x"_s << u"  INF x"_s;
        QTest::newRow("own tag needs a capital") << 3 << 16 << false << u"abc d"_s << u"      abc d"_s;
        QTest::newRow("errors keep their prefix") << 1 << 20 << false << u"XYZ x"_s << u"  ERR XYZ x"_s;
        QTest::newRow("continuation") << 3 << 16 << false << "one\ntwo\n"
                                      << "      one\n" + QString(20, QLatin1Char(' ')) + "two";
        QTest::newRow("only one line feed dropped") << 3 << 16 << false << "one\n\n"
                                                    << "      one\n" + QString(20, QLatin1Char(' '));
        QTest::newRow("wide characters marked")
            << 3 << 16 << false << QString::fromUtf8("\u20ac5 x") << "      <UTF8\u00e2\u0082\u00ac5> x";
    }
    void format()
    {
        QFETCH(int, level);
        QFETCH(int, flags);
        QFETCH(bool, level16);
        QFETCH(QString, text);
        QFETCH(QString, out);
        __FMSDK sdk(true, fm_AppType_Test, u"fmTest"_s, true);
        sdk.cfg->LogLevel[16] = level16;
        QString line;
        sdk.FormatLogMessage(level, flags, text, u"W,here"_s, line);
        QCOMPARE(line, out);
    }

    // Which lines raise a box, of which kind: information lines without flag 8 do, debug lines never.
    void boxes_data()
    {
        QTest::addColumn<int>("level");
        QTest::addColumn<int>("flags");
        QTest::addColumn<bool>("console");
        QTest::addColumn<bool>("allowed");
        QTest::addColumn<bool>("service");
        QTest::addColumn<int>("boxes");
        QTest::addColumn<bool>("critical");
        QTest::newRow("warning") << 2 << 0 << false << true << false << 1 << false;
        QTest::newRow("critical") << 0 << 0 << false << true << false << 1 << true;
        QTest::newRow("information") << 3 << 0 << false << true << false << 1 << false;
        QTest::newRow("information, flag 8") << 3 << 8 << false << true << false << 0 << false;
        QTest::newRow("file only") << 1 << 32 << false << true << false << 0 << false;
        QTest::newRow("debug level") << 10 << 0 << false << true << false << 0 << false;
        QTest::newRow("before start-up") << 1 << 0 << false << false << false << 0 << false;
        QTest::newRow("service mode") << 1 << 0 << false << true << true << 0 << false;
        QTest::newRow("console program") << 1 << 0 << true << true << false << 0 << false;
    }
    void boxes()
    {
        QFETCH(int, level);
        QFETCH(int, flags);
        QFETCH(bool, console);
        QFETCH(bool, allowed);
        QFETCH(bool, service);
        QFETCH(int, boxes);
        QFETCH(bool, critical);
        __FMSDK sdk(console, fm_AppType_HistoryDB, u"fmTest"_s, false);
        sdk.cfg->LogLevel[10] = true;
        sdk.App.MessageBoxAllowed = allowed;
        sdk.App.ServiceMode = service;
        g_shown = Shown();
        __FMSDK::MessageBoxHook = recordBox;
        sdk.WriteLog(level, flags, u"text"_s, u"W"_s);
        __FMSDK::MessageBoxHook = nullptr;
        QCOMPARE(g_shown.count, boxes);
        if (boxes) {
            QCOMPARE(g_shown.critical, critical);
            QCOMPARE(g_shown.button, u"Ok"_s);
            QCOMPARE(g_shown.seconds, 90);
        }
    }

    // No file without the switch; a line that is off stays out; flag 8 lines still reach the file.
    void fileWriteRules()
    {
        QTemporaryDir dir;
        __FMSDK sdk(true, fm_AppType_HistoryDB, u"fmTest"_s, true);
        const QString path = dir.path() + u"/main.txt"_s;
        sdk.Log->FileName = path;
        sdk.Log->FlushInterval = 0;
        sdk.WriteLog(3, 8, u"not while switched off"_s, QString());
        QVERIFY(!QFile::exists(path));
        sdk.NoLogFile = false;
        sdk.WriteLog(3, 8, u"information line"_s, QString());
        sdk.WriteLog(10, 0, u"debug line, level off"_s, QString());
        const QByteArray text = fmTestReadAll(path);
        QVERIFY(text.contains("      information line\n"));
        QVERIFY(!text.contains("debug line"));
        QVERIFY(!text.contains("not while"));
    }

    // A critical or crash-like line turns the file on and makes every line flush at once.
    void crashLikeTurnsFileOn_data()
    {
        QTest::addColumn<int>("level");
        QTest::addColumn<QString>("text");
        QTest::addColumn<bool>("on");
        QTest::newRow("critical") << 0 << "broken" << true;
        QTest::newRow("access violation") << 2 << "Access violation at 0x0" << true;
        QTest::newRow("case matters") << 2 << "access violation" << false;
        QTest::newRow("plain warning") << 2 << "careful" << false;
    }
    void crashLikeTurnsFileOn()
    {
        QFETCH(int, level);
        QFETCH(QString, text);
        QFETCH(bool, on);
        QTemporaryDir dir;
        __FMSDK sdk(true, fm_AppType_HistoryDB, u"fmTest"_s, true);
        const QString path = dir.path() + u"/main.txt"_s;
        sdk.Log->FileName = path;
        sdk.Log->LastFlush.SetCurrentTime(); // the first line must not flush by the interval
        QVERIFY(sdk.NoLogFile);
        sdk.LogFileWrite(level, 0, text, u"W"_s);
        QCOMPARE(!sdk.NoLogFile, on);
        QCOMPARE(sdk.Log->FlushInterval == 0, on);
        QCOMPARE(QFile::exists(path), on);
        if (on) QVERIFY(fmTestReadAll(path).contains(text.toLatin1()));
    }

    // Levels 0 and 1 go to the error log too, under the machine's name.
    void errorLog()
    {
        QTemporaryDir dir;
        __FMSDK sdk(true, fm_AppType_HistoryDB, u"fmTest"_s, true);
        sdk.App.MachineName = "Render7";
        sdk.NoLogFile = false;
        sdk.LogError->FileName = dir.path() + u"/_ERROR.txt"_s;
        sdk.LogFileWrite(1, 16, u"broken"_s, u"W"_s);
        sdk.LogFileWrite(2, 16, u"only a warning"_s, u"W"_s);
        QCOMPARE(fmTestReadAll(sdk.LogError->FileName.toQString()),
                 QByteArray("[Render7]\n  ERR broken;;   (W) fmTest 7.0.10 64bit []\n\n"));
    }

    // A line longer than the buffer is cut to fit, never written past the buffer.
    void longLineIsCut()
    {
        QTemporaryDir dir;
        fmLogfile log(1048576, 60);
        log.FileName = dir.path() + u"/main.txt"_s;
        log.addLog(u"first"_s);
        log.addLog(QString(200000, QLatin1Char('x')));
        log.flush();
        const QByteArray text = fmTestReadAll(log.FileName.toQString());
        QCOMPARE(text.size(), qsizetype(6 + 102400 - 3 + 1));
        QVERIFY(text.startsWith("first\nxxx"));
        QVERIFY(text.endsWith("x\n"));
    }

    // A file over the limit keeps its newest half-limit of bytes, then gets the new lines.
    void trimming_data()
    {
        QTest::addColumn<int>("oldSize");
        QTest::addColumn<int>("expectedSize");
        QTest::newRow("one byte over") << 1001 << 500 + 4;
        QTest::newRow("at the limit") << 1000 << 1000 + 4;
    }
    void trimming()
    {
        QFETCH(int, oldSize);
        QFETCH(int, expectedSize);
        QTemporaryDir dir;
        const QString path = dir.path() + u"/main.txt"_s;
        QByteArray old;
        for (int i = 0; i < oldSize; ++i)
            old.append(char('a' + i % 26));
        QVERIFY(fmTestWriteAll(path, old));
        fmLogfile log(1000, 0);
        log.FileName = path;
        log.addLog(u"NEW"_s);
        const QByteArray text = fmTestReadAll(path);
        QCOMPARE(text.size(), qsizetype(expectedSize));
        QVERIFY(text.endsWith("NEW\n"));
        QCOMPARE(text.left(text.size() - 4), old.right(text.size() - 4));
    }

    // The first line flushes, short lines then wait, more than 1024 waiting bytes flush at once.
    void bufferAndThreshold()
    {
        QTemporaryDir dir;
        fmLogfile log(1048576, 60);
        log.FileName = dir.path() + u"/main.txt"_s;
        const QString path = log.FileName.toQString();
        log.addLog(u"one"_s);
        QCOMPARE(fmTestReadAll(path), QByteArray("one\n"));
        log.addLog(u"two"_s);
        QCOMPARE(fmTestReadAll(path), QByteArray("one\n"));
        QCOMPARE(log.BufferUsed, 4);
        log.addLog(QString(1100, QLatin1Char('z')));
        QCOMPARE(log.BufferUsed, 0);
        QCOMPARE(fmTestReadAll(path).size(), qsizetype(4 + 4 + 1101));
        log.addLog(u"three"_s);
        log.flush();
        QVERIFY(fmTestReadAll(path).endsWith("z\nthree\n"));
    }
};

QTEST_GUILESS_MAIN(tst_fmlog)
#include "tst_fmlog.moc"
