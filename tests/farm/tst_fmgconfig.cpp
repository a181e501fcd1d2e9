#include "fmcatchfm.h"
#include "fmtestroot.h"

#include "app/fm.h"
#include "farm/fmgconfig.h"

#include <QFile>
#include <QSettings>
#include <QTemporaryDir>
#include <QtTest>

#include <cmath>
#include <memory>
#include <sys/stat.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace {

struct Farm
{
    QTemporaryDir dir;
    std::unique_ptr<fmCatchFM> fm = std::make_unique<fmCatchFM>();
    Farm() { fm->CfgGlobalPath = dir.path() + u"/"_s; }
    QString iniPath() const { return dir.path() + u"/globalconfig.ini"_s; }
    void writeIni(const QByteArray& bytes) const { QVERIFY(fmTestWriteAll(iniPath(), bytes)); }
    // Reads the file again whatever its time.
    bool load()
    {
        fm->cfg->LastFileTime.t = 0;
        return fm->LoadFileCfg();
    }
    _fmgCfg_param& p(const char* name) { return fm->cfg->Params[fm->cfg->find(name)]; }
};

} // namespace

class tst_fmgconfig : public QObject
{
    Q_OBJECT
private slots:
    // A parameter or log switch that the writer and the reader do not carry the same way (drive
    // mappings and path conversions: their own tests below).
    void roundTrip()
    {
        Farm a;
        _fmgConfig& c = *a.fm->cfg;
        for (int i = 0; i < c.ParamCount; ++i) {
            _fmgCfg_param& p = c.Params[i];
            switch (p.Type) {
            case fmgCfg_Bool:
                p.ValueB = !p.ValueB;
                break;
            case fmgCfg_String:
                p.ValueS.set(u"v%1, ;=\"[x] ü€ #%2"_s.arg(i).arg(p.Name.toQString()));
                break;
            case fmgCfg_Int:
                p.setI(p.Max - (i % 3));
                break;
            case fmgCfg_Float:
                p.setF(1.23f);
                break;
            }
        }
        for (int i = 0; i < 25; ++i) {
            c.LogLevel[i] = i % 2;
            c.LogLevelUI[i] = i % 3 == 0;
        }
        for (int i = 0; i < 20; ++i)
            c.EmailLogLevel[i] = i % 4 == 1;
        // The second nTCPRequiresAuth is never reached by a lookup: it keeps its default, and the
        // value set through the first must survive the save.
        const int firstAuth = c.find("nTCPRequiresAuth");
        c.Params[firstAuth].ValueB = true;
        for (int i = firstAuth + 1; i < c.ParamCount; ++i)
            if (c.Params[i].Name.toQString() == QLatin1String("nTCPRequiresAuth")) c.Params[i].ValueB = false;
        QVERIFY(a.fm->SaveFileCfg());
        QVERIFY(a.fm->has(10, a.iniPath() + u"   written"_s, u"FM,SaveFileCfg"_s));
        QVERIFY(c.LastFileTime.t > 0);
        QVERIFY(QFile::permissions(a.iniPath()) & QFileDevice::WriteOther);

        fmCatchFM b;
        b.CfgGlobalPath = a.fm->CfgGlobalPath;
        QVERIFY(b.LoadFileCfg());
        QVERIFY(b.has(10, a.iniPath() + u"   loaded"_s, u"FM,LoadFileCfg"_s));
        const _fmgConfig& d = *b.cfg;
        QCOMPARE(d.ParamCount, c.ParamCount);
        for (int i = 0; i < c.ParamCount; ++i) {
            const _fmgCfg_param& x = c.Params[i];
            const _fmgCfg_param& y = d.Params[i];
            const QByteArray what = x.key().toLatin1();
            QVERIFY2(x.ValueB == y.ValueB || x.Type != fmgCfg_Bool ||
                         x.Name.toQString() == QLatin1String("nTCPRequiresAuth"),
                     what);
            QVERIFY2(x.ValueI == y.ValueI, what);
            QVERIFY2(x.ValueS.toQString() == y.ValueS.toQString(), what);
            QVERIFY2(x.ValueF == y.ValueF, what);
        }
        for (int i = 0; i < 25; ++i) {
            QCOMPARE(d.LogLevel[i], c.LogLevel[i]);
            QCOMPARE(d.LogLevelUI[i], c.LogLevelUI[i]);
        }
        for (int i = 0; i < 20; ++i)
            QCOMPARE(d.EmailLogLevel[i], c.EmailLogLevel[i]);
        QCOMPARE(*b.cfgGetB("nTCPRequiresAuth"), true);
        // Saved by this version: stamped 7.0 whatever the table held.
        QCOMPARE(*b.cfgGetI("ConfigVersionMajor"), short(7));
        QCOMPARE(*b.cfgGetI("ConfigVersionMinor"), short(0));
    }

    void valuesOnRead_data()
    {
        QTest::addColumn<QByteArray>("ini");
        QTest::addColumn<QString>("name");
        QTest::addColumn<double>("expected"); // NaN: the value before, and a message
        const double kept = std::nan("");
        QTest::newRow("below min") << QByteArray("[Jobs]\njDeleteIfNumber=5\n") << "jDeleteIfNumber" << 100.0;
        QTest::newRow("above max") << QByteArray("[Jobs]\njDeleteIfNumber=99999\n") << "jDeleteIfNumber"
                                   << 10000.0;
        QTest::newRow("beyond 16 bits")
            << QByteArray("[Jobs]\njDeleteIfNumber=4294967396\n") << "jDeleteIfNumber" << 10000.0;
        QTest::newRow("very negative")
            << QByteArray("[NetWork]\nnFMServerPort=-9223372036854775808\n") << "nFMServerPort" << 10.0;
        QTest::newRow("in range") << QByteArray("[Jobs]\njDeleteIfNumber=  2500 \n") << "jDeleteIfNumber"
                                  << 2500.0;
        QTest::newRow("float times 100") << QByteArray("[Misc]\ncfgCost=5\n") << "cfgCost" << 0.05;
        QTest::newRow("float above") << QByteArray("[Misc]\ncfgCost=70000\n") << "cfgCost" << 6.55;
        QTest::newRow("float below") << QByteArray("[Misc]\ncfgCost=-3\n") << "cfgCost" << 0.0;
        QTest::newRow("not a number")
            << QByteArray("[Jobs]\njPreviewPriorityIncrease=abc\n") << "jPreviewPriorityIncrease" << kept;
        QTest::newRow("float not a number") << QByteArray("[Misc]\ncfgCost=cheap\n") << "cfgCost" << kept;
    }
    // A value beyond its bounds that is taken over as it stands; a bad number that resets a value, is
    // not reported by its parameter's name, or stops the reading of the others.
    void valuesOnRead()
    {
        QFETCH(QByteArray, ini);
        QFETCH(QString, name);
        QFETCH(double, expected);
        Farm f;
        _fmgCfg_param& p = f.p(name.toLatin1().constData());
        p.setI(p.Max - 1);
        p.setF(1.5f);
        const _fmgCfg_param before = p;
        f.writeIni(ini + "[Clients]\ncAverageClients=true\n");
        QVERIFY(f.load());
        QCOMPARE(*f.fm->cfgGetB("cAverageClients"), true); // the others are still read
        if (std::isnan(expected)) {
            QCOMPARE(p.ValueI, before.ValueI);
            QCOMPARE(p.ValueF, before.ValueF);
            QVERIFY(f.fm->has(1, u"globalconfig.ini: parameter %1 is not a valid number!"_s.arg(name),
                              u"FM,LoadFileCfg"_s));
        } else if (p.Type == fmgCfg_Float) {
            QCOMPARE(p.ValueF, float(expected));
        } else {
            QCOMPARE(int(p.ValueI), int(expected));
        }
    }

    void mappedPaths_data()
    {
        QTest::addColumn<QString>("key");
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("read"); // a drive: letter (or "-"), path, enabled; a conversion: 3 paths
        QTest::addColumn<QString>("written");
        const QString unc = u"UNC/Map03"_s, os = u"OSConversion/Path60"_s;
        QTest::newRow("lower letter") << unc << "z@//srv/share@"
                                      << "Z|//srv/share|1"
                                      << "Z@//srv/share@";
        QTest::newRow("no closing") << unc << "k@/mnt/k"
                                    << "K|/mnt/k|1"
                                    << "K@/mnt/k@";
        QTest::newRow("longer head") << unc << "share@/x@junk"
                                     << "S|/x|1"
                                     << "S@/x@";
        QTest::newRow("no path") << unc << "m@@"
                                 << "M||0"
                                 << "";
        QTest::newRow("no at") << unc << "m"
                               << "M||0"
                               << "";
        QTest::newRow("wide letter") << unc << QString(QChar(0x4E2D)) + "@/p@"
                                     << "-|/p|1"
                                     << "@/p@";
        QTest::newRow("latin1 letter")
            << unc << QString(QChar(0xE9)) + "@/p@" << u"\u00C9|/p|1"_s << u"\u00C9@/p@"_s;
        QTest::newRow("three") << os << "P:\\a?/mnt/a?/Volumes/a"
                               << "P:\\a|/mnt/a|/Volumes/a"
                               << "P:\\a?/mnt/a?/Volumes/a";
        QTest::newRow("two") << os << "P:\\a?\?/Volumes/a"
                             << "P:\\a||/Volumes/a"
                             << "P:\\a?\?/Volumes/a";
        QTest::newRow("one only") << os << "?/mnt/a?"
                                  << "|/mnt/a|"
                                  << "";
        QTest::newRow("short") << os << "P:\\a?/mnt/a"
                               << "P:\\a|/mnt/a|"
                               << "P:\\a?/mnt/a?";
        QTest::newRow("extra parts") << os << "a?b?c?d"
                                     << "a|b|c"
                                     << "a?b?c";
    }
    // A drive mapping that changes its form on the way through the file, and a path conversion row
    // whose paths move or that is written with a single path.
    void mappedPaths()
    {
        QFETCH(QString, key);
        QFETCH(QString, text);
        QFETCH(QString, read);
        QFETCH(QString, written);
        Farm f;
        {
            QSettings s(f.iniPath(), QSettings::IniFormat);
            s.setValue(key, text);
            s.setValue(u"UNC/Map19"_s, u"b@/b@"_s);
        }
        QVERIFY(f.load());
        const _fmgUNCMap& m = f.fm->cfg->UNCMaps[2];
        const _fmgOSConversion& row = f.fm->cfg->OSConversion[59];
        QVERIFY(row.Path[0].isEmpty());
        if (key == QLatin1String("UNC/Map03"))
            QCOMPARE(u"%1|%2|%3"_s.arg(m.Letter ? QString(QChar(m.Letter)) : u"-"_s, m.Path.toQString())
                         .arg(int(m.Enabled)),
                     read);
        else
            QCOMPARE(QStringList({row.Path[1].toQString(), row.Path[2].toQString(), row.Path[3].toQString()})
                         .join(QLatin1Char('|')),
                     read);
        QCOMPARE(f.fm->cfg->UNCMaps[18].Letter, uint8_t('B'));
        QVERIFY(f.fm->SaveFileCfg());
        QSettings s(f.iniPath(), QSettings::IniFormat);
        QCOMPARE(s.value(key).toString(), written);
        QCOMPARE(s.value(u"UNC/Map01"_s).toString(), QString());
    }

    void hostileFiles_data()
    {
        QTest::addColumn<QByteArray>("bytes");
        QByteArray junk(70000, '\0');
        for (int i = 0; i < junk.size(); ++i)
            junk[i] = char((i * 7919 + 13) & 0xFF);
        QTest::newRow("binary junk") << junk;
        QTest::newRow("long line") << QByteArray("[NetWork]\nnServerName=") + QByteArray(300000, 'x') +
                                          "\n[UNC]\nMap01=c@" + QByteArray(5000, 'p') + "@\n";
        QTest::newRow("long key") << QByteArray("[") + QByteArray(100000, 's') + "]\n" +
                                         QByteArray(100000, 'k') + "=1\n";
        QTest::newRow("negative indexes") << QByteArray("[UNC]\nMap-1=c@/x@\nMap00=d@/y@\nMap20=e@/"
                                                        "z@\n[OSConversion]\nPath-01=a?b?c\nPath61=a?b?c\n["
                                                        "Interaction]\nLogLevel-1=true\nLogLevel26=true\n");
        QTest::newRow("huge values")
            << QByteArray(
                   "[Jobs]\njDeleteIfNumber=1e308\njChunkSize=99999999999999999999999999\n[Misc]\ncfgCost="
                   "-1e999\n[OSConversion]\nPath01=") +
                   QByteArray(1000, '?') + "\n";
        QTest::newRow("escapes") << QByteArray(
            "[NetWork]\nnServerName=\"\\x\\u\\xffffffff\\0\n[Email]\nLogLevel01=\"\n");
    }
    // A broken or hostile file that crashes the reader, reads out of bounds or leaves values out of range.
    void hostileFiles()
    {
        QFETCH(QByteArray, bytes);
        Farm f;
        f.writeIni(bytes);
        f.load(); // either result is fine; it must come back
        const _fmgConfig& c = *f.fm->cfg;
        QCOMPARE(c.ParamCount, 183);
        for (int i = 0; i < c.ParamCount; ++i) {
            const _fmgCfg_param& p = c.Params[i];
            QVERIFY(p.ValueS.len() <= 100);
            if (p.Type == fmgCfg_Int) QVERIFY(p.ValueI >= p.Min && p.ValueI <= p.Max);
            if (p.Type == fmgCfg_Float)
                QVERIFY(!std::isnan(p.ValueF) && p.ValueF >= p.Min / 100.0f && p.ValueF <= p.Max / 100.0f);
        }
        for (const _fmgUNCMap& m : c.UNCMaps)
            QVERIFY(m.Path.len() <= 250);
        for (const _fmgOSConversion& r : c.OSConversion) {
            QVERIFY(r.Path[0].isEmpty());
            for (const auto& p : r.Path)
                QVERIFY(p.len() <= 200);
        }
    }

    // A missing file that is not reported, or that spoils the time of the last good read; a file
    // that blocks the load or is not refused with its reason.
    void missingFile()
    {
        Farm f;
        f.fm->cfg->LastFileTime.t = 12345;
        QVERIFY(!f.fm->LoadFileCfg());
        QVERIFY(f.fm->has(0, u"globalconfig.ini not found!"_s, u"FM,LoadFileCfg"_s));
        QVERIFY(f.fm->has(10, f.iniPath() + u"   loading..."_s, u"FM,LoadFileCfg"_s));
        QCOMPARE(f.fm->cfg->LastFileTime.t, int64_t(12345));
        // A FIFO would block the start for good, a huge file fill the memory: both are refused at
        // once, with the file's name and the reason (other kinds: tst_fmfile).
        QVERIFY(::mkfifo(QFile::encodeName(f.iniPath()).constData(), 0600) == 0);
        QVERIFY(!f.load());
        QVERIFY(f.fm->has(0, u"Unable to read '%1': Is a FIFO, not a regular file"_s.arg(f.iniPath())));
        QVERIFY(QFile::remove(f.iniPath()));
        f.writeIni("");
        QVERIFY(::truncate(QFile::encodeName(f.iniPath()).constData(), 1LL << 30) == 0);
        QVERIFY(!f.load());
        QVERIFY(f.fm->has(
            0,
            u"Unable to read '%1': File too large (1073741824 bytes, at most 16777216)"_s.arg(f.iniPath())));
    }

    // A reload that reads the file again although its time did not change, or skips a newer one.
    void unchangedFileIsNotReadAgain()
    {
        Farm f;
        f.writeIni("[Jobs]\njDeleteIfNumber=2000\n");
        QVERIFY(f.load());
        const int64_t t = f.fm->cfg->LastFileTime.t;
        QVERIFY(t > 0);
        const QDateTime stamp = QFileInfo(f.iniPath()).lastModified();
        auto stampFile = [&](const QDateTime& time) {
            QFile file(f.iniPath());
            return file.open(QIODevice::ReadWrite) &&
                   file.setFileTime(time, QFileDevice::FileModificationTime);
        };
        f.writeIni("[Jobs]\njDeleteIfNumber=3000\n");
        QVERIFY(stampFile(stamp));
        QVERIFY(f.fm->LoadFileCfg());
        QCOMPARE(f.p("jDeleteIfNumber").ValueI, short(2000));
        QVERIFY(stampFile(stamp.addSecs(10)));
        QVERIFY(f.fm->LoadFileCfg());
        QCOMPARE(f.p("jDeleteIfNumber").ValueI, short(3000));
        QCOMPARE(f.fm->cfg->LastFileTime.t, t + 10);
    }

    void upgradeOldFiles_data()
    {
        QTest::addColumn<int>("major");
        QTest::addColumn<int>("minor");
        QTest::addColumn<bool>("upgraded");
        QTest::newRow("4.9") << 4 << 9 << true;
        QTest::newRow("5.0") << 5 << 0 << false;
        QTest::newRow("6.2") << 6 << 2 << true;
        QTest::newRow("6.3") << 6 << 3 << false;
    }
    // An old file whose abort settings are not carried to the job side, or a new one that loses entries.
    void upgradeOldFiles()
    {
        QFETCH(int, major);
        QFETCH(int, minor);
        QFETCH(bool, upgraded);
        Farm f;
        f.writeIni(
            QStringLiteral("[Misc]\nConfigVersionMajor=%1\nConfigVersionMinor=%2\n"
                           "[Clients]\ncAverageAbort=false\ncAverageAbortHourDelay=12\ncAverageClients="
                           "true\ncAverageForUser=false\n"
                           "[Jobs]\njAverageAbort=true\njAverageAbortHourDelay=3\njPrioLvlAmode=4\n")
                .arg(major)
                .arg(minor)
                .toLatin1());
        QVERIFY(f.load());
        fmCatchFM& fm = *f.fm;
        QCOMPARE(*fm.cfgGetB("jAverageAbort"), !upgraded);
        QCOMPARE(*fm.cfgGetI("jAverageAbortHourDelay"), short(upgraded ? 12 : 3));
        QCOMPARE(*fm.cfgGetI("jPrioLvlAmode"), short(upgraded ? 2 : 4));
        QCOMPARE(fm.cfg->ParamCount, upgraded ? 181 : 183);
        QCOMPARE(fm.cfg->find("cAverageAbort") < 0, upgraded);
        QCOMPARE(fm.cfg->find("cAverageAbortHourDelay") < 0, upgraded);
        // The entries behind the removed ones are still found, and in order.
        QCOMPARE(fm.cfg->Params[fm.cfg->find("cLocTex_LeaveFreeSpaceMB")].Name.toQString(),
                 u"cLocTex_LeaveFreeSpaceMB"_s);
        QVERIFY(fm.cfg->find("cAverageForUser") + 1 == fm.cfg->find("cLocTex_LeaveFreeSpaceMB") || !upgraded);
    }

    // A server name given to the application that the file's value wins over.
    void overrideServerName()
    {
        Farm f;
        f.writeIni("[NetWork]\nnServerName=farmserver\nnUseServerIP=true\n");
        f.fm->cfg->OverrideServerName.set("backupbox");
        QVERIFY(f.load());
        QCOMPARE(f.fm->cfgGetS("nServerName")->toQString(), u"backupbox"_s);
        QCOMPARE(*f.fm->cfgGetB("nUseServerIP"), false);
    }

    void overrideServerNameArgs_data()
    {
        QTest::addColumn<QStringList>("args");
        QTest::addColumn<QString>("name");
        QTest::newRow("long") << QStringList{"app", "-OverrideServerName", "srv1"} << "SRV1";
        QTest::newRow("short any case") << QStringList{"app", "-x", "-osn", "Box"} << "BOX";
        QTest::newRow("last without value") << QStringList{"app", "-OSN"} << "";
        QTest::newRow("cut") << QStringList{"app", "-OSN", QString(300, 'a')} << QString(200, 'A');
    }
    // An override option that is missed, taken from the wrong place or not upper-cased.
    void overrideServerNameArgs()
    {
        QFETCH(QStringList, args);
        QFETCH(QString, name);
        QCOMPARE(_fmgConfig::overrideServerNameFromArgs(args), name);
    }

    // Setters that store NaN, report an unknown name, or miss a wrong type (their bounds are the
    // loader's: clampOnRead).
    void setters()
    {
        fmCatchFM fm;
        QVERIFY(fm.cfgSetF("cfgCost", std::nanf("")));
        QCOMPARE(*fm.cfgGetF("cfgCost"), 0.0f);
        QVERIFY(!fm.cfgSetB("noSuchKey", true));
        QVERIFY(fm.lines.isEmpty());
        QVERIFY(!fm.cfgSetI("cfgCost", 1) && !fm.cfgSetF("sgEnable", 1.0f));
        QVERIFY(!fm.cfgSetS("UIcolor", fmString<200>("1")));
        QVERIFY(!fm.cfgSetB("jChunkSize", true));
        QVERIFY(fm.has(1, u"config param jChunkSize is not a boolean!"_s, u"FM,cfgSetB"_s));
    }
};

QTEST_GUILESS_MAIN(tst_fmgconfig)
#include "tst_fmgconfig.moc"
