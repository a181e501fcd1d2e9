#include "app/fm.h"
#include "farm/fmclientlist.h"
#include "fmrecordbytes.h"
#include "jobs/fmjobhistory.h"

#include <QTest>
#include <memory>
#include <vector>

using namespace Qt::StringLiterals;

using namespace fmJ;
using namespace jobtest;

namespace {

// Where each field of the history record (offset, size) comes from: in a finished job (the copy
// takes it as it stands; -1: a rule of its own) and in the old layouts (-1: a rule of its own).
// Written from the layout tables, not from the structures, so that a wrong structure shows here.
struct Field
{
    const char* name;
    int to;
    int size;
    int job;
    int old61;
    int old62;
    int old627;
};
const Field kFields[] = {
    {"PathOS", 20, 1, 20, 20, 20, 20},
    {"SceneOS", 21, 1, 21, 21, 21, 21},
    {"SceneName", 22, 506, 260, 22, 22, 260},
    {"SceneDatabaseDir", 528, 506, 766, 528, 528, 766},
    {"VersionMinor", 1036, 4, 24, 1036, 1036, 24},
    {"Software", 1040, 56, 28, 1040, 1040, 28},
    {"Renderer", 1096, 56, 84, 1096, 1096, 84},
    {"Version", 1152, 2, 140, 1152, 1152, 140},
    {"SoftwareAlias", 1154, 56, 142, 1154, 1154, 142},
    {"RenderType", 1210, 56, 198, 1210, 1210, 198},
    {"AppValue254", 1266, 2, 254, 1266, 1266, 254},
    {"AppValue256", 1268, 2, 256, 1268, 1268, 256},
    {"BasicsFlag22", 1272, 1, 22, 9631, 1272, 22},
    {"Camera", 1274, 106, 1778, 1272, 1274, 1778},
    {"Layer", 1380, 106, 1884, 1378, 1380, 1884},
    {"Channel", 1486, 106, 1990, 1484, 1486, 1990},
    {"ImageDir", 1592, 506, 2602, 1590, 1592, 2602},
    {"ImageFileNameVariable", 2098, 506, 2096, 10188, 2098, 2096},
    {"ImageFileName", 2604, 506, 3108, 2302, 2604, 3108},
    {"ImageFileNamePost", 3110, 506, 3614, 2808, 3110, 3614},
    {"ImageExtension", 3616, 56, 4120, 3314, 3616, 4120},
    {"ImageFormatFlag", 3672, 1, 4176, 3370, 3672, 4176},
    {"ImageFramePadding", 3673, 1, 4177, 3371, 3673, 4177},
    {"ImageChannels", 3674, 11240, 4178, 3372, 3674, 4178},
    {"ImageWidth", 14914, 2, 18228, 8992, 14914, 18228},
    {"ImageHeight", 14916, 2, 18230, 8994, 14916, 18230},
    {"ImageSingleOutputFile", 14918, 1, 18232, 8996, 14918, 18232},
    {"BasicsText25", 14920, 56, 18234, 9552, 14920, 18234},
    {"ImageChannelCount", 14976, 1, 18290, 8997, 14976, 18290},
    {"BasicsTags", 14978, 520, 18292, 8998, 14978, 18292},
    {"SeqStart", 15500, 8, 18864, 9520, 15500, 18864},
    {"SeqEnd", 15508, 8, 18872, 9528, 15508, 18872},
    {"SeqStep", 15516, 8, 18880, 9536, 15516, 18880},
    {"SeqFileOffset", 15524, 8, 18888, 9544, 15524, 18888},
    {"BasicsFlag19000", 15638, 1, 19000, 9519, 15638, 19000},
    {"Selected", 15639, 1, 24552, 9608, 17170, 24552},
    {"JobID", 15640, 8, 19004, 11044, 17572, 24964},
    {"UserName", 15648, 56, 24620, 10700, 17228, 24620},
    {"SubmitterText25", 15704, 56, 24676, 10756, 17284, 24676},
    {"CustomSeQName", 15760, 56, 24732, 10812, 17340, 24732},
    {"CustomSHotName", 15816, 56, 24788, 10868, 17396, 24788},
    {"CustomVersionName", 15872, 56, 24844, 10924, 17452, 24844},
    {"CompanyProjectName", 15928, 106, 24900, -1, -1, -1},
    {"DateSend", 16036, 8, 25008, 11036, 17564, 24956},
    {"Color_ID", 16044, 1, 25016, 11052, 17580, 24972},
    {"ClientStats", 16048, 6000, -1, 11056, 17584, 24976},
    {"Priority", 22048, 1, 47035, 14257, 23585, 30977},
    {"ErrorCountHard", 22049, 1, 48124, 14258, 23586, 30978},
    {"ErrorCount", 22050, 1, -1, 14259, 23587, 30979},
    {"Errors", 22052, 600, -1, 14260, 23588, 30980},
    {"ExecutionTime", 34656, 8, 63996, 26864, 36192, 43584},
    {"TotalPS", 34664, 8, 64004, 26872, 36200, 43592},
    {"TotalGhzHours", 34672, 4, 64012, 30128, 39456, 46848},
    {"DateFinished", 34676, 8, 64024, 26880, 36208, 43600},
    {"FrameCounters", 34684, 14, 60732, 26888, 36216, 43608},
    {"FrameLog", 34700, 3200, 60748, 26904, 36232, 43624},
    {"FramesSend", 37900, 2, 63948, 30104, 39432, 46824},
    {"FramesCrashed", 37902, 2, 63950, 30106, 39434, 46826},
    {"FramesAborted", 37904, 2, 63952, 30108, 39436, 46828},
    {"AverageClients", 37908, 4, 63956, 30112, 39440, 46832},
    {"AverageFrameTime", 37912, 4, 63964, 30116, 39444, 46836},
    {"PreviewEnabled", 37920, 1, 25017, 30124, 39452, 46844},
};

constexpr int kHist = 37980;

// A coverage map of the history record: bytes that no field covers must stay zero.
struct Coverage
{
    std::vector<bool> covered = std::vector<bool>(kHist, false);
    void mark(int offset, int size)
    {
        for (int i = 0; i < size; ++i)
            covered[size_t(offset + i)] = true;
    }
    // Index of the first uncovered non-zero byte, or -1.
    int firstStray(const void* record) const
    {
        const uint8_t* b = static_cast<const uint8_t*>(record);
        for (int i = 0; i < kHist; ++i)
            if (!covered[size_t(i)] && b[i] != 0) return i;
        return -1;
    }
};

bool sameBytes(const void* a, int aOff, const void* b, int bOff, int size)
{
    return std::memcmp(static_cast<const uint8_t*>(a) + aOff, static_cast<const uint8_t*>(b) + bOff,
                       size_t(size)) == 0;
}

bool allZero(const void* a, int off, int size)
{
    const uint8_t* b = static_cast<const uint8_t*>(a) + off;
    for (int i = 0; i < size; ++i)
        if (b[i]) return false;
    return true;
}

// Upgrades the bytes of an old record of layout Old, whose size is pinned here once more.
template <class Old, int Size> void upgradeFrom(const uint8_t* bytes, _jobsHistoryDB& h)
{
    static_assert(sizeof(Old) == Size);
    auto rec = std::make_unique<Old>();
    std::memcpy(static_cast<void*>(rec.get()), bytes, Size);
    rec->toJobHistoryDBNew(h);
}

// The history order of a 16-byte log entry, from the order of a job's entry.
void expectedHistoryLog(const uint8_t* job, uint8_t* out)
{
    out[0] = job[7];
    out[1] = job[4];
    out[2] = job[5];
    out[3] = job[6];
    std::memcpy(out + 4, job + 14, 2);
    std::memcpy(out + 6, job + 12, 2);
    std::memcpy(out + 8, job + 10, 2);
    std::memcpy(out + 10, job + 8, 2);
    std::memcpy(out + 12, job + 0, 4);
}

} // namespace

class tst_jobhistory : public QObject
{
    Q_OBJECT
private slots:
    // Every field of a finished job must land at its place in the history record, nothing else.
    void fromJobSave()
    {
        auto job = std::make_unique<_JobSave>();
        fillPattern(job.get(), sizeof(_JobSave), 7);
        job->SeqStart = 1.0;
        job->SeqEnd = 10.0;
        job->SeqStep = 1.0;
        job->ImageChannelCount = 3;
        job->ErrorCount = 4;
        job->LogCount = 3;
        writeAt<uint16_t>(job.get(), 18896 + 102, 80); // BasicsText100 Length
        auto h = std::make_unique<_jobsHistoryDB>();
        fillPattern(h.get(), sizeof(_jobsHistoryDB), 99); // the copy must not keep anything old
        *h = *job;

        Coverage cov;
        for (const Field& f : kFields) {
            if (f.job < 0) continue;
            QVERIFY2(sameBytes(h.get(), f.to, job.get(), f.job, f.size), f.name);
            cov.mark(f.to, f.size);
        }
        QCOMPARE(readAt<uint16_t>(h.get(), 0), readAt<uint16_t>(job.get(), 0));
        QCOMPARE(readAt<uint16_t>(h.get(), 2), readAt<uint16_t>(job.get(), 2));
        QCOMPARE(readAt<uint16_t>(h.get(), 4), readAt<uint16_t>(job.get(), 4));
        QCOMPARE(readAt<uint16_t>(h.get(), 6), uint16_t(0)); // only the first three words are taken
        QCOMPARE(readAt<uint16_t>(h.get(), 16), uint16_t(0x0A04));
        QCOMPARE(readAt<uint16_t>(h.get(), 18), uint16_t(3));
        cov.mark(0, 6);
        cov.mark(16, 4);
        for (int k = 0; k < 750; ++k) {
            QVERIFY(sameBytes(h.get(), 16048 + 8 * k, job.get(), 25032 + 24 * k, 4));
            QVERIFY(sameBytes(h.get(), 16048 + 8 * k + 4, job.get(), 25032 + 24 * k + 20, 4));
        }
        cov.mark(16048, 6000);
        QCOMPARE(readAt<int8_t>(h.get(), 22050), int8_t(4));
        QVERIFY(sameBytes(h.get(), 22052, job.get(), 48128, 4 * 12));
        cov.mark(22050, 1);
        cov.mark(22052, 4 * 12);
        QCOMPARE(readAt<int16_t>(h.get(), 22652), int16_t(3));
        cov.mark(22652, 2);
        cov.mark(22656, 3 * 16);
        QCOMPARE(readAt<int32_t>(h.get(), 37916), 30);
        cov.mark(37916, 4);
        QCOMPARE(h->BasicsText100.toQString(), job->BasicsText100.toQString().left(50));
        QCOMPARE(int(h->BasicsText100.Length), 50);
        cov.mark(15532, 50 * 2 + 2); // the text and its terminator
        cov.mark(15532 + 102, 2);
        QCOMPARE(cov.firstStray(h.get()), -1);
    }

    // The newest log entries are kept in the history order, at most 749, and at most 49 errors; a
    // damaged count reads and writes nothing past its array.
    void fromJobSaveCounts_data()
    {
        QTest::addColumn<int>("logCount");
        QTest::addColumn<int>("kept");
        QTest::addColumn<int>("first"); // the first log entry kept
        QTest::addColumn<int>("errorCount");
        QTest::addColumn<int>("stored");
        QTest::addColumn<int>("entries"); // error entries copied
        QTest::newRow("empty") << 0 << 0 << 0 << 0 << 0 << 0;
        QTest::newRow("749 and 49") << 749 << 749 << 0 << 49 << 49 << 49;
        QTest::newRow("full: the oldest go") << 750 << 749 << 1 << 50 << 49 << 49;
        QTest::newRow("damaged") << 30000 << 749 << 1 << 120 << 49 << 49;
        QTest::newRow("negative") << -3 << 0 << 0 << -2 << -2 << 0;
    }
    void fromJobSaveCounts()
    {
        QFETCH(int, logCount);
        QFETCH(int, kept);
        QFETCH(int, first);
        QFETCH(int, errorCount);
        QFETCH(int, stored);
        QFETCH(int, entries);
        auto job = std::make_unique<_JobSave>();
        fillPattern(job.get(), sizeof(_JobSave), 3);
        job->LogCount = int16_t(logCount);
        job->ErrorCount = int8_t(errorCount);
        auto h = std::make_unique<_jobsHistoryDB>();
        *h = *job;
        QCOMPARE(int(h->LogCount), kept);
        QCOMPARE(h->logCountClamped(), kept);
        const uint8_t* jb = reinterpret_cast<const uint8_t*>(job.get());
        for (int k = 0; k < kept; ++k) {
            uint8_t want[16];
            expectedHistoryLog(jb + 48732 + 16 * (first + k), want);
            QVERIFY2(sameBytes(h.get(), 22656 + 16 * k, want, 0, 16), qPrintable(QString::number(k)));
        }
        QVERIFY(allZero(h.get(), 22656 + 16 * kept, 16 * (750 - kept)));
        QCOMPARE(int(h->ErrorCount), stored);
        QVERIFY(sameBytes(h.get(), 22052, job.get(), 48128, entries * 12));
        QVERIFY(allZero(h.get(), 22052 + entries * 12, (50 - entries) * 12));
        QVERIFY(h->errorCountClamped() >= 0 && h->errorCountClamped() <= 50);
    }

    // Each old layout, filled with distinct bytes, must upgrade field by field to the current places.
    void upgrade_data()
    {
        QTest::addColumn<int>("layout");
        QTest::addColumn<int>("logCount");
        QTest::addColumn<int>("projectLength");
        QTest::newRow("6.1") << 61 << 12 << 20;
        QTest::newRow("6.1 full log") << 61 << 750 << 25;
        QTest::newRow("6.2") << 62 << 749 << 0;
        QTest::newRow("6.2 damaged") << 62 << 30000 << 65535;
        QTest::newRow("6.27") << 627 << 0 << 7;
        QTest::newRow("6.27 negative count") << 627 << -1 << 25;
    }
    void upgrade()
    {
        QFETCH(int, layout);
        QFETCH(int, logCount);
        QFETCH(int, projectLength);
        const int size = layout == 61 ? 30188 : (layout == 62 ? 39516 : 46908);
        std::vector<uint8_t> old(size_t(size) + 16);
        uint8_t* o = old.data();
        fillPattern(o, size_t(size), uint32_t(layout));
        const int logAt = layout == 61 ? 14860 : (layout == 62 ? 24188 : 31580);
        const int projectAt = layout == 61 ? 10980 : (layout == 62 ? 17508 : 24900);
        writeAt<int16_t>(o, size_t(logAt), int16_t(logCount));
        writeAt<uint16_t>(o, size_t(projectAt) + 52, uint16_t(projectLength));

        auto h = std::make_unique<_jobsHistoryDB>();
        fillPattern(h.get(), sizeof(_jobsHistoryDB), 1234);
        if (layout == 61) upgradeFrom<_OLD61__jobsHistoryDB, 30188>(o, *h);
        if (layout == 62) upgradeFrom<_OLD62_jobsHistoryDB, 39516>(o, *h);
        if (layout == 627) upgradeFrom<_OLD627_jobsHistoryDB, 46908>(o, *h);

        Coverage cov;
        const uint16_t header[10] = {0x0403, 3, 0x0506, 7, 0x0606, 6, 0, 0, 0x0A04, 3};
        for (int i = 0; i < 10; ++i)
            QCOMPARE(readAt<uint16_t>(h.get(), size_t(2 * i)), header[i]);
        cov.mark(0, 20);
        for (const Field& f : kFields) {
            if (f.old61 < 0) continue;
            const int from = layout == 61 ? f.old61 : (layout == 62 ? f.old62 : f.old627);
            int n = f.size;
            if (layout == 61 && QByteArray(f.name) == "ImageChannels") n = 9 * 562;
            if (layout == 61 && QByteArray(f.name) == "ClientStats") n = 400 * 8;
            QVERIFY2(sameBytes(h.get(), f.to, o, from, n), f.name);
            QVERIFY2(allZero(h.get(), f.to + n, f.size - n), f.name);
            cov.mark(f.to, n);
        }
        // The project name: text from the 25-character string, the length at most 25.
        const int textLength = qMin(projectLength, 25);
        QCOMPARE(int(h->CompanyProjectName.Length), textLength);
        QVERIFY(sameBytes(h.get(), 15928, o, projectAt, textLength * 2));
        cov.mark(15928, textLength * 2);
        cov.mark(15928 + 102, 2);
        // The log: from 750 on the last 749 entries, else all 750 as they stand.
        const int16_t newCount = readAt<int16_t>(h.get(), 22652);
        cov.mark(22652, 2);
        if (logCount >= 750) {
            QCOMPARE(int(newCount), 749);
            QVERIFY(sameBytes(h.get(), 22656, o, logAt + 4 + 16, 749 * 16));
            cov.mark(22656, 749 * 16);
        } else {
            QCOMPARE(int(newCount), logCount);
            QVERIFY(sameBytes(h.get(), 22656, o, logAt + 4, 750 * 16));
            cov.mark(22656, 750 * 16);
        }
        QVERIFY(h->logCountClamped() >= 0 && h->logCountClamped() <= 750);
        // Not computed by an upgrade.
        QCOMPARE(int(h->TotalFrames), 0);
        QCOMPARE(int(h->BasicsText100.Length), 0);
        QCOMPARE(cov.firstStray(h.get()), -1);
    }

    // The history forms of errors and log entries convert to the job forms and back unchanged.
    void entryForms()
    {
        _History_Log hl;
        fillPattern(&hl, sizeof(hl), 11);
        const _Log l = hl.toNew();
        uint8_t lb[16];
        std::memcpy(lb, &l, 16);
        uint8_t want[16];
        expectedHistoryLog(lb, want);
        QVERIFY(sameBytes(&hl, 0, want, 0, 16));
        _History_Log back;
        back.fromNew(l);
        QVERIFY(sameBytes(&hl, 0, &back, 0, 16));

        _History_Error he;
        fillPattern(&he, sizeof(he), 12);
        const _Error e = he.toNew();
        QVERIFY(sameBytes(&he, 0, &e, 0, 12));
    }

    // Bytes from a hostile file: copies keep every byte, accessors show clamped values, no overread.
    void hostileRecordRoundTrips()
    {
        auto h = std::make_unique<_jobsHistoryDB>();
        fillPattern(h.get(), sizeof(_jobsHistoryDB), 77);
        writeAt<uint16_t>(h.get(), 22 + 502, 65535);    // SceneName Length
        writeAt<uint16_t>(h.get(), 15648 + 52, 65535);  // UserName Length
        writeAt<uint16_t>(h.get(), 15928 + 102, 65535); // CompanyProjectName Length
        writeAt<int16_t>(h.get(), 22652, 30000);
        writeAt<int8_t>(h.get(), 22050, 120);
        writeAt<float>(h.get(), 34672, 1.5f); // TotalGhzHours present: the record isn't changed
        std::vector<uint8_t> before(sizeof(_jobsHistoryDB));
        std::memcpy(before.data(), h.get(), before.size());

        auto copy = std::make_unique<_jobsHistoryDB>();
        *copy = *h;
        QCOMPARE(std::memcmp(copy.get(), before.data(), before.size()), 0);

        auto rt = std::make_unique<_jobsHistoryDB_Runtime>();
        rt->fromJobSave(h.get(), nullptr, 0);
        QCOMPARE(std::memcmp(static_cast<const void*>(rt.get()), before.data(), before.size()), 0);
        QCOMPARE(rt->SceneName.toQString().size(), 250);
        QCOMPARE(rt->logCountClamped(), 750);
        QCOMPARE(rt->errorCountClamped(), 50);
        QCOMPARE(rt->UserNameLower.len(), 25);
        QCOMPARE(int(rt->UserNameLower.Length), 65535); // copied whole
        QCOMPARE(int(rt->CompanyProjectLower.Length), 25);
        QCOMPARE(int(rt->QueueID), -1);
        rt->fromJobSave(nullptr, nullptr, 0); // no crash, nothing changes
        QCOMPARE(std::memcmp(static_cast<const void*>(rt.get()), before.data(), before.size()), 0);

        // The same from a damaged finished job into a history record.
        auto job = std::make_unique<_JobSave>();
        fillPattern(job.get(), sizeof(_JobSave), 78);
        writeAt<uint16_t>(job.get(), 260 + 502, 65535);
        writeAt<uint16_t>(job.get(), 18896 + 102, 65535); // BasicsText100 Length
        *h = *job;
        QCOMPARE(int(h->SceneName.Length), 65535);
        QCOMPARE(h->SceneName.toQString().size(), 250);
        QCOMPARE(int(h->BasicsText100.Length), 50);
    }

    // Filter keys: lower case, the project cut to 25 characters.
    void runtimeKeys()
    {
        auto h = std::make_unique<_jobsHistoryDB>();
        h->UserName = u"AnNa \u00C4rger"_s;
        h->CompanyProjectName = u"The BIG Project Of Thirty Chars"_s;
        h->TotalGhzHours = 1.0f;
        auto rt = std::make_unique<_jobsHistoryDB_Runtime>();
        rt->fromJobSave(h.get(), nullptr, 0);
        QCOMPARE(rt->UserNameLower.toQString(), u"anna \u00E4rger"_s);
        QCOMPARE(rt->CompanyProjectLower.toQString(), u"the big project of thirty"_s);
        QCOMPARE(int(rt->CompanyProjectLower.Data[25]), 0);
        QCOMPARE(rt->CompanyProjectName.toQString(), u"The BIG Project Of Thirty Chars"_s);
    }

    // The GHz-hours estimate: which clients count, the average and the guards.
    void ghzHours_data()
    {
        QTest::addColumn<float>("stored");
        QTest::addColumn<qlonglong>("totalPS");
        QTest::addColumn<int>("framesDone");
        QTest::addColumn<int>("cores");
        QTest::addColumn<float>("result");
        QTest::addColumn<int>("saveVersion");
        QTest::newRow("speed 2 per core") << 0.0f << 3600LL << 11 << 4 << 2.0f << 6;
        QTest::newRow("too few frames") << 0.0f << 3600LL << 10 << 4 << 0.0f << 6;
        QTest::newRow("no cores") << 0.0f << 3600LL << 50 << 0 << 0.0f << 6;
        QTest::newRow("negative PS") << 0.0f << -5LL << 50 << 4 << 0.0f << 6;
        QTest::newRow("stored kept") << 5.0f << 3600LL << 50 << 4 << 5.0f << 0;
        QTest::newRow("negative stored recomputed") << -1.0f << 7200LL << 50 << 4 << 4.0f << 6;
    }
    void ghzHours()
    {
        QFETCH(float, stored);
        QFETCH(qlonglong, totalPS);
        QFETCH(int, framesDone);
        QFETCH(int, cores);
        QFETCH(float, result);
        QFETCH(int, saveVersion);
        auto h = std::make_unique<_jobsHistoryDB>();
        h->TotalGhzHours = stored;
        h->TotalPS = uint64_t(totalPS);
        h->ClientStats[3].FramesDone = framesDone;
        h->ClientStats[5].FramesDone = 0; // a client that didn't render is not counted
        _ClientSpeed speeds[6] = {};
        speeds[3] = {8.0f, cores};
        speeds[5] = {100.0f, 1};
        auto rt = std::make_unique<_jobsHistoryDB_Runtime>();
        rt->fromJobSave(h.get(), speeds, 6);
        QCOMPARE(float(rt->TotalGhzHours), result);
        QCOMPARE(int(rt->SaveStructVersion), saveVersion);
    }

    // The estimate must read Speed and Cores of FM's client table by client index.
    void ghzHoursFromClientTable()
    {
        // A client list of its own, put in FM's place for the test (only the client table is needed).
        auto own = std::make_unique<fmC::_ClientList>(FM);
        fmC::_ClientList* const saved = FM.ClientList;
        FM.ClientList = own.get();
        fmC::_ClientList& list = *own;
        list.clear();
        for (int i = 0; i < 4; ++i)
            QCOMPARE(list.addClient(), i);
        list.Clients[1].Hardware.Speed = 6.0f;
        list.Clients[1].Hardware.Cores = 2;
        list.Clients[3].Hardware.Speed = 2.0f;
        list.Clients[3].Hardware.Cores = 2;
        auto h = std::make_unique<_jobsHistoryDB>();
        h->TotalPS = 7200;
        h->ClientStats[1].FramesDone = 20;
        h->ClientStats[3].FramesDone = 20;
        auto rt = std::make_unique<_jobsHistoryDB_Runtime>();
        rt->fromJobSave(h.get(), FM);
        // Average of 3 and 1 GHz per core: 2; 7200 PS * 2 / 3600.
        QCOMPARE(float(rt->TotalGhzHours), 4.0f);
        FM.ClientList = saved;
    }
};

QTEST_GUILESS_MAIN(tst_jobhistory)
#include "tst_jobhistory.moc"
