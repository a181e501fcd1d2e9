// Job records: the clear rules of their layers, frame counts and indexes, the job identifier's
// texts, and the custom value block.
#include "fmrecordbytes.h"

#include "foundation/fmjobid.h"
#include "jobs/fmjob.h"

#include <QTest>

#include <cmath>
#include <limits>
#include <memory>

using namespace Qt::StringLiterals;

using namespace fmJ;
using namespace jobtest;

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

constexpr int kBasicsBlock = 19540; // CustomCount in _JobBasics

// Raw view of a block for checks against the byte format.
struct Raw
{
    uint8_t* rec;
    int at;
    int32_t count() const { return readAt<int32_t>(rec, size_t(at)); }
    int32_t valueEnd() const { return readAt<int32_t>(rec, size_t(at) + 4); }
    int32_t indexEnd() const { return readAt<int32_t>(rec, size_t(at) + 8); }
    uint8_t* data() const { return rec + at + 12; }
};
} // namespace

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

    // Index to frame number (as the log shows frames): pass split and step.
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
        QCOMPARE(job->F2fnNoOffset(13, &pass), 3 * 2.0 + 1.0);
        QCOMPARE(int(pass), 1);
    }

    // NaN, zero and infinite sequence values from a damaged record: no UB, no crash, bounded results.
    void damagedSequenceIsSafe()
    {
        auto job = std::make_unique<_JobSend>();
        job->SeqStart = std::nan("");
        job->SeqStep = 0.0;
        job->fmClearSend(false);
        QCOMPARE(int(job->FramesTotal), 0);
        job->FramesPerPass = 0;
        signed char pass = 7;
        job->F2fnNoOffset(12, &pass);
        QCOMPARE(int(pass), 0);
        job->FramesPerPass = -5;
        job->F2fnNoOffset(12, &pass);
        QCOMPARE(int(pass), 0);
    }

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
    }

    // The 32-bit short form: packing order, and its text as the log shows it.
    void shortForm_data()
    {
        QTest::addColumn<unsigned long long>("id");
        QTest::addColumn<unsigned int>("int32");
        QTest::newRow("small") << makeID(5, 9, 9, 123456789) << ((12345u << 8) | 5u);
        QTest::newRow("coarse above 16 bits") << makeID(7, 0, 0, 4294967295u) << ((429496u << 8) | 7u);
    }
    void shortForm()
    {
        QFETCH(unsigned long long, id);
        QFETCH(unsigned int, int32);
        QCOMPARE(ID2ShortID(id), int32);
        IDShort s;
        s.fromInt32(int32);
        QCOMPARE(s.str(), ID2str(id));
    }

    // The bytes of the block: index entries with big-endian position and length, then values.
    void byteFormat()
    {
        auto job = std::make_unique<_JobBasics>();
        job->customSet_All({u"ab"_s, u"W"_s}, {u"xyz"_s, QString(QChar(0x263A))});
        Raw r{reinterpret_cast<uint8_t*>(job.get()), kBasicsBlock};
        QCOMPARE(r.count(), 2);
        // "c" 0x00 0x0F 0x00 0x03 "ab" NUL | "u" 0x00 0x12 0x00 0x01 "W" NUL | "xyz" | 0x26 0x3A
        const uint8_t want[] = {'c', 0, 15,  0, 3,   'a', 'b', 0,    'u',  0, 18,
                                0,   1, 'W', 0, 'x', 'y', 'z', 0x26, 0x3A, 0};
        QCOMPARE(r.indexEnd(), 15);
        QCOMPARE(r.valueEnd(), 20);
        QCOMPARE(std::memcmp(r.data(), want, sizeof(want)), 0);
    }

    // A block from a damaged or hostile file: reads stay inside the 5000 bytes and the bytes are kept.
    void hostileBlock_data()
    {
        QTest::addColumn<int>("count");
        QTest::addColumn<int>("indexEnd");
        QTest::addColumn<int>("position");
        QTest::addColumn<int>("length");
        QTest::addColumn<char>("mode");
        QTest::addColumn<int>("valueLength");
        QTest::newRow("length past the end") << 1 << 12 << 4990 << 65535 << 'c' << 10;
        QTest::newRow("wide past the end") << 1 << 12 << 4999 << 65535 << 'u' << 0;
        QTest::newRow("position outside") << 1 << 12 << 65535 << 10 << 'c' << 0;
        QTest::newRow("huge counts") << 2000000000 << 2000000000 << 0 << 3 << 'c' << 3;
        QTest::newRow("negative counts") << -5 << -5 << 0 << 3 << 'c' << -1;
        QTest::newRow("bad mode") << 1 << 12 << 0 << 3 << 'x' << -1;
    }
    void hostileBlock()
    {
        QFETCH(int, count);
        QFETCH(int, indexEnd);
        QFETCH(int, position);
        QFETCH(int, length);
        QFETCH(char, mode);
        QFETCH(int, valueLength);
        auto job = std::make_unique<_JobBasics>();
        uint8_t* rec = reinterpret_cast<uint8_t*>(job.get());
        fillPattern(rec + kBasicsBlock + 12, JobCustomData_Size, 9);
        writeAt<int32_t>(rec, kBasicsBlock, count);
        writeAt<int32_t>(rec, kBasicsBlock + 4, 123456);
        writeAt<int32_t>(rec, kBasicsBlock + 8, indexEnd);
        uint8_t* d = rec + kBasicsBlock + 12;
        const uint8_t entry[] = {uint8_t(mode),
                                 uint8_t(position >> 8),
                                 uint8_t(position),
                                 uint8_t(length >> 8),
                                 uint8_t(length),
                                 'k',
                                 'e',
                                 'y',
                                 0};
        std::memcpy(d, entry, sizeof(entry));
        if (QByteArray(QTest::currentDataTag()) == "huge counts")
            d[9] = 'c'; // the walk goes on into the pattern, which must end it without an overread
        std::vector<uint8_t> before(sizeof(_JobBasics));
        std::memcpy(before.data(), rec, before.size());

        const QString v = job->custom_Str(u"KEY"_s);
        QCOMPARE(int(v.isNull() ? -1 : v.size()), valueLength);
        QVERIFY(job->custom_maxIDs() >= 0 && job->custom_maxIDs() <= JobCustomData_Size);
        for (int id = -1; id < 5; ++id) {
            job->custom_StrByID(id);
            job->custom_NameByID(id);
        }
        QCOMPARE(job->custom_sub(4999, 1000, CUSTOMData_Unicode), QString());
        QCOMPARE(job->custom_sub(4998, 1000, CUSTOMData_Char).size(), 2);
        QCOMPARE(job->custom_sub(-7, 10, CUSTOMData_Char), QString());
        QCOMPARE(std::memcmp(before.data(), rec, before.size()), 0); // reading repairs nothing

        // Writing rebuilds the block from what could be read, within its bounds.
        job->customSet_Str(u"UserInfo"_s, u"ok"_s);
        QCOMPARE(job->custom_Str(u"userinfo"_s), u"ok"_s);
        QVERIFY(readAt<int32_t>(rec, kBasicsBlock + 4) <= JobCustomData_Size);
    }
};

QTEST_GUILESS_MAIN(tst_jobrecords)
#include "tst_jobrecords.moc"
