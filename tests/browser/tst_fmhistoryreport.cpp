// History reports: sums by hand over a root with every record layout, a month boundary in
// local time, a damaged file, and the per-file cache.

#include "joblist_fixtures.h"

#include "browser/fmhistoryreport.h"
#include "jobs/fmjobframe.h"

#include <QDir>
#include <QTemporaryDir>
#include <QtTest>

#include <zlib.h>

#include <ctime>
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
};

QTEST_GUILESS_MAIN(tst_fmhistoryreport)
#include "tst_fmhistoryreport.moc"
