#include "app/fm.h"
#include "app/fmpaths.h"
#include "farm/fmgconfig.h"
#include "fmtestroot.h"

#include <QDir>
#include <QFileInfo>
#include <QTest>

#include <sys/stat.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

// Search a root with a given executable folder, on a fresh object so no state carries over.
struct RootSearch
{
    __FMSDK sdk{true, fm_AppType_Test, u"fmTest"_s, true};
    bool found = false;
    bool run(const QStringList& args, const QString& appFolder)
    {
        fmTestArgs a(args);
        found = sdk.pathsGetRootFromFolder(a.argc, a.argv(), appFolder);
        // argv dies with `a`; the search keeps no use of it beyond this call.
        sdk.ArgC = 0;
        sdk.ArgV = nullptr;
        return found;
    }
};

class tst_fmpaths : public QObject
{
    Q_OBJECT
private slots:
    // Each marker alone makes a root, including the "_release" twin of a "_debug" name.
    void validRoot_data()
    {
        QTest::addColumn<QString>("file");  // made inside the root; "" for none
        QTest::addColumn<QString>("asked"); // name of the folder asked about
        QTest::addColumn<bool>("valid");
        QTest::newRow("globalconfig") << u"sub/cfg_global/globalconfig.ini"_s << u"farm"_s << true;
        QTest::newRow("client console") << u"bin/lx/fmClientconsole"_s << u"farm"_s << true;
        QTest::newRow("mac console is not ours") << u"bin/mac/fmClientconsole"_s << u"farm"_s << false;
        QTest::newRow("nothing") << u""_s << u"farm"_s << false;
        QTest::newRow("release twin") << u"bin/lx/fmServerconsole"_s << u"farm_debug"_s << true;
    }
    void validRoot()
    {
        QFETCH(QString, file);
        QFETCH(QString, asked);
        QFETCH(bool, valid);
        const bool twin = asked.endsWith(QLatin1String("_debug"));
        fmTestRoot root(twin ? u"farm_release"_s : u"farm"_s, false);
        if (!file.isEmpty()) QVERIFY(root.writeFile(file, "x"));
        QCOMPARE(IsValidFM_Root(root.base() + asked + QLatin1Char('/')), valid);
        QVERIFY(!IsValidFM_Root(QString()));
    }

    // The program copied into root/bin/lx/ (or a bundle five levels deep) must find root with no option.
    void searchFromExecutable_data()
    {
        QTest::addColumn<QString>("rootName");
        QTest::addColumn<QString>("appRel"); // executable folder, relative to the temporary base
        QTest::addColumn<bool>("found");
        QTest::addColumn<QString>("rootRel"); // expected RootPath relative to the base
        QTest::newRow("bin/lx") << u"root"_s << u"root/bin/lx/"_s << true << u"root/"_s;
        QTest::newRow("bundle") << u"root"_s << u"root/bin/lx/fm.app/Contents/MacOS/"_s << true << u"root/"_s;
        QTest::newRow("three deep is no layout") << u"root"_s << u"root/a/bin/lx/"_s << false << u""_s;
        QTest::newRow("not a root") << u"elsewhere"_s << u"other/bin/lx/"_s << false << u""_s;
        QTest::newRow("internal folder") << u"_farm"_s << u"_internal_farm/bin/lx/"_s << true << u"_farm/"_s;
        QTest::newRow("debug build finds release root")
            << u"farm_release"_s << u"farm_debug/bin/lx/"_s << true << u"farm_release/"_s;
    }
    void searchFromExecutable()
    {
        QFETCH(QString, rootName);
        QFETCH(QString, appRel);
        QFETCH(bool, found);
        QFETCH(QString, rootRel);
        fmTestRoot root(rootName);
        const QString app = root.base() + appRel;
        QDir().mkpath(app);
        RootSearch s;
        QCOMPARE(s.run({app + u"fmHistorydb"_s}, app), found);
        if (found) {
            QCOMPARE(s.sdk.RootPath.toQString(), root.base() + rootRel);
            QVERIFY(!s.sdk.LocalCopyMode);
        }
    }

    // "-fmRoot": prefix match, case-insensitive, last one wins, value decoded, last position ignored.
    void fmRootOption_data()
    {
        QTest::addColumn<QStringList>("args"); // "%R" = the root without slash, "%X" = a folder that is none
        QTest::addColumn<bool>("found");
        QTest::addColumn<bool>("localCopy");
        QTest::newRow("case and suffix") << QStringList{"x", "-FMROOTdir", "%R"} << true << true;
        QTest::newRow("with slash") << QStringList{"x", "-fmRoot", "%R/"} << true << true;
        QTest::newRow("last wins") << QStringList{"x", "-fmRoot", "%R", "-fmRoot", "%X"} << false << false;
        QTest::newRow("last wins, valid")
            << QStringList{"x", "-fmRoot", "%X", "-fmRoot", "%R"} << true << true;
        QTest::newRow("value missing") << QStringList{"x", "-debug", "-fmRoot"} << false << false;
    }
    void fmRootOption()
    {
        QFETCH(QStringList, args);
        QFETCH(bool, found);
        QFETCH(bool, localCopy);
        fmTestRoot root(u"a&b"_s);
        QString plain = root.path();
        plain.chop(1);
        QString encoded = plain;
        encoded.replace(QLatin1String("&"), QLatin1String("&amp;"));
        for (QString& a : args) {
            a.replace(QLatin1String("%R"), encoded);
            a.replace(QLatin1String("%X"), root.base() + u"nothing"_s);
        }
        RootSearch s;
        QCOMPARE(s.run(args, root.base() + u"nowhere/bin/lx/"_s), found);
        QCOMPARE(s.sdk.LocalCopyMode, localCopy);
        if (found) QCOMPARE(s.sdk.RootPath.toQString(), root.path());
    }

    // FM_ROOT naming a valid root must not make a program outside any root start.
    void fmRootEnvironmentNeverSelects()
    {
        fmTestRoot root;
        qputenv("FM_ROOT", root.path().toLocal8Bit());
        RootSearch s;
        const bool found = s.run({u"x"_s}, root.base() + u"nowhere/bin/lx/"_s);
        qunsetenv("FM_ROOT");
        QVERIFY(!found);
    }

    // The relink file moves the shared root; an "ExeRoot" line alone or a bad target fails the search.
    void relink_data()
    {
        QTest::addColumn<QByteArray>("line"); // "%T" = the target root without slash
        QTest::addColumn<bool>("found");
        QTest::newRow("root, case and blanks") << QByteArray("  rOOT = %T/  \nsecond line ignored") << true;
        QTest::newRow("exe root only") << QByteArray("ExeRoot=%T") << false;
        QTest::newRow("target is no root") << QByteArray("Root=/nonexistent/place") << false;
        QTest::newRow("no key") << QByteArray("%T") << false;
        QTest::newRow("a FIFO, not blocking the start") << QByteArray("<fifo>") << false;
    }
    void relink()
    {
        QFETCH(QByteArray, line);
        QFETCH(bool, found);
        fmTestRoot first;
        fmTestRoot target(u"moved"_s);
        QString t = target.path();
        t.chop(1);
        line.replace("%T", t.toLocal8Bit());
        QVERIFY(first.writeFile(QLatin1String(fmRelinkFile), line));
        const QByteArray relink = QFile::encodeName(first.path() + QLatin1String(fmRelinkFile));
        if (line == "<fifo>")
            QVERIFY(::unlink(relink.constData()) == 0 && ::mkfifo(relink.constData(), 0600) == 0);
        RootSearch s;
        QCOMPARE(s.run({u"x"_s, u"-fmRoot"_s, first.path()}, QString()), found);
        if (found) {
            QCOMPARE(s.sdk.RootPath.toQString(), target.path());
            QCOMPARE(s.sdk.ExeRootPath.toQString(), first.path());
            QCOMPARE(s.sdk.BinPath.toQString(), first.path() + u"bin/lx/"_s);
            QCOMPARE(s.sdk.CfgGlobalPath.toQString(), target.path() + u"sub/cfg_global/"_s);
        }
    }
};

QTEST_GUILESS_MAIN(tst_fmpaths)
#include "tst_fmpaths.moc"
