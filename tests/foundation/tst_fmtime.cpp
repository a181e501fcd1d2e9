#include "foundation/fmtime.h"

#include <QtTest>

#include <climits>

using namespace Qt::StringLiterals;

namespace {
fmTime_t at(long long v)
{
    fmTime_t r;
    r.t = v;
    return r;
}
// The harness runs with TZ=UTC, so the local offset is 0 once computed.
struct OffsetGuard
{
    int32_t saved = fmTime_t::fmTime_Start_OffSet;
    ~OffsetGuard() { fmTime_t::fmTime_Start_OffSet = saved; }
};
} // namespace

class tst_fmTime : public QObject
{
    Q_OBJECT

private slots:
    // Catches wrong fields, padding, order or name tables in any text form.
    void textForms_data()
    {
        QTest::addColumn<long long>("v");
        QTest::addColumn<QString>("form");
        QTest::addColumn<QString>("text");

        const long long thu = 1772720639; // Thu 2026-03-05 14:23:59
        QTest::newRow("asString") << thu << u"asString"_s << u"03.05 14:23.59"_s;
        QTest::newRow("asStringDate") << thu << u"asStringDate"_s << u"05. Mar"_s;
        QTest::newRow("asStringMonthYear") << thu << u"asStringMonthYear"_s << u"03.26"_s;
        QTest::newRow("asStringYear") << 1233633906LL << u"asStringYear"_s << u"03.02.09"_s;
        QTest::newRow("asStringYear2") << thu << u"asStringYear2"_s << u"05.03.2026"_s;
        QTest::newRow("asStringFileNameDate") << thu << u"asStringFileNameDate"_s << u"260305"_s;
        QTest::newRow("daytimeAsString") << thu << u"daytimeAsString"_s << u"14:23.59"_s;
        QTest::newRow("asFM8String") << thu << u"asFM8String"_s << u"03.05. 14:23.59"_s;
        QTest::newRow("zero is the epoch") << 0LL << u"asStringYear2"_s << u"01.01.1970"_s;
    }
    void textForms()
    {
        QFETCH(long long, v);
        QFETCH(QString, form);
        QFETCH(QString, text);
        const fmTime_t x = at(v);
        const QHash<QString, QString> all = {
            {u"asString"_s, x.asString()},
            {u"asStringDate"_s, x.asStringDate()},
            {u"asStringMonthYear"_s, x.asStringMonthYear()},
            {u"asStringYear"_s, x.asStringYear()},
            {u"asStringYear2"_s, x.asStringYear2()},
            {u"asStringFileNameDate"_s, x.asStringFileNameDate()},
            {u"daytimeAsString"_s, x.daytimeAsString()},
            {u"asFM8String"_s, x.asFM8String().toQString()},
        };
        QVERIFY(all.contains(form));
        QCOMPARE(all.value(form), text);
    }

    // Catches a start offset that is not computed, or applied with the wrong sign.
    void startOffset()
    {
        OffsetGuard guard;
        fmTime_t::fmTime_Start_OffSet = -1;
        // The isFixed constructor only computes at 99: before start-up it subtracts -1.
        QCOMPARE(fmTime_t(1000LL, false).t, int64_t(1001));
        QCOMPARE(fmTime_t(1000u, true).t, int64_t(1000));
        QCOMPARE(fmTime_t::fmTime_Start_OffSet, -1);
        // Arithmetic parts compute it first; under UTC it is 0.
        QCOMPARE(at(90061).daytimeAsString(), u"01:01.01"_s);
        QCOMPARE(fmTime_t::fmTime_Start_OffSet, 0);
        QCOMPARE(fmTime_t::TestIfOfsetIsRight(false), 0);

        fmTime_t::fmTime_Start_OffSet = 3600;
        QCOMPARE(fmTime_t::TestIfOfsetIsRight(false), -3600);
        QCOMPARE(fmTime_t(10000, false).t, int64_t(6400));
        const fmTime_t x = at(86400 - 1800); // 23:30 stored, 00:30 on the wall clock
        QCOMPARE(x.daytimeAsString(), u"00:30.00"_s);

        fmTime_t::fmTime_Start_OffSet = 3600;
        QCOMPARE(fmTime_t::TestIfOfsetIsRight(true), 0);
        QCOMPARE(fmTime_t::fmTime_Start_OffSet, 0);
        fmTime_t::fmTime_Start_OffSet = 99;
        QCOMPARE(fmTime_t(50, false).t, int64_t(50));
    }

    // Catches wrong units, padding or thresholds in the duration texts, and wrong grouping, signs and
    // thresholds of fmSpaceTsd ("tsd", with "tsd blank" a blank for the sign of positive numbers).
    void numberTexts_data()
    {
        QTest::addColumn<QString>("fn");
        QTest::addColumn<long long>("v");
        QTest::addColumn<QString>("text");
        QTest::newRow("hms") << "hms" << 3725LL << "01:02.05";
        QTest::newRow("hms many hours") << "hms" << 360000LL << "100:00.00";
        QTest::newRow("ms") << "ms" << 3725LL << "62.05";
        QTest::newRow("ms small") << "ms" << 5LL << "00.05";
        QTest::newRow("1000 stays") << "tsd" << 1000LL << "1000";
        QTest::newRow("1001") << "tsd" << 1001LL << "1 001";
        QTest::newRow("below a million") << "tsd" << 1000500LL << "1000 500";
        QTest::newRow("two groups") << "tsd" << 1001000LL << "1 001 000";
        QTest::newRow("millions") << "tsd blank" << 123456789LL << " 123 456 789";
        QTest::newRow("billions") << "tsd" << 1234567890123LL << "1234 567 890 123";
        QTest::newRow("negative") << "tsd blank" << -12345LL << "-12 345";
        QTest::newRow("zero blank") << "tsd blank" << 0LL << " 0";
        QTest::newRow("most negative") << "tsd" << LLONG_MIN << "-9223372036 854 775 808";
    }
    void numberTexts()
    {
        QFETCH(QString, fn);
        QFETCH(long long, v);
        QFETCH(QString, text);
        const QString r = fn == QLatin1String("hms")  ? fmSec2hms(int(v))
                          : fn == QLatin1String("ms") ? fmSec2ms(v)
                                                      : fmSpaceTsd(v, fn == QLatin1String("tsd blank"));
        QCOMPARE(r, text);
    }

    // Catches 32-bit values formatted differently from 64-bit ones, and crashes on absurd values.
    void time32AndDamaged()
    {
        fmTime_t32 s;
        s.t = 1772720639;
        QCOMPARE(s.asString(), at(1772720639).asString());
        s.t = -1;
        QCOMPARE(s.asString(), u"12.31 23:59.59"_s); // a negative 32-bit value is before 1970

        OffsetGuard guard;
        fmTime_t::fmTime_Start_OffSet = 0;
        for (long long v : {LLONG_MAX, LLONG_MIN, LLONG_MIN + 1, -1LL}) {
            const fmTime_t x = at(v);
            QVERIFY(!x.asString().isEmpty() && !x.asStringYear2().isEmpty());
            QVERIFY(!x.daytimeAsString().isEmpty() && x.getTotalDays(LLONG_MAX) != LLONG_MIN);
        }
    }
    void initTestCase() { QCOMPARE(qgetenv("TZ"), QByteArray("UTC")); }
};

QTEST_APPLESS_MAIN(tst_fmTime)
#include "tst_fmtime.moc"
