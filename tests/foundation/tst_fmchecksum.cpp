#include "foundation/fmchecksum.h"
#include "foundation/fmcrypt.h"
#include "foundation/fmrandom.h"

#include <QtTest>
#include <cstring>

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

    // Scrambling that cannot be undone for some length, or that leaves the text readable.
    void scrambleRoundTrip()
    {
        for (int field : {8, 50, 51, 250}) {
            for (int n = 0; n <= field - 8; ++n) {
                char buf[300];
                std::memset(buf, 0x5A, sizeof(buf));
                QByteArray text(n, 0);
                for (int i = 0; i < n; ++i)
                    text[i] = char('a' + (i * 7 + n) % 26);
                std::memcpy(buf, text.constData(), size_t(n));
                unsigned short len = static_cast<unsigned short>(n);
                QVERIFY(fmCrypt::Rmpg4(buf, field, field, &len));
                QCOMPARE(int(len), field);
                QCOMPARE(QByteArray(buf, 4), QByteArray("fmCB"));
                if (n >= 3) QVERIFY(!QByteArray(buf, field).contains(text));
                QVERIFY(fmCrypt::DeRmpg4(buf, field, &len));
                QCOMPARE(int(len), n);
                QCOMPARE(QByteArray(buf, n + 1), text + '\0');
            }
        }
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

    // Rmpg4 changing a buffer it refuses; DeRmpg4 touching plain text or reading out of bounds.
    void scrambleRefusalsAndDamage()
    {
        char buf[64];
        std::memset(buf, 'x', sizeof(buf));
        unsigned short len = 43; // over 50 - 8
        QVERIFY(!fmCrypt::Rmpg4(buf, 64, 50, &len));
        QCOMPARE(QByteArray(buf, 64), QByteArray(64, 'x'));
        char plain[20] = "hunter2";
        QVERIFY(fmCrypt::DeRmpg4(plain, 20, nullptr));
        QCOMPARE(QByteArray(plain), QByteArray("hunter2"));
        QVERIFY(fmCrypt::DeRmpg4(nullptr, 20, nullptr));

        char orig[50] = "password";
        len = 8;
        QVERIFY(fmCrypt::Rmpg4(orig, 50, 50, &len));
        for (int i = 4; i < 50; ++i)
            for (int v : {0x00, 0xFF, 0x80}) {
                char d[50];
                std::memcpy(d, orig, 50);
                d[i] = char(v);
                unsigned short l = 50;
                if (fmCrypt::DeRmpg4(d, 50, &l)) QVERIFY(l < 50);
            }
        unsigned short big = 300;
        QVERIFY(!fmCrypt::DeRmpg4(orig, 50, &big));
    }
};

QTEST_APPLESS_MAIN(tst_fmChecksum)
#include "tst_fmchecksum.moc"
