#include "app/fm.h"
#include "farm/fmgconfig.h"
#include "fmtestroot.h"
#include "foundation/fmlogfile.h"

#include <QDir>
#include <QFile>
#include <QRegularExpression>
#include <QSettings>
#include <QTest>

#include <sys/stat.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace {

QStringList withRoot(const fmTestRoot& root, const QStringList& more)
{
    return QStringList{u"/x/fmHistorydb"_s, u"-fmRoot"_s, root.path()} + more;
}

// A program object with its command line, which lives as long as the object and is taken back
// from it before it goes.
struct Program : __FM
{
    fmTestArgs Args;
    Program(const QStringList& args, fm_AppType type = fm_AppType_HistoryDB, bool console = true)
        : __FM(console, type, type == fm_AppType_Test ? u"fmTest"_s : u"fmHistorydb"_s, console), Args(args)
    {
    }
    ~Program() override
    {
        ArgC = 0;
        ArgV = nullptr;
    }
    bool setup() { return SetupCfg(Args.argc, Args.argv(), false, nullptr); }
};

// A globalconfig.ini with the table's defaults, written the way the farm's server writes it.
bool writeGlobalConfig(const fmTestRoot& root)
{
    Program writer(withRoot(root, {}), fm_AppType_Test);
    return writer.pathsGetRootFromFolder(writer.Args.argc, writer.Args.argv(), QString()) &&
           writer.SaveFileCfg();
}

QStringList g_boxes;
bool recordBox(bool, const QString& text, const QString&, int, bool)
{
    g_boxes.append(text);
    return true;
}

fmStyleChoices g_style;
int g_styleCalls = 0;
void recordStyle(const fmStyleChoices& c)
{
    g_style = c;
    ++g_styleCalls;
}

} // namespace

class tst_fmstartup : public QObject
{
    Q_OBJECT
private slots:
    // Options switch log levels and the file; for this program only "-debug" gives a log file.
    void commandLine_data()
    {
        QTest::addColumn<QStringList>("args");
        QTest::addColumn<QList<int>>("levelsOn");
        QTest::addColumn<QList<int>>("levelsOff");
        QTest::addColumn<bool>("noLogFile");
        QTest::addColumn<int>("flushInterval");
        QTest::newRow("none") << QStringList{} << QList<int>{0, 1, 2, 3, 4} << QList<int>{10, 16, 19} << true
                              << 60;
        QTest::newRow("debugMain") << QStringList{"-debugMain"} << QList<int>{10} << QList<int>{11, 16}
                                   << true << 60;
        QTest::newRow("useLogfile is not enough")
            << QStringList{"-useLogfile"} << QList<int>{} << QList<int>{10} << true << 60;
        QTest::newRow("debug") << QStringList{"-debug"} << QList<int>{0, 10, 13, 15, 16, 19, 21, 22, 23}
                               << QList<int>{11, 12, 20, 24} << false << 60;
        QTest::newRow("debug prefix is not debug")
            << QStringList{"-debugX"} << QList<int>{} << QList<int>{10} << true << 60;
        QTest::newRow("flush all") << QStringList{"-LogFlushAll"} << QList<int>{} << QList<int>{10} << true
                                   << 0;
        QTest::newRow("value of a value option is skipped")
            << QStringList{"-LocalDataFolder", "-debug"} << QList<int>{} << QList<int>{10} << false << 60;
    }
    void commandLine()
    {
        QFETCH(QStringList, args);
        QFETCH(QList<int>, levelsOn);
        QFETCH(QList<int>, levelsOff);
        QFETCH(bool, noLogFile);
        QFETCH(int, flushInterval);
        fmTestRoot root;
        Program fm(withRoot(root, args));
        QVERIFY(fm.SetupCfgSDK(fm.Args.argc, fm.Args.argv()));
        for (int l : levelsOn)
            QVERIFY2(fm.cfg->LogLevel[l] && fm.cfg->LogLevelUI[l], qPrintable(QString::number(l)));
        for (int l : levelsOff)
            QVERIFY2(!fm.cfg->LogLevel[l], qPrintable(QString::number(l)));
        // AppInit reads "-debug" as a whole argument, so a value that spells it still counts there.
        QCOMPARE(fm.NoLogFile, noLogFile);
        QCOMPARE(fm.Log->FlushInterval, flushInterval);
        QVERIFY(fm.Configured);
        QVERIFY(fm.App.MessageBoxAllowed);
    }

    // The log names: log folder + program name + "_" + machine + ".txt"; "-OMName"/"-OMN" override.
    void machineNameAndLogName_data()
    {
        QTest::addColumn<QStringList>("args");
        QTest::addColumn<QString>("machine"); // "" = the host's name
        QTest::newRow("OMName") << QStringList{"-OMName", "Render01"} << "Render01";
        QTest::newRow("OMN any case") << QStringList{"-omn", "box7"} << "box7";
        QTest::newRow("OMN without value") << QStringList{"-OMN"} << "";
    }
    void machineNameAndLogName()
    {
        QFETCH(QStringList, args);
        QFETCH(QString, machine);
        fmTestRoot root;
        Program fm(withRoot(root, args));
        QVERIFY(fm.SetupCfgSDK(fm.Args.argc, fm.Args.argv()));
        if (machine.isEmpty()) machine = fm.getHostName().left(75);
        QCOMPARE(fm.App.MachineName.toQString(), machine);
        QCOMPARE(fm.Log->FileName.toQString(), root.path() + "sub/log/fmHistorydb_" + machine + ".txt");
        QCOMPARE(fm.LogError->FileName.toQString(), root.path() + "sub/log/_ERROR.txt");
    }

    // "6." in the root's version text reads "7." after start-up, in the title and the version.
    void versionAndTitle()
    {
        fmTestRoot root;
        QVERIFY(root.writeFile(u"sub/version.info"_s, " 6.0.10\n2026-11-01\n"));
        Program fm(withRoot(root, {}), fm_AppType_Test);
        QVERIFY(fm.setup());
        QCOMPARE(fm.VersionText.toQString(), u" 7.0.10"_s);
        QCOMPARE(fm.AppTitle(false), u"fmTest L     7.0.10    fmVer 7.0.10"_s);
    }

    // The release date is the version file's second line as it stands, with its two failure texts.
    void releaseDate_data()
    {
        QTest::addColumn<QByteArray>("file"); // "-" = no file, "|" = a FIFO
        QTest::addColumn<QString>("text");
        QTest::newRow("blanks kept") << QByteArray(" 7.0.10\r\n  Nov 2026 \r\nmore\n") << "  Nov 2026 ";
        QTest::newRow("one line") << QByteArray(" 7.0.10\n") << "Unable to read version info file";
        QTest::newRow("missing") << QByteArray("-") << "Version info file is missing";
        QTest::newRow("a FIFO, not blocking") << QByteArray("|") << "Version info file is missing";
    }
    void releaseDate()
    {
        QFETCH(QByteArray, file);
        QFETCH(QString, text);
        fmTestRoot root;
        if (file != "-") QVERIFY(root.writeFile(u"sub/version.info"_s, file));
        const QByteArray path = QFile::encodeName(root.path() + u"sub/version.info"_s);
        if (file == "|") QVERIFY(::unlink(path.constData()) == 0 && ::mkfifo(path.constData(), 0600) == 0);
        __FM fm(true, fm_AppType_HistoryDB, u"fmHistorydb"_s, true);
        fm.SubPath = root.path() + u"sub/"_s;
        QCOMPARE(fm.getReleaseDate(), text);
    }

    // Started outside any root: the warning box names the program, and start-up fails.
    void noRootWarns()
    {
        Program fm({u"/nowhere/at/all/fmHistorydb"_s}, fm_AppType_HistoryDB, false);
        g_boxes.clear();
        __FMSDK::MessageBoxHook = recordBox;
        const bool ok = fm.setup();
        __FMSDK::MessageBoxHook = nullptr;
        QVERIFY(!ok);
        QCOMPARE(g_boxes.size(), 1);
        QVERIFY2(
            g_boxes[0].contains(
                "|  ERR Unable to get FM Root path\nThis executable was not started from a FM directory.\n"),
            qPrintable(g_boxes[0]));
        QVERIFY(g_boxes[0].endsWith("('/nowhere/at/all/fmHistorydb')"));
    }

    // With "-debug" the program's own log file holds the start-up and shutdown lines in the line format.
    void debugLogFile()
    {
        fmTestRoot root;
        root.makeFolder(u"sub/log"_s);
        {
            Program fm(withRoot(root, {u"-debug"_s, u"-OMN"_s, u"Box1"_s}));
            QVERIFY(!fm.setup()); // no globalconfig.ini
        }
        const QByteArray text = fmTestReadAll(root.path() + u"sub/log/fmHistorydb_Box1.txt"_s);
        QVERIFY(!text.isEmpty());
        static const QRegularExpression stamp(u"^\\d\\d\\.\\d\\d \\d\\d:\\d\\d\\.\\d\\d\\|"_s);
        const QString indent(20, QLatin1Char(' '));
        const QList<QByteArray> lines = text.split('\n');
        for (const QByteArray& line : lines) {
            if (line.isEmpty()) continue;
            const QString l = QString::fromLatin1(line);
            QVERIFY2(stamp.match(l).hasMatch() || l.startsWith(indent), line.constData());
        }
        QVERIFY(text.contains("|           params: '-debug' ;;   (CheckCommandlineParameter)\n"));
        QVERIFY(text.contains(
            "|  WRN Please start the server first to create config files!;;   (FM,SetupCfg)\n"));
        QVERIFY(text.contains("|      Application Down;;   (Main)\n"));
        QVERIFY(text.contains("##################SHUTDOWN#####"));
        QVERIFY(text.indexOf("params:") < text.indexOf("Please start the server"));
        QVERIFY(fmTestReadAll(root.path() + u"sub/log/_ERROR.txt"_s).startsWith("[Box1]\n"));
    }

    // Without "-debug" a normal start writes no log file at all.
    void noLogFileWithoutDebug()
    {
        fmTestRoot root;
        QVERIFY(writeGlobalConfig(root));
        {
            Program fm(withRoot(root, {u"-debugMain"_s}));
            fm.setup(); // ends at the client tables
            QVERIFY(fm.NoLogFile);
        }
        QVERIFY(QDir(root.path() + u"sub/log"_s).exists());
        const QStringList files = QDir(root.path() + u"sub/log"_s).entryList(QDir::Files);
        QVERIFY2(files.isEmpty(),
                 qPrintable(files.join(',') + fmTestReadAll(root.path() + "sub/log/" + files.value(0))));
    }

    // Catches log flags that a globalconfig.ini without them turns off, and file flags that undo the
    // command line's log options.
    void logLevelsAfterConfig()
    {
        fmTestRoot root;
        QVERIFY(writeGlobalConfig(root));
        {
            QSettings ini(root.path() + u"sub/cfg_global/globalconfig.ini"_s, QSettings::IniFormat);
            ini.remove(u"Interaction"_s);
            ini.setValue(u"Interaction/LogLevel04"_s, false); // level 3
            ini.setValue(u"Interaction/LogLevel11"_s, false); // level 10, which -debugMain sets
        }
        Program fm(withRoot(root, {u"-debugMain"_s}));
        fm.setup(); // reads the file, ends at the client tables
        for (int l : {0, 1, 2, 4, 10})
            QVERIFY(fm.cfg->LogLevel[l] && fm.cfg->LogLevelUI[l]);
        QVERIFY(!fm.cfg->LogLevel[3]);
    }

    // The style choices from the configuration and the theme options reach the window side.
    void styleChoices_data()
    {
        QTest::addColumn<QStringList>("args");
        QTest::addColumn<bool>("dark");
        QTest::addColumn<bool>("easter");
        QTest::addColumn<bool>("girly");
        QTest::addColumn<int>("font");
        QTest::addColumn<int>("small");
        QTest::newRow("defaults") << QStringList{} << false << false << false << 8 << 7;
        QTest::newRow("contained anywhere") << QStringList{"x-DARKui"} << true << false << false << 8 << 7;
        QTest::newRow("easter wins over earlier dark")
            << QStringList{"-darkUI", "-easterUI"} << false << true << false << 8 << 7;
        QTest::newRow("light after dark")
            << QStringList{"-darkUI", "-lightUI"} << false << false << false << 8 << 7;
        QTest::newRow("viola") << QStringList{"-violaUI"} << false << false << true << 8 << 7;
        QTest::newRow("font sizes") << QStringList{"-defaultFontSize", "11", "-smallerFontSize", "6"} << false
                                    << false << false << 11 << 6;
        QTest::newRow("font size not a number")
            << QStringList{"-defaultFontSize", "big"} << false << false << false << 8 << 7;
    }
    void styleChoices()
    {
        QFETCH(QStringList, args);
        QFETCH(bool, dark);
        QFETCH(bool, easter);
        QFETCH(bool, girly);
        QFETCH(int, font);
        QFETCH(int, small);
        fmTestRoot root;
        QVERIFY(writeGlobalConfig(root));
        Program fm(withRoot(root, args), fm_AppType_Test);
        g_styleCalls = 0;
        __FM::InstallStyleHook = recordStyle;
        const bool ok = fm.setup();
        __FM::InstallStyleHook = nullptr;
        QVERIFY(ok);
        QCOMPARE(g_styleCalls, 1);
        QCOMPARE(g_style.Dark, dark);
        QCOMPARE(g_style.Easter, easter);
        QCOMPARE(g_style.Girly, girly);
        QCOMPARE(g_style.FontSizeDefault, font);
        QCOMPARE(g_style.FontSizeSmall, small);
    }
};

QTEST_GUILESS_MAIN(tst_fmstartup)
#include "tst_fmstartup.moc"
