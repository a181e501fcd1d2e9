// Rows of the "Job Log" and "Errors" pages of one job.

#include "browser/fmjoblogpage.h"

#include "app/fm.h"
#include "jobs/fmjobhistory.h"
#include "jobs/fmjobtext.h"

#include <QtTest>

#include <memory>

using fmJ::_jobsHistoryDB;

namespace {

// "message,who,first,last,step,time" per entry.
std::unique_ptr<_jobsHistoryDB> makeLog(const QStringList& entries)
{
    auto job = std::make_unique<_jobsHistoryDB>();
    int n = 0;
    for (const QString& e : entries) {
        const QStringList p = e.split(',');
        fmJ::_Log l{};
        l.Message = int8_t(p[0].toInt());
        l.Who = int16_t(p[1].toInt());
        l.Param1 = uint16_t(p[2].toInt());
        l.Param2 = uint16_t(p[3].toInt());
        l.Param3 = uint8_t(p[4].toInt());
        l.Time.t = p[5].toInt();
        job->Log[n++].fromNew(l);
    }
    job->LogCount = int16_t(n);
    return job;
}

} // namespace

class tst_fmjoblogpage : public QObject
{
    Q_OBJECT
private slots:
    // Catches pairing with the wrong sending (the first instead of the nearest earlier one, another
    // client, another segment, a later one), and a division by a step of 0.
    void segmentColumn_data()
    {
        QTest::addColumn<QStringList>("entries");
        QTest::addColumn<QString>("lastCell"); // column 7 of the last entry

        QTest::newRow("send then return")
            << QStringList{"21,3,10,19,1,100", "14,3,10,19,1,160"} << "10   00:01.00";
        QTest::newRow("sent twice pairs with later")
            << QStringList{"21,3,10,19,1,100", "21,3,10,19,1,200", "14,3,10,19,1,230"} << "10   00:00.30";
        QTest::newRow("return without sending") << QStringList{"14,3,10,19,1,160"} << "";
        QTest::newRow("other client's sending") << QStringList{"21,4,10,19,1,100", "14,3,10,19,1,160"} << "";
        QTest::newRow("other segment's sending") << QStringList{"21,3,20,29,1,100", "14,3,10,19,1,160"} << "";
        QTest::newRow("step 2") << QStringList{"21,3,10,19,2,100", "14,3,10,19,2,100"} << "5   00:00.00";
        QTest::newRow("step 0 left empty") << QStringList{"21,3,10,19,0,100", "14,3,10,19,0,160"} << "";
        QTest::newRow("sending is not a return") << QStringList{"14,3,10,19,1,100", "21,3,10,19,1,160"} << "";
    }
    void segmentColumn()
    {
        QFETCH(QStringList, entries);
        QFETCH(QString, lastCell);
        auto job = makeLog(entries);
        const QList<fmJobLogRow> rows = fmJobLogRows(*job, FM);
        QCOMPARE(rows.size(), entries.size());
        QCOMPARE(rows.last().Cells[7], lastCell);
    }

    // Catches values put into the wrong column and the message colour taken from another entry.
    void columnsOfAnEntry()
    {
        auto job = makeLog({"14,-1,1,3,1,1395828000"});
        job->Log[0].JobStatus = 7;
        job->Log[0].ClientsRendering = 4;
        job->Log[0].FramesLeft = 17;
        const fmJobLogRow r = fmJobLogRows(*job, FM).value(0);
        const QStringList cells(r.Cells.begin(), r.Cells.end());
        QCOMPARE(cells.mid(0, 5),
                 QStringList({"03.26 10:00.00", fmJ::jobStatusAsString(7), "17", "4", "*fmServer*"}));
        QCOMPARE(r.Cells[6], fmJ::Log2Str(job->Log[0].toNew(), nullptr).toQString());
        QCOMPARE(r.MessageColor, fmJ::LogColorID(14));
        QCOMPARE(fmJobErrorHeaders(), QStringList({"Date", "Where", "Error"}));
    }

    // Catches counts from a damaged record used unclamped (reading beyond the arrays) or negative.
    void countsClamped_data()
    {
        QTest::addColumn<int>("logCount");
        QTest::addColumn<int>("errorCount");
        QTest::addColumn<int>("logRows");
        QTest::addColumn<int>("errorRows");
        QTest::newRow("none") << 0 << 0 << 0 << 0;
        QTest::newRow("in range") << 3 << 2 << 3 << 2;
        QTest::newRow("full") << 750 << 50 << 750 << 50;
        QTest::newRow("beyond arrays") << 30000 << 120 << 750 << 50;
        QTest::newRow("negative") << -5 << -3 << 0 << 0;
    }
    void countsClamped()
    {
        QFETCH(int, logCount);
        QFETCH(int, errorCount);
        QFETCH(int, logRows);
        QFETCH(int, errorRows);
        auto job = std::make_unique<_jobsHistoryDB>();
        // Every entry filled with a pattern, as a damaged file would hold.
        auto* b = reinterpret_cast<unsigned char*>(job.get());
        for (size_t k = 0; k < sizeof(_jobsHistoryDB); ++k)
            b[k] = uint8_t(k * 13 + 5);
        job->LogCount = int16_t(logCount);
        job->ErrorCount = int8_t(errorCount);
        const QList<fmJobLogRow> rows = fmJobLogRows(*job, FM);
        QCOMPARE(rows.size(), logRows);
        const QList<fmJobErrorRow> errors = fmJobErrorRows(*job, FM);
        QCOMPARE(errors.size(), errorRows);
        for (const fmJobErrorRow& e : errors)
            QVERIFY(!e.Cells[2].isEmpty());
    }
};

QTEST_GUILESS_MAIN(tst_fmjoblogpage)
#include "tst_fmjoblogpage.moc"
