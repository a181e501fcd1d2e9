#include "fmcatchfm.h"

#include "app/fm.h"
#include "farm/fmcmd.h"
#include "farm/fmgconfig.h"

#include <QTemporaryDir>
#include <QtTest>

using namespace Qt::StringLiterals;

namespace {

_FMCommands cmd(int32_t code)
{
    _FMCommands c{};
    c.UserID = 3;
    c.Command = _fmFMCommand(code);
    c.ClientID = 7;
    return c;
}

int gThreadStatus = 0;
int gFlushes = 0;

} // namespace

class tst_fmcmd : public QObject
{
    Q_OBJECT
private slots:
    void init()
    {
        gThreadStatus = 0;
        gFlushes = 0;
        fmcmdHooks().flushLog = [] { ++gFlushes; };
        fmcmdHooks().setThreadStatusTime = [](int s) { gThreadStatus = s; };
        fmcmdHooks().clientName = [](const short& c) { return u"render%1"_s.arg(c); };
    }

    void cleanup() { fmcmdHooks() = _fmcmdHooks(); }

    void channels_data()
    {
        QTest::addColumn<int>("code");
        QTest::addColumn<int>("channel");
        QTest::addColumn<bool>("on");
        const int on[][2] = {{2, 10}, {3, 13}, {4, 22}, {5, 15}, {6, 21}, {7, 12}, {15, 17}, {16, 11}};
        const int off[][2] = {{8, 10}, {9, 13}, {10, 22}, {11, 15}, {12, 21}, {13, 12}, {17, 17}, {18, 11}};
        for (const auto& c : on)
            QTest::addRow("%d on", c[0]) << c[0] << c[1] << true;
        for (const auto& c : off)
            QTest::addRow("%d off", c[0]) << c[0] << c[1] << false;
    }
    // A switch command that hits the wrong channel, only one of the two arrays, or its neighbours.
    void channels()
    {
        QFETCH(int, code);
        QFETCH(int, channel);
        QFETCH(bool, on);
        fmCatchFM fm;
        _fmgConfig& c = *fm.cfg;
        for (int i = 0; i < 25; ++i) {
            c.LogLevel[i] = !on;
            c.LogLevelUI[i] = !on;
        }
        c.LogLevelUI[channel] = on; // only one of the two already as wanted: both must end so
        fmExecuteFMCommand(fm, cmd(code), short(5));
        for (int i = 0; i < 25; ++i) {
            QCOMPARE(c.LogLevel[i], i == channel ? on : !on);
            QCOMPARE(c.LogLevelUI[i], i == channel ? on : !on);
        }
        QCOMPARE(fm.lines.first().level, 3);
        QCOMPARE(fm.lines.first().text,
                 u"fmCommand: '%1' from %2@render5"_s.arg(fmcmdName(_fmFMCommand(code)).toQString(),
                                                          fm.getUserName(3, false)));
        QCOMPARE(gFlushes, 1);
        QCOMPARE(fm.count(1, u"unsupported fmCommand"_s), 0);
    }

    void unsupported_data()
    {
        QTest::addColumn<int>("code");
        QTest::newRow("none") << 0;
        QTest::newRow("system time") << 14;
        QTest::newRow("20") << 20;
        QTest::newRow("negative") << -7;
    }
    // An unknown command that changes a switch or goes unreported.
    void unsupported()
    {
        QFETCH(int, code);
        fmCatchFM fm;
        bool before[25];
        std::memcpy(before, fm.cfg->LogLevel, sizeof(before));
        fmExecuteFMCommand(fm, cmd(code), short(1));
        QCOMPARE(fm.count(1, u"unsupported fmCommand"_s), 1);
        QVERIFY(std::memcmp(before, fm.cfg->LogLevel, sizeof(before)) == 0);
        QCOMPARE(gThreadStatus, 0);
    }

    // A reload that touches tables the tool does not have, or skips the configuration.
    void reloadSkipsMissingTables()
    {
        QTemporaryDir dir;
        fmCatchFM fm;
        fm.CfgGlobalPath = dir.path() + u"/"_s;
        QVERIFY(fm.SaveFileCfg());
        QVERIFY(fm.cfgSetI("jDeleteIfNumber", 5000));
        fm.cfg->LastFileTime.t = 0;
        fm.lines.clear();
        // A tool without client and user tables: hide the test object's own, if it has them.
        fmC::_ClientList* clients = fm.ClientList;
        _fmgUserSettingsList* users = fm.UserSettings;
        fm.ClientList = nullptr;
        fm.UserSettings = nullptr;
        fmExecuteFMCommand(fm, cmd(fmCmd_ReloadAllConfig), short(2));
        fm.ClientList = clients;
        fm.UserSettings = users;
        QCOMPARE(*fm.cfgGetI("jDeleteIfNumber"), short(1000)); // read again from the file
        const QString all = fm.texts().join(QLatin1Char('\n'));
        QVERIFY2(all.contains(u"fmCommand 'Reload all config' Global     done ("_s), qPrintable(all));
        QVERIFY(all.contains(u"fmCommand 'Reload all config' all done ("_s));
        QVERIFY(!all.contains(u"Clients    done"_s));
        QVERIFY(!all.contains(u"Users      done"_s));
        QVERIFY(!all.contains(u"unsupported"_s));
    }
};

QTEST_GUILESS_MAIN(tst_fmcmd)
#include "tst_fmcmd.moc"
