// Reading files from the shared root: kinds of files that must be refused without blocking, and
// names that are no UTF-8. ctest kills this test long before a blocked open would end.
#include "foundation/fmfileread.h"

#include <QTemporaryDir>
#include <QtTest>

#include <sys/stat.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

class tst_fmfileread : public QObject
{
    Q_OBJECT
private slots:
    // Catches an open that blocks on a FIFO, reads a device or a folder, reads beyond the cap, or
    // refuses a regular file or a link to one; the reason must be the system's or say the kind.
    void kinds_data()
    {
        QTest::addColumn<QString>("kind");
        QTest::addColumn<int>("size");       // bytes of the regular file (a link's target), -1 for none
        QTest::addColumn<QString>("reason"); // empty: read
        QTest::newRow("regular") << "file" << 3 << "";
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

QTEST_GUILESS_MAIN(tst_fmfileread)
#include "tst_fmfileread.moc"
