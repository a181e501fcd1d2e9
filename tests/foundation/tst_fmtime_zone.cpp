#include "foundation/fmtime.h"

#include <QTimeZone>
#include <QtTest>

// Runs under TZ=Europe/Berlin: local forms follow the zone's summer time, and the start offset
// is the zone's offset of today.
class tst_fmTimeZone : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        QCOMPARE(qgetenv("TZ"), QByteArray("Europe/Berlin"));
        // Without the zone's data the C library falls back to UTC silently.
        if (!QTimeZone(QByteArrayLiteral("Europe/Berlin")).isValid())
            QSKIP("no time zone data (package tzdata)");
    }

    // Catches local forms that use a fixed offset instead of the one in force at that instant.
    void summerTime_data()
    {
        QTest::addColumn<long long>("v");
        QTest::addColumn<QString>("text");
        QTest::newRow("winter") << 1772720639LL << "03.05 15:23.59";
        QTest::newRow("last second of winter time") << 1774746000LL - 1 << "03.29 01:59.59";
        QTest::newRow("first second of summer time") << 1774746000LL << "03.29 03:00.00";
        QTest::newRow("summer") << 1782907200LL << "07.01 14:00.00";
        QTest::newRow("last second of summer time") << 1792890000LL - 1 << "10.25 02:59.59";
        QTest::newRow("back to winter") << 1792890000LL << "10.25 02:00.00";
    }
    void summerTime()
    {
        QFETCH(long long, v);
        QFETCH(QString, text);
        fmTime_t x;
        x.t = v;
        QCOMPARE(x.asString(), text);
    }

    // Catches a midnight computed with the offset of another season.
    void fromDateAcrossTheChange()
    {
        fmTime_t before, after;
        QCOMPARE(before.fromDate(28, 3, 2026).t, int64_t(1774652400)); // 00:00 CET
        QCOMPARE(after.fromDate(30, 3, 2026).t, int64_t(1774821600));  // 00:00 CEST
        QCOMPARE(after.t - before.t, int64_t(2 * 86400 - 3600));
    }

    // Catches a start offset taken with the wrong sign or from the wrong season.
    void startOffsetIsTodays()
    {
        fmTime_t::fmTime_Start_OffSet = -1;
        fmTime_t x;
        x.t = 0;
        x.getDayHour(); // computes the offset
        QCOMPARE(int(fmTime_t::fmTime_Start_OffSet), QDateTime::currentDateTime().offsetFromUtc());
        QCOMPARE(fmTime_t::TestIfOfsetIsRight(false), 0);
    }
};

QTEST_APPLESS_MAIN(tst_fmTimeZone)
#include "tst_fmtime_zone.moc"
