// The job list's view: sort by every column, filter, the custom active list, and the one rebuild
// at the end of a load.

#include "joblist_fixtures.h"

#include "foundation/fmjobid.h"
#include "jobs/fmjoblist.h"

#include <QTemporaryDir>
#include <QtTest>

#include <algorithm>
#include <cmath>
#include <functional>
#include <limits>
#include <random>

using namespace Qt::StringLiterals;

using namespace fmJ;
using R = _jobsHistoryDB_Runtime;

namespace {

// Text as the list compares it: the UTF-16 units as little-endian bytes.
QByteArray le(const QString& s)
{
    QByteArray b;
    for (QChar c : s) {
        b.append(char(c.unicode() & 0xFF));
        b.append(char(c.unicode() >> 8));
    }
    return b;
}

int cmpB(const QByteArray& a, const QByteArray& b)
{
    const int n = std::min(a.size(), b.size());
    const int c = std::memcmp(a.constData(), b.constData(), size_t(n));
    if (c) return c < 0 ? -1 : 1;
    return a.size() < b.size() ? -1 : (a.size() > b.size() ? 1 : 0);
}
template <class T> int cmpN(T a, T b)
{
    return a < b ? -1 : (a > b ? 1 : 0);
}
int cmpQ(const QString& a, const QString& b)
{
    const int c = a.compare(b);
    return c < 0 ? -1 : (c > 0 ? 1 : 0);
}

// The keys of every column, written once more without the list's code.
std::function<int(const R&, const R&)> reference(int sortID)
{
    auto t = [](const auto& s) { return le(s.toQString()); };
    switch (sortID) {
    case 1:
        return [t](const R& a, const R& b) { return cmpB(t(a.UserName), t(b.UserName)); };
    case 2:
        return [t](const R& a, const R& b) { return cmpB(t(a.CompanyProjectName), t(b.CompanyProjectName)); };
    case 3:
        return [](const R& a, const R& b) {
            const int c = cmpQ(a.CustomSeQName.toQString(), b.CustomSeQName.toQString());
            return c ? c : cmpQ(a.CustomSHotName.toQString(), b.CustomSHotName.toQString());
        };
    case 4:
        return [t](const R& a, const R& b) {
            int c = cmpB(t(a.Software), t(b.Software));
            if (!c) c = cmpB(t(a.Renderer), t(b.Renderer));
            if (!c) c = cmpN<int>(a.Version, b.Version);
            return c;
        };
    case 5:
        return [](const R& a, const R& b) {
            const int c = cmpN<int>(a.ErrorCountHard, b.ErrorCountHard);
            return c ? c : cmpN<int>(a.ErrorCount, b.ErrorCount);
        };
    case 8:
        return [t](const R& a, const R& b) { return cmpB(t(a.SceneName), t(b.SceneName)); };
    case 9:
        return [t](const R& a, const R& b) { return cmpB(t(a.Layer), t(b.Layer)); };
    case 10:
        return [t](const R& a, const R& b) { return cmpB(t(a.Camera), t(b.Camera)); };
    case 11:
        return [](const R& a, const R& b) { return cmpN<int>(a.TotalFrames, b.TotalFrames); };
    case 13:
        return [](const R& a, const R& b) { return cmpN<uint64_t>(a.ExecutionTime, b.ExecutionTime); };
    case 15:
        return [](const R& a, const R& b) { return cmpN<uint32_t>(a.AverageFrameTime, b.AverageFrameTime); };
    case 18:
        return [](const R& a, const R& b) { return cmpN<float>(a.AverageClients, b.AverageClients); };
    case 20:
        return [](const R& a, const R& b) { return cmpN<int64_t>(a.DateSend.t, b.DateSend.t); };
    case 21:
        return [](const R& a, const R& b) { return cmpN<int64_t>(a.DateFinished.t, b.DateFinished.t); };
    case 24:
        return [](const R& a, const R& b) {
            return cmpQ(a.CustomSHotName.toQString(), b.CustomSHotName.toQString());
        };
    default:
        return nullptr;
    }
}

// A list of jobs whose keys repeat, so that the tie-break decides often, with texts that differ
// in case and beyond the first four units.
std::unique_ptr<_JobList> makeList(int count, unsigned seed, const QString& common = QString())
{
    auto l = std::make_unique<_JobList>(FM, nullptr);
    std::mt19937 rnd(seed);
    const QStringList words = {u"abc"_s, u"Abc"_s,           u"abcdefgh"_s, u"abcdefgz"_s, u"ab"_s,
                               u""_s,    u"\u00e9t\u00e9"_s, u"\u0100x"_s,  u"zz"_s};
    auto w = [&]() { return common + words[int(rnd() % unsigned(words.size()))]; };
    for (int n = 0; n < count; ++n) {
        auto r = jlfix::makeRecord(n);
        r->Software = w();
        r->Renderer = w();
        r->SceneName = w();
        r->Camera = w();
        r->Layer = w();
        r->Channel = w();
        r->UserName = w();
        r->CompanyProjectName = w();
        r->CustomSeQName = w();
        r->CustomSHotName = w();
        r->Version = int16_t(rnd() % 3);
        r->ErrorCountHard = int8_t(int(rnd() % 5) - 2);
        r->ErrorCount = int8_t(int(rnd() % 5) - 2);
        r->TotalFrames = int(rnd() % 5) - 2;
        r->ExecutionTime = (rnd() % 2) ? uint64_t(rnd() % 4) : ~uint64_t(0) - (rnd() % 3);
        r->AverageFrameTime = rnd() % 4;
        r->AverageClients = float(rnd() % 4) - 1.5f;
        r->DateSend.t = int64_t(rnd() % 4) - 2;
        r->DateFinished.t = int64_t(rnd() % 4) * 1000000000000LL;
        l->GetNewJob()->fromJobSave(r.get(), FM);
    }
    return l;
}

QList<int> view(_JobList& l)
{
    QList<int> q;
    for (int i = 0; i < l.SortedCount; ++i)
        q.append(l.Sorted[i]->QueueID);
    return q;
}

} // namespace

class tst_fmjoblist_sort : public QObject
{
    Q_OBJECT
private slots:
    // Catches a column sorted by the wrong field, type or text order, or a tie-break that is not
    // queue order in both directions.
    void sortEveryColumn_data()
    {
        QTest::addColumn<int>("sortID");
        QTest::addColumn<int>("order");
        QTest::addColumn<QString>("common");
        for (int id : {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 13, 15, 18, 20, 21, 24, 27})
            for (int order : {0, 1})
                QTest::newRow(qPrintable(u"%1 %2"_s.arg(id).arg(order ? "desc" : "asc")))
                    << id << order << QString();
        // Every text of a column begins alike, one is nothing more than that beginning.
        for (int id : {1, 3, 8})
            for (int order : {0, 1})
                QTest::newRow(qPrintable(u"%1 %2 common"_s.arg(id).arg(order ? "desc" : "asc")))
                    << id << order << u"/mnt/projects/"_s;
    }
    void sortEveryColumn()
    {
        QFETCH(int, sortID);
        QFETCH(int, order);
        QFETCH(QString, common);
        auto l = makeList(120, unsigned(sortID + 1000), common);
        QVERIFY(l->SetSortID(sortID, Qt::SortOrder(order)) || (sortID == 0 && order == 1));
        QCOMPARE(l->SortedCount, 120);

        QList<int> expected;
        for (int i = 0; i < 120; ++i)
            expected.append(i);
        auto key = reference(sortID);
        if (key) {
            std::stable_sort(expected.begin(), expected.end(), [&](int a, int b) {
                const int c = key(*l->Queue[a], *l->Queue[b]);
                return order == 0 ? c < 0 : c > 0;
            });
        } else if (sortID == 0 && order == 1) {
            std::reverse(expected.begin(), expected.end()); // newest queue position first
        }
        QCOMPARE(view(*l), expected);
    }

    // Catches a sort that loses or duplicates jobs, or runs out of its range, when a key is NaN or
    // the order is neither 0 nor 1 (the partition steps then decide the order).
    void sortUnordered_data()
    {
        QTest::addColumn<int>("sortID");
        QTest::addColumn<int>("order");
        QTest::newRow("NaN asc") << 18 << 0;
        QTest::newRow("NaN desc") << 18 << 1;
        QTest::newRow("order 2 text") << 1 << 2;
        QTest::newRow("order 2 number") << 11 << 2;
    }
    void sortUnordered()
    {
        QFETCH(int, sortID);
        QFETCH(int, order);
        auto l = makeList(200, 7);
        for (int i = 0; i < 200; i += 3)
            l->Queue[i]->AverageClients = std::numeric_limits<float>::quiet_NaN();
        l->SortID = sortID;
        l->SortOrder = order;
        l->sort();
        QList<int> v = view(*l);
        QCOMPARE(v.size(), 200);
        std::sort(v.begin(), v.end());
        for (int i = 0; i < 200; ++i)
            QCOMPARE(v[i], i);
    }

    // Catches the case rules of the filters and the invert flag.
    void filter_data()
    {
        QTest::addColumn<QString>("user");
        QTest::addColumn<QString>("project");
        QTest::addColumn<QString>("app");
        QTest::addColumn<QString>("text");
        QTest::addColumn<bool>("invert");
        QTest::addColumn<bool>("flags");
        QTest::addColumn<QList<int>>("kept");
        const QList<int> all = {0, 1, 2, 3};
        QTest::newRow("nothing") << u""_s << u""_s << u""_s << u""_s << false << true << all;
        QTest::newRow("user in capitals")
            << u"ANNA"_s << u""_s << u""_s << u""_s << false << false << QList<int>{0, 2};
        QTest::newRow("project 25") << u""_s << u"abcdefghijklmnopqrstuvwxy"_s << u""_s << u""_s << false
                                    << false << QList<int>{3};
        QTest::newRow("project 30") << u""_s << u"abcdefghijklmnopqrstuvwxyz1234"_s << u""_s << u""_s << false
                                    << false << QList<int>{};
        QTest::newRow("project small")
            << u""_s << u"SHOW"_s << u""_s << u""_s << false << false << QList<int>{0, 1};
        QTest::newRow("app exact") << u""_s << u""_s << u"Maya"_s << u""_s << false << false << QList<int>{0};
        QTest::newRow("app alias") << u""_s << u""_s << u"mtoa"_s << u""_s << false << false << QList<int>{1};
        QTest::newRow("text in ImageDir")
            << u""_s << u""_s << u""_s << u"secret"_s << false << false << QList<int>{2};
        QTest::newRow("text inverted")
            << u""_s << u""_s << u""_s << u"secret"_s << true << false << QList<int>{0, 1, 3};
        QTest::newRow("text non-ASCII")
            << u""_s << u""_s << u""_s << u"\u00c4RGER"_s << false << false << QList<int>{1};
        QTest::newRow("text job id") << u""_s << u""_s << u""_s << u"{"_s << false << false
                                     << QList<int>{0, 1, 2, 3};
        // Names beyond ASCII, in the other case than the jobs have them.
        QTest::newRow("user non-ASCII")
            << u"\u00f6LAF"_s << u""_s << u""_s << u""_s << false << false << QList<int>{1};
    }
    void filter()
    {
        QFETCH(QString, user);
        QFETCH(QString, project);
        QFETCH(QString, app);
        QFETCH(QString, text);
        QFETCH(bool, invert);
        QFETCH(bool, flags);
        QFETCH(QList<int>, kept);
        _JobList l(FM, nullptr);
        struct J
        {
            QString user, project, soft, alias, dir, scene;
        };
        const J jobs[] = {
            {"anna", "Show", "Maya", "", "/out/a/", "a"},
            {u"\u00d6laf"_s, "show", "Nuke", "mtoa", "/out/b/", u"\u00e4rger"_s},
            {"Anna", u"\u00c6THER \u03a3"_s, "maya2", "", "/out/SeCrEt/c/", "c"},
            {"carl", "ABCDEFGHIJKLMNOPQRSTUVWXYZ123456", "Houdini", "", "/out/d/", u"\u212Aelvin"_s},
        };
        for (const J& j : jobs) {
            auto r = jlfix::makeRecord(int(&j - jobs));
            r->UserName = j.user;
            r->CompanyProjectName = j.project;
            r->Software = j.soft;
            r->SoftwareAlias = j.alias;
            r->ImageDir = j.dir;
            r->SceneName = j.scene;
            l.GetNewJob()->fromJobSave(r.get(), FM);
        }
        l.SetSortID(0, Qt::AscendingOrder);
        l.SetFilter(user, project, app, text, invert, flags, flags, flags, flags, flags);
        QCOMPARE(view(l), kept);
    }

    // Catches a load with one view rebuild at the end that leaves another view than rebuilding
    // after every job would.
    void batchedLoadEqualsPerJob_data()
    {
        QTest::addColumn<int>("sortID");
        QTest::addColumn<int>("order");
        QTest::addColumn<QString>("text");
        for (int id : {0, 3, 18})
            for (int order : {0, 1})
                QTest::newRow(qPrintable(u"%1/%2"_s.arg(id).arg(order))) << id << order << "";
        QTest::newRow("filtered") << 1 << 0 << "ab";
    }
    void batchedLoadEqualsPerJob()
    {
        QFETCH(int, sortID);
        QFETCH(int, order);
        QFETCH(QString, text);
        QTemporaryDir dir;
        const QString p = dir.filePath(u"many.db"_s);
        auto source = makeList(80, 99);
        QVERIFY(source->SaveFileJobs(false, p, false, QString()));
        // Frames that fail in between delete records during the load.
        QByteArray f = jlfix::readFile(p);
        auto bad = jlfix::makeRecord(5);
        bad->SeqStep = 0;
        f += jlfix::frameOf(*bad) + jlfix::frameOf(*jlfix::makeRecord(6));

        QVERIFY(jlfix::writeFile(p, f));
        _JobList batched(FM, nullptr), perJob(FM, nullptr);
        perJob.setPerJobViewUpdate(true);
        for (_JobList* l : {&batched, &perJob}) {
            l->SetSortID(sortID, Qt::SortOrder(order));
            l->SetFilter(QString(), QString(), QString(), text, false, true, true, true, true, true);
            QVERIFY(l->LoadFileJobs(p));
            QVERIFY(l->LoadFileJobs(p)); // a second file adds up
        }
        QCOMPARE(batched.JobCount, 162);
        QCOMPARE(perJob.JobCount, batched.JobCount);
        QCOMPARE(view(batched), view(perJob));
        QVERIFY(batched.SortedCount > 0);
        // And both equal a rebuild from scratch.
        const QList<int> before = view(batched);
        batched.SetFilter(QString(), QString(), QString(), text, false, true, true, true, true, true);
        QCOMPARE(view(batched), before);
    }
};

QTEST_GUILESS_MAIN(tst_fmjoblist_sort)
#include "tst_fmjoblist_sort.moc"
