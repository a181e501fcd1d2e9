// The client record: defaults, bounds, status texts, system text.
#include "app/fm.h"
#include "farm/fmclient.h"
#include "farm/fmclientlog.h"

#include <QtTest>

using namespace fmC;

// A job identifier whose short text is known: stamp 10000 * q with counter c; PartB 1 keeps it
// above 1000 (a real job) without changing the text.
static unsigned long long jobID(unsigned q, unsigned counter)
{
    return (static_cast<unsigned long long>(q * 10000u) << 24) | (1ull << 16) | counter;
}

class tst_fmClient : public QObject
{
    Q_OBJECT
private slots:
    void sortIDTable_data()
    {
        QTest::addColumn<int>("status");
        QTest::addColumn<int>("sortID");
        QTest::newRow("code 4") << 4 << 2;
        QTest::newRow("code 14, the last of the table") << 14 << 1;
        QTest::newRow("code 15") << 15 << 3;
        QTest::newRow("code 28") << 28 << 3;
        QTest::newRow("code -1") << -1 << 3;
    }
    // Catches a shifted sort table, and reads past its end for large or negative codes.
    void sortIDTable()
    {
        QFETCH(int, status);
        QFETCH(int, sortID);
        const signed char s = static_cast<signed char>(status);
        QCOMPARE(_ClientStatus2SortID(s), sortID);
    }

    void statusSingle_data()
    {
        QTest::addColumn<int>("status");
        QTest::addColumn<qulonglong>("id");
        QTest::addColumn<uint>("time");
        QTest::addColumn<QString>("text");
        const qulonglong job = jobID(0, 0); // "{AAA}"
        QTest::newRow("off") << 0 << 0ull << 0u << "Off";
        QTest::newRow("idle 599") << 1 << 0ull << 599u << "Idle";
        QTest::newRow("idle 600") << 1 << 0ull << 600u << "Idle since 10m";
        QTest::newRow("disabled 1800") << 2 << 0ull << 1800u << "Disabled (enable in 1800m)";
        QTest::newRow("disabled 1801") << 7 << 0ull << 1801u << "Disabled";
        QTest::newRow("cpu 360") << 26 << 1ull << 360u << "High CPU Usage (enable in 6m)";
        QTest::newRow("cpu 361") << 27 << 1ull << 361u << "High CPU Usage";
        QTest::newRow("waiting") << 2 << 4ull << 42u << "Waiting 42s";
        QTest::newRow("logged off") << 2 << 7ull << 180u << "User logged off (enable in 3m)";
        QTest::newRow("sub 1000") << 2 << 1000ull << 0u << "Disabled - Unknown status 1000";
        QTest::newRow("sub 1001") << 2 << 1001ull << 0u << "Disabled - closed: 1001";
        QTest::newRow("rendering 1000") << 3 << 1000ull << 0u << "|1000| Rendering Job";
        QTest::newRow("rendering job") << 3 << job << 0u << "{AAA} Rendering Job";
        QTest::newRow("success 25") << 25 << job << 0u << "{AAA} Render Successfull";
        QTest::newRow("40") << 40 << 0ull << 0u << "Unknown status 40";
    }
    // Catches a wrong text, a wrong threshold or unit of StatusTime, or a wrong job prefix rule.
    void statusSingle()
    {
        QFETCH(int, status);
        QFETCH(qulonglong, id);
        QFETCH(uint, time);
        QFETCH(QString, text);
        _ClientStatusThread t;
        t.Status = static_cast<signed char>(status);
        t.JobID = id;
        t.StatusTime = time;
        QCOMPARE(t.clientStatusAsStringSingle(), text);
    }
};

QTEST_GUILESS_MAIN(tst_fmClient)
#include "tst_fmclient.moc"
