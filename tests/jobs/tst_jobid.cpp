#include "foundation/fmjobid.h"
#include "jobs/fmjob.h"

#include <QTest>

using namespace Qt::StringLiterals;

using namespace fmJ;

namespace {
unsigned long long makeID(uint8_t counter, uint8_t partA, uint8_t partB, uint32_t stamp, uint8_t top = 0)
{
    IDDecomp d;
    d.Counter = counter;
    d.PartA = partA;
    d.PartB = partB;
    d.Stamp = stamp;
    d.Reserved = top;
    return d.toID();
}
} // namespace

class tst_jobid : public QObject
{
    Q_OBJECT
private slots:
    // Byte order of the identifier: a swapped or aligned Stamp would decompose wrongly.
    void decomposition()
    {
        IDDecomp d;
        d.fromID(0x8877665544332211ull);
        QCOMPARE(d.Counter, uint8_t(0x11));
        QCOMPARE(d.PartA, uint8_t(0x22));
        QCOMPARE(d.PartB, uint8_t(0x33));
        QCOMPARE(uint32_t(d.Stamp), 0x77665544u);
        QCOMPARE(d.toID(), 0x8877665544332211ull);
    }

    // The short and full texts users quote: alphabet, counter letters, the doubled fine sign.
    void texts_data()
    {
        QTest::addColumn<unsigned long long>("id");
        QTest::addColumn<QString>("shortText");
        QTest::addColumn<QString>("fullText");
        // Stamp 123456789: coarse 12345 -> "KT9"; fine 6789 / 36 = 188 -> 188 mod 36 = 8 -> "J".
        QTest::newRow("counter 0") << makeID(0, 1, 2, 123456789) << u"{KT9}"_s << u"KT9_JJCB"_s;
        QTest::newRow("counter 1") << makeID(1, 1, 2, 123456789) << u"{KT9a}"_s << u"KT9a_JJCB"_s;
        QTest::newRow("counter 24") << makeID(24, 1, 2, 123456789) << u"{KT9z}"_s << u"KT9z_JJCB"_s;
        QTest::newRow("counter 25") << makeID(25, 1, 2, 123456789) << u"{KT9ba}"_s << u"KT9ba_JJCB"_s;
        QTest::newRow("counter 255") << makeID(255, 35, 36, 123456789) << u"{KT9lq}"_s << u"KT9lq_JJA-"_s;
        QTest::newRow("stamp 0") << makeID(0, 0, 0, 0) << u"{AAA}"_s << u"AAA_AAAA"_s;
        QTest::newRow("reserved byte ignored")
            << makeID(3, 0, 0, 9999, 0xFF) << u"{AAAc}"_s << u"AAAc_11AA"_s;
    }
    void texts()
    {
        QFETCH(unsigned long long, id);
        QFETCH(QString, shortText);
        QFETCH(QString, fullText);
        QCOMPARE(ID2str(id), shortText);
        QCOMPARE(ID2strFull(id), fullText);
        _JobBasics job;
        job.JobID = id;
        QCOMPARE(job.IDstr(), shortText);
        QCOMPARE(job.ID2strFull(), fullText);
    }

    // The 32-bit short form: packing order and agreement of the three ways to compute it.
    void shortForm_data()
    {
        QTest::addColumn<unsigned long long>("id");
        QTest::addColumn<unsigned int>("int32");
        QTest::newRow("small") << makeID(5, 9, 9, 123456789) << ((12345u << 8) | 5u);
        QTest::newRow("coarse above 16 bits") << makeID(7, 0, 0, 4294967295u) << ((429496u << 8) | 7u);
        QTest::newRow("zero") << makeID(0, 0, 0, 0) << 0u;
    }
    void shortForm()
    {
        QFETCH(unsigned long long, id);
        QFETCH(unsigned int, int32);
        IDShort s;
        s.fromID(id);
        QCOMPARE(s.int32(), int32);
        QCOMPARE(ID2ShortID(id), int32);
        _JobSubmitter job;
        job.JobID = id;
        QCOMPARE(job.ID2ShortID(), int32);
        QCOMPARE(s.str(), ID2str(id));
    }
};

QTEST_GUILESS_MAIN(tst_jobid)
#include "tst_jobid.moc"
