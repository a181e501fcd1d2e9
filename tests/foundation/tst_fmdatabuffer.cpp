// The data buffer: its header bytes, checked files and their damage, truncation at every byte.
// (No program uses the buffer any more; the job list inflates with zlib itself.)
#include "fmtestroot.h"

#include "foundation/fmchecksum.h"
#include "foundation/fmdatabuffer.h"
#include "foundation/fmrandom.h"

#include <QFile>
#include <QTemporaryDir>
#include <QtTest>
#include <cerrno>
#include <cstring>

namespace {

QByteArray sample(int n, unsigned seed = 1, bool compressible = true)
{
    QByteArray b(n, 0);
    for (char& c : b) {
        seed = fmRandStep(seed);
        c = compressible ? char('a' + seed % 7) : char(seed & 0xFF);
    }
    return b;
}

QByteArray headerOf(const _FM_DataBuffer& b)
{
    unsigned char h[_FM_DataBuffer::kHeaderSize];
    b.headerToBytes(h);
    return QByteArray(reinterpret_cast<const char*>(h), sizeof(h));
}

} // namespace

class tst_fmDataBuffer : public QObject
{
    Q_OBJECT
    QTemporaryDir tmp;
    fmDataBufferPath path(const QString& name) const { return fmDataBufferPath(tmp.filePath(name)); }

private slots:
    // The zlib texts of the job list's load and save messages.
    void zlibErrorTexts()
    {
        QCOMPARE(fmConvertZLibError(Z_DATA_ERROR), QString("Compression Error, data CRC error"));
        QCOMPARE(fmConvertZLibError(-7), QString("Compression Error, unknown error -7"));
    }

    // Header fields at the wrong offset or in host order instead of little-endian.
    void headerBytes()
    {
        _FM_DataBuffer b;
        b.DataSize = 0x01020304;
        b.UncompressedSize = -2;
        b.DataOffset = 0x10;
        b.CRC = 0xCAFEBABE;
        b.IsCompressed = 1;
        b.Pad[0] = 0x77;
        const QByteArray want = QByteArray::fromHex("00000000"
                                                    "04030201"
                                                    "feffffff"
                                                    "10000000"
                                                    "bebafeca"
                                                    "0000000000000000"
                                                    "01"
                                                    "770000");
        QCOMPARE(headerOf(b), want);
        _FM_DataBuffer c;
        c.headerFromBytes(reinterpret_cast<const unsigned char*>(want.constData()));
        QCOMPARE(headerOf(c), want);
        QCOMPARE(c.UncompressedSize, -2);
    }

    // Size mismatches not reported, or untrusted offsets and sizes leading to reads outside the block.
    void decompressHostileFields_data()
    {
        QTest::addColumn<int>("dataOffset");
        QTest::addColumn<int>("dataSize");
        QTest::addColumn<int>("uncompressedSize");
        QTest::addColumn<int>("error");
        QTest::newRow("stored size too large") << 0 << -1 << 1200 << int(fmDB_WrongSize);
        QTest::newRow("stored size too small") << 0 << -1 << 999 << int(Z_BUF_ERROR);
        QTest::newRow("offset negative") << -8 << -1 << 1000 << int(Z_BUF_ERROR);
        QTest::newRow("offset far behind") << 0x7FFFFFF0 << -1 << 1000 << int(Z_BUF_ERROR);
        QTest::newRow("size beyond block") << 0 << 0x7FFFFFFF << 1000 << 0;
        QTest::newRow("size negative") << 0 << -5 << 1000 << int(Z_BUF_ERROR);
        QTest::newRow("uncompressed negative") << 0 << -1 << -1 << int(fmDB_NoMemory);
        QTest::newRow("uncompressed over limit") << 0 << -1 << 0x30000001 << int(fmDB_NoMemory);
    }
    void decompressHostileFields()
    {
        QFETCH(int, dataOffset);
        QFETCH(int, dataSize);
        QFETCH(int, uncompressedSize);
        QFETCH(int, error);
        const QByteArray data = sample(1000);
        _FM_DataBuffer z, d;
        QVERIFY(z.compressFromB(data.constData(), 1000));
        z.DataOffset = dataOffset;
        if (dataSize != -1) z.DataSize = dataSize;
        z.UncompressedSize = uncompressedSize;
        QCOMPARE(z.decompressTo(d), error == 0);
        QCOMPARE(z.Error, error);
        if (error == 0)
            QCOMPARE(QByteArray(d.Data, d.DataSize), data);
        else if (error != fmDB_NoMemory)
            QCOMPARE(d.DataSize, error);
    }

    // Checked and raw files that don't survive a save and load, or a wrong byte layout on disk.
    void checkedFileRoundTrip()
    {
        const QByteArray data = sample(3000);
        _FM_DataBuffer b, l, r, w;
        b.append(data.constData(), int(data.size()));
        b.UncompressedSize = 77;
        QVERIFY(b.SaveToFile(path("c.fmdb"), true));
        QCOMPARE(b.CRC, fmCRCCalc(reinterpret_cast<const unsigned char*>(data.constData()), 3000));
        QCOMPARE(fmTestReadAll(tmp.filePath("c.fmdb")), QByteArray("fmDB") + headerOf(b) + data);
        QVERIFY(l.LoadFromFile(path("c.fmdb"), true));
        QCOMPARE(headerOf(l), headerOf(b));
        QCOMPARE(QByteArray(l.Data, l.DataSize), data);
        QVERIFY(b.SaveToFile(path("r.raw"), false));
        QCOMPARE(fmTestReadAll(tmp.filePath("r.raw")), data);
        QVERIFY(r.LoadFromFile(path("r.raw"), false));
        QCOMPARE(QByteArray(r.Data, r.DataSize), data);
        // With an offset, the file and its CRC still run from the block's start over DataSize bytes:
        // they hold the caller's bytes and miss the stream's last `offset` bytes (kept so).
        _FM_DataBuffer o;
        QVERIFY(o.resize(8));
        std::memcpy(o.Data, "CALLER!!", 8);
        QVERIFY(o.compressFromB(data.constData(), 3000, 8));
        QVERIFY(o.SaveToFile(path("o.fmdb"), true));
        QCOMPARE(fmTestReadAll(tmp.filePath("o.fmdb")).mid(36), QByteArray(o.Data, o.DataSize));
        QVERIFY(fmTestReadAll(tmp.filePath("o.fmdb")).mid(36).startsWith("CALLER!!"));
        QVERIFY(!w.SaveToFile(path("no/such/dir/x"), true));
        QCOMPARE(w.Error, int(fmDB_SystemError));
        QVERIFY(!w.LoadFromFile(path("missing"), true));
        QCOMPARE(w.Error, int(fmDB_FileMissing));
        QVERIFY(!w.LoadFromFile(fmDataBufferPath(tmp.path()), false)); // a folder counts as missing
        QCOMPARE(w.Error, int(fmDB_FileMissing));
    }

    // Damaged checked files accepted or given the wrong code.
    void checkedFileDamaged_data()
    {
        QTest::addColumn<QByteArray>("file");
        QTest::addColumn<int>("error");
        _FM_DataBuffer b, e;
        b.append("payload!", 8);
        b.calcCRC();
        const QByteArray good = QByteArray("fmDB") + headerOf(b) + QByteArray("payload!");
        QTest::newRow("empty buffer, 36 bytes") << (QByteArray("fmDB") + headerOf(e)) << int(fmDB_CRCError);
        QTest::newRow("35 bytes") << good.left(35) << int(fmDB_CRCError);
        QTest::newRow("wrong magic") << QByteArray(good).replace(0, 4, "fmDX") << int(fmDB_WrongHeader);
        QTest::newRow("changed data byte") << QByteArray(good).replace(40, 1, "P") << int(fmDB_CRCError);
        QTest::newRow("changed CRC") << QByteArray(good).replace(20, 1, "\x01") << int(fmDB_CRCError);
        // The header's sizes are not trusted: the file size rules.
        QTest::newRow("hostile sizes") << QByteArray(good).replace(8, 12, QByteArray(12, char(0xFF))) << 0;
    }
    void checkedFileDamaged()
    {
        QFETCH(QByteArray, file);
        QFETCH(int, error);
        fmTestWriteAll(tmp.filePath("d.fmdb"), file);
        _FM_DataBuffer l;
        QCOMPARE(l.LoadFromFile(path("d.fmdb"), true), error == 0);
        QCOMPARE(l.Error, error);
        if (file.size() > 36 && error != fmDB_WrongHeader) // the data is there even when the CRC is wrong
            QCOMPARE(QByteArray(l.Data, l.DataSize), file.mid(36));
    }

    // A checked file cut at any byte being accepted or read out of bounds.
    void checkedFileTruncatedEverywhere()
    {
        _FM_DataBuffer b;
        b.append(sample(300).constData(), 300);
        QVERIFY(b.SaveToFile(path("t.fmdb"), true));
        const QByteArray full = fmTestReadAll(tmp.filePath("t.fmdb"));
        for (int cut = 0; cut < full.size(); ++cut) {
            fmTestWriteAll(tmp.filePath("t2.fmdb"), full.left(cut));
            _FM_DataBuffer l;
            QVERIFY(!l.LoadFromFile(path("t2.fmdb"), true));
            QCOMPARE(l.Error, int(fmDB_CRCError));
        }
        char head[32], rest[400];
        QCOMPARE(_FM_DataBuffer::LoadFromFile(path("t2.fmdb"), true, head, 32, rest, 400),
                 int(fmDB_EndOfFile));
    }

    // A compressed container cut at any byte being accepted, by either loader.
    void compressedFileTruncatedEverywhere()
    {
        _FM_DataBuffer b;
        b.append(sample(2000, 9, false).constData(), 2000);
        QVERIFY(b.SaveToFileCompressed(path("t.fmzp")));
        const QByteArray full = fmTestReadAll(tmp.filePath("t.fmzp"));
        char block[2000];
        for (int cut = 0; cut < full.size(); ++cut) {
            fmTestWriteAll(tmp.filePath("t2.fmzp"), full.left(cut));
            _FM_DataBuffer l;
            QVERIFY(!l.LoadFromFileCompressed(path("t2.fmzp"), true));
            QVERIFY(_FM_DataBuffer::LoadFromFileCompressedHeader(path("t2.fmzp"), block, 2000) != 0);
        }
    }

    void initTestCase() { QVERIFY(tmp.isValid()); }
};

QTEST_APPLESS_MAIN(tst_fmDataBuffer)
#include "tst_fmdatabuffer.moc"
