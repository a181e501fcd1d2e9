#include "foundation/fmchecksum.h"
#include "foundation/fmdatabuffer.h"
#include "foundation/fmrandom.h"

#include <QFile>
#include <QTemporaryDir>
#include <QtTest>
#include <cerrno>
#include <cstring>

class tst_fmDataBuffer : public QObject
{
    Q_OBJECT
private slots:
    void initTestCase();
    // Header fields at the wrong offset or in host order instead of little-endian.
    void headerBytes();
    // resize losing content or shrinking, newsize keeping stale bytes, limits not enforced.
    void blockHandling();
    // append growing to the wrong size or writing in front of DataSize.
    void append();
    // A wrong range boundary or formula of the compression estimate.
    void compressBound_data();
    void compressBound();
    // Round trip losing bytes, the offset bytes being overwritten or counted in DataSize.
    void compressRoundTrip_data();
    void compressRoundTrip();
    // Size mismatches after uncompress not reported as -106 / zlib codes.
    void decompressSizes();
    // Untrusted DataOffset / DataSize / UncompressedSize leading to reads outside the block.
    void decompressHostileFields_data();
    void decompressHostileFields();
    // A wrong or missing error text.
    void errorTexts_data();
    void errorTexts();
    // Checked and raw files that don't survive a save and load, or a wrong byte layout on disk.
    void checkedFileRoundTrip();
    // Damaged checked files accepted or given the wrong code.
    void checkedFileDamaged_data();
    void checkedFileDamaged();
    // A checked file cut at any byte being accepted or read out of bounds.
    void checkedFileTruncatedEverywhere();
    // Compressed container that doesn't round-trip, or whose magic is outside the gzip stream.
    void compressedFileRoundTrip();
    // Damaged compressed containers accepted or given the wrong code.
    void compressedFileDamaged_data();
    void compressedFileDamaged();
    // A compressed container cut at any byte being accepted.
    void compressedFileTruncatedEverywhere();
    // The caller's-block forms reading past the block or accepting a wrong size.
    void compressedHeaderForms();
    // Plain gzip loaders reading past the block, hanging on chunk 0, or accepting a wrong size.
    void gzipFiles();
    // CompressN forms not checking sizes, or trusting a hostile DataOffset from the file.
    void compressNFiles();
    // Chunk streams losing data at chunk borders, failing to grow, or looping forever.
    void chunkStreams();
    // Boyer-Moore shifts that skip an occurrence or read past the data.
    void indexOf_data();
    void indexOf();
    // Any difference to a naive search over random texts and patterns, in both case modes.
    void indexOfMatchesNaive();

private:
    QTemporaryDir tmp;
    fmDataBufferPath path(const QString& name) const { return fmDataBufferPath(tmp.filePath(name)); }
};

namespace {

QByteArray sample(int n, unsigned seed = 1, bool compressible = true)
{
    QByteArray b(n, 0);
    for (int i = 0; i < n; ++i) {
        seed = fmRandStep(seed);
        b[i] = compressible ? char('a' + seed % 7) : char(seed & 0xFF);
    }
    return b;
}

QByteArray readAll(const QString& p)
{
    QFile f(p);
    return f.open(QIODevice::ReadOnly) ? f.readAll() : QByteArray();
}

void writeAll(const QString& p, const QByteArray& b)
{
    QFile f(p);
    QVERIFY(f.open(QIODevice::WriteOnly | QIODevice::Truncate));
    QCOMPARE(f.write(b), b.size());
}

QByteArray gzipOf(const QByteArray& content)
{
    QTemporaryDir d;
    const QString p = d.filePath("g.gz");
    _FM_DataBuffer::SaveGzipFile(fmDataBufferPath(p), content.constData(), int(content.size()));
    return readAll(p);
}

QByteArray headerOf(const _FM_DataBuffer& b)
{
    unsigned char h[_FM_DataBuffer::kHeaderSize];
    b.headerToBytes(h);
    return QByteArray(reinterpret_cast<const char*>(h), sizeof(h));
}

} // namespace

void tst_fmDataBuffer::initTestCase()
{
    QVERIFY(tmp.isValid());
}

void tst_fmDataBuffer::headerBytes()
{
    _FM_DataBuffer b;
    b.Reserved0 = 0;
    b.DataSize = 0x01020304;
    b.UncompressedSize = -2;
    b.DataOffset = 0x10;
    b.CRC = 0xCAFEBABE;
    b.IsCompressed = 1;
    b.Pad[0] = 0x77;
    const QByteArray want = QByteArray::fromHex("00000000" "04030201" "feffffff" "10000000" "bebafeca"
                                                "0000000000000000" "01" "770000");
    QCOMPARE(headerOf(b), want);
    _FM_DataBuffer c;
    c.headerFromBytes(reinterpret_cast<const unsigned char*>(want.constData()));
    QCOMPARE(c.DataSize, 0x01020304);
    QCOMPARE(c.UncompressedSize, -2);
    QCOMPARE(c.CRC, 0xCAFEBABEu);
    QCOMPARE(int(c.IsCompressed), 1);
    QCOMPARE(headerOf(c), want);
}

void tst_fmDataBuffer::blockHandling()
{
    _FM_DataBuffer b;
    QVERIFY(b.resize(10));
    QCOMPARE(b.Capacity, 10);
    for (int i = 0; i <= 10; ++i) QCOMPARE(b.Data[i], '\0'); // new blocks are zero-filled, spare byte too
    std::memcpy(b.Data, "0123456789", 10);
    QVERIFY(b.resize(5));
    QCOMPARE(b.Capacity, 10); // never shrinks
    QVERIFY(b.resize(4000));
    QCOMPARE(QByteArray(b.Data, 10), QByteArray("0123456789"));
    QVERIFY(b.newsize(100));
    QCOMPARE(QByteArray(b.Data, 10), QByteArray("0123456789")); // large enough: stays
    QVERIFY(b.newsize(8000));
    QCOMPARE(QByteArray(b.Data, 10), QByteArray(10, 0));
    QCOMPARE(b.Capacity, 8000);

    char* before = b.Data;
    QVERIFY(!b.resize(-1));
    QCOMPARE(b.Error, int(fmDB_NoMemory));
    QVERIFY(!b.resize(2 * 1048576 + 1, 2));
    QVERIFY(!b.newsize(_FM_DataBuffer::kMaxSize + 1, 4096));
    QCOMPARE(b.Data, before); // a refused size keeps the block
    QCOMPARE(b.Capacity, 8000);

    QVERIFY(b.copyFromBuffer("abc", 3));
    QCOMPARE(QByteArray(b.Data, 3), QByteArray("abc"));
    char out[4] = {};
    b.copyToBuffer(out, 3);
    QCOMPARE(QByteArray(out), QByteArray("abc"));
    b.fillZero();
    QCOMPARE(b.Data[0], '\0');
}

void tst_fmDataBuffer::append()
{
    _FM_DataBuffer b;
    b.append("hello", 5);
    QCOMPARE(b.DataSize, 5);
    QCOMPARE(b.Capacity, 5);
    b.append(" world", 6);
    QCOMPARE(b.DataSize, 11);
    QCOMPARE(b.Capacity, 11);
    QCOMPARE(QByteArray(b.Data, 11), QByteArray("hello world"));
    b.append("x", 0);
    b.append("x", -4);
    QCOMPARE(b.DataSize, 11);
}

void tst_fmDataBuffer::compressBound_data()
{
    QTest::addColumn<int>("n");
    QTest::addColumn<int>("expected");
    QTest::newRow("0") << 0 << 211;
    QTest::newRow("100000") << 100000 << (6 + 24 + 100000 + 211);
    QTest::newRow("below 50MB") << 52428799 << (3199 + 12799 + 52428799 + 211);
    QTest::newRow("50MB") << 52428800 << 34952533;
    QTest::newRow("0x63FFFFF") << 0x63FFFFF << int(int64_t(0x63FFFFF) * 2 / 3);
    QTest::newRow("0x6400000") << 0x6400000 << (0x6400000 >> 1);
    QTest::newRow("limit") << _FM_DataBuffer::kMaxSize << (_FM_DataBuffer::kMaxSize >> 1);
}

void tst_fmDataBuffer::compressBound()
{
    QFETCH(int, n);
    QFETCH(int, expected);
    QCOMPARE(_FM_DataBuffer::z_compressBound_copy(n), expected);
}

void tst_fmDataBuffer::compressRoundTrip_data()
{
    QTest::addColumn<int>("size");
    QTest::addColumn<int>("offset");
    QTest::addColumn<bool>("compressible");
    QTest::newRow("1 byte") << 1 << 0 << true;
    QTest::newRow("text") << 5000 << 0 << true;
    QTest::newRow("text offset 8") << 5000 << 8 << true;
    QTest::newRow("noise offset 64") << 70000 << 64 << false;
    QTest::newRow("noise 1MB") << 1048576 << 0 << false;
}

void tst_fmDataBuffer::compressRoundTrip()
{
    QFETCH(int, size);
    QFETCH(int, offset);
    QFETCH(bool, compressible);
    const QByteArray data = sample(size, 3, compressible);
    _FM_DataBuffer src;
    QVERIFY(src.copyFromBuffer(data.constData(), size));
    src.DataSize = size;

    _FM_DataBuffer z;
    QVERIFY(z.resize(offset + 16));
    std::memset(z.Data, 0xEE, size_t(offset));
    QVERIFY(z.compressFrom(src, offset));
    QCOMPARE(z.Error, 0);
    QCOMPARE(int(z.IsCompressed), 1);
    QCOMPARE(z.UncompressedSize, size);
    QCOMPARE(z.DataOffset, offset);
    QCOMPARE(QByteArray(z.Data, offset), QByteArray(offset, char(0xEE)));
    // DataSize is the compressed length alone: zlib agrees that exactly that many bytes form the stream.
    QByteArray out(size, 0);
    uLongf outLen = uLongf(size);
    QCOMPARE(uncompress(reinterpret_cast<Bytef*>(out.data()), &outLen,
                        reinterpret_cast<const Bytef*>(z.Data + offset), uLong(z.DataSize)), Z_OK);
    QCOMPARE(out, data);

    _FM_DataBuffer d;
    QVERIFY(z.decompressTo(d));
    QCOMPARE(d.DataSize, size);
    QCOMPARE(int(d.IsCompressed), 0);
    QCOMPARE(QByteArray(d.Data, size), data);
    QByteArray direct(size, 0);
    QCOMPARE(z.decompressToB(direct.data(), size), size);
    QCOMPARE(direct, data);
}

void tst_fmDataBuffer::decompressSizes()
{
    const QByteArray data = sample(1000);
    _FM_DataBuffer z, d;
    QVERIFY(z.compressFromB(data.constData(), 1000));
    z.UncompressedSize = 1200; // stored size larger than the real data
    QVERIFY(!z.decompressTo(d));
    QCOMPARE(z.Error, int(fmDB_WrongSize));
    QCOMPARE(d.DataSize, int(fmDB_WrongSize));
    _FM_DataBuffer d2;
    z.UncompressedSize = 999; // smaller: the output block is too small
    QVERIFY(!z.decompressTo(d2));
    QCOMPARE(z.Error, int(Z_BUF_ERROR));
    QCOMPARE(d2.DataSize, int(Z_BUF_ERROR));
    // Corrupt stream.
    z.UncompressedSize = 1000;
    z.Data[z.DataSize / 2] ^= 0x55;
    z.Data[z.DataSize / 2 + 1] ^= 0x55;
    _FM_DataBuffer d3;
    QVERIFY(!z.decompressTo(d3));
    QVERIFY(z.Error == Z_DATA_ERROR || z.Error == Z_BUF_ERROR);
}

void tst_fmDataBuffer::decompressHostileFields_data()
{
    QTest::addColumn<int>("dataOffset");
    QTest::addColumn<int>("dataSize");
    QTest::addColumn<int>("uncompressedSize");
    QTest::addColumn<int>("error");
    QTest::newRow("offset negative") << -8 << 100 << 1000 << int(Z_BUF_ERROR);
    QTest::newRow("offset behind block") << 1 << 100 << 1000 << int(Z_DATA_ERROR);
    QTest::newRow("offset far behind") << 0x7FFFFFF0 << 100 << 1000 << int(Z_BUF_ERROR);
    QTest::newRow("size beyond block") << 0 << 0x7FFFFFFF << 1000 << 0;
    QTest::newRow("size negative") << 0 << -5 << 1000 << int(Z_BUF_ERROR);
    QTest::newRow("uncompressed negative") << 0 << 100 << -1 << int(fmDB_NoMemory);
    QTest::newRow("uncompressed over limit") << 0 << 100 << 0x30000001 << int(fmDB_NoMemory);
}

void tst_fmDataBuffer::decompressHostileFields()
{
    QFETCH(int, dataOffset);
    QFETCH(int, dataSize);
    QFETCH(int, uncompressedSize);
    QFETCH(int, error);
    const QByteArray data = sample(1000);
    _FM_DataBuffer z, d;
    QVERIFY(z.compressFromB(data.constData(), 1000));
    z.DataOffset = dataOffset;
    z.DataSize = dataSize;
    z.UncompressedSize = uncompressedSize;
    const bool ok = z.decompressTo(d);
    QCOMPARE(z.Error, error);
    QCOMPARE(ok, error == 0);
    if (ok) QCOMPARE(QByteArray(d.Data, d.DataSize), data);
}

void tst_fmDataBuffer::errorTexts_data()
{
    QTest::addColumn<int>("code");
    QTest::addColumn<QString>("text");
    QTest::newRow("0") << 0 << "unknown error 0.";
    QTest::newRow("-1") << -1 << "Compression Error, system error;No such file or di";
    QTest::newRow("-2") << -2 << "Compression Error, stream error";
    QTest::newRow("-3") << -3 << "Compression Error, data CRC error";
    QTest::newRow("-4") << -4 << "Compression Error, memory";
    QTest::newRow("-5") << -5 << "Compression Error, buffer";
    QTest::newRow("-6") << -6 << "Compression Error, version mismatch";
    QTest::newRow("-7") << -7 << "unknown error -7.";
    QTest::newRow("-100") << -100 << "Unable to allocate memory";
    QTest::newRow("-101") << -101 << "System error: No such file or directory";
    QTest::newRow("-102") << -102 << "Wrong File Header";
    QTest::newRow("-103") << -103 << "CRC Error, data corrupt!";
    QTest::newRow("-104") << -104 << "Unable to read data from file!";
    QTest::newRow("-105") << -105 << "Unable to write data into file";
    QTest::newRow("-106") << -106 << "Decompression error, wrong result size";
    QTest::newRow("-107") << -107 << "File does not exists";
    QTest::newRow("-1000") << -1000 << "File error: End of file reached!";
    QTest::newRow("-1001") << -1001 << "File error 1.";
    QTest::newRow("-1032") << -1032 << "File error 32.";
    QTest::newRow("1") << 1 << "unknown error 1.";
}

void tst_fmDataBuffer::errorTexts()
{
    QFETCH(int, code);
    QFETCH(QString, text);
    QCOMPARE(_FM_DataBuffer::errorString(code, ENOENT), text);
    _FM_DataBuffer b;
    b.Error = code;
    b.SysErrno = ENOENT;
    QCOMPARE(b.errorString(), text);
    if (code <= -2 && code >= -6) QCOMPARE(fmConvertZLibError(code), text);
    if (code == -7) QCOMPARE(fmConvertZLibError(code), QString("Compression Error, unknown error -7"));
}

void tst_fmDataBuffer::checkedFileRoundTrip()
{
    const QByteArray data = sample(3000);
    _FM_DataBuffer b;
    b.append(data.constData(), int(data.size()));
    b.UncompressedSize = 77;
    b.DataOffset = 5;
    QVERIFY(b.SaveToFile(path("c.fmdb"), true));
    QCOMPARE(b.CRC, fmCRCCalc(reinterpret_cast<const unsigned char*>(data.constData()), 3000));
    const QByteArray disk = readAll(tmp.filePath("c.fmdb"));
    QCOMPARE(disk.size(), 36 + 3000);
    QCOMPARE(disk.left(4), QByteArray("fmDB"));
    QCOMPARE(disk.mid(4, 32), headerOf(b));
    QCOMPARE(disk.mid(36), data);

    _FM_DataBuffer l;
    QVERIFY(l.LoadFromFile(path("c.fmdb"), true));
    QCOMPARE(l.Error, 0);
    QCOMPARE(l.DataSize, 3000);
    QCOMPARE(l.UncompressedSize, 77);
    QCOMPARE(l.DataOffset, 5);
    QCOMPARE(l.CRC, b.CRC);
    QCOMPARE(QByteArray(l.Data, 3000), data);

    QVERIFY(b.SaveToFile(path("r.raw"), false));
    QCOMPARE(readAll(tmp.filePath("r.raw")), data);
    _FM_DataBuffer r;
    QVERIFY(r.LoadFromFile(path("r.raw"), false));
    QCOMPARE(QByteArray(r.Data, r.DataSize), data);

    _FM_DataBuffer w;
    QVERIFY(!w.SaveToFile(path("no/such/dir/x"), true));
    QCOMPARE(w.Error, int(fmDB_SystemError));
    QVERIFY(w.errorString().startsWith("System error: "));
}

void tst_fmDataBuffer::checkedFileDamaged_data()
{
    QTest::addColumn<QByteArray>("file");
    QTest::addColumn<int>("error");
    QTest::addColumn<bool>("dataLoaded");
    _FM_DataBuffer b;
    b.append("payload!", 8);
    b.calcCRC();
    const QByteArray good = QByteArray("fmDB") + headerOf(b) + QByteArray("payload!");
    _FM_DataBuffer e;
    QTest::newRow("empty buffer, 36 bytes") << (QByteArray("fmDB") + headerOf(e)) << int(fmDB_CRCError) << false;
    QTest::newRow("35 bytes") << good.left(35) << int(fmDB_CRCError) << false;
    QTest::newRow("empty file") << QByteArray() << int(fmDB_CRCError) << false;
    QByteArray magic = good;
    magic[3] = 'X';
    QTest::newRow("wrong magic") << magic << int(fmDB_WrongHeader) << false;
    QByteArray flipped = good;
    flipped[40] ^= 1;
    QTest::newRow("changed data byte") << flipped << int(fmDB_CRCError) << true;
    QByteArray crc = good;
    crc[4 + 16] ^= 1;
    QTest::newRow("changed CRC") << crc << int(fmDB_CRCError) << true;
    QByteArray sizes = good;
    for (int i = 4; i < 16; ++i) sizes[4 + i] = char(0xFF); // hostile sizes in the header are ignored
    QTest::newRow("hostile header sizes") << sizes << 0 << true;
}

void tst_fmDataBuffer::checkedFileDamaged()
{
    QFETCH(QByteArray, file);
    QFETCH(int, error);
    QFETCH(bool, dataLoaded);
    writeAll(tmp.filePath("d.fmdb"), file);
    _FM_DataBuffer l;
    QCOMPARE(l.LoadFromFile(path("d.fmdb"), true), error == 0);
    QCOMPARE(l.Error, error);
    if (dataLoaded) {
        QCOMPARE(l.DataSize, int(file.size()) - 36);
        QCOMPARE(QByteArray(l.Data, l.DataSize), file.mid(36));
    }
    _FM_DataBuffer m;
    QVERIFY(!m.LoadFromFile(path("missing.fmdb"), true));
    QCOMPARE(m.Error, int(fmDB_FileMissing));
    QCOMPARE(_FM_DataBuffer::LoadFromFile(path("missing.fmdb"), true, nullptr, 0, nullptr, 0), int(fmDB_FileMissing));
}

void tst_fmDataBuffer::checkedFileTruncatedEverywhere()
{
    _FM_DataBuffer b;
    const QByteArray data = sample(300);
    b.append(data.constData(), 300);
    QVERIFY(b.SaveToFile(path("t.fmdb"), true));
    const QByteArray full = readAll(tmp.filePath("t.fmdb"));
    for (int cut = 0; cut < full.size(); ++cut) {
        writeAll(tmp.filePath("t2.fmdb"), full.left(cut));
        _FM_DataBuffer l;
        QVERIFY2(!l.LoadFromFile(path("t2.fmdb"), true), qPrintable(QString::number(cut)));
        QCOMPARE(l.Error, int(fmDB_CRCError));
        QVERIFY(l.DataSize <= qMax(0, cut - 36));
    }
    // Low level: a short read reports end of file.
    char head[32];
    char rest[400];
    QCOMPARE(_FM_DataBuffer::LoadFromFile(path("t2.fmdb"), true, head, 32, rest, 400), int(fmDB_EndOfFile));
}

void tst_fmDataBuffer::compressedFileRoundTrip()
{
    const QByteArray data = sample(3 * 1048576 + 17);
    _FM_DataBuffer b;
    b.append(data.constData(), int(data.size()));
    b.CRC = 0x12345678; // not computed by the compressed writer
    b.DataOffset = 9;
    QVERIFY(b.SaveToFileCompressed(path("z.fmzp")));
    const QByteArray disk = readAll(tmp.filePath("z.fmzp"));
    QCOMPARE(disk.left(2), QByteArray("\x1f\x8b"));

    _FM_DataBuffer all;
    QVERIFY(all.LoadFromFileCompressed(path("z.fmzp"), true));
    QCOMPARE(all.Error, 0);
    QCOMPARE(all.DataSize, int(data.size()));
    QCOMPARE(all.UncompressedSize, int(data.size()));
    QCOMPARE(all.CRC, 0x12345678u);
    QCOMPARE(all.DataOffset, 9);
    QCOMPARE(QByteArray(all.Data, all.DataSize), data);

    _FM_DataBuffer exact;
    QVERIFY(exact.newsize(int(data.size())));
    QVERIFY(exact.LoadFromFileCompressed(path("z.fmzp"), false));
    QCOMPARE(exact.DataSize, int(data.size()));
    QCOMPARE(QByteArray(exact.Data, exact.DataSize), data);

    // More data behind the block: true, but the sizes stay 0.
    _FM_DataBuffer small;
    QVERIFY(small.newsize(1000));
    QVERIFY(small.LoadFromFileCompressed(path("z.fmzp"), false));
    QCOMPARE(small.DataSize, 0);
    QCOMPARE(small.UncompressedSize, 0);
    QCOMPARE(small.Capacity, 1000);

    // A missing file is not an error and touches nothing.
    _FM_DataBuffer m;
    m.DataSize = 42;
    m.UncompressedSize = 43;
    QVERIFY(m.LoadFromFileCompressed(path("missing.fmzp"), true));
    QCOMPARE(m.DataSize, 42);
    QCOMPARE(m.UncompressedSize, 43);
}

void tst_fmDataBuffer::compressedFileDamaged_data()
{
    QTest::addColumn<QByteArray>("file");
    QTest::addColumn<int>("error");
    _FM_DataBuffer b;
    b.append("payload!", 8);
    const QByteArray content = QByteArray("fmZP") + headerOf(b) + QByteArray("payload!");
    const QByteArray gz = gzipOf(content);
    QTest::newRow("wrong magic") << gzipOf(QByteArray("fmZQ") + headerOf(b)) << int(fmDB_WrongHeader);
    QTest::newRow("not gzip, not magic") << QByteArray("just some text file") << int(fmDB_WrongHeader);
    QTest::newRow("checked file instead") << (QByteArray("fmDB") + headerOf(b)) << int(fmDB_WrongHeader);
    QTest::newRow("truncated gzip inside header") << gz.left(20) << int(Z_BUF_ERROR);
    QTest::newRow("content ends inside header") << gzipOf(content.left(20)) << int(fmDB_EndOfFile);
    QTest::newRow("empty file") << QByteArray() << int(fmDB_EndOfFile);
    QByteArray crc = gz;
    crc[crc.size() - 8] ^= 1; // gzip trailer: CRC-32 of the content
    QTest::newRow("gzip CRC mismatch") << crc << int(Z_DATA_ERROR);
    QByteArray len = gz;
    len[len.size() - 4] ^= 1; // gzip trailer: length of the content
    QTest::newRow("gzip length mismatch") << len << int(Z_DATA_ERROR);
    QByteArray garbage = gz;
    garbage[12] = char(0xFF);
    garbage[13] = char(0xFF);
    QTest::newRow("damaged deflate data") << garbage << int(Z_DATA_ERROR);
}

void tst_fmDataBuffer::compressedFileDamaged()
{
    QFETCH(QByteArray, file);
    QFETCH(int, error);
    writeAll(tmp.filePath("d.fmzp"), file);
    for (bool readAll : {true, false}) {
        _FM_DataBuffer l;
        if (!readAll) QVERIFY(l.newsize(8));
        QVERIFY(!l.LoadFromFileCompressed(path("d.fmzp"), readAll));
        QCOMPARE(l.Error, error);
    }
}

void tst_fmDataBuffer::compressedFileTruncatedEverywhere()
{
    const QByteArray data = sample(2000, 9, false);
    _FM_DataBuffer b;
    b.append(data.constData(), 2000);
    QVERIFY(b.SaveToFileCompressed(path("t.fmzp")));
    const QByteArray full = readAll(tmp.filePath("t.fmzp"));
    for (int cut = 0; cut < full.size(); ++cut) {
        writeAll(tmp.filePath("t2.fmzp"), full.left(cut));
        _FM_DataBuffer l;
        QVERIFY2(!l.LoadFromFileCompressed(path("t2.fmzp"), true), qPrintable(QString::number(cut)));
        QVERIFY(l.Error != 0);
        QVERIFY(!l.errorString().isEmpty());
        char block[2000];
        QVERIFY(_FM_DataBuffer::LoadFromFileCompressedHeader(path("t2.fmzp"), block, 2000) != 0);
    }
}

void tst_fmDataBuffer::compressedHeaderForms()
{
    const QByteArray data = sample(5000);
    QCOMPARE(_FM_DataBuffer::SaveToFileCompressedHeader(path("h.fmzp"), data.constData(), 5000), 0);
    const QByteArray content = [&] {
        _FM_DataBuffer g;
        g.LoadGzipFile(path("h.fmzp"), 4096);
        return QByteArray(g.Data, g.DataSize);
    }();
    _FM_DataBuffer want;
    want.DataSize = 5000;
    want.UncompressedSize = 5000;
    QCOMPARE(content.left(36), QByteArray("fmZP") + headerOf(want));

    QByteArray block(5001, 'Q');
    QCOMPARE(_FM_DataBuffer::LoadFromFileCompressedHeader(path("h.fmzp"), block.data(), 5000), 0);
    QCOMPARE(block.left(5000), data);
    QCOMPARE(block[5000], 'Q'); // nothing written past the caller's block
    // The stream inflates past the caller's block.
    QByteArray small(4000, 'Q');
    QCOMPARE(_FM_DataBuffer::LoadFromFileCompressedHeader(path("h.fmzp"), small.data(), 3999), int(fmDB_WrongSize));
    QCOMPARE(small[3999], 'Q');
    // Too little data for the block.
    QCOMPARE(_FM_DataBuffer::LoadFromFileCompressedHeader(path("h.fmzp"), block.data(), 5001), int(fmDB_EndOfFile));
    QCOMPARE(_FM_DataBuffer::LoadFromFileCompressedHeader(path("none.fmzp"), block.data(), 10), int(fmDB_FileMissing));
}

void tst_fmDataBuffer::gzipFiles()
{
    const QByteArray data = sample(10000, 5, false);
    QCOMPARE(_FM_DataBuffer::SaveGzipFile(path("p.gz"), data.constData(), 10000), 0);
    QCOMPARE(readAll(tmp.filePath("p.gz")).left(2), QByteArray("\x1f\x8b"));
    for (unsigned chunk : {0u, 1u, 7u, 10000u, 65536u}) {
        _FM_DataBuffer g;
        QVERIFY(g.LoadGzipFile(path("p.gz"), chunk));
        QCOMPARE(g.DataSize, 10000);
        QCOMPARE(g.UncompressedSize, 10000);
        QCOMPARE(QByteArray(g.Data, g.DataSize), data);
    }
    QByteArray block(10001, 'Q');
    int got = -1;
    QCOMPARE(_FM_DataBuffer::LoadGzipFile(path("p.gz"), block.data(), 10000, true, &got), 0);
    QCOMPARE(got, 10000);
    QCOMPARE(block.left(10000), data);
    QCOMPARE(block[10000], 'Q');
    QCOMPARE(_FM_DataBuffer::LoadGzipFile(path("p.gz"), block.data(), 9999, true), int(fmDB_WrongSize));
    QCOMPARE(_FM_DataBuffer::LoadGzipFile(path("p.gz"), block.data(), 10001, true), int(fmDB_WrongSize));
    QCOMPARE(_FM_DataBuffer::LoadGzipFile(path("p.gz"), block.data(), 10001, false, &got), 0);
    QCOMPARE(got, 10000);
    QCOMPARE(_FM_DataBuffer::LoadGzipFile(path("p.gz"), block.data(), 500, false, &got), 0);
    QCOMPARE(got, 500);

    _FM_DataBuffer m;
    QVERIFY(!m.LoadGzipFile(path("missing.gz"), 100));
    QCOMPARE(m.Error, int(fmDB_ReadError));
    QCOMPARE(_FM_DataBuffer::LoadGzipFile(path("missing.gz"), block.data(), 10, false), int(fmDB_ReadError));

    QByteArray cut = readAll(tmp.filePath("p.gz"));
    writeAll(tmp.filePath("c.gz"), cut.left(cut.size() / 2));
    _FM_DataBuffer c;
    QVERIFY(!c.LoadGzipFile(path("c.gz"), 4096));
    QCOMPARE(c.Error, int(Z_BUF_ERROR));
    QCOMPARE(_FM_DataBuffer::LoadGzipFile(path("c.gz"), block.data(), 10000, false), int(Z_BUF_ERROR));
}

void tst_fmDataBuffer::compressNFiles()
{
    const QByteArray data = sample(20000);
    QCOMPARE(_FM_DataBuffer::CompressNSaveToFile(path("n.fmdb"), data.constData(), 20000), 0);
    QByteArray out(20000, 0);
    QCOMPARE(_FM_DataBuffer::CompressNLoadFromFile(path("n.fmdb"), out.data(), 20000, true), 0);
    QCOMPARE(out, data);
    QByteArray big(30000, 0);
    QCOMPARE(_FM_DataBuffer::CompressNLoadFromFile(path("n.fmdb"), big.data(), 30000, true), int(fmDB_WrongSize));
    QCOMPARE(_FM_DataBuffer::CompressNLoadFromFile(path("n.fmdb"), big.data(), 30000, false), int(fmDB_WrongSize));
    QCOMPARE(_FM_DataBuffer::CompressNLoadFromFile(path("n.fmdb"), out.data(), 100, false), int(Z_BUF_ERROR));
    QCOMPARE(_FM_DataBuffer::CompressNLoadFromFile(path("none.fmdb"), out.data(), 100, false), int(fmDB_FileMissing));

    // A checked file with a valid CRC but a DataOffset far behind its data.
    _FM_DataBuffer l;
    QVERIFY(l.LoadFromFile(path("n.fmdb"), true));
    for (int hostile : {0x7FFFFFFF, -1, l.DataSize}) {
        l.DataOffset = hostile;
        QVERIFY(l.SaveToFile(path("h.fmdb"), true));
        QVERIFY(_FM_DataBuffer::CompressNLoadFromFile(path("h.fmdb"), out.data(), 20000, true) < 0);
    }
}

void tst_fmDataBuffer::chunkStreams()
{
    const QByteArray data = sample(300000, 11, false) + sample(300000, 12, true);
    _FM_DataBuffer z;
    z_stream s;
    QVERIFY(z.chunkzipStart(s, 1000)); // far too small: must grow on the way
    for (int pos = 0; pos < data.size(); pos += 7777) {
        const int n = qMin(7777, int(data.size()) - pos);
        const bool last = pos + n >= data.size();
        QVERIFY(z.chunkzipAdd(s, reinterpret_cast<unsigned char*>(const_cast<char*>(data.constData())) + pos, n, last));
    }
    QVERIFY(z.chunkzipFinish(s));
    QVERIFY(z.DataSize > 0 && z.DataSize <= z.Capacity);
    z.append("trailing junk", 13);

    z_stream u;
    QVERIFY(z.chunkUnzipStart(u));
    QByteArray out;
    unsigned char piece[1000];
    int rounds = 0;
    while (z.chunkUnzipGet(u, piece, int(sizeof(piece)))) {
        out.append(reinterpret_cast<char*>(piece), int(sizeof(piece)) - int(u.avail_out));
        QVERIFY(++rounds < 100000);
    }
    QVERIFY(z.chunkUnzipFinish(u));
    QCOMPARE(out, data);

    // A damaged stream stops with false and does not loop.
    z.Data[100] ^= 0x5A;
    z.Data[101] ^= 0xA5;
    QVERIFY(z.chunkUnzipStart(u));
    rounds = 0;
    while (z.chunkUnzipGet(u, piece, int(sizeof(piece)))) QVERIFY(++rounds < 100000);
}

void tst_fmDataBuffer::indexOf_data()
{
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<QByteArray>("pattern");
    QTest::addColumn<int>("from");
    QTest::addColumn<int>("expected");
    QTest::addColumn<int>("expectedIgnCase");
    QTest::newRow("first") << QByteArray("abcabcabc") << QByteArray("abc") << 0 << 0 << 0;
    QTest::newRow("from 1") << QByteArray("abcabcabc") << QByteArray("abc") << 1 << 3 << 3;
    QTest::newRow("negative from") << QByteArray("xxabc") << QByteArray("abc") << -5 << 2 << 2;
    QTest::newRow("at end") << QByteArray("xxxxabc") << QByteArray("abc") << 0 << 4 << 4;
    QTest::newRow("from at size") << QByteArray("abc") << QByteArray("c") << 3 << -1 << -1;
    QTest::newRow("too few left") << QByteArray("abcab") << QByteArray("abc") << 3 << -1 << -1;
    QTest::newRow("empty pattern") << QByteArray("abc") << QByteArray() << 0 << -1 << -1;
    QTest::newRow("case") << QByteArray("xxABCabc") << QByteArray("abc") << 0 << 5 << 2;
    QTest::newRow("case pattern upper") << QByteArray("xxabcABC") << QByteArray("ABC") << 0 << 5 << 2;
    QTest::newRow("good suffix") << QByteArray("aaabaabaaab") << QByteArray("abaab") << 0 << 2 << 2;
    QTest::newRow("periodic") << QByteArray("aaaaaaaaab") << QByteArray("aaab") << 0 << 6 << 6;
    QTest::newRow("high bytes") << QByteArray("\xff\xfe\xe4\xc4") << QByteArray("\xe4") << 0 << 2 << 2;
    QTest::newRow("whole") << QByteArray("needle") << QByteArray("needle") << 0 << 0 << 0;
    QTest::newRow("longer than text") << QByteArray("needle") << QByteArray("needles") << 0 << -1 << -1;
}

void tst_fmDataBuffer::indexOf()
{
    QFETCH(QByteArray, text);
    QFETCH(QByteArray, pattern);
    QFETCH(int, from);
    QFETCH(int, expected);
    QFETCH(int, expectedIgnCase);
    _FM_DataBuffer b;
    b.append(text.constData(), int(text.size()));
    fmString8_evenSize<250> s;
    std::memcpy(s.Data, pattern.constData(), size_t(pattern.size()));
    s.Length = uint16_t(pattern.size());
    QCOMPARE(b.indexOf(s, from), expected);
    QCOMPARE(b.indexOfIgnCase(s, from), expectedIgnCase);
}

void tst_fmDataBuffer::indexOfMatchesNaive()
{
    unsigned seed = 99;
    auto next = [&] { return seed = fmRandStep(seed); };
    for (int round = 0; round < 3000; ++round) {
        const int n = int(next() % 200);
        const int m = 1 + int(next() % 12);
        const char* alphabet = "abAB\xe4";
        QByteArray text(n, 0), pat(m, 0);
        for (char& c : text) c = alphabet[next() % 5];
        for (char& c : pat) c = alphabet[next() % 5];
        const int from = int(next() % 210) - 5;
        _FM_DataBuffer b;
        b.append(text.constData(), n);
        fmString8_evenSize<250> s(QString::fromLatin1(pat));
        const int start = qMax(0, from);
        int want = -1, wantIgn = -1;
        for (int j = start; j + m <= n && (want < 0 || wantIgn < 0); ++j) {
            if (want < 0 && std::memcmp(text.constData() + j, pat.constData(), size_t(m)) == 0) want = j;
            if (wantIgn < 0 && text.mid(j, m).toUpper() == pat.toUpper()) wantIgn = j;
        }
        QCOMPARE(b.indexOf(s, from), want);
        QCOMPARE(b.indexOfIgnCase(s, from), wantIgn);
    }
}

QTEST_APPLESS_MAIN(tst_fmDataBuffer)
#include "tst_fmdatabuffer.moc"
