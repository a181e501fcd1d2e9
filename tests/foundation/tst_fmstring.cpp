#include "foundation/fmstring.h"

#include <QtTest>

using namespace Qt::StringLiterals;

namespace {
template <class T> QByteArray bytesOf(const T& v)
{
    return QByteArray(reinterpret_cast<const char*>(&v), int(sizeof(v)));
}
uint16_t le16(const QByteArray& b, int at)
{
    return uint16_t(uint8_t(b[at]) | (uint8_t(b[at + 1]) << 8));
}
} // namespace

class tst_fmString : public QObject
{
    Q_OBJECT

private slots:
    // Catches a Length written at the wrong byte or a terminator missing behind cut text.
    void layoutBytes()
    {
        fmString<25> a;
        a = QString(30, QLatin1Char('x'));
        QByteArray b = bytesOf(a);
        QCOMPARE(le16(b, 52), uint16_t(25));
        QCOMPARE(le16(b, 50), uint16_t(0)); // terminator behind unit 24

        fmString<250> w(QString::fromUtf16(u"\u00e4\u4e2d"));
        b = bytesOf(w);
        QCOMPARE(le16(b, 502), uint16_t(2));
        QCOMPARE(le16(b, 0), uint16_t(0xE4));
        QCOMPARE(le16(b, 2), uint16_t(0x4E2D));

        fmString8_evenSize<100> e("hello");
        b = bytesOf(e);
        QCOMPARE(le16(b, 102), uint16_t(5));
        QCOMPARE(b.left(6), QByteArray("hello\0", 6));

        fmString8_UnevenSize<75> u(QString::fromLatin1("\xe9t\xe9"));
        b = bytesOf(u);
        QCOMPARE(le16(b, 76), uint16_t(3));
        QCOMPARE(b.left(3), QByteArray("\xe9t\xe9"));
    }

    // Catches cut rules that ignore the capacity, the 16-bit mask or the Latin-1 conversion.
    void assignmentCuts_data()
    {
        QTest::addColumn<QString>("in");
        QTest::addColumn<int>("len16");
        QTest::addColumn<QString>("as8");

        QTest::newRow("empty") << QString() << 0 << QString();
        QTest::newRow("at capacity") << QString(25, QLatin1Char('z')) << 25 << QString(25, QLatin1Char('z'));
        QTest::newRow("cut") << QString(30, QLatin1Char('z')) << 25 << QString(25, QLatin1Char('z'));
        QTest::newRow("16-bit mask") << QString(65546, QLatin1Char('q')) << 10
                                     << QString(10, QLatin1Char('q'));
        QTest::newRow("beyond Latin-1") << QString::fromUtf16(u"a\u4e2db") << 3 << u"a?b"_s;
    }
    void assignmentCuts()
    {
        QFETCH(QString, in);
        QFETCH(int, len16);
        QFETCH(QString, as8);
        const fmString<25> s(in);
        QCOMPARE(s.len(), len16);
        QCOMPARE(s.Data[len16], uint16_t(0));
        QCOMPARE(s.toQString(), in.left(len16));
        const fmString8_UnevenSize<25> e(in);
        QCOMPARE(e.len(), len16);
        QCOMPARE(e.Data[len16], char(0));
        QCOMPARE(e.toQString(), as8);
        fmString<25> c("x");
        c = static_cast<const char*>(nullptr);
        QVERIFY(c.isEmpty());
    }

    // Catches reads and compares that trust a Length read from a damaged file. (Of the editing and
    // search operations the programs use compare only.)
    void hostileLength()
    {
        fmString<25> a("abc");
        fmString8_evenSize<30> b("abc");
        std::fill(std::begin(a.Data), std::end(a.Data), uint16_t('A')); // no terminator at all
        std::memset(b.Data, 'B', sizeof(b.Data));
        a.Length = 0xFFFF;
        b.Length = 0x8000;
        QCOMPARE(a.len(), 25);
        QCOMPARE(a.toQString(), QString(25, QLatin1Char('A')));
        QCOMPARE(b.toQString().size(), 30);
        QCOMPARE(a.compare(fmString<25>(QString(25, QLatin1Char('a')))), 0);

        // Random bytes as a damaged file would hold them; run under ASan, any stray read shows.
        QRandomGenerator rng(4711);
        for (int round = 0; round < 300; ++round) {
            fmString<10> x, y;
            fmString8_UnevenSize<25> p, q;
            QByteArray r(int(sizeof(x) + sizeof(y) + sizeof(p) + sizeof(q)), Qt::Uninitialized);
            for (char& c : r)
                c = char(rng.bounded(256));
            if (round % 3 == 0) r.fill('a', int(sizeof(x) + sizeof(y))); // equal texts, long Lengths
            std::memcpy(static_cast<void*>(&x), r.constData(), sizeof(x));
            std::memcpy(static_cast<void*>(&y), r.constData() + sizeof(x), sizeof(y));
            std::memcpy(static_cast<void*>(&p), r.constData() + 2 * sizeof(x), sizeof(p));
            std::memcpy(static_cast<void*>(&q), r.constData() + 2 * sizeof(x) + sizeof(p), sizeof(q));
            x.compare(y);
            p.compare(q);
            QVERIFY(x.len() <= 10 && x.toQString().size() == x.len() && p.toQString().size() == p.len());
        }
    }

    // Catches case-sensitive comparison, wrong length ordering, or unit order that is not memcmp's.
    void compare_data()
    {
        QTest::addColumn<QString>("a");
        QTest::addColumn<QString>("b");
        QTest::addColumn<int>("sign");

        QTest::newRow("shorter") << u"abc"_s << u"ABCD"_s << -1;
        QTest::newRow("case") << u"ABC"_s << u"abc"_s << 0;
        QTest::newRow("text decides before length") << u"b"_s << u"Aaaa"_s << 1;
        // memcmp on little-endian units: the low byte decides first, so U+0100 sorts before U+00FF.
        QTest::newRow("unit byte order") << QString(QChar(0x0100)) << QString(QChar(0x00FF)) << -1;
    }
    void compare()
    {
        QFETCH(QString, a);
        QFETCH(QString, b);
        QFETCH(int, sign);
        const auto sgn = [](int v) { return (v > 0) - (v < 0); };
        QCOMPARE(sgn(fmString<50>(a).compare(fmString<50>(b))), sign);
        QCOMPARE(sgn(fmString<50>(b).compare(fmString<50>(a))), -sign);
        const auto latin1 = [](const QString& s) {
            return std::all_of(s.begin(), s.end(), [](QChar c) { return c.unicode() < 256; });
        };
        if (latin1(a) && latin1(b))
            QCOMPARE(sgn(fmString8_evenSize<50>(a).compare(fmString8_evenSize<50>(b))), sign);
    }

    // Catches an assignment between capacities that does not cut at the smaller one, or goes through
    // QString (a "?" for Latin-1).
    void crossCapacity()
    {
        const fmString<250> longName(QString::fromUtf16(u"\u4e2d") + QString(300, QLatin1Char('n')));
        const fmString<10> shortName = longName;
        QCOMPARE(shortName.len(), 10);
        QCOMPARE(shortName.Data[0], uint16_t(0x4E2D));
        fmString8_UnevenSize<25> odd;
        odd = fmString8_evenSize<500>(QString::fromLatin1("\xe9") + QString(40, QLatin1Char('x')));
        QCOMPARE(odd.len(), 25);
        QCOMPARE(odd.toQString().at(0), QChar(0xE9));
    }

    // Catches zero padding in the wrong place and a wrong rounding step in float2Str.
    void float2Str_data()
    {
        QTest::addColumn<float>("v");
        QTest::addColumn<int>("decimals");
        QTest::addColumn<QString>("result");

        QTest::newRow("rounded") << 3.14159f << 3 << "3.142";
        QTest::newRow("zeros in front") << 2.05f << 2 << "2.05";
        QTest::newRow("no carry") << 1.999f << 2 << "1.100";
        QTest::newRow("negative small") << -0.5f << 2 << "0.-50";
        QTest::newRow("negative") << -1.25f << 2 << "-1.-25";
        QTest::newRow("no decimals") << 7.0f << 0 << "7.0";
        QTest::newRow("huge") << 3e12f << 2 << "2147483520.00";
    }
    void float2Str()
    {
        QFETCH(float, v);
        QFETCH(int, decimals);
        QFETCH(QString, result);
        QCOMPARE(::float2Str(v, decimals, '.').toQString(), result);
        const QString comma = ::float2Str(v, decimals, ',').toQString();
        QCOMPARE(comma, QString(result).replace(result.indexOf(QLatin1Char('.')), 1, QLatin1Char(',')));
        QVERIFY(::float2Str(1.0f, 60, '.').len() <= 25);
    }

    // Catches an in-band encoding that misplaces the marked form (as the log lines use it).
    void inBand_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("utf8");
        const QString cjk = QString::fromUtf16(u"\u65e5");
        const QString cjkBytes = QString::fromLatin1("\xe6\x97\xa5");
        QTest::newRow("Latin-1 only")
            << QString::fromLatin1("Gr\xfc\xdf") << QString::fromLatin1("Gr\xfc\xdf");
        QTest::newRow("word alone") << (u"a "_s + cjk + u" b"_s) << (u"a <UTF8"_s + cjkBytes + u"> b"_s);
        // The form goes in at the trigger's index, two characters behind where the word began.
        QTest::newRow("trigger inside word")
            << (u"x ab"_s + cjk + u" y"_s) << (u"x  y<UTF8ab"_s + cjkBytes + u">"_s);
        QTest::newRow("already marked") << (u"<UTF8 "_s + cjk) << (u"<UTF8 "_s + cjk);
    }
    void inBand()
    {
        QFETCH(QString, text);
        QFETCH(QString, utf8);
        QCOMPARE(fmToFMUTF8(text, false), utf8);
    }
};

QTEST_APPLESS_MAIN(tst_fmString)
#include "tst_fmstring.moc"
