#include "fmrecordbytes.h"
#include "jobs/fmjob.h"

#include <QTest>
#include <cmath>
#include <limits>
#include <memory>

using namespace Qt::StringLiterals;

using namespace fmJ;
using namespace jobtest;

class tst_jobrecords : public QObject
{
    Q_OBJECT
private slots:
    // A clear of the basics layer must keep the 20 bytes of header and outer identifier.
    void clearBasicsKeepsHeader()
    {
        auto job = std::make_unique<_JobBasics>();
        fillPattern(job.get(), sizeof(_JobBasics), 1);
        uint8_t head[20];
        std::memcpy(head, job.get(), 20);
        job->fmClearBasics();
        QCOMPARE(std::memcmp(head, job.get(), 20), 0);
        QCOMPARE(readAt<uint64_t>(job.get(), 19004), uint64_t(0));
    }

    // NumberPreview and SeqStep repairs at the limits.
    void clearSaveRepairs_data()
    {
        QTest::addColumn<int>("preview");
        QTest::addColumn<double>("step");
        QTest::addColumn<int>("previewAfter");
        QTest::addColumn<double>("stepAfter");
        QTest::newRow("1 becomes 5") << 1 << 1.0 << 5 << 1.0;
        QTest::newRow("20 stays") << 20 << 1.0 << 20 << 1.0;
        QTest::newRow("21 becomes 20") << 21 << 1.0 << 20 << 1.0;
        QTest::newRow("negative") << -100 << 0.0 << 5 << 1.0;
        QTest::newRow("127, negative step") << 127 << -3.0 << 20 << 1.0;
    }
    void clearSaveRepairs()
    {
        QFETCH(int, preview);
        QFETCH(double, step);
        QFETCH(int, previewAfter);
        QFETCH(double, stepAfter);
        auto job = std::make_unique<_JobSave>();
        job->NumberPreview = int8_t(preview);
        job->SeqStep = step;
        job->LogCount = 300;
        job->Status = 200;
        job->fmClearSave();
        QCOMPARE(int(job->NumberPreview), previewAfter);
        QCOMPARE(double(job->SeqStep), stepAfter);
        QCOMPARE(int(job->LogCount), 0);
        QCOMPARE(int(job->Status), 0);
    }

    // Passes multiply the frames; a wrong truncation changes every progress figure.
    void framesTotal_data()
    {
        QTest::addColumn<double>("start");
        QTest::addColumn<double>("end");
        QTest::addColumn<double>("step");
        QTest::addColumn<int>("channels");
        QTest::addColumn<int>("perPass");
        QTest::addColumn<int>("total");
        QTest::newRow("10 frames, 3 passes") << 1.0 << 10.0 << 1.0 << 3 << 10 << 30;
        QTest::newRow("1 channel is one pass") << 1.0 << 10.0 << 1.0 << 1 << 10 << 10;
        QTest::newRow("step 2 truncates") << 1.0 << 10.0 << 2.0 << 0 << 5 << 5;
        QTest::newRow("negative channel count") << 1.0 << 10.0 << 1.0 << -4 << 10 << 10;
        QTest::newRow("huge saturates") << 0.0 << 1e300 << 1.0 << 100 << std::numeric_limits<int>::max()
                                        << std::numeric_limits<int>::max();
    }
    void framesTotal()
    {
        QFETCH(double, start);
        QFETCH(double, end);
        QFETCH(double, step);
        QFETCH(int, channels);
        QFETCH(int, perPass);
        QFETCH(int, total);
        auto job = std::make_unique<_JobSend>();
        job->SeqStart = start;
        job->SeqEnd = end;
        job->SeqStep = step;
        job->ImageChannelCount = int8_t(channels);
        job->FramesDone = 4;
        job->fmClearSend(false);
        QCOMPARE(int(job->FramesPerPass), perPass);
        QCOMPARE(int(job->FramesTotal), total);
        if (total < std::numeric_limits<int>::max()) QCOMPARE(int(job->FramesLeft), total - 4);
    }

    // Index to frame number: pass split, step and offsets; and the round trip with fn2F.
    void f2fn()
    {
        auto job = std::make_unique<_JobSend>();
        job->SeqStart = 1.0;
        job->SeqEnd = 19.0;
        job->SeqStep = 2.0;
        job->SeqFileOffset = 1000.0;
        job->ImageChannelCount = 3;
        job->fmClearSend(false);
        QCOMPARE(int(job->FramesPerPass), 10);
        signed char pass = -1;
        QCOMPARE(job->F2fn(13, &pass), 3 * 2.0 + 1.0 + 1000.0);
        QCOMPARE(int(pass), 1);
        QCOMPARE(job->F2fnNoOffset(13, nullptr), 7.0);
        for (long long i = 0; i < job->FramesTotal; ++i) {
            signed char p = 0;
            const double fn = job->F2fn(i, &p);
            QCOMPARE(job->fn2F(fn, p), i);
        }
    }

    // NaN, zero and infinite sequence values from a damaged record: no UB, no crash, bounded results.
    void damagedSequenceIsSafe()
    {
        auto job = std::make_unique<_JobSend>();
        job->SeqStart = std::nan("");
        job->SeqStep = 0.0;
        job->fmClearSend(false);
        QCOMPARE(int(job->FramesTotal), 0);
        QCOMPARE(job->fn2F(5.0, 0), -1LL);
        job->FramesPerPass = 0;
        signed char pass = 7;
        job->F2fn(12, &pass);
        QCOMPARE(int(pass), 0);
        job->FramesPerPass = -5;
        job->F2fn(12, &pass);
        QCOMPARE(int(pass), 0);
    }
};

QTEST_GUILESS_MAIN(tst_jobrecords)
#include "tst_jobrecords.moc"
