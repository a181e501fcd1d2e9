// Path and file name splitters, folder listings, and reading files from the shared root: kinds of
// files that must be refused without blocking, and names that are no UTF-8.
#include "fmtestroot.h"

#include "foundation/fmfile.h"
#include "foundation/fmfileread.h"

#include <QFile>
#include <QTemporaryDir>
#include <QtTest>

#include <sys/stat.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

class tst_fmfile : public QObject
{
    Q_OBJECT

private slots:
    // Catches an off-by-one in the index rules of the folder splitter (root, network path, short text).
    void getDirName_data()
    {
        QTest::addColumn<QString>("in");
        QTest::addColumn<QString>("out");
        QTest::newRow("trailing") << u"/a/b/"_s << u"/a/"_s;
        QTest::newRow("plain") << u"/a/b/c.txt"_s << u"/a/b/"_s;
        QTest::newRow("root child") << u"/a"_s << u""_s;
        QTest::newRow("one char") << u"a"_s << u"a"_s;
        QTest::newRow("index 2") << u"ab/c"_s << u"ab/"_s;
        QTest::newRow("server root") << u"//server/share"_s << u"//server/share/"_s;
        QTest::newRow("server deeper") << u"//server/share/x"_s << u"//server/share/"_s;
        QTest::newRow("server only") << u"//server"_s << u""_s;
    }
    void getDirName()
    {
        QFETCH(QString, in);
        QFETCH(QString, out);
        QCOMPARE(GetDirName(in, '/'), out);
        QCOMPARE(GetDirName(fmString<250>(in)), out);
    }

    // Catches index-rule faults in the name and base splitters.
    void fileNames_data()
    {
        QTest::addColumn<QString>("in");
        QTest::addColumn<QString>("name");
        QTest::addColumn<QString>("base");
        QTest::newRow("early sep") << u"a/b.txt"_s << u"a/b.txt"_s << u"a/b"_s;
        QTest::newRow("normal") << u"/x/shot.db61"_s << u"shot.db61"_s << u"shot"_s;
        QTest::newRow("short base") << u"/x/ab.db"_s << u"ab.db"_s << u"ab.db"_s;
        QTest::newRow("no dot") << u"/x/name"_s << u"name"_s << u"name"_s;
        QTest::newRow("two dots") << u"/p/f.tar.gz"_s << u"f.tar.gz"_s << u"f.tar"_s;
    }
    void fileNames()
    {
        QFETCH(QString, in);
        QFETCH(QString, name);
        QFETCH(QString, base);
        QCOMPARE(GetFileName(in, '/'), name);
        QCOMPARE(GetFileName(fmString8_evenSize<250>(in)), name);
        QCOMPARE(GetFileNameBase(in, '/'), base);
    }

    // Catches a listing that misses filters, sorts wrongly or lets folders through when told not to.
    void dirListing_data()
    {
        QTest::addColumn<bool>("sorted");
        QTest::addColumn<bool>("withDirs");
        QTest::addColumn<QStringList>("filters");
        QTest::addColumn<QString>("pattern");
        QTest::addColumn<bool>("withStat");
        QTest::addColumn<QStringList>("expect"); // sorted for comparison; folders end in "/"
        const QStringList all{"B.DB", "__dir.db/", "a.db", "a.db61", "a.txt", "plain/"};
        QTest::newRow("plain all") << false << true << QStringList() << "" << false << all;
        QTest::newRow("sorted no dirs")
            << true << false << QStringList() << "" << true << QStringList{"B.DB", "a.db", "a.db61", "a.txt"};
        QTest::newRow("filters") << true << false << QStringList{".db61", ".db"} << "" << false
                                 << QStringList{"B.DB", "a.db", "a.db61"};
        QTest::newRow("filters dirs")
            << false << true << QStringList{".DB"} << "" << false << QStringList{"B.DB", "__dir.db/", "a.db"};
        QTest::newRow("wildcard") << false << true << QStringList() << "a.*" << false
                                  << QStringList{"a.db", "a.db61", "a.txt"};
    }
    void dirListing()
    {
        QFETCH(bool, sorted);
        QFETCH(bool, withDirs);
        QFETCH(QStringList, filters);
        QFETCH(QString, pattern);
        QFETCH(bool, withStat);
        QFETCH(QStringList, expect);
        QTemporaryDir tmp;
        for (const char* n : {"a.db", "a.db61", "B.DB", "a.txt"})
            QVERIFY(fmTestWriteAll(tmp.filePath(n), QByteArray(n)));
        QVERIFY(fmCreateFolder(tmp.filePath("plain"), false));
        QVERIFY(fmCreateFolder(tmp.filePath("__dir.db"), false));
        fmDirListing dl;
        for (const QString& f : filters)
            dl.addEndsWithFilter(f);
        QVERIFY(dl.init(tmp.path() + "/" + pattern, sorted, withDirs, true, withStat));
        QStringList got;
        while (dl.nextFile()) {
            QCOMPARE(dl.dirFileName(), tmp.path() + "/" + dl.fileName());
            got << dl.fileName() + (dl.isDir() ? "/" : "");
        }
        QVERIFY(!dl.nextFile());
        if (sorted) {
            QStringList s = got;
            std::sort(s.begin(), s.end());
            QCOMPARE(got, s); // arrives already in order of plain character code
        }
        got.sort();
        QCOMPARE(got, expect);
    }

    // Catches an open that blocks on a FIFO, reads a device or a folder, reads beyond the cap, or
    // refuses a regular file or a link to one; the reason must be the system's or say the kind.
    void kinds_data()
    {
        QTest::addColumn<QString>("kind");
        QTest::addColumn<int>("size");       // bytes of the regular file (a link's target), -1 for none
        QTest::addColumn<QString>("reason"); // empty: read
        QTest::newRow("empty") << "file" << 0 << "";
        QTest::newRow("at the cap") << "file" << 16 << "";
        QTest::newRow("link to regular") << "link" << 3 << "";
        QTest::newRow("oversized") << "file" << 17 << "File too large (17 bytes, at most 16)";
        QTest::newRow("FIFO") << "fifo" << -1 << "Is a FIFO";
        QTest::newRow("device link") << "device" << -1 << "Is a character device";
        QTest::newRow("folder") << "folder" << -1 << "Is a directory";
        QTest::newRow("missing") << "none" << -1 << "No such file or directory";
        QTest::newRow("dangling link") << "link" << -1 << "No such file or directory";
    }
    void kinds()
    {
        QFETCH(QString, kind);
        QFETCH(int, size);
        QFETCH(QString, reason);
        QTemporaryDir dir;
        const QString path = dir.filePath(u"file"_s);
        const QByteArray p = QFile::encodeName(path);
        QFile target(kind == "link" ? path + "2" : path);
        if (size >= 0)
            QVERIFY(target.open(QIODevice::WriteOnly) && target.write(QByteArray(size, 'x')) == size);
        target.close();
        if (kind == "link")
            QVERIFY(::symlink(QFile::encodeName(target.fileName()).constData(), p.constData()) == 0);
        if (kind == "fifo") QVERIFY(::mkfifo(p.constData(), 0600) == 0);
        if (kind == "device") QVERIFY(::symlink("/dev/zero", p.constData()) == 0);
        if (kind == "folder") QVERIFY(::mkdir(p.constData(), 0700) == 0);

        QByteArray bytes("stale");
        QString why;
        QCOMPARE(fmReadRegularFile(path, 16, bytes, &why), reason.isEmpty());
        QVERIFY2(reason.isEmpty() ? why.isEmpty() : why.startsWith(reason), qPrintable(why));
        QCOMPARE(bytes, reason.isEmpty() ? QByteArray(size, 'x') : QByteArray());
        QFile file;
        QCOMPARE(fmOpenRegularFile(file, path, 16, &why), reason.isEmpty());
        QVERIFY2(reason.isEmpty() ? why.isEmpty() : why.startsWith(reason), qPrintable(why));
        if (reason.isEmpty()) QCOMPARE(file.readAll(), QByteArray(size, 'x'));
    }

    // Catches a name whose bytes don't come back as they were, and a shown name that is not text.
    void nameBytes_data()
    {
        QTest::addColumn<QByteArray>("bytes");
        QTest::addColumn<QString>("shown");
        QTest::newRow("ascii") << QByteArray("/h/Shot_010.db61") << "/h/Shot_010.db61";
        QTest::newRow("utf-8") << QByteArray("/h/\xc3\xa9t\xc3\xa9 \xf0\x9f\x8e\xac.db")
                               << QString::fromUtf8("/h/été 🎬.db");
        QTest::newRow("latin-1") << QByteArray("/h/\xe9t\xe9.db") << QString::fromUtf8("/h/\uFFFDt\uFFFD.db");
        QTest::newRow("cut sequence") << QByteArray("a\xe2\x82") << QString::fromUtf8("a\uFFFD\uFFFD");
        QTest::newRow("overlong slash") << QByteArray("a\xc0\xaf") << QString::fromUtf8("a\uFFFD\uFFFD");
        QTest::newRow("encoded surrogate")
            << QByteArray("\xed\xa0\x80") << QString::fromUtf8("\uFFFD\uFFFD\uFFFD");
        QTest::newRow("all high bytes")
            << QByteArray("\x80\xff\xfe") << QString::fromUtf8("\uFFFD\uFFFD\uFFFD");
    }
    void nameBytes()
    {
        QFETCH(QByteArray, bytes);
        QFETCH(QString, shown);
        const QString path = fmPathFromBytes(bytes);
        QCOMPARE(fmPathToBytes(path), bytes);
        QCOMPARE(fmPathForDisplay(path), shown);
        QVERIFY(!fmPathForDisplay(path).toUtf8().contains('?'));
    }
};

QTEST_GUILESS_MAIN(tst_fmfile)
#include "tst_fmfile.moc"
