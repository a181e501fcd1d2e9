// Status, error and log texts of a job, the writers of its error and log entries, and the scene
// name as the job tree shows it.
#include "app/fm.h"
#include "jobs/fmjob.h"
#include "jobs/fmjobhistory.h"
#include "jobs/fmjobnaming.h"
#include "jobs/fmjobtext.h"

#include <QTest>

#include <memory>

using namespace Qt::StringLiterals;

using namespace fmJ;

class tst_fmjobtext : public QObject
{
    Q_OBJECT

    static std::unique_ptr<_JobSend> newJob()
    {
        auto job = std::make_unique<_JobSend>();
        job->fmClearAll();
        return job;
    }
    static _Log logEntry(int message, int p1, int p2, int p3)
    {
        _Log l{};
        l.Message = static_cast<int8_t>(message);
        l.Param1 = static_cast<uint16_t>(p1);
        l.Param2 = static_cast<uint16_t>(p2);
        l.Param3 = static_cast<uint8_t>(p3);
        return l;
    }

private slots:
    // Catches a walk of the status rows that is off by one or starts at the lowest row (the rows
    // themselves are the table's text).
    void statusTexts_data()
    {
        QTest::addColumn<int>("status");
        QTest::addColumn<QString>("shortText");
        QTest::newRow("39") << 39 << u"First Check"_s;
        QTest::newRow("40") << 40 << u"Wait for jobs"_s;
        QTest::newRow("200") << 200 << u"Finished"_s;
    }
    void statusTexts()
    {
        QFETCH(int, status);
        QFETCH(QString, shortText);
        QCOMPARE(jobStatusAsString(static_cast<unsigned char>(status)), shortText);
    }

    // Catches a text not cut at 50 characters, and a code beyond the table without its fallback.
    void errorTexts_data()
    {
        QTest::addColumn<int>("code");
        QTest::addColumn<QString>("text");
        QTest::newRow("20 cut") << 20 << "Client got job multiple times, but no render time m";
        QTest::newRow("21") << 21 << "Unknown error 21";
    }
    void errorTexts()
    {
        QFETCH(int, code);
        QFETCH(QString, text);
        _Error e{};
        e.Code = static_cast<int8_t>(code);
        QCOMPARE(Err2Str(e).toQString(), text.left(50));
    }

    // Catches wrong message texts and the placement of the parameters in the detailed form.
    void logTexts_data()
    {
        QTest::addColumn<int>("message");
        QTest::addColumn<int>("p1");
        QTest::addColumn<int>("p2");
        QTest::addColumn<int>("p3");
        QTest::addColumn<QString>("text");
        QTest::newRow("12 unknown") << 12 << 0 << 0 << 0 << "Unknown command 12";
        QTest::newRow("1 count") << 1 << 4 << 9 << 1 << "Aborted 4 reserved clients (max required: 9)";
        QTest::newRow("13 de") << 13 << 0 << 5 << 3 << "De-assigned 3 clients";
        QTest::newRow("13 both") << 13 << 7 << 5 << 3 << "Assigned 7, De-assigned 3 clients";
        QTest::newRow("14 raw") << 14 << 10 << 20 << 1 << "Successful  10-20";
        QTest::newRow("14 three") << 14 << 10 << 20 << 4 << "Successful  10-20,4";
        QTest::newRow("18") << 18 << 12 << 0 << 1 << "12 (placeholder) frames deleted";
        QTest::newRow("18 all") << 18 << 9999 << 0 << 1 << "all frames deleted";
        QTest::newRow("34") << 34 << 5 << 6 << 7 << "Low SysMemory, Aborted 5-6,7";
        QTest::newRow("57") << 57 << 11 << 2 << 3 << "Revert 2+3 frame assignments, frame #11";
    }
    void logTexts()
    {
        QFETCH(int, message);
        QFETCH(int, p1);
        QFETCH(int, p2);
        QFETCH(int, p3);
        QFETCH(QString, text);
        QCOMPARE(Log2Str(logEntry(message, p1, p2, p3), nullptr).toQString(), text);
    }

    // Catches frame indices shown raw when a job is given, or not raised by one for channel jobs.
    void logTextWithJob()
    {
        auto job = newJob();
        job->SeqStart = 101;
        job->SeqEnd = 200;
        job->SeqStep = 2;
        job->fmClearSend();
        QCOMPARE(Log2Str(logEntry(14, 0, 3, 1), job.get()).toQString(), u"Successful  101-107"_s);
        job->ImageChannelCount = 3;
        QCOMPARE(Log2Str(logEntry(14, 0, 3, 1), job.get()).toQString(), u"Successful  1-4"_s);
    }

    // Catches a wrong trim of a full log (the 751st entry leaves 376), the repeat rule of 40, and a
    // write past the array for a damaged count.
    void addLogFrames()
    {
        auto job = newJob();
        for (int i = 0; i < 750; ++i)
            job->addLogFrames(-1, 14, i, i, 1);
        QCOMPARE(int(job->LogCount), 750);
        job->addLogFrames(-1, 15, 1, 2, 1);
        QCOMPARE(int(job->LogCount), 376);
        QCOMPARE(int(job->Log[0].Param1), 375);
        QCOMPARE(int(job->Log[375].Message), 15);
        job->addLogFrames(3, 40, 1, 0, 1);
        job->addLogFrames(3, 40, 2, 0, 1);
        QCOMPARE(int(job->LogCount), 377);
        job->addLogFrames(4, 40, 2, 0, 1);
        QCOMPARE(int(job->LogCount), 378);
        // A damaged count (30000, negative) must not write past the log array.
        job->LogCount = 30000;
        job->addLogFrames(1, 2, 0, 0, 0);
        QCOMPARE(int(job->LogCount), 376);
        job->LogCount = -7;
        job->addLogFrames(1, 2, 0, 0, 0);
        QCOMPARE(int(job->LogCount), 1);
    }

    // Catches the repeat window of ten errors and the trim of a full error list.
    void addError()
    {
        auto job = newJob();
        QVERIFY(job->addError(1, 7));
        QVERIFY(!job->addError(1, 7));
        for (int i = 0; i < 10; ++i)
            QVERIFY(job->addError(2, static_cast<signed char>(20 + i)));
        QVERIFY(job->addError(1, 7)); // now the eleventh from the end
        for (int i = 0; i < 38; ++i)
            QVERIFY(job->addError(3, static_cast<signed char>(40 + i)));
        QCOMPARE(int(job->ErrorCount), 50);
        QVERIFY(job->addError(4, 1));
        QCOMPARE(int(job->ErrorCount), 26);
        QCOMPARE(int(job->Errors[25].Who), 4);
        job->ErrorCount = 120;
        QVERIFY(job->addError(5, 1));
        QCOMPARE(int(job->ErrorCount), 26);
    }

    // Catches render folders left in, a wrong extension cut and missing blanks behind separators.
    void sceneDisplayName_data()
    {
        QTest::addColumn<QString>("scene");
        QTest::addColumn<QString>("shown");
        QTest::newRow("scenes folder") << u"/proj/Scenes/shot.ma"_s << u"/    proj/    shot"_s;
        QTest::newRow("drive") << u"D:/job/RENDER_PICTURES/x.c4d"_s << u".../    job/    x"_s;
        QTest::newRow("short dot") << u"ab.c"_s << u"ab.c"_s;
        QTest::newRow("empty") << u""_s << u""_s;
    }
    void sceneDisplayName()
    {
        QFETCH(QString, scene);
        QFETCH(QString, shown);
        auto hist = std::make_unique<_jobsHistoryDB_Runtime>();
        hist->SceneName = scene;
        QCOMPARE(hist->GetSceneDisplayName(), shown);
    }
};

QTEST_GUILESS_MAIN(tst_fmjobtext)
#include "tst_fmjobtext.moc"
