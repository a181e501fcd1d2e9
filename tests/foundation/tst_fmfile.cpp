#include "foundation/fmfile.h"

#include <QFile>
#include <QTemporaryDir>
#include <QtTest>

#include <sys/stat.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

class tst_fmfile : public QObject
{
    Q_OBJECT

    static void writeFile(const QString& path, const QByteArray& data)
    {
        QFile f(path);
        QVERIFY(f.open(QIODevice::WriteOnly));
        QCOMPARE(f.write(data), data.size());
    }

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
        QTest::newRow("two chars") << u"ab"_s << u""_s;
        QTest::newRow("empty") << u""_s << u""_s;
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
        // The automatic separator gives the same for backslash paths.
        QString back = in;
        back.replace('/', '\\');
        QString backOut = out;
        backOut.replace('/', '\\');
        QCOMPARE(GetDirNameAutoPD(back), backOut);
    }

    // Catches index-rule faults in the name, base and extension splitters.
    void fileNames_data()
    {
        QTest::addColumn<QString>("in");
        QTest::addColumn<QString>("name");
        QTest::addColumn<QString>("base");
        QTest::addColumn<QString>("ext");
        QTest::newRow("early sep") << u"a/b.txt"_s << u"a/b.txt"_s << u"a/b"_s << u".txt"_s;
        QTest::newRow("normal") << u"/x/shot.db61"_s << u"shot.db61"_s << u"shot"_s << u".db61"_s;
        QTest::newRow("short base") << u"/x/ab.db"_s << u"ab.db"_s << u"ab.db"_s << u".db"_s;
        QTest::newRow("no dot") << u"/x/name"_s << u"name"_s << u"name"_s << u"/x/name"_s;
        QTest::newRow("dot early") << u"a.b"_s << u"a.b"_s << u"a.b"_s << u"a.b"_s;
        QTest::newRow("two dots") << u"/p/f.tar.gz"_s << u"f.tar.gz"_s << u"f.tar"_s << u".gz"_s;
    }
    void fileNames()
    {
        QFETCH(QString, in);
        QFETCH(QString, name);
        QFETCH(QString, base);
        QFETCH(QString, ext);
        QCOMPARE(GetFileName(in, '/'), name);
        QCOMPARE(GetFileName(fmString8_evenSize<250>(in)), name);
        QCOMPARE(GetFileNameBase(in, '/'), base);
        QCOMPARE(GetFileNameExtention(in), ext);
        QString back = in;
        back.replace('/', '\\');
        QString backName = name;
        backName.replace('/', '\\');
        QCOMPARE(GetFileNameAutoPD(back), backName);
    }

    // Catches a wrong absolute/relative decision for drive, root and database forms.
    void relativePaths_data()
    {
        QTest::addColumn<QString>("in");
        QTest::addColumn<bool>("rel");
        QTest::newRow("short abs") << "/a" << true;
        QTest::newRow("root") << "/ab" << false;
        QTest::newRow("drive") << "C:/x" << false;
        QTest::newRow("drive back") << "C:\\x" << true;
        QTest::newRow("database") << "<DATABASE>/x" << false;
        QTest::newRow("relative") << "sub/x" << true;
    }
    void relativePaths()
    {
        QFETCH(QString, in);
        QFETCH(bool, rel);
        QCOMPARE(isRelativePath(in), rel);
    }

    // Catches cleaning faults: placeholders lost, drive colon removed, network slashes collapsed.
    void cleanNames_data()
    {
        QTest::addColumn<int>("kind"); // 0 file, 1 dir, 2 html file, 3 html dir
        QTest::addColumn<QString>("in");
        QTest::addColumn<bool>("keepBlanks");
        QTest::addColumn<bool>("keepPh");
        QTest::addColumn<QString>("out");
        QTest::newRow("file placeholder") << 0 << "a:b <FN1>.exr" << true << true << "a_b <FN1>.exr";
        QTest::newRow("file no placeholder") << 0 << "a:b <FN1>.exr" << true << false << "a_b FN1.exr";
        QTest::newRow("file blanks") << 0 << "a b\tc/d\\e|f" << false << false << "abcdef";
        QTest::newRow("file specials") << 0 << "x;#}{\"@=?`~*^y" << false << false << "xy";
        QTest::newRow("file all ph") << 0 << "<FN><FN7>" << false << true << "<FN><FN7>";
        QTest::newRow("file star kept out") << 0 << "*FN*" << false << true << "FN";
        QTest::newRow("file wide char") << 0 << QString("a") + QChar(0x263A) + QChar(0xE9) + "b" << false
                                        << false << QString("a") + QChar(0xE9) + "b";
        QTest::newRow("dir drive") << 1 << "C:\\x//y" << false << false << "C:/x/y";
        QTest::newRow("dir network") << 1 << "\\\\srv\\\\a" << false << false << "//srv/a";
        QTest::newRow("dir colon") << 1 << "/a:b/c" << false << false << "/ab/c";
        QTest::newRow("dir blanks around") << 1 << "/a /  b/c" << true << false << "/a/b/c";
        QTest::newRow("dir placeholder") << 1 << "/p/<FN>/x<" << false << true << "/p/<FN>/x";
        QTest::newRow("html file") << 2 << "it's a $&!deal.html" << false << false << "itsadeal.html";
        QTest::newRow("html dir") << 3 << "/it's/$x" << false << false << "/its/x";
    }
    void cleanNames()
    {
        QFETCH(int, kind);
        QFETCH(QString, in);
        QFETCH(bool, keepBlanks);
        QFETCH(bool, keepPh);
        QFETCH(QString, out);
        QString r;
        if (kind == 0) r = fmRemoveIllegalCharFromFile(in, keepBlanks, keepPh);
        if (kind == 1) r = fmRemoveIllegalCharFromDir(in, keepBlanks, keepPh);
        if (kind == 2) r = fmRemoveIllegalCharFromHtmlFile(in);
        if (kind == 3) r = fmRemoveIllegalCharFromHtmlDir(in);
        QCOMPARE(r, out);
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
            writeFile(tmp.filePath(n), QByteArray(n));
        QVERIFY(fmCreateFolder(tmp.filePath("plain"), false));
        QVERIFY(fmCreateFolder(tmp.filePath("__dir.db"), false));
        fmDirListing dl;
        for (const QString& f : filters)
            dl.addEndsWithFilter(f);
        QVERIFY(dl.init(tmp.path() + "/" + pattern, sorted, withDirs, true, withStat));
        QStringList got;
        while (dl.nextFile()) {
            QCOMPARE(dl.dirFileName(), tmp.path() + "/" + dl.fileName());
            if (dl.isDir()) {
                got << dl.fileName() + "/";
            } else {
                got << dl.fileName();
                QCOMPARE(dl.fileSize(), (long long)dl.fileName().size());
                QVERIFY(dl.fileTime().t > 0);
            }
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
};

QTEST_GUILESS_MAIN(tst_fmfile)
#include "tst_fmfile.moc"
