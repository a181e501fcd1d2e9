#include "foundation/fmfile.h"

#include <QFile>
#include <QTemporaryDir>
#include <QtTest>

#include <sys/stat.h>
#include <unistd.h>

class tst_fmfile : public QObject
{
    Q_OBJECT

    static void writeFile(const QString& path, const QByteArray& data)
    {
        QFile f(path);
        QVERIFY(f.open(QIODevice::WriteOnly));
        QCOMPARE(f.write(data), data.size());
    }
    static QByteArray readFile(const QString& path)
    {
        QFile f(path);
        if (!f.open(QIODevice::ReadOnly)) return QByteArray("<missing>");
        return f.readAll();
    }

private slots:
    // Catches an off-by-one in the index rules of the folder splitter (root, network path, short text).
    void getDirName_data()
    {
        QTest::addColumn<QString>("in");
        QTest::addColumn<QString>("out");
        QTest::newRow("trailing") << "/a/b/" << "/a/";
        QTest::newRow("plain") << "/a/b/c.txt" << "/a/b/";
        QTest::newRow("root child") << "/a" << "";
        QTest::newRow("one char") << "a" << "a";
        QTest::newRow("two chars") << "ab" << "";
        QTest::newRow("empty") << "" << "";
        QTest::newRow("index 2") << "ab/c" << "ab/";
        QTest::newRow("index 1") << "a/bc" << "";
        QTest::newRow("server root") << "//server/share" << "//server/share/";
        QTest::newRow("server root slash") << "//server/share/" << "//server/share/";
        QTest::newRow("server deeper") << "//server/share/x" << "//server/share/";
        QTest::newRow("server only") << "//server" << "";
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
        QTest::newRow("early sep") << "a/b.txt" << "a/b.txt" << "a/b" << ".txt";
        QTest::newRow("normal") << "/x/shot.db61" << "shot.db61" << "shot" << ".db61";
        QTest::newRow("short base") << "/x/ab.db" << "ab.db" << "ab.db" << ".db";
        QTest::newRow("no dot") << "/x/name" << "name" << "name" << "/x/name";
        QTest::newRow("dot early") << "a.b" << "a.b" << "a.b" << "a.b";
        QTest::newRow("three char base") << "/x/abc.db" << "abc.db" << "abc" << ".db";
        QTest::newRow("two dots") << "/p/f.tar.gz" << "f.tar.gz" << "f.tar" << ".gz";
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

    // Catches an insert before a dot that belongs to a folder, and faults of the ".." resolution.
    void addAndResolve()
    {
        QCOMPARE(fmAddStringToFileName("/a/b.exr", "_x"), QString("/a/b_x.exr"));
        QCOMPARE(fmAddStringToFileName("/a.d/b", "_x"), QString("/a.d/b_x"));
        QCOMPARE(fmAddStringToFileName("b", "_x"), QString("b_x"));
        QCOMPARE(fmPathResolve("/a/b/../c"), QString("/a/c"));
        QCOMPARE(fmPathResolve("/a/b/c/../../d/"), QString("/a/d/"));
        QCOMPARE(fmPathResolve("/a/b/.."), QString("/a/"));
        QCOMPARE(fmPathResolve("/../x"), QString("/x"));
        QCOMPARE(fmPathResolve("../x"), QString("../x"));
        QCOMPARE(fmPathResolve("/a/..b/c"), QString("/a/..b/c"));
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
        QTest::newRow("file wide char") << 0 << QString("a") + QChar(0x263A) + QChar(0xE9) + "b" << false << false
                                        << QString("a") + QChar(0xE9) + "b";
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

    // Catches a folder reported as a file, and missing time or size.
    void existence()
    {
        QTemporaryDir tmp;
        const QString f = tmp.filePath("f.bin");
        writeFile(f, QByteArray(1234, 'x'));
        fmTime_t t;
        t.t = 1500000000;
        fmSetFileTime(f, &t);
        fmTime_t mt;
        long long size = 0;
        QVERIFY(fmFileExists(f, &mt, &size));
        QCOMPARE(size, 1234LL);
        QCOMPARE(mt.t, int64_t(1500000000));
        QVERIFY(fmFileExists(fmString<500>(f)));
        QVERIFY(!fmFileExists(tmp.path()));
        QVERIFY(!fmFileExists(tmp.filePath("none")));
        QVERIFY(fmDirectoryExists(tmp.path()));
        QVERIFY(fmDirectoryExists(fmString8_evenSize<200>(tmp.path())));
        QVERIFY(!fmDirectoryExists(f));
        QVERIFY(!fmDirectoryExists(""));
    }

    // Catches a parent walk that fails for deep paths or loops on a path that is its own parent.
    void createDeleteRename()
    {
        QTemporaryDir tmp;
        const QString deep = tmp.filePath("a/b/c/");
        QVERIFY(!fmCreateFolder(tmp.filePath("x/y"), false));
        QVERIFY(fmCreateFolder(deep, true));
        QVERIFY(fmDirectoryExists(deep));
        QVERIFY(fmCreateFolder(deep, true));
        QVERIFY(!fmCreateFolder("a", true)); // its own parent
        QVERIFY(fmDeleteFolder(deep));
        QVERIFY(!fmDeleteFolder(tmp.filePath("a"))); // not empty

        const QString f = tmp.filePath("a/f");
        writeFile(f, "one");
        const QString g = tmp.filePath("a/g");
        writeFile(g, "two");
        QVERIFY(!fmRenameFile(f, tmp.filePath("nope/f"), false));
        QVERIFY(fmRenameFile(f, g, true));
        QCOMPARE(readFile(g), QByteArray("one"));
        QCOMPARE(fmDeleteFile(g), QString());
        QCOMPARE(fmDeleteFile(g), QString()); // nothing to delete is no failure
        QVERIFY(fmDeleteFile(tmp.filePath("a")).startsWith("Unable to delete file, "));
    }

    // Catches lost bytes across block borders, a lost time stamp and the wrong texts of failures.
    void copyFile_data()
    {
        QTest::addColumn<int>("size");
        QTest::addColumn<int>("block");
        QTest::newRow("empty") << 0 << 7;
        QTest::newRow("block multiple") << 70 << 7;
        QTest::newRow("block rest") << 71 << 7;
        QTest::newRow("default block") << 300000 << 0;
    }
    void copyFile()
    {
        QFETCH(int, size);
        QFETCH(int, block);
        QTemporaryDir tmp;
        QByteArray data(size, 0);
        for (int i = 0; i < size; ++i) data[i] = char(i * 7 + i / 251);
        const QString src = tmp.filePath("src");
        writeFile(src, data);
        fmTime_t t;
        t.t = 1400000000;
        fmSetFileTime(src, &t);
        const QString dst = tmp.filePath("dst");
        QCOMPARE(fmCopyFile(src, dst, true, block, nullptr), QString());
        QCOMPARE(readFile(dst), data);
        fmTime_t mt;
        QVERIFY(fmFileExists(dst, &mt, nullptr));
        QCOMPARE(mt.t, t.t);
    }
    void copyFileFailures()
    {
        QTemporaryDir tmp;
        QCOMPARE(fmCopyFile(tmp.filePath("none"), tmp.filePath("x"), false, 10, nullptr),
                 QString("Source file does not exist."));
        const QString src = tmp.filePath("src");
        writeFile(src, "abc");
        const QString bad = tmp.filePath("no/dir/x");
        const QString r = fmCopyFile(src, bad, false, 10, nullptr);
        QVERIFY2(r.startsWith("Cannot create target file: ") && r.endsWith("!  '" + bad + "'"), qPrintable(r));
        // A copy onto itself must not truncate the source.
        QVERIFY(!fmCopyFile(src, src, false, 10, nullptr).isEmpty());
        QCOMPARE(readFile(src), QByteArray("abc"));
        bool cancel = true;
        QCOMPARE(fmCopyFile(src, tmp.filePath("c"), false, 1, &cancel), QString("Copy cancelled."));
        QVERIFY(!fmFileExists(tmp.filePath("c")));
    }

    // Catches a partial write reported as success and wrong texts of failures.
    void writeBuffer()
    {
        QTemporaryDir tmp;
        unsigned char data[5] = {1, 2, 3, 4, 5};
        const QString f = tmp.filePath("b");
        QCOMPARE(fmWriteBufferToFile(f, data, 5), QString());
        QCOMPARE(readFile(f), QByteArray("\x01\x02\x03\x04\x05", 5));
        QVERIFY(fmWriteBufferToFile(tmp.filePath("no/b"), data, 5).startsWith("Unable to write/open file: "));
        QVERIFY(fmWriteBufferToFile(f, nullptr, 5).startsWith("Unable to write 5b (0/5 done)"));
        QVERIFY(!QFile::exists("/dev/full") ||
                fmWriteBufferToFile("/dev/full", data, 5).startsWith("Unable to write 5b ("));
    }

    // Catches a resume that restarts needlessly, duplicates data or misses the 25 MB stop.
    void resumeFile()
    {
        QTemporaryDir tmp;
        const QString from = tmp.filePath("log");
        const QString to = tmp.filePath("copy");
        bool finished = false;
        QCOMPARE(fmResumeFile(from, to, finished, nullptr), QString("Source file does not exist"));
        QByteArray data(600000, 'a');
        for (int i = 0; i < data.size(); ++i) data[i] = char('a' + i % 26);
        writeFile(from, data.left(1000));
        QCOMPARE(fmResumeFile(from, to, finished, nullptr), QString());
        QVERIFY(finished);
        QCOMPARE(readFile(to), data.left(1000));
        writeFile(from, data);
        int passes = 0;
        do {
            QCOMPARE(fmResumeFile(from, to, finished, nullptr), QString());
            ++passes;
        } while (!finished && passes < 10);
        QCOMPARE(passes, 3); // 599000 bytes at 262144 a pass
        QCOMPARE(readFile(to), data);
        // A target larger than its source starts over.
        writeFile(from, "new");
        QCOMPARE(fmResumeFile(from, to, finished, nullptr), QString());
        QCOMPARE(readFile(to), QByteArray("new"));
        QVERIFY(::truncate(QFile::encodeName(from).constData(), 26214401) == 0);
        QCOMPARE(fmResumeFile(from, to, finished, nullptr),
                 QString("Log file larger than 25 MB, stopping copy to fmShare."));
    }

    // Catches deletion of kept entries, descent through links, and wrong counts.
    void emptyFolder()
    {
        QTemporaryDir tmp;
        QTemporaryDir outside;
        writeFile(outside.filePath("precious"), "p");
        const QString root = tmp.filePath("r/");
        QVERIFY(fmCreateFolder(root + "sub/deeper", true));
        writeFile(root + "a", "12");
        writeFile(root + "keep.txt", "k");
        writeFile(root + "sub/b", "345");
        writeFile(root + "sub/deeper/c", "6");
        QVERIFY(::symlink(QFile::encodeName(outside.path()).constData(), QFile::encodeName(root + "link").constData()) == 0);
        const QStringList keep{"keep.txt"};
        QString error;
        int count = 0;
        long long bytes = 0;
        QVERIFY(fmEmptyFolder(root, true, true, 0, &keep, &error, &count, &bytes));
        QCOMPARE(error, QString());
        QCOMPARE(count, 4); // a, b, c and the link itself
        QCOMPARE(bytes, 6LL + QFile::encodeName(outside.path()).size());
        QVERIFY(fmFileExists(root + "keep.txt"));
        QVERIFY(!fmDirectoryExists(root + "sub"));
        QVERIFY(fmFileExists(outside.filePath("precious")));
        QVERIFY(fmEmptyFolder(tmp.filePath("missing"), true, true, 0, nullptr, nullptr, nullptr, nullptr));
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
        QTest::newRow("plain all cached") << false << true << QStringList() << "" << true << all;
        QTest::newRow("sorted no dirs") << true << false << QStringList() << "" << true
                                        << QStringList{"B.DB", "a.db", "a.db61", "a.txt"};
        QTest::newRow("filters") << true << false << QStringList{".db61", ".db"} << "" << false
                                 << QStringList{"B.DB", "a.db", "a.db61"};
        QTest::newRow("filters dirs") << false << true << QStringList{".DB"} << "" << false
                                      << QStringList{"B.DB", "__dir.db/", "a.db"};
        QTest::newRow("wildcard") << false << true << QStringList() << "a.*" << false << QStringList{"a.db", "a.db61", "a.txt"};
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
        for (const char* n : {"a.db", "a.db61", "B.DB", "a.txt"}) writeFile(tmp.filePath(n), QByteArray(n));
        QVERIFY(fmCreateFolder(tmp.filePath("plain"), false));
        QVERIFY(fmCreateFolder(tmp.filePath("__dir.db"), false));
        fmDirListing dl;
        for (const QString& f : filters) dl.addEndsWithFilter(f);
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

    // Catches a listing that reports success or stays valid on a missing folder.
    void dirListingMissing()
    {
        fmDirListing dl;
        QVERIFY(!dl.init("/nonexistent/folder/"));
        QVERIFY(!dl.isValid());
        QVERIFY(!dl.nextFile());
        QCOMPARE(dl.fileSize(), 0LL);
    }

    // Catches rights not applied to the entries of a folder.
    void rights()
    {
        QTemporaryDir tmp;
        const QString f = tmp.filePath("f");
        writeFile(f, "x");
        QVERIFY(::chmod(QFile::encodeName(f).constData(), 0600) == 0);
        QVERIFY(fmSetFolderRights_ReadWriteAll(fmString<250>(tmp.path()), true));
        struct stat st;
        QVERIFY(::stat(QFile::encodeName(f).constData(), &st) == 0);
        QCOMPARE(int(st.st_mode & 0777), 0777);
        QVERIFY(fmSetFileRights_ReadWriteAll(fmString<250>(f)));
        QVERIFY(::stat(QFile::encodeName(f).constData(), &st) == 0);
        QCOMPARE(int(st.st_mode & 0777), 0666);
        unsigned uid = 1, gid = 1;
        QVERIFY(get_User_id("root", &uid, &gid));
        QCOMPARE(uid, 0u);
        QCOMPARE(get_name_from_ID(0), QString("root"));
        QVERIFY(!get_User_id("no-such-user-xyz", &uid, &gid));
    }
};

QTEST_GUILESS_MAIN(tst_fmfile)
#include "tst_fmfile.moc"
