#include "foundation/fmchecksum.h"
#include "foundation/fmcrypt.h"
#include "foundation/fmrandom.h"

#include <QtTest>
#include <cstring>

class tst_fmChecksum : public QObject
{
    Q_OBJECT
private slots:
    // A wrong polynomial, reflection, initial value or complement in any of the CRCs.
    void checkValues_data();
    void checkValues();
    // The sliced fast path of CRC-32 disagreeing with the plain bytewise definition at any length/alignment.
    void crc32MatchesBitwise();
    // fmCRCPartial applying the initial value or complement itself, so split runs differ from one run.
    void crc32Partial();
    // fmCRCCalc8 with everySecond reading odd indices or the wrong count.
    void crc8();
    // A generator that drifts from the minimal standard sequence (overflow, wrong Schrage constants).
    void generatorSequence();
    // fmRand scaling or fmRandCalc weighting the bytes wrongly.
    void randAndCalc();
    // fmRandString picking from the wrong alphabet or with a Length other than 10.
    void randString_data();
    void randString();
    // Scrambling that cannot be undone for some length, or that leaks the length.
    void scrambleRoundTrip();
    // Rmpg4 changing the buffer when it refuses a text; DeRmpg4 touching plain text.
    void scrambleRefusals();
    // DeRmpg4 reading or writing out of bounds on damaged scrambled text.
    void scrambleDamaged();
};

static const unsigned char* u(const char* s)
{
    return reinterpret_cast<const unsigned char*>(s);
}

void tst_fmChecksum::checkValues_data()
{
    QTest::addColumn<QString>("algo");
    QTest::addColumn<QByteArray>("input");
    QTest::addColumn<quint64>("expected");
    QTest::newRow("crc32 check") << "32" << QByteArray("123456789") << quint64(0xCBF43926u);
    QTest::newRow("crc32 empty") << "32" << QByteArray() << quint64(0);
    QTest::newRow("crc32 a") << "32" << QByteArray("a") << quint64(0xE8B7BE43u);
    QTest::newRow("crc32 fox") << "32" << QByteArray("The quick brown fox jumps over the lazy dog") << quint64(0x414FA339u);
    QTest::newRow("crc64 check") << "64" << QByteArray("123456789") << quint64(0xE9C6D914C4B8D9CAull);
    QTest::newRow("crc64 empty") << "64" << QByteArray() << quint64(0);
    QTest::newRow("crc16 check") << "16" << QByteArray("123456789") << quint64(0x31C3);
    QTest::newRow("crc16 empty") << "16" << QByteArray() << quint64(0);
    QTest::newRow("xor check") << "8" << QByteArray("123456789") << quint64(0x31);
}

void tst_fmChecksum::checkValues()
{
    QFETCH(QString, algo);
    QFETCH(QByteArray, input);
    QFETCH(quint64, expected);
    const unsigned char* p = u(input.constData());
    const unsigned n = unsigned(input.size());
    quint64 got = 0;
    if (algo == "32") got = fmCRCCalc(p, n);
    else if (algo == "64") got = fmCRCCalc64(p, n);
    else if (algo == "16") got = fmCRCCalc16(p, n);
    else got = fmCRCCalc8(p, n, false);
    QCOMPARE(got, expected);
}

void tst_fmChecksum::crc32MatchesBitwise()
{
    QByteArray data(300, 0);
    unsigned seed = 7;
    for (char& c : data) c = char((seed = fmRandStep(seed)) & 0xFF);
    for (int start = 0; start < 9; ++start)
        for (int len = 0; len < 280; len += 7) {
            uint32_t c = 0xFFFFFFFFu;
            for (int i = 0; i < len; ++i) {
                c ^= uint8_t(data[start + i]);
                for (int k = 0; k < 8; ++k) c = (c & 1) ? (c >> 1) ^ 0xEDB88320u : c >> 1;
            }
            const unsigned want = len ? ~c : 0;
            QCOMPARE(fmCRCCalc(u(data.constData() + start), unsigned(len)), want);
        }
}

void tst_fmChecksum::crc32Partial()
{
    const char* s = "123456789";
    unsigned c = 0xFFFFFFFFu;
    fmCRCPartial(&c, u(s), 4);
    fmCRCPartial(&c, u(s + 4), 5);
    QCOMPARE(~c, 0xCBF43926u);
    unsigned z = 0;
    fmCRCPartial(&z, u(s), 0);
    QCOMPARE(z, 0u);
}

void tst_fmChecksum::crc8()
{
    const unsigned char b[] = {0x01, 0xFF, 0x02, 0xFF, 0x04, 0xFF, 0x08};
    QCOMPARE(int(fmCRCCalc8(b, 4, true)), 0x0F);
    QCOMPARE(int(fmCRCCalc8(b, 3, false)), 0x01 ^ 0xFF ^ 0x02);
    QCOMPARE(int(fmCRCCalc8(b, 0, true)), 0);
}

void tst_fmChecksum::generatorSequence()
{
    QCOMPARE(fmRandStep(1), 16807u);
    QCOMPARE(fmRandStep(16807), 282475249u);
    unsigned x = 1;
    for (int i = 0; i < 10000; ++i) x = fmRandStep(x);
    QCOMPARE(x, 1043618065u);
    // 0 is not in the sequence; the step maps it into range instead of sticking at 0.
    QCOMPARE(fmRandStep(0), 0x7FFFFFFFu);
    QCOMPARE(fmRandStep(0x7FFFFFFE), 2147466840u);
}

void tst_fmChecksum::randAndCalc()
{
    unsigned seed = 1;
    const float f = fmRand(seed);
    QCOMPARE(seed, 16807u);
    QCOMPARE(f, float(16807.0 / 2147483648.0));
    // s = 0*'a' + 1*'b' + 2*'c' = 98 + 198 = 296.
    QCOMPARE(fmRandCalc(u("abc"), 3), fmRandStep(fmRandStep(296)));
    QCOMPARE(fmRandCalc(u("abc"), 0), fmRandStep(fmRandStep(0)));
}

void tst_fmChecksum::randString_data()
{
    QTest::addColumn<int>("mode");
    QTest::newRow("bytes") << 0;
    QTest::newRow("letters") << 1;
    QTest::newRow("digits") << 2;
}

void tst_fmChecksum::randString()
{
    QFETCH(int, mode);
    const fmString8_evenSize<10> s = fmRandString(1234, mode);
    QCOMPARE(int(s.Length), 10);
    unsigned x = 1234;
    for (int i = 0; i < 10; ++i) {
        x = fmRandStep(x);
        const char want = mode == 2 ? fmNumbers[x % 10] : mode == 1 ? fmLetters[x % 68] : char(x & 0xFF);
        QCOMPARE(s.Data[i], want);
    }
    QCOMPARE(int(std::strlen(fmLetters)), 68);
}

void tst_fmChecksum::scrambleRoundTrip()
{
    for (int field : {8, 50, 51, 250}) {
        for (int n = 0; n <= field - 8; ++n) {
            char buf[300];
            std::memset(buf, 0x5A, sizeof(buf));
            QByteArray text(n, 0);
            for (int i = 0; i < n; ++i) text[i] = char('a' + (i * 7 + n) % 26);
            std::memcpy(buf, text.constData(), size_t(n));
            buf[n] = 0;
            unsigned short len = static_cast<unsigned short>(n);
            QVERIFY(fmCrypt::Rmpg4(buf, field, field, &len));
            QCOMPARE(int(len), field);
            QCOMPARE(QByteArray(buf, 4), QByteArray("fmCB"));
            if (n >= 3) QVERIFY(!QByteArray(buf, field).contains(text)); // the text is not readable
            QVERIFY(fmCrypt::DeRmpg4(buf, field, &len));
            QCOMPARE(int(len), n);
            QCOMPARE(QByteArray(buf, n), text);
            QCOMPARE(buf[n], '\0');
        }
    }
    // Without a length: strlen of the plain text on the way in.
    char pw[50] = "secret";
    unsigned short len = 0;
    QVERIFY(fmCrypt::Rmpg4(pw, 50, 50, nullptr));
    len = 50;
    QVERIFY(fmCrypt::DeRmpg4(pw, 50, &len));
    QCOMPARE(QByteArray(pw), QByteArray("secret"));
}

void tst_fmChecksum::scrambleRefusals()
{
    char buf[64];
    std::memset(buf, 'x', sizeof(buf));
    const QByteArray before(buf, sizeof(buf));
    unsigned short len = 43; // over 50 - 8
    QVERIFY(!fmCrypt::Rmpg4(buf, 64, 50, &len));
    QCOMPARE(QByteArray(buf, sizeof(buf)), before);
    len = 57; // m = min(64, 300) = 64, 57 > 56
    QVERIFY(!fmCrypt::Rmpg4(buf, 64, 300, &len));
    QCOMPARE(QByteArray(buf, sizeof(buf)), before);

    char plain[20] = "hunter2";
    QVERIFY(fmCrypt::DeRmpg4(plain, 20, nullptr));
    QCOMPARE(QByteArray(plain), QByteArray("hunter2"));
    QVERIFY(fmCrypt::DeRmpg4(nullptr, 20, nullptr));
    char tiny[3] = {'f', 'm', 'C'};
    QVERIFY(fmCrypt::DeRmpg4(tiny, 3, nullptr));
}

void tst_fmChecksum::scrambleDamaged()
{
    // Every byte of a scrambled field flipped in turn: either refused or restored to some text
    // that fits; never out of bounds (checked by the sanitizers).
    char orig[50] = "password";
    unsigned short len = 8;
    QVERIFY(fmCrypt::Rmpg4(orig, 50, 50, &len));
    for (int i = 4; i < 50; ++i) {
        for (int v : {0x00, 0xFF, 0x80}) {
            char buf[50];
            std::memcpy(buf, orig, 50);
            buf[i] = char(v);
            unsigned short l = 50;
            if (fmCrypt::DeRmpg4(buf, 50, &l)) QVERIFY(l < 50);
        }
    }
    unsigned short big = 300;
    char buf[50];
    std::memcpy(buf, orig, 50);
    QVERIFY(!fmCrypt::DeRmpg4(buf, 50, &big));
}

QTEST_APPLESS_MAIN(tst_fmChecksum)
#include "tst_fmchecksum.moc"
