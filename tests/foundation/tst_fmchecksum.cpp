#include "foundation/fmchecksum.h"
#include "foundation/fmcrypt.h"

#include <QtTest>

static const unsigned char* u(const char* s)
{
    return reinterpret_cast<const unsigned char*>(s);
}

class tst_fmChecksum : public QObject
{
    Q_OBJECT
private slots:
    // A wrong polynomial, reflection, initial value or complement in any of the checksums.
    void checkValues_data()
    {
        QTest::addColumn<QString>("algo");
        QTest::addColumn<QByteArray>("input");
        QTest::addColumn<quint64>("expected");
        QTest::newRow("crc32 check") << "32" << QByteArray("123456789") << quint64(0xCBF43926u);
        QTest::newRow("crc32 empty") << "32" << QByteArray() << quint64(0);
        QTest::newRow("crc32 fox") << "32" << QByteArray("The quick brown fox jumps over the lazy dog")
                                   << quint64(0x414FA339u);
        QTest::newRow("crc64 check") << "64" << QByteArray("123456789") << quint64(0xE9C6D914C4B8D9CAull);
        QTest::newRow("crc64 empty") << "64" << QByteArray() << quint64(0);
    }
    void checkValues()
    {
        QFETCH(QString, algo);
        QFETCH(QByteArray, input);
        QFETCH(quint64, expected);
        const unsigned char* p = u(input.constData());
        const unsigned n = unsigned(input.size());
        const quint64 got = algo == "32" ? quint64(fmCRCCalc(p, n)) : fmCRCCalc64(p, n);
        QCOMPARE(got, expected);
    }

    // Filler that stops at the scrambled length (byte 360 of a user record): fixed expected bytes.
    void scrambleGoldenBytes()
    {
        const QByteArray expected = QByteArray::fromHex("666d4342555547506759564d2f69255375352951393173614049"
                                                        "236f7943334b6b5134634043712f6b57456d5f41374f7765") +
                                    "5Muc1Iq)WEm_SA";
        for (int bufSize : {51, 64}) {
            char buf[64] = "secret";
            unsigned short len = 6;
            QVERIFY(fmCrypt::Rmpg4(buf, bufSize, 50, &len));
            QCOMPARE(QByteArray(buf, bufSize), expected.left(bufSize));
        }
    }
};

QTEST_APPLESS_MAIN(tst_fmChecksum)
#include "tst_fmchecksum.moc"
