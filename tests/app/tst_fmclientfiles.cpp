// clients.ini and clientgroups.ini: keys, the lock, the temporary copy, broken and hostile files.
#include "fmtestroot.h"

#include "app/fm.h"
#include "farm/fmclientgroups.h"
#include "farm/fmclientlist.h"
#include "farm/fmclientlog.h"
#include "foundation/fmfile.h"
#include "foundation/fmfilelock.h"

#include <QSettings>
#include <QTemporaryDir>
#include <QtTest>
#include <memory>
#include <sys/stat.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

using namespace fmC;

static QStringList tapped;
static void tap(int, const QString& text, const QString&)
{
    tapped << text;
}
// The lock waits are counted, not slept.
static int paused = 0;
static void countPause(int ms)
{
    paused += ms;
}

// The configuration of a client as one text, so that a whole record compares in one step.
static QString cfgText(const _Client& c)
{
    QString t = u"%1|"_s.arg(c.ListNo);
    for (int i = 0; i < c.CfgBoolCount; ++i)
        t += QString::number(c.CfgBool[i]);
    for (int i = 0; i < c.CfgValueCount; ++i)
        t += u",%1"_s.arg(c.CfgValue[i]);
    const _ClientHardware& h = c.Hardware;
    t += u"|%1,%2,%3,%4,%5,%6,%7|"_s.arg(h.Memory)
             .arg(int(h.Cores))
             .arg(int(h.OS))
             .arg(int(h.Is64Bit))
             .arg(int(h.MHz))
             .arg(int(h.OSVersion))
             .arg(double(h.Speed));
    t += c.WOLMac.toQString().toLower() + QLatin1Char(',') + c.WOLIP.toQString() + QLatin1Char(',');
    for (int i = 0; i < 6; ++i)
        t += QString::number(c.WOLFlags[i]);
    t += QLatin1Char('|') + c.Reserved.asString() + QLatin1Char('|') + c.AcceptWH.asString();
    for (const auto& l : c.AcceptThreadJobs)
        t += QLatin1Char('|') + l.asString();
    for (const auto& p : c.AbortProcess)
        t += QLatin1Char('|') + p.toQString();
    return t + QLatin1Char('|') + c.CustomInfo.toQString();
}

class tst_fmClientFiles : public QObject
{
    Q_OBJECT
private slots:
    void initTestCase()
    {
        QVERIFY(dir.isValid());
        FM.CfgGlobalPath.set(dir.path() + u"/"_s);
        // The private copies go here; a link planted under the old fixed name must stay untouched.
        QVERIFY(QDir().mkpath(tempDir()));
        qputenv("TMPDIR", QFile::encodeName(tempDir()));
        QVERIFY(fmTestWriteAll(dir.path() + u"/victim"_s, "victim"));
        QVERIFY(QFile::link(dir.path() + u"/victim"_s, tempDir() + u"/clients.ini"_s));
        fmFileLocker::setSleepFunction(countPause);
        FM.createFarmTables();
        QVERIFY(FM.ClientList && FM.ClientGroups && FM.UserSettings);
        farmLogTap = tap;
    }

    void init()
    {
        for (const QString& f : {clientsIni(), lockFile(), groupsIni()})
            QFile::remove(f);
        list().clear();
        list().LastFileTime.t = 0;
        FM.ClientGroups->clear();
        tapped.clear();
        paused = 0;
        FM.AppType = fm_AppType_Test;
    }

    void cleanupTestCase()
    {
        farmLogTap = nullptr;
        fmFileLocker::setSleepFunction(nullptr);
        QFile victim(dir.path() + u"/victim"_s);
        QVERIFY(victim.open(QIODevice::ReadOnly));
        QCOMPARE(victim.readAll(), QByteArray("victim"));
        QCOMPARE(QDir(tempDir()).entryList(QDir::AllEntries | QDir::NoDotAndDotDot),
                 QStringList{"clients.ini"});
        FM.deleteFarmTables();
        QVERIFY(!FM.ClientList && !FM.ClientGroups && !FM.UserSettings);
    }

    // Catches a field lost or changed on the way through the file, a section written for the
    // reserved name, and a save that is not stable.
    void roundTrip750()
    {
        for (int i = 0; i < MaxClients; ++i) {
            _Client& c = addNamed(i == 17 ? u"NeMo"_s : u"render%1"_s.arg(i, 3, 10, QLatin1Char('0')));
            c.ListNo = MaxClients - i;
            c.CfgBool[0] = uint8_t(i & 1);
            c.CfgValue[1] = int16_t(i);
            c.Hardware.Memory = 1000 + i;
            c.Hardware.Cores = uint8_t(1 + i % 64);
            c.Hardware.OS = static_cast<signed char>(1 + i % 3);
            c.Hardware.Is64Bit = i % 5 != 0;
            c.Hardware.MHz = uint16_t(2000 + i);
            c.Hardware.OSVersion = uint8_t(i % 200);
            c.Hardware.Speed = float(i) / 8.0f;
            c.WOLMac.set("001A2b3c4D5e");
            c.WOLIP.set("10.0.0.1");
            c.WOLFlags[2] = 1;
            c.Reserved.fromString(u"Anna;ben"_s);
            c.AcceptWH.fromString(u"carl"_s);
            if (i % 2) c.AcceptThreadJobs[1].fromString(u"comp;3d"_s);
            c.AbortProcess[3].set("nuke.exe");
            c.CustomInfo.set(u"rack %1, top"_s.arg(i));
        }
        QVERIFY(FM.SaveFileClientsAll(QString()));
        QVERIFY(!QFile::exists(lockFile()));
        QCOMPARE(QDir(tempDir()).entryList(QDir::AllEntries | QDir::NoDotAndDotDot),
                 QStringList{"clients.ini"});
        {
            QSettings s(clientsIni(), QSettings::IniFormat);
            const QStringList groups = s.childGroups();
            QCOMPARE(groups.size(), MaxClients - 1);
            for (const QString& g : groups)
                QVERIFY(g.compare(QLatin1String("nemo"), Qt::CaseInsensitive) != 0);
            QCOMPARE(s.value(u"render001/cfgV"_s).toString().count(QLatin1Char(';')), 26);
            QVERIFY(!s.contains(u"render001/WOLSchedule"_s));
            QVERIFY(!s.contains(u"render000/acceptThreadJobsB"_s));
            QVERIFY(s.contains(u"render001/acceptThreadJobsB"_s));
            QCOMPARE(s.value(u"render001/WOL"_s).toString(), u"001A2b3c4D5e;10.0.0.1;001000"_s);
        }
        const QByteArray first = fmTestReadAll(clientsIni());

        std::unique_ptr<_ClientList> saved(new _ClientList(FM));
        for (int i = 0; i < list().count(); ++i)
            saved->Clients[i] = list().Clients[i];
        list().clear();
        QVERIFY(FM.LoadFileClientsAll(true, u"test"_s));
        QCOMPARE(tapped.last(), u"clients.ini   loaded"_s);
        QCOMPARE(list().count(), MaxClients - 1);
        // Records come back ordered by their list number: render749 first.
        QCOMPARE(list().Clients[0].Status.Name.toQString(), u"render749"_s);
        for (int i = 0; i < MaxClients; ++i) {
            if (i == 17) continue;
            const int n = list().findClient(saved->Clients[i].Status.Name, 0);
            QVERIFY(n >= 0);
            QCOMPARE(cfgText(list().Clients[n]), cfgText(saved->Clients[i]));
        }
        QVERIFY(FM.SaveFileClientsAll(QString()));
        QCOMPARE(fmTestReadAll(clientsIni()), first);
    }

    void readKeys_data()
    {
        QTest::addColumn<QByteArray>("section");
        QTest::addColumn<QString>("check");
        QTest::addColumn<QString>("want");
        QTest::newRow("cfgV stops at x")
            << QByteArray("cfgV=\"10;20;x;5;\"\n") << u"cfgV"_s << u"15,20,2,75,26"_s;
        QTest::newRow("cfgV 45 places") << QByteArray("cfgV=\"" + QByteArray("20;").repeated(45) + "\"\n")
                                        << u"cfgV"_s << u"20,20,10,20,40"_s;
        QTest::newRow("cfgV bounds") << QByteArray("cfgV=\"1;99999;0;100;400;\"\n") << u"cfgV"_s
                                     << u"15,32767,1,95,26"_s;
        QTest::newRow("cfgB long") << QByteArray("cfgB=") + QByteArray("10").repeated(20) + "\n"
                                   << u"cfgB"_s << u"1010,30"_s;
        QTest::newRow("cfgB short") << QByteArray("cfgB=0\n") << u"cfgB"_s << u"0111,18"_s;
        QTest::newRow("memory 50") << QByteArray("Hardware=\"50;0;3;1;0;106;1500;\"\n") << u"hw"_s
                                   << u"99,1,3,1,1,106,1.5"_s;
        QTest::newRow("hardware negative speed")
            << QByteArray("Hardware=\"4096;8;2;0;2400;26;-5;\"\n") << u"hw"_s << u"4096,8,2,0,2400,26,0"_s;
        QTest::newRow("hardware huge")
            << QByteArray("Hardware=\"99999999999;999;999;7;99999999;999;1e40;\"\n") << u"hw"_s
            << u"2147483647,255,127,1,65535,255,0"_s;
        QTest::newRow("accept A given")
            << QByteArray("acceptThreadJobsA=Nuke\n") << u"acceptA"_s << u"nuke"_s;
        QTest::newRow("hours given") << QByteArray(
                                            "WorkingHours=FFFFFF000000000000000000000000000000000001\n")
                                     << u"hours"_s << u"ffffff,0,1"_s;
        QTest::newRow("hours short") << QByteArray("WorkingHours=00000F\n") << u"hours"_s << u"f,7fe00,0"_s;
        QTest::newRow("mac cleaned") << QByteArray("WOL=\"aa-BB:cc zz;1.2.3.4;1x1\"\n") << u"wol"_s
                                     << u"aaBBcc,1.2.3.4,101000"_s;
        QTest::newRow("info with comma")
            << QByteArray("customClientInfo=\"a, b\"\n") << u"info"_s << u"a, b"_s;
        // The older one-name-a-key form, read only while the new key is missing.
        QTest::newRow("old list keys")
            << QByteArray("Reserved01=Anna\nReserved02=\nReserved03=Ben\nAcceptWH20=Zoe\n") << u"lists"_s
            << u"2:anna; ben|zoe"_s;
        QTest::newRow("new list key wins")
            << QByteArray("Reserved=carl\nReserved01=anna\n") << u"lists"_s << u"1:carl|"_s;
    }
    // Catches a key read with the wrong limit, default or separator. Values with ";" stand in quotes,
    // as QSettings writes them: unquoted, the ";" would begin a comment.
    void readKeys()
    {
        QFETCH(QByteArray, section);
        QFETCH(QString, check);
        QFETCH(QString, want);
        QVERIFY(fmTestWriteAll(clientsIni(), "[zed]\n" + section));
        QVERIFY(FM.LoadFileClientsAll(true, QString()));
        const int n = list().findClient(fmString<25>("zed"), 0);
        QVERIFY(n >= 0);
        const _Client& c = list().Clients[n];
        QString got;
        if (check == QLatin1String("cfgV"))
            got = u"%1,%2,%3,%4,%5"_s.arg(c.CfgValue[0])
                      .arg(c.CfgValue[1])
                      .arg(c.CfgValue[2])
                      .arg(c.CfgValue[3])
                      .arg(c.CfgValueCount);
        else if (check == QLatin1String("cfgB"))
            got = u"%1%2%3%4,%5"_s.arg(int(c.CfgBool[0]))
                      .arg(int(c.CfgBool[1]))
                      .arg(int(c.CfgBool[2]))
                      .arg(int(c.CfgBool[3]))
                      .arg(c.CfgBoolCount);
        else if (check == QLatin1String("hw"))
            got = u"%1,%2,%3,%4,%5,%6,%7"_s.arg(c.Hardware.Memory)
                      .arg(int(c.Hardware.Cores))
                      .arg(int(c.Hardware.OS))
                      .arg(int(c.Hardware.Is64Bit))
                      .arg(int(c.Hardware.MHz))
                      .arg(int(c.Hardware.OSVersion))
                      .arg(double(c.Hardware.Speed));
        else if (check == QLatin1String("acceptA"))
            got = c.AcceptThreadJobs[0].asString().remove(QLatin1Char(' '));
        else if (check == QLatin1String("hours"))
            got = u"%1,%2,%3"_s.arg(c.WorkingHours[0], 0, 16)
                      .arg(c.WorkingHours[1], 0, 16)
                      .arg(c.WorkingHours[6], 0, 16);
        else if (check == QLatin1String("wol")) {
            got = c.WOLMac.toQString() + QLatin1Char(',') + c.WOLIP.toQString() + QLatin1Char(',');
            for (int i = 0; i < 6; ++i)
                got += QString::number(c.WOLFlags[i]);
        } else if (check == QLatin1String("info"))
            got = c.CustomInfo.toQString();
        else if (check == QLatin1String("lists"))
            got = u"%1:%2|%3"_s.arg(c.Reserved.count()).arg(c.Reserved.asString(), c.AcceptWH.asString());
        QCOMPARE(got, want);
        if (QTest::currentDataTag() == QLatin1String("cfgV stops at x"))
            QCOMPARE(tapped.filter(u"Unable to load config of client zed"_s).size(), 1);
    }

    // Catches a load that overwrites the status of a known client, or drops an unknown one.
    void loadKeepsStatus()
    {
        _Client& c = addNamed(u"Known"_s);
        c.Status.AvailableMemory = 1234;
        c.Status.Thread[0].Status = 3;
        QVERIFY(fmTestWriteAll(clientsIni(), "[known]\nlistNo=4\ncfgV=\"20;\"\n[fresh]\nlistNo=2\n"));
        QVERIFY(FM.LoadFileClientsAll(true, QString()));
        QCOMPARE(list().count(), 2);
        const _Client& k = list().Clients[list().findClient(fmString<25>("known"), 0)];
        QCOMPARE(k.Status.AvailableMemory, 1234);
        QCOMPARE(int(k.Status.Thread[0].Status), 3);
        QCOMPARE(k.Status.Name.toQString(), u"Known"_s);
        QCOMPARE(k.ListNo, 4);
        QCOMPARE(int(k.CfgValue[0]), 20);
        QVERIFY(list().findClient(fmString<25>("fresh"), 0) >= 0);
    }

    // Catches a program of a type that may not create clients.ini going on without it.
    void missingFile()
    {
        addNamed(u"x"_s);
        QVERIFY(!FM.LoadFileClientsAll(true, QString()));
        QCOMPARE(list().count(), 1);
    }

    // Catches a server that loads under another program's lock, and a program that fails start-up for
    // a lock left behind (the lock's age rules: tst_fmfilelock).
    void heldLock_data()
    {
        QTest::addColumn<bool>("server");
        QTest::addColumn<bool>("loaded");
        QTest::addColumn<QString>("message");
        QTest::newRow("other program")
            << false << true << " is locked! Trying to continue load client config.";
        QTest::newRow("server") << true << false << " is locked!";
    }
    void heldLock()
    {
        QFETCH(bool, server);
        QFETCH(bool, loaded);
        QFETCH(QString, message);
        QVERIFY(fmTestWriteAll(clientsIni(), "[a]\nlistNo=1\n"));
        QVERIFY(fmTestWriteAll(lockFile(), "\n File locked by: Other fmServer\n"));
        addNamed(u"before"_s);
        if (server) FM.AppType = fm_AppType_Server;
        QCOMPARE(FM.LoadFileClientsAll(true, QString()), loaded);
        QCOMPARE(list().count(), loaded ? 2 : 1);
        QCOMPARE(paused, 6000); // the whole wait, in no time
        QVERIFY(tapped.contains(clientsIni() + message));
        QVERIFY(QFile::exists(lockFile())); // somebody else's lock stays
    }

    // Catches a clients.ini or clientgroups.ini that blocks the load (a FIFO) or fills the memory (a
    // huge file), and a message without the file's name and the reason. Other kinds: tst_fmfileread.
    void refusedFiles_data()
    {
        QTest::addColumn<QString>("kind");
        QTest::addColumn<QString>("reason");
        QTest::newRow("FIFO") << u"fifo"_s << u"Is a FIFO, not a regular file"_s;
        QTest::newRow("oversized") << u"big"_s << u"File too large (16777217 bytes, at most 16777216)"_s;
    }
    void refusedFiles()
    {
        QFETCH(QString, kind);
        QFETCH(QString, reason);
        for (const QString& path : {clientsIni(), groupsIni()}) {
            const QByteArray p = QFile::encodeName(path);
            QFile::remove(path);
            if (kind == "fifo") QVERIFY(::mkfifo(p.constData(), 0600) == 0);
            if (kind == "big") {
                QVERIFY(fmTestWriteAll(path, ""));
                QVERIFY(::truncate(p.constData(), (16 << 20) + 1) == 0);
            }
        }
        addNamed(u"before"_s);
        QVERIFY(!FM.LoadFileClientsAll(true, QString()));
        QCOMPARE(tapped.last(), u"Unable to read '%1': %2"_s.arg(clientsIni(), reason));
        QCOMPARE(list().count(), 1);
        QVERIFY(!FM.LoadFileClientGroups());
        QVERIFY(tapped.contains(u"Unable to read '%1': %2"_s.arg(groupsIni(), reason)));
        QCOMPARE(int(FM.ClientGroups->Count), 1); // "ALL" only
    }

    void hostileFiles_data()
    {
        QTest::addColumn<QByteArray>("content");
        QTest::addColumn<int>("clients");
        QByteArray many;
        for (int i = 0; i < 1000; ++i)
            many += "[c" + QByteArray::number(i) + "]\nlistNo=" + QByteArray::number(-i) + "\n";
        QTest::newRow("1000 sections") << many << MaxClients;
        QTest::newRow("binary") << QByteArray("\0\xff\x01[\x80\x81]\n=\xfe\n\0\0", 14) << -1;
        QTest::newRow("long name") << QByteArray("[" + QByteArray(300, 'n') + "]\nlistNo=1\n[ok]\nlistNo=2\n")
                                   << 1;
        QTest::newRow("long values") << QByteArray("[x]\ncfgV=\"" + QByteArray("7;").repeated(100000) +
                                                   "\"\ncfgB=" + QByteArray(100000, '1') + "\nReserved=\"" +
                                                   QByteArray("a;").repeated(5000) +
                                                   "\"\nAbortProcess01=" + QByteArray(500, 'p') + "\n")
                                     << 1;
        QTest::newRow("keys only") << QByteArray("listNo=1\ncfgV=1;\n") << 0;
    }
    // Catches a crash, an unbounded count or a read past a field on a broken or hostile file.
    void hostileFiles()
    {
        QFETCH(QByteArray, content);
        QFETCH(int, clients);
        QVERIFY(fmTestWriteAll(clientsIni(), content));
        FM.LoadFileClientsAll(true, QString());
        if (clients >= 0) QCOMPARE(list().count(), clients);
        QVERIFY(list().count() <= MaxClients);
        for (int i = 0; i < list().count(); ++i) {
            const _Client& c = list().Clients[i];
            QVERIFY(c.CfgValueCount <= CfgValueMax && c.CfgBoolCount <= CfgBoolMax);
            QVERIFY(c.Reserved.count() <= 20);
            QVERIFY(c.Hardware.Cores >= 1 && c.Hardware.MHz >= 1 && c.Hardware.Speed >= 0.0f);
        }
        list().sort(nullptr);
        list().filter();
    }

    // Catches a group "ALL" missing or not last, a satellite master lost, and a name of no client
    // that gets marked.
    void groupsRoundTrip()
    {
        addNamed(u"r1"_s);
        addNamed(u"r2"_s);
        addNamed(u"r3"_s);
        QVERIFY(fmTestWriteAll(groupsIni(),
                               "[Lighting]\nAssigned=\"r1;R3;ghost;\"\nSattelliteMaster=\"r3;\"\n"
                               "[ALL]\nAssigned=\"r1;\"\n"
                               "[AVeryLongGroupNameBeyondTwentyFive]\nAssigned=\"r2;\"\n"));
        QVERIFY(FM.LoadFileClientGroups());
        _ClientGroupList& g = *FM.ClientGroups;
        QCOMPARE(int(g.Count), 3);
        QCOMPARE(g.Group[g.Count - 1].Name.toQString(), u"ALL"_s);
        for (int i = 0; i < MaxClients; ++i)
            QVERIFY(g.Group[g.Count - 1].Place[i].Assigned);
        const int l = g.findGroup(u"lighting"_s);
        QVERIFY(l >= 0);
        QVERIFY(g.Group[l].Place[0].Assigned);
        QVERIFY(!g.Group[l].Place[1].Assigned);
        QVERIFY(g.Group[l].Place[2].Assigned);
        QCOMPARE(int(g.Group[l].Place[0].SatelliteMaster), 65535);
        QVERIFY(g.Group[l].Place[2].SatelliteMaster != 65535);
        QVERIFY(g.findGroup(u"AVeryLongGroupNameBeyondT"_s) >= 0);
    }

    // Catches more groups than places, and a missing file that leaves no group "ALL".
    void groupsHostile()
    {
        QVERIFY(FM.LoadFileClientGroups());
        QCOMPARE(int(FM.ClientGroups->Count), 1);
        QByteArray many;
        for (int i = 0; i < 100; ++i)
            many +=
                "[g" + QByteArray::number(i) + "]\nAssigned=\"" + QByteArray("x;").repeated(1000) + "\"\n";
        QVERIFY(fmTestWriteAll(groupsIni(), many));
        QVERIFY(FM.LoadFileClientGroups());
        QCOMPARE(int(FM.ClientGroups->Count), MaxClientGroups);
        QCOMPARE(FM.ClientGroups->Group[MaxClientGroups - 1].Name.toQString(), u"ALL"_s);
    }

private:
    QTemporaryDir dir;
    QString clientsIni() const { return dir.path() + u"/clients.ini"_s; }
    QString lockFile() const { return clientsIni() + u"_lock.txt"_s; }
    QString groupsIni() const { return dir.path() + u"/clientgroups.ini"_s; }
    QString tempDir() const { return dir.path() + u"/tmp"_s; }
    _ClientList& list() { return *FM.ClientList; }
    _Client& addNamed(const QString& name);
};

_Client& tst_fmClientFiles::addNamed(const QString& name)
{
    const int n = list().addClient();
    _Client& c = list().Clients[n < 0 ? 0 : n];
    c.Status.Name.set(name);
    return c;
}

QTEST_GUILESS_MAIN(tst_fmClientFiles)
#include "tst_fmclientfiles.moc"
