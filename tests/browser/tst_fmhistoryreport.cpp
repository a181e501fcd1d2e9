// History reports: sums by hand over a root with every record layout, a month boundary in
// local time, a damaged file, and the per-file cache.

#include "joblist_fixtures.h"

#include "browser/fmhistoryreport.h"
#include "jobs/fminflate.h"
#include "jobs/fmjobframe.h"

#include <QDir>
#include <QTemporaryDir>
#include <QtTest>

#include <zlib.h>

#include <ctime>
#include <random>
#include <vector>

using jlfix::ReportFields;

namespace {

// 2026-09-30 22:30 UTC is 2026-10-01 00:30 in Berlin: October locally, September in UTC.
constexpr qint64 LateSept = 1790807400;
constexpr qint64 Sept30 = LateSept - 3600; // 23:30 in Berlin, still September
constexpr qint64 Sept15 = 1789430400;
constexpr qint64 Aug10 = 1786320000;
constexpr qint64 Oct05 = 1791158400;

QByteArray current(const ReportFields& f)
{
    return jlfix::frame(jlfix::reportRecordBytes<fmJ::_jobsHistoryDB>(f), 0x0A04, 3, 37980);
}

void write(const QString& path, const QByteArray& bytes)
{
    QDir().mkpath(QFileInfo(path).path());
    QVERIFY(jlfix::writeFile(path, bytes));
}

} // namespace

class tst_fmhistoryreport : public QObject
{
    Q_OBJECT
    QTemporaryDir Dir;
    QString History, Cache;
    fmClientSpeeds Speeds{{4.0f, 2}}; // client 0: 2 per core

    fmHistorySummary read()
    {
        fmHistorySummaryReader r;
        r.setCacheFolder(Cache);
        r.setClientSpeeds(Speeds);
        return r.read(History);
    }

private slots:
    void initTestCase()
    {
        qputenv("TZ", "Europe/Berlin");
        tzset();
        History = Dir.path() + QStringLiteral("/history_db/");
        Cache = Dir.path() + QStringLiteral("/cache/");
        // Alpha: two current jobs, an old 6.1 one beside them, a 6.2 and a 6.27 one in a "__" folder.
        write(History + QStringLiteral("Alpha.db61"),
              current({5001, "ann", "Maya", LateSept, 7200, 1, 1, 10, 0, 3.0f, 2, 0}) +
                  current({5002, "bob", "Nuke", Sept30, 3600, 1, 1, 5, 0, 1.5f, 0, 0}));
        // No GHz hours stored: 3600 PS on a client of 2 per core gives 2.0; the sequence gives 10 frames.
        write(History + QStringLiteral("alpha.db"),
              jlfix::frame(jlfix::reportRecordBytes<fmJ::_OLD61__jobsHistoryDB>(
                               {5003, "ann", "Maya", Sept15, 1800, 10, 1, 0, 3600, 0.0f, 0, 11}),
                           0x0A02, 1, 30188));
        write(History + QStringLiteral("__2010/ALPHA.db"),
              jlfix::frame(jlfix::reportRecordBytes<fmJ::_OLD62_jobsHistoryDB>(
                               {5004, "bob", "Nuke", Aug10, 600, 20, 2, 0, 0, 0.5f, 1, 0}),
                           0x0A03, 1, 39516) +
                  jlfix::frame(jlfix::reportRecordBytes<fmJ::_OLD627_jobsHistoryDB>(
                                   {5005, "ann", "Houdini", Aug10 + 86400, 900, 4, 1, 0, 0, 1.0f, 0, 0}),
                               0x0A03, 1, 46908));
        // Beta: one job, a frame that doesn't inflate, then bytes that are no frame.
        write(History + QStringLiteral("Beta.db61"),
              current({6001, "cat", "Maya", Oct05, 3600, 1, 1, 100, 0, 10.0f, 3, 0}) +
                  jlfix::frame(QByteArray(300, char(0x55)), 0x0A04, 3, 37980, false) + QByteArray(100, 'x'));
    }

    // Catches a wrong sum, a job of an old layout dropped or not recomputed, a month taken in UTC
    // rather than local time, or a damaged file that stops the report.
    void sums_data()
    {
        QTest::addColumn<QString>("by");
        QTest::addColumn<QString>("key");
        QTest::addColumn<QStringList>("measures");
        const QStringList alpha = {"5", "3.92", "39", "8.00", "4.00", "3"};
        QTest::newRow("Alpha") << "project"
                               << "Alpha" << alpha;
        QTest::newRow("Beta") << "project"
                              << "Beta" << QStringList{"1", "1.00", "100", "10.00", "5.00", "3"};
        QTest::newRow("ann") << "user"
                             << "ann" << QStringList{"3", "2.75", "24", "6.00", "3.00", "2"};
        QTest::newRow("2026-08") << "month"
                                 << "2026-08" << QStringList{"2", "0.42", "14", "1.50", "0.75", "1"};
        QTest::newRow("2026-09") << "month"
                                 << "2026-09" << QStringList{"2", "1.50", "15", "3.50", "1.75", "0"};
        QTest::newRow("2026-10") << "month"
                                 << "2026-10" << QStringList{"2", "3.00", "110", "13.00", "6.50", "5"};
        QTest::newRow("Houdini") << "software"
                                 << "Houdini" << QStringList{"1", "0.25", "4", "1.00", "0.50", "0"};
    }
    void sums()
    {
        QFETCH(QString, by);
        QFETCH(QString, key);
        QFETCH(QStringList, measures);
        fmReportKey k = fmReportKey::User;
        QVERIFY(fmReportKeyFromName(by, k));
        QDir(Cache).removeRecursively();
        for (int pass = 0; pass < 2; ++pass) { // the second from the cache
            const fmHistorySummary s = read();
            QCOMPARE(s.CachedFiles, pass == 0 ? 0 : 4);
            QCOMPARE(s.FailedFrames, 1);
            QCOMPARE(s.DamagedFiles.size(), 1);
            QVERIFY2(s.DamagedFiles.first().startsWith(History + QStringLiteral("Beta.db61: format error")),
                     qPrintable(s.DamagedFiles.first()));
            const fmReport r = fmBuildReport(s, {k}, fmReportFilter(), 0.5);
            QCOMPARE(r.Total.Jobs, qint64(6));
            bool found = false;
            for (const fmReportRow& row : r.Rows)
                if (row.Key == QStringList{key}) {
                    QCOMPARE(fmReportMeasureTexts(row), measures);
                    found = true;
                }
            QVERIFY(found);
        }
    }

    // Catches a date range that drops the first or last day, or a project filter that is case-sensitive.
    void filter()
    {
        fmReportFilter f;
        QVERIFY(fmReportParseDate(QStringLiteral("2026-10-01"), false, f.From));
        QVERIFY(fmReportParseDate(QStringLiteral("2026-10-05"), true, f.To));
        f.Projects = {QStringLiteral("ALPHA")};
        const fmReport r = fmBuildReport(read(), {fmReportKey::User, fmReportKey::Month}, f, 1.0);
        QCOMPARE(r.Rows.size(), 1);
        QCOMPARE(r.Rows.first().Key, (QStringList{"ann", "2026-10"}));
        QVERIFY(!fmReportParseDate(QStringLiteral("2026-13-01"), false, f.From));
    }

    // Catches a stale or damaged cache entry being used instead of the file.
    void staleCache()
    {
        QDir(Cache).removeRecursively();
        fmHistoryFile beta;
        for (const fmHistoryFile& f : fmListHistoryFiles(History))
            if (f.Project == QLatin1String("Beta")) beta = f;
        const fmHistorySummaryCache cache(Cache);
        fmHistoryFileSummary s = fmSummarizeFile(beta, Speeds);
        QVERIFY(cache.store(s, Speeds));
        fmHistoryFileSummary back;
        QVERIFY(cache.load(beta, Speeds, back));
        QCOMPARE(back.Jobs.size(), size_t(1));
        QCOMPARE(back.Jobs[0].IdText, s.Jobs[0].IdText);
        fmHistoryFile touched = beta;
        touched.MTime += 1;
        QVERIFY(!cache.load(touched, Speeds, back));
        QVERIFY(!cache.load(beta, fmClientSpeeds{{8.0f, 2}}, back));
        const QString entry = QDir(Cache).entryInfoList(QDir::Files).first().filePath();
        QByteArray bytes = jlfix::readFile(entry);
        bytes[bytes.size() - 3] = char(bytes[bytes.size() - 3] ^ 0x40);
        QVERIFY(jlfix::writeFile(entry, bytes));
        QVERIFY(!cache.load(beta, Speeds, back));
    }

    void inflateAsUncompress_data()
    {
        QTest::addColumn<QByteArray>("body");
        QTest::addColumn<int>("id");
        auto z = [](const QByteArray& raw) {
            QByteArray out(int(compressBound(uLong(raw.size()))), '\0');
            uLongf n = uLongf(out.size());
            compress(reinterpret_cast<Bytef*>(out.data()), &n, reinterpret_cast<const Bytef*>(raw.data()),
                     uLong(raw.size()));
            return out.left(qsizetype(n));
        };
        const QByteArray now = z(jlfix::bytesOf(*jlfix::makeRecord(3)));
        QByteArray oldRaw(39516, 'a');
        for (int i = 0; i < oldRaw.size(); i += 7)
            oldRaw[i] = char(i * 13);
        const QByteArray old = z(oldRaw), tooLong = z(oldRaw + "more");
        // A header of method cmf and flags flg (with its check bits) in front of the data.
        auto header = [](QByteArray b, int cmf, int flg) {
            b[0] = char(cmf);
            b[1] = char(flg + (31 - (cmf * 256 + flg) % 31) % 31);
            return b;
        };
        auto flip = [](QByteArray b, qsizetype at) {
            b[at] = char(b[at] ^ 0x10);
            return b;
        };
        QTest::newRow("current") << now << 0x0A04;
        QTest::newRow("old, output exactly full") << old << 0x0A03;
        QTest::newRow("old, output overflows") << tooLong << 0x0A03;
        QTest::newRow("old, trailer cut, output full") << old.left(old.size() - 2) << 0x0A03;
        QTest::newRow("trailer cut") << now.left(now.size() - 1) << 0x0A04;
        QTest::newRow("data cut") << now.left(now.size() / 2) << 0x0A04;
        QTest::newRow("header only") << now.left(2) << 0x0A04;
        QTest::newRow("one byte") << now.left(1) << 0x0A04;
        QTest::newRow("bad check bits") << flip(now, 1) << 0x0A04;
        QTest::newRow("method 7") << header(now, 0x77, 0) << 0x0A04;
        QTest::newRow("window 64 KB") << header(now, 0x88, 0) << 0x0A04;
        QTest::newRow("window 1 KB") << header(now, 0x28, 0) << 0x0A04;
        QTest::newRow("dictionary") << header(now, 0x78, 0x20) << 0x0A04;
        QTest::newRow("dictionary cut") << header(now, 0x78, 0x20).left(4) << 0x0A04;
        QTest::newRow("data damaged") << flip(now, now.size() / 2) << 0x0A04;
        QTest::newRow("checksum damaged") << flip(now, now.size() - 2) << 0x0A04;
        QTest::newRow("garbage behind") << now + "garbage" << 0x0A04;
    }
    // The frame steps' own inflate (raw, with the zlib header and Adler-32 checked apart) gives
    // uncompress()'s code and length for every input: the loader's messages name that code.
    void inflateAsUncompress()
    {
        QFETCH(QByteArray, body);
        QFETCH(int, id);
        fmJ::frame::Header h;
        h.ID = uint16_t(id);
        h.Stored = id == 0x0A04 ? 37980 : 39516;
        std::vector<unsigned char> mine(fmJ::_JobList::ReadLimit), zlib(fmJ::_JobList::ReadLimit);
        const auto* in = reinterpret_cast<const unsigned char*>(body.constData());
        uint32_t n = 0;
        const int code = fmJ::frame::inflateBody(h, in, body.size(), mine.data(), n);
        uLongf len = id == 0x0A04 ? uLongf(fmJ::_JobList::ReadLimit) : uLongf(h.Stored);
        QCOMPARE(code, uncompress(zlib.data(), &len, in, uLong(body.size())));
        QCOMPARE(n, uint32_t(len));
        QVERIFY(std::equal(mine.begin(), mine.begin() + n, zlib.begin()));
    }

    // The fast decoder against zlib's raw inflate: every stream zlib takes it takes too, with the
    // same bytes and the same end, and no damaged stream passes it that zlib refuses. Each row is
    // one way of compressing; each is then cut, bit-flipped and overwritten at seeded places.
    void fastInflateAsZlib_data()
    {
        QTest::addColumn<QByteArray>("raw");
        QTest::addColumn<int>("level");
        QTest::addColumn<int>("strategy");
        const QByteArray record = jlfix::bytesOf(*jlfix::makeRecord(5));
        QByteArray noise(20000, '\0');
        std::mt19937 gen(7);
        for (char& c : noise)
            c = char(gen() % 7 == 0 ? gen() : 'x');
        QTest::newRow("record, default") << record << Z_DEFAULT_COMPRESSION << int(Z_DEFAULT_STRATEGY);
        QTest::newRow("record, best") << record << 9 << int(Z_DEFAULT_STRATEGY);
        QTest::newRow("record, stored blocks") << record << 0 << int(Z_DEFAULT_STRATEGY);
        QTest::newRow("record, fixed codes") << record << 6 << int(Z_FIXED);
        QTest::newRow("record, runs only") << record << 6 << int(Z_RLE);
        QTest::newRow("noise, literals only") << noise << 6 << int(Z_HUFFMAN_ONLY);
        QTest::newRow("noise, fast") << noise << 1 << int(Z_DEFAULT_STRATEGY);
        QTest::newRow("beyond the output room") << record + record << 6 << int(Z_DEFAULT_STRATEGY);
        QTest::newRow("nothing") << QByteArray() << 6 << int(Z_DEFAULT_STRATEGY);
    }
    void fastInflateAsZlib()
    {
        QFETCH(QByteArray, raw);
        QFETCH(int, level);
        QFETCH(int, strategy);
        z_stream c{};
        QCOMPARE(deflateInit2(&c, level, Z_DEFLATED, -15, 8, strategy), Z_OK);
        QByteArray packed(int(deflateBound(&c, uLong(raw.size()))), '\0');
        c.next_in = reinterpret_cast<Bytef*>(raw.data());
        c.avail_in = uInt(raw.size());
        c.next_out = reinterpret_cast<Bytef*>(packed.data());
        c.avail_out = uInt(packed.size());
        QCOMPARE(deflate(&c, Z_FINISH), Z_STREAM_END);
        packed.resize(qsizetype(c.total_out));
        deflateEnd(&c);

        const size_t room = fmJ::_JobList::ReadLimit;
        std::vector<unsigned char> mine(room), theirs(room);
        auto agree = [&](const QByteArray& in, bool mustTake) {
            const auto* bytes = reinterpret_cast<const unsigned char*>(in.constData());
            size_t made = 0, used = 0;
            const bool fast =
                fmJ::frame::inflateRawFast(bytes, size_t(in.size()), mine.data(), room, made, used);
            z_stream d{};
            inflateInit2(&d, -15);
            d.next_in = const_cast<Bytef*>(bytes);
            d.avail_in = uInt(in.size());
            d.next_out = theirs.data();
            d.avail_out = uInt(room);
            const bool zlib = inflate(&d, Z_FINISH) == Z_STREAM_END;
            inflateEnd(&d);
            if (mustTake && !fast) return false;
            if (fast != zlib) return false;
            return !fast || (made == d.total_out && used == d.total_in &&
                             std::equal(mine.begin(), mine.begin() + qsizetype(made), theirs.begin()));
        };
        QVERIFY(agree(packed, raw.size() <= qsizetype(room)));
        std::mt19937 gen(uint32_t(level * 31 + strategy));
        for (int i = 0; i < 400 && !packed.isEmpty(); ++i) {
            QByteArray bad = packed;
            const qsizetype at = qsizetype(gen() % uint32_t(bad.size()));
            if (i % 3 == 0)
                bad.truncate(at);
            else if (i % 3 == 1)
                bad[at] = char(bad[at] ^ (1 << (gen() % 8)));
            else
                bad[at] = char(gen());
            QVERIFY2(agree(bad, false), qPrintable(QStringLiteral("damage %1 at byte %2").arg(i).arg(at)));
        }
    }
};

QTEST_GUILESS_MAIN(tst_fmhistoryreport)
#include "tst_fmhistoryreport.moc"
