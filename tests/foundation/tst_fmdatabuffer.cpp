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

void writeAll(const QString& p, const QByteArray& b)
{
    QFile f(p);
    if (f.open(QIODevice::WriteOnly | QIODevice::Truncate)) f.write(b);
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
    QByteArray gzipOf(const QByteArray& content)
    {
        _FM_DataBuffer::SaveGzipFile(path("g.gz"), content.constData(), int(content.size()));
        return fmTestReadAll(tmp.filePath("g.gz"));
    }

private slots:
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

    // resize losing content or shrinking, newsize keeping stale bytes, limits not enforced, append
    // misplacing.
    void blockHandling()
    {
        _FM_DataBuffer b;
        b.append("hello", 5);
        b.append(" world", 6);
        b.append("x", -4);
        QCOMPARE(b.DataSize, 11);
        QCOMPARE(b.Capacity, 11);
        QCOMPARE(QByteArray(b.Data, 12), QByteArray("hello world", 12));
        QVERIFY(b.resize(5));
        QCOMPARE(b.Capacity, 11); // never shrinks
        QVERIFY(b.resize(4000));
        QCOMPARE(QByteArray(b.Data, 11), QByteArray("hello world"));
        QVERIFY(b.newsize(8000));
        QCOMPARE(QByteArray(b.Data, 11), QByteArray(11, 0));
        char* before = b.Data;
        QVERIFY(!b.resize(-1));
        QCOMPARE(b.Error, int(fmDB_NoMemory));
        QVERIFY(!b.resize(2 * 1048576 + 1, 2));
        QVERIFY(!b.newsize(_FM_DataBuffer::kMaxSize + 1, 4096));
        QCOMPARE(b.Data, before); // a refused size keeps the block
        QCOMPARE(b.Capacity, 8000);
    }

    // Round trip losing bytes, the offset bytes overwritten or counted in DataSize.
    void compressRoundTrip_data()
    {
        QTest::addColumn<int>("size");
        QTest::addColumn<int>("offset");
        QTest::addColumn<bool>("compressible");
        QTest::newRow("1 byte") << 1 << 0 << true;
        QTest::newRow("text offset 8") << 5000 << 8 << true;
        QTest::newRow("noise 1MB offset 64") << 1048576 << 64 << false;
    }
    void compressRoundTrip()
    {
        QFETCH(int, size);
        QFETCH(int, offset);
        QFETCH(bool, compressible);
        const QByteArray data = sample(size, 3, compressible);
        _FM_DataBuffer src, z, d;
        src.append(data.constData(), size);
        QVERIFY(z.resize(offset + 16));
        std::memset(z.Data, 0xEE, size_t(offset));
        QVERIFY(z.compressFrom(src, offset));
        QCOMPARE(int(z.IsCompressed), 1);
        QCOMPARE(z.UncompressedSize, size);
        QCOMPARE(z.DataOffset, offset);
        QCOMPARE(QByteArray(z.Data, offset), QByteArray(offset, char(0xEE)));
        // zlib agrees that exactly DataSize bytes behind the offset form the stream.
        QByteArray out(size, 0);
        uLongf outLen = uLongf(size);
        QCOMPARE(uncompress(reinterpret_cast<Bytef*>(out.data()), &outLen,
                            reinterpret_cast<const Bytef*>(z.Data + offset), uLong(z.DataSize)),
                 Z_OK);
        QCOMPARE(out, data);
        // A given offset is kept as the stored one.
        z.DataOffset = 0;
        QVERIFY(z.decompressTo(d, &offset));
        QCOMPARE(z.DataOffset, offset);
        QCOMPARE(int(d.IsCompressed), 0);
        QCOMPARE(QByteArray(d.Data, d.DataSize), data);
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

    // A wrong or missing error text.
    void errorTexts_data()
    {
        QTest::addColumn<int>("code");
        QTest::addColumn<QString>("text");
        QTest::newRow("-1") << -1 << "Compression Error, system error;No such file or di";
        QTest::newRow("-7") << -7 << "unknown error -7.";
        QTest::newRow("-1000") << -1000 << "File error: End of file reached!";
        QTest::newRow("-1032") << -1032 << "File error 32.";
    }
    void errorTexts()
    {
        QFETCH(int, code);
        QFETCH(QString, text);
        _FM_DataBuffer b;
        b.Error = code;
        b.SysErrno = ENOENT;
        QCOMPARE(b.errorString(), text);
        if (code <= -2 && code >= -6) QCOMPARE(fmConvertZLibError(code), text);
        QCOMPARE(fmConvertZLibError(-7), QString("Compression Error, unknown error -7"));
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
        writeAll(tmp.filePath("d.fmdb"), file);
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
            writeAll(tmp.filePath("t2.fmdb"), full.left(cut));
            _FM_DataBuffer l;
            QVERIFY(!l.LoadFromFile(path("t2.fmdb"), true));
            QCOMPARE(l.Error, int(fmDB_CRCError));
        }
        char head[32], rest[400];
        QCOMPARE(_FM_DataBuffer::LoadFromFile(path("t2.fmdb"), true, head, 32, rest, 400),
                 int(fmDB_EndOfFile));
    }

    // Compressed container that doesn't round-trip, reads past a fixed block, or has its magic outside gzip.
    void compressedFileRoundTrip()
    {
        const QByteArray data = sample(3 * 1048576 + 17);
        _FM_DataBuffer b, all, exact, small, m;
        b.append(data.constData(), int(data.size()));
        b.CRC = 0x12345678; // carried, not computed
        QVERIFY(b.SaveToFileCompressed(path("z.fmzp")));
        QCOMPARE(fmTestReadAll(tmp.filePath("z.fmzp")).left(2), QByteArray("\x1f\x8b"));
        QVERIFY(all.LoadFromFileCompressed(path("z.fmzp"), true));
        QCOMPARE(all.CRC, 0x12345678u);
        QCOMPARE(all.UncompressedSize, int(data.size()));
        QCOMPARE(QByteArray(all.Data, all.DataSize), data);
        QVERIFY(exact.newsize(int(data.size())));
        QVERIFY(exact.LoadFromFileCompressed(path("z.fmzp"), false));
        QCOMPARE(QByteArray(exact.Data, exact.DataSize), data);
        // More data behind a fixed block: true, but the sizes stay 0.
        QVERIFY(small.newsize(1000));
        QVERIFY(small.LoadFromFileCompressed(path("z.fmzp"), false));
        QCOMPARE(small.DataSize, 0);
        QCOMPARE(small.Capacity, 1000);
        // A missing file is not an error and touches nothing.
        m.DataSize = 42;
        QVERIFY(m.LoadFromFileCompressed(path("missing.fmzp"), true));
        QCOMPARE(m.DataSize, 42);
    }

    // Damaged compressed containers accepted or given the wrong code.
    void compressedFileDamaged_data()
    {
        QTest::addColumn<QByteArray>("file");
        QTest::addColumn<int>("error");
        _FM_DataBuffer b;
        b.append("payload!", 8);
        const QByteArray content = QByteArray("fmZP") + headerOf(b) + QByteArray("payload!");
        const QByteArray gz = gzipOf(content);
        const int n = int(gz.size());
        QTest::newRow("wrong magic") << gzipOf(QByteArray("fmZQ") + headerOf(b)) << int(fmDB_WrongHeader);
        QTest::newRow("checked file instead") << (QByteArray("fmDB") + headerOf(b)) << int(fmDB_WrongHeader);
        QTest::newRow("gzip cut inside header") << gz.left(20) << int(Z_BUF_ERROR);
        QTest::newRow("content ends inside header")
            << gzipOf(content.left(20)) << int(Z_OK); // gzerror's word
        QTest::newRow("gzip CRC mismatch")
            << QByteArray(gz).replace(n - 8, 1, "\x00\x01", 1) << int(Z_DATA_ERROR);
        QTest::newRow("gzip length mismatch")
            << QByteArray(gz).replace(n - 3, 1, "\x7f", 1) << int(Z_DATA_ERROR);
        QTest::newRow("damaged deflate data")
            << QByteArray(gz).replace(12, 2, "\xff\xff") << int(Z_DATA_ERROR);
    }
    void compressedFileDamaged()
    {
        QFETCH(QByteArray, file);
        QFETCH(int, error);
        writeAll(tmp.filePath("d.fmzp"), file);
        for (bool all : {true, false}) {
            _FM_DataBuffer l;
            if (!all) QVERIFY(l.newsize(8));
            QVERIFY(!l.LoadFromFileCompressed(path("d.fmzp"), all));
            QCOMPARE(l.Error, error);
        }
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
            writeAll(tmp.filePath("t2.fmzp"), full.left(cut));
            _FM_DataBuffer l;
            QVERIFY(!l.LoadFromFileCompressed(path("t2.fmzp"), true));
            QVERIFY(_FM_DataBuffer::LoadFromFileCompressedHeader(path("t2.fmzp"), block, 2000) != 0);
        }
    }

    // The caller's-block and gzip forms writing past the block or accepting a wrong size.
    void callerBlockForms()
    {
        const QByteArray data = sample(5000);
        QCOMPARE(_FM_DataBuffer::SaveToFileCompressedHeader(path("h.fmzp"), data.constData(), 5000), 0);
        QByteArray block(5001, 'Q');
        QCOMPARE(_FM_DataBuffer::LoadFromFileCompressedHeader(path("h.fmzp"), block.data(), 5000), 0);
        QCOMPARE(block, data + 'Q');
        QCOMPARE(_FM_DataBuffer::LoadFromFileCompressedHeader(path("h.fmzp"), block.data(), 3999),
                 int(fmDB_WrongSize));
        QCOMPARE(block[3999], data[3999]); // nothing written behind the 3999 bytes
        QCOMPARE(_FM_DataBuffer::LoadFromFileCompressedHeader(path("h.fmzp"), block.data(), 5001),
                 int(fmDB_EndOfFile));
        QCOMPARE(_FM_DataBuffer::LoadFromFileCompressedHeader(path("no.fmzp"), block.data(), 9),
                 int(fmDB_FileMissing));

        QCOMPARE(_FM_DataBuffer::SaveGzipFile(path("p.gz"), data.constData(), 5000), 0);
        for (unsigned chunk : {0u, 7u, 65536u}) {
            _FM_DataBuffer g;
            QVERIFY(g.LoadGzipFile(path("p.gz"), chunk));
            QCOMPARE(QByteArray(g.Data, g.DataSize), data);
        }
        int got = -1;
        block.fill('Q');
        QCOMPARE(_FM_DataBuffer::LoadGzipFile(path("p.gz"), block.data(), 5000, true, &got), 0);
        QCOMPARE(block, data + 'Q');
        QCOMPARE(_FM_DataBuffer::LoadGzipFile(path("p.gz"), block.data(), 4999, true), int(fmDB_WrongSize));
        QCOMPARE(_FM_DataBuffer::LoadGzipFile(path("p.gz"), block.data(), 5001, true), int(fmDB_WrongSize));
        QCOMPARE(_FM_DataBuffer::LoadGzipFile(path("p.gz"), block.data(), 5001, false, &got), 0);
        QCOMPARE(got, 5000);
        QCOMPARE(_FM_DataBuffer::LoadGzipFile(path("no.gz"), block.data(), 10, false), int(fmDB_ReadError));
        const QByteArray gz = fmTestReadAll(tmp.filePath("p.gz"));
        writeAll(tmp.filePath("c.gz"), gz.left(gz.size() / 2));
        _FM_DataBuffer c;
        QVERIFY(!c.LoadGzipFile(path("c.gz"), 4096));
        QCOMPARE(c.Error, int(Z_BUF_ERROR));
    }

    // Boyer-Moore shifts that skip an occurrence or read past the data.
    void indexOf_data()
    {
        QTest::addColumn<QByteArray>("text");
        QTest::addColumn<QByteArray>("pattern");
        QTest::addColumn<int>("from");
        QTest::addColumn<int>("expected");
        QTest::addColumn<int>("expectedIgnCase");
        QTest::newRow("negative from") << QByteArray("xxabc") << QByteArray("abc") << -5 << 2 << 2;
        QTest::newRow("from at size") << QByteArray("abc") << QByteArray("c") << 3 << -1 << -1;
        QTest::newRow("empty pattern") << QByteArray("abc") << QByteArray() << 0 << -1 << -1;
        QTest::newRow("case") << QByteArray("xxABCabc") << QByteArray("abc") << 0 << 5 << 2;
    }
    void indexOf()
    {
        QFETCH(QByteArray, text);
        QFETCH(QByteArray, pattern);
        QFETCH(int, from);
        QFETCH(int, expected);
        QFETCH(int, expectedIgnCase);
        _FM_DataBuffer b;
        b.append(text.constData(), int(text.size()));
        const fmString8_evenSize<250> s(QString::fromLatin1(pattern));
        QCOMPARE(b.indexOf(s, from), expected);
        QCOMPARE(b.indexOfIgnCase(s, from), expectedIgnCase);
    }

    // Any difference to a naive search over random texts and patterns, in both case modes.
    void indexOfMatchesNaive()
    {
        unsigned seed = 99;
        auto next = [&] { return seed = fmRandStep(seed); };
        for (int round = 0; round < 3000; ++round) {
            QByteArray text(int(next() % 200), 0), pat(1 + int(next() % 12), 0);
            for (char& c : text)
                c = "abAB\xe4"[next() % 5];
            for (char& c : pat)
                c = "abAB\xe4"[next() % 5];
            const int from = int(next() % 210) - 5;
            _FM_DataBuffer b;
            b.append(text.constData(), int(text.size()));
            int want = -1, wantIgn = -1;
            for (int j = qMax(0, from); j + pat.size() <= text.size(); ++j) {
                if (want < 0 && text.mid(j, pat.size()) == pat) want = j;
                if (wantIgn < 0 && text.mid(j, pat.size()).toUpper() == pat.toUpper()) wantIgn = j;
            }
            const fmString8_evenSize<250> s(QString::fromLatin1(pat));
            QCOMPARE(b.indexOf(s, from), want);
            QCOMPARE(b.indexOfIgnCase(s, from), wantIgn);
        }
    }

    void initTestCase() { QVERIFY(tmp.isValid()); }
};

QTEST_APPLESS_MAIN(tst_fmDataBuffer)
#include "tst_fmdatabuffer.moc"
