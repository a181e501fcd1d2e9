// The client record: defaults, bounds, status texts, system text.
#include "app/fm.h"
#include "farm/fmclient.h"
#include "farm/fmclientlog.h"

#include <QtTest>

using namespace fmC;

static QStringList tapped;
static void tap(int, const QString& text, const QString&) { tapped << text; }

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
    void clearDefaults();
    void checkInvalidValues();
    void sortIDTable_data();
    void sortIDTable();
    void statusSingle_data();
    void statusSingle();
    void statusAll_data();
    void statusAll();
    void osAsString_data();
    void osAsString();
    void setJobID();
};

// Catches wrong defaults of a new record: thread lists, counts, the CfgBool places, the values.
void tst_fmClient::clearDefaults()
{
    std::unique_ptr<_Client> c(new _Client);
    c->ListNo = 7;
    c->CfgBool[0] = 1;
    c->clear();
    QCOMPARE(c->ListNo, -1);
    QCOMPARE(c->CfgValueCount, int16_t(26));
    QCOMPARE(c->CfgBoolCount, int16_t(18));
    QCOMPARE(int(c->Status.ThreadCount), 1);
    QCOMPARE(c->Status.UserTime, int16_t(-1));
    QCOMPARE(c->AcceptThreadJobs[0].count(), 4);
    QCOMPARE(c->AcceptThreadJobs[0].List[2].toQString(), QStringLiteral("3d"));
    QCOMPARE(c->AcceptThreadJobs[0].List[3].toQString(), QStringLiteral("execute"));
    QCOMPARE(c->AcceptThreadJobs[1].count(), 2);
    QCOMPARE(c->AcceptThreadJobs[2].List[1].toQString(), QStringLiteral("archive"));
    QString bools;
    for (int i = 0; i < 18; ++i) bools += QString::number(c->CfgBool[i]);
    QCOMPARE(bools, QStringLiteral("011111101001000101"));
    const int values[26] = {45, 0, 2, 75, 75, 15, 45, 2, 140, 50, 1, 1, 1, 1, 1, 1, 5, 9, 19, 1, 1, 1, 1, 20, 10, 0};
    for (int i = 0; i < 26; ++i) QCOMPARE(int(c->CfgValue[i]), values[i]);
    // Hours 9 to 18 of the days 0 to 5.
    QCOMPARE(c->WorkingHours[0], 0x7FE00u);
    QCOMPARE(c->WorkingHours[5], 0x7FE00u);
    QCOMPARE(c->WorkingHours[6], 0u);
}

// Catches a bound fixed at the wrong index or in the wrong direction.
void tst_fmClient::checkInvalidValues()
{
    std::unique_ptr<_Client> c(new _Client);
    const int16_t low[8] = {0, -5, 0, 0, 0, 0, 0, 0};
    std::memcpy(c->CfgValue, low, sizeof(low));
    c->Hardware.MHz = 0;
    c->Hardware.Cores = 0;
    c->Hardware.Speed = -2.5f;
    c->CheckInvalidValues();
    const int wantLow[8] = {15, -5, 1, 15, 15, 5, 15, 1};
    for (int i = 0; i < 8; ++i) QCOMPARE(int(c->CfgValue[i]), wantLow[i]);
    QCOMPARE(int(c->Hardware.MHz), 1);
    QCOMPARE(int(c->Hardware.Cores), 1);
    QCOMPARE(c->Hardware.Speed, 0.0f);
    c->CfgValue[2] = 11;
    c->CfgValue[3] = 96;
    c->CfgValue[4] = 301;
    c->CheckInvalidValues();
    QCOMPARE(int(c->CfgValue[2]), 10);
    QCOMPARE(int(c->CfgValue[3]), 95);
    QCOMPARE(int(c->CfgValue[4]), 300);
}

void tst_fmClient::sortIDTable_data()
{
    QTest::addColumn<int>("status");
    QTest::addColumn<int>("sortID");
    const int table[] = {0, 0, 0, 0, 2, 1, 3, 3, 3, 3, 1, 3, 3, 3, 1};
    for (int i = 0; i < 15; ++i) QTest::addRow("code %d", i) << i << table[i];
    QTest::newRow("code 15") << 15 << 3;
    QTest::newRow("code 27") << 27 << 3;
    QTest::newRow("code 28") << 28 << 3;
    QTest::newRow("code -1") << -1 << 3;
}

// Catches a shifted sort table, and reads past its end for large or negative codes.
void tst_fmClient::sortIDTable()
{
    QFETCH(int, status);
    QFETCH(int, sortID);
    const signed char s = static_cast<signed char>(status);
    QCOMPARE(_ClientStatus2SortID(s), sortID);
}

void tst_fmClient::statusSingle_data()
{
    QTest::addColumn<int>("status");
    QTest::addColumn<qulonglong>("id");
    QTest::addColumn<uint>("time");
    QTest::addColumn<QString>("text");
    const qulonglong job = jobID(0, 0); // "{AAA}"
    QTest::newRow("off") << 0 << 0ull << 0u << "Off";
    QTest::newRow("wol") << 0 << 6ull << 0u << "Wake On Lan";
    QTest::newRow("wol broken") << 0 << 9ull << 0u << "WOL Broken!";
    QTest::newRow("not running") << 0 << 11ull << 0u << "fmClient not running on machine!";
    QTest::newRow("not shut down") << 0 << 12ull << 0u << "fmClient off but not shut down properly!";
    QTest::newRow("idle 599") << 1 << 0ull << 599u << "Idle";
    QTest::newRow("idle 600") << 1 << 0ull << 600u << "Idle since 10m";
    QTest::newRow("disabled 1800") << 2 << 0ull << 1800u << "Disabled (enable in 1800m)";
    QTest::newRow("disabled 1801") << 7 << 0ull << 1801u << "Disabled";
    QTest::newRow("cpu 360") << 26 << 1ull << 360u << "High CPU Usage (enable in 6m)";
    QTest::newRow("cpu 361") << 27 << 1ull << 361u << "High CPU Usage";
    QTest::newRow("working hours") << 2 << 2ull << 0u << "Working hours";
    QTest::newRow("satellite") << 2 << 3ull << 0u << "Satellite Rendering found";
    QTest::newRow("waiting") << 2 << 4ull << 42u << "Waiting 42s";
    QTest::newRow("low memory") << 2 << 5ull << 0u << "Low Available Memory";
    QTest::newRow("sub 6") << 2 << 6ull << 0u << "Disabled - Unknown status 6";
    QTest::newRow("logged off") << 2 << 7ull << 180u << "User logged off (enable in 3m)";
    QTest::newRow("shutdown") << 2 << 8ull << 0u << "Client Shutdown";
    QTest::newRow("process") << 2 << 10ull << 0u << "Disable Process found";
    QTest::newRow("sub 1000") << 2 << 1000ull << 0u << "Disabled - Unknown status 1000";
    QTest::newRow("sub 1001") << 2 << 1001ull << 0u << "Disabled - closed: 1001";
    QTest::newRow("rendering 1000") << 3 << 1000ull << 0u << "|1000| Rendering Job";
    QTest::newRow("rendering job") << 3 << job << 0u << "{AAA} Rendering Job";
    QTest::newRow("success") << 4 << job << 0u << "{AAA} Render Successfull";
    QTest::newRow("success 25") << 25 << job << 0u << "{AAA} Render Successfull";
    QTest::newRow("aborted") << 5 << job << 0u << "{AAA} Render Aborted";
    QTest::newRow("crashed") << 6 << job << 0u << "{AAA} Render Crashed";
    QTest::newRow("starting") << 8 << job << 0u << "{AAA} Render Starting...";
    QTest::newRow("license") << 9 << job << 0u << "{AAA} No Render License";
    QTest::newRow("permanent") << 10 << job << 0u << "{AAA} Render Crashed Permanentely";
    QTest::newRow("froze") << 11 << job << 0u << "!!fmClient Froze!!";
    QTest::newRow("abort disable") << 12 << job << 0u << "{AAA} Render Abort & Disable";
    QTest::newRow("13") << 13 << job << 0u << "{AAA} Render Aborted - Low sysMem";
    QTest::newRow("14") << 14 << job << 0u << "{AAA} Render Aborted - Froze";
    QTest::newRow("15") << 15 << job << 0u << "{AAA} Render Aborted - High user CPU";
    QTest::newRow("16") << 16 << job << 0u << "{AAA} Render Abort - Frame Time";
    QTest::newRow("17") << 17 << job << 0u << "{AAA} Render Abort - Working hours";
    QTest::newRow("18") << 18 << job << 0u << "{AAA} Render Abort - Reserved Client";
    QTest::newRow("19") << 19 << job << 0u << "{AAA} Render Abort - High Priority Job";
    QTest::newRow("20") << 20 << job << 0u << "{AAA} Render Abort - fmControl";
    QTest::newRow("21") << 21 << job << 0u << "{AAA} Render Abort - Averaging";
    QTest::newRow("22") << 22 << job << 0u << "{AAA} Render Abort - License Block";
    QTest::newRow("23") << 23 << job << 0u << "{AAA} Render Abort - Local Artist";
    QTest::newRow("24") << 24 << job << 0u << "{AAA} Render Abort - Process Found";
    QTest::newRow("40") << 40 << 0ull << 0u << "Unknown status 40";
}

// Catches a wrong text, a wrong threshold or unit of StatusTime, or a wrong job prefix rule.
void tst_fmClient::statusSingle()
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

void tst_fmClient::statusAll_data()
{
    QTest::addColumn<int>("threads");
    QTest::addColumn<QList<int>>("status");
    QTest::addColumn<QList<qulonglong>>("ids");
    QTest::addColumn<QString>("text");
    const qulonglong a = jobID(0, 0), b = jobID(1, 0), c = jobID(2, 1);
    QTest::newRow("one thread") << 1 << QList<int>{1, 3, 3} << QList<qulonglong>{0, a, b} << "Idle";
    QTest::newRow("all rendering") << 3 << QList<int>{3, 3, 8} << QList<qulonglong>{a, b, c}
                                   << "[3]{AAA}|3 {AAB}|3 {AACa}|8 Rendering";
    QTest::newRow("all same") << 2 << QList<int>{1, 1, 0} << QList<qulonglong>{0, 0, 0} << "[2]Idle";
    QTest::newRow("mixed") << 2 << QList<int>{3, 1, 0} << QList<qulonglong>{a, 0, 0}
                           << "[2]{AAA} Rendering Job| Idle";
}

// Catches a wrong choice between the three forms of several threads, and a wrong join.
void tst_fmClient::statusAll()
{
    QFETCH(int, threads);
    QFETCH(QList<int>, status);
    QFETCH(QList<qulonglong>, ids);
    QFETCH(QString, text);
    _ClientStatus s;
    s.ThreadCount = uint8_t(threads);
    for (int i = 0; i < 3; ++i) {
        s.Thread[i].Status = static_cast<signed char>(status[i]);
        s.Thread[i].JobID = ids[i];
    }
    QCOMPARE(s.clientStatusAsStringAll(), text);
}

void tst_fmClient::osAsString_data()
{
    QTest::addColumn<int>("os");
    QTest::addColumn<int>("version");
    QTest::addColumn<bool>("is64");
    QTest::addColumn<QString>("text");
    QTest::newRow("mac 10.6") << 3 << 106 << true << "m10.6";
    QTest::newRow("mac 10 32") << 3 << 100 << false << "m10-32";
    QTest::newRow("linux 2.6") << 2 << 26 << true << "l2.6";
    QTest::newRow("win 7") << 1 << 70 << true << "w7";
    QTest::newRow("win 7.1") << 1 << 71 << true << "w7.1";
    QTest::newRow("win vista") << 1 << 60 << true << "wV";
    QTest::newRow("win xp 32") << 1 << 51 << false << "wXP.1-32";
    QTest::newRow("win 2k") << 1 << 40 << true << "w2k";
    QTest::newRow("win old") << 1 << 31 << true << "w";
    QTest::newRow("unknown") << 0 << 10 << false << "-32";
}

// Catches a wrong letter, version split or bit suffix.
void tst_fmClient::osAsString()
{
    QFETCH(int, os);
    QFETCH(int, version);
    QFETCH(bool, is64);
    QFETCH(QString, text);
    _ClientHardware h;
    h.OS = static_cast<signed char>(os);
    h.OSVersion = uint8_t(version);
    h.Is64Bit = is64;
    QCOMPARE(h.OSasString(), text);
}

// Catches a log line for an unchanged ID, a missing log line, or a wrong line text.
void tst_fmClient::setJobID()
{
    farmLogTap = tap;
    tapped.clear();
    _ClientStatusThread t;
    const unsigned long long id = jobID(0, 0);
    t.setJobID(FM, 1, id, QStringLiteral("because"), false, true);
    QCOMPARE(t.JobID, id);
    QCOMPARE(tapped, QStringList{QStringLiteral("Set new Job ID {AAA}  %1 for thread 1 because").arg(id)});
    t.setJobID(FM, 1, id, QStringLiteral("again"), true, true);
    QCOMPARE(tapped.size(), 1);
    t.setJobID(FM, 2, 5, QString(), false, false);
    QCOMPARE(t.JobID, 5ull);
    QCOMPARE(tapped.size(), 1);
    farmLogTap = nullptr;
}

QTEST_GUILESS_MAIN(tst_fmClient)
#include "tst_fmclient.moc"
