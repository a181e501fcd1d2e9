// Reading files from the shared root: kinds of files that must be refused without blocking, and
// names that are no UTF-8. ctest kills this test long before a blocked open would end.
#include "foundation/fmfile.h"
#include "foundation/fmfileread.h"

#include <QTemporaryDir>
#include <QtTest>

#include <sys/stat.h>
#include <unistd.h>

class tst_fmfileread : public QObject
{
    Q_OBJECT
private slots:
    void kinds_data();
    void kinds();
    void nameBytes_data();
    void nameBytes();
    void foreignNameListedAndRead();
};

// Catches an open that blocks on a FIFO, reads a device or a folder, reads beyond the cap, or
// refuses a regular file or a link to one; the reason must be the system's or say the kind.
void tst_fmfileread::kinds_data()
{
    QTest::addColumn<QString>("kind");
    QTest::addColumn<bool>("ok");
    QTest::addColumn<QString>("reason");
    QTest::newRow("regular") << "regular" << true << "";
    QTest::newRow("empty") << "empty" << true << "";
    QTest::newRow("link to regular") << "link" << true << "";
    QTest::newRow("at the cap") << "cap" << true << "";
    QTest::newRow("FIFO") << "fifo" << false << "Is a FIFO";
    QTest::newRow("device link") << "device" << false << "Is a character device";
    QTest::newRow("folder") << "folder" << false << "Is a directory";
    QTest::newRow("oversized") << "oversized" << false << "File too large (17 bytes, at most 16)";
    QTest::newRow("missing") << "missing" << false << "No such file or directory";
    QTest::newRow("dangling link") << "dangling" << false << "No such file or directory";
}

void tst_fmfileread::kinds()
{
    QFETCH(QString, kind);
    QFETCH(bool, ok);
    QFETCH(QString, reason);
    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("file"));
    const QByteArray p = QFile::encodeName(path);
    auto write = [&](const QByteArray& bytes) {
        QFile f(path);
        QVERIFY(f.open(QIODevice::WriteOnly));
        f.write(bytes);
    };
    if (kind == "regular") write("abc");
    if (kind == "empty") write("");
    if (kind == "cap") write(QByteArray(16, 'x'));
    if (kind == "oversized") write(QByteArray(17, 'x'));
    if (kind == "link") {
        QFile f(path + "2");
        QVERIFY(f.open(QIODevice::WriteOnly) && f.write("abc") == 3);
        QVERIFY(::symlink(QFile::encodeName(path + "2").constData(), p.constData()) == 0);
    }
    if (kind == "fifo") QVERIFY(::mkfifo(p.constData(), 0600) == 0);
    if (kind == "device") QVERIFY(::symlink("/dev/zero", p.constData()) == 0);
    if (kind == "folder") QVERIFY(::mkdir(p.constData(), 0700) == 0);
    if (kind == "dangling") QVERIFY(::symlink("nowhere", p.constData()) == 0);

    QByteArray bytes("stale");
    QString why;
    QCOMPARE(fmReadRegularFile(path, 16, bytes, &why), ok);
    QVERIFY2(reason.isEmpty() ? why.isEmpty() : why.startsWith(reason), qPrintable(why));
    if (!ok) QVERIFY(bytes.isEmpty());
    if (ok && kind != "cap") QCOMPARE(bytes, kind == "empty" ? QByteArray() : QByteArray("abc"));
    QFile file;
    QCOMPARE(fmOpenRegularFile(file, path, 16, &why), ok);
    QVERIFY2(reason.isEmpty() ? why.isEmpty() : why.startsWith(reason), qPrintable(why));
    if (ok) QCOMPARE(file.readAll().size(), qsizetype(kind == "cap" ? 16 : kind == "empty" ? 0 : 3));
}

// Catches a name whose bytes don't come back as they were, and a shown name that is not text.
void tst_fmfileread::nameBytes_data()
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
    QTest::newRow("all high bytes") << QByteArray("\x80\xff\xfe") << QString::fromUtf8("\uFFFD\uFFFD\uFFFD");
}

void tst_fmfileread::nameBytes()
{
    QFETCH(QByteArray, bytes);
    QFETCH(QString, shown);
    const QString path = fmPathFromBytes(bytes);
    QCOMPARE(fmPathToBytes(path), bytes);
    QCOMPARE(fmPathForDisplay(path), shown);
    QVERIFY(!fmPathForDisplay(path).toUtf8().contains('?'));
}

// Catches a file of a non-UTF-8 name that the listing drops or garbles so that it can't be read.
void tst_fmfileread::foreignNameListedAndRead()
{
    QTemporaryDir dir;
    const QByteArray name = QFile::encodeName(dir.path()) + "/Proj\xe9kt.db";
    FILE* f = std::fopen(name.constData(), "wb");
    QVERIFY(f);
    std::fputs("data", f);
    std::fclose(f);
    fmDirListing listing;
    QVERIFY(listing.init(dir.path(), true, false, true, false));
    QVERIFY(listing.nextFile());
    QCOMPARE(fmPathToBytes(listing.dirFileName()), name);
    QCOMPARE(fmPathForDisplay(listing.fileName()), QString::fromUtf8("Proj\uFFFDkt.db"));
    long long size = 0;
    QVERIFY(fmFileExists(listing.dirFileName(), nullptr, &size) && size == 4);
    QByteArray bytes;
    QVERIFY(fmReadRegularFile(listing.dirFileName(), 100, bytes, nullptr));
    QCOMPARE(bytes, QByteArray("data"));
    QVERIFY(fmRenameFile(listing.dirFileName(), listing.dirFileName() + "2", false));
    QVERIFY(fmFileExists(fmPathFromBytes(name + "2")));
    QVERIFY(fmDeleteFile(fmPathFromBytes(name + "2")).isEmpty()); // QTemporaryDir can't remove it
}

QTEST_GUILESS_MAIN(tst_fmfileread)
#include "tst_fmfileread.moc"
