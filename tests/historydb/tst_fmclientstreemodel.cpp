#include "app/fm.h"
#include "farm/fmclientgroups.h"
#include "farm/fmclientlist.h"
#include "historydb/fmclientstreemodel.h"
#include "jobs/fmjobhistory.h"
#include "jobs/fmjoblist.h"
#include "widgets/fmtreeview.h"
#include "widgets/fmtreeviewtypes.h"

#include "fmmodeltext.h"

#include <QBrush>
#include <QHeaderView>
#include <QtTest>

#include <memory>

using namespace Qt::StringLiterals;

using namespace fmC;

namespace {

fmTreeView* gNoView = nullptr;

// The client tree model over FM's tables and a job selection, in no view, checked by the model tester.
struct Model : fmuiTreeViewClientsModel
{
    explicit Model(fmJ::_JobList* jobs = nullptr)
        : fmuiTreeViewClientsModel(gNoView, FM, jobs, nullptr, false, false)
    {
        fmtest::checkModel(this);
    }
};

} // namespace

class tst_fmClientsTreeModel : public QObject
{
    Q_OBJECT
private slots:
    void initTestCase()
    {
        if (!FM.ClientList || !FM.ClientGroups) FM.createFarmTables();
        QVERIFY(FM.ClientList && FM.ClientGroups);
    }

    void init()
    {
        for (_Client& c : list().Clients)
            c.clear();
        list().clear();
        list().SortID = 1;
        list().SortOrder = Qt::AscendingOrder;
        list().ShowLinux = true;
        FM.ClientGroups->clear();
    }

    // Catches end nodes in the wrong group, out of sort order, or for clients the filter hides.
    void treeShape_data()
    {
        QTest::addColumn<int>("groups");
        QTest::addColumn<bool>("descending");
        QTest::addColumn<QString>("expected"); // groups by "|", clients by ","
        QTest::newRow("no groups") << 0 << false << QString();
        QTest::newRow("two groups") << 2 << false << u"G0:a,c|G1:b,c,d"_s;
        QTest::newRow("descending list number") << 2 << true << u"G0:c,a|G1:d,c,b"_s;
    }
    void treeShape()
    {
        QFETCH(int, groups);
        QFETCH(bool, descending);
        QFETCH(QString, expected);
        for (const char* n : {"a", "b", "c", "d"})
            addClient(QString::fromLatin1(n));
        if (groups > 0) addGroup(u"G0"_s, {0, 2});
        if (groups > 1) addGroup(u"G1"_s, {1, 2, 3});
        list().SetSortID(1, descending ? Qt::DescendingOrder : Qt::AscendingOrder, nullptr);
        list().filter();

        Model m;
        QSignalSpy footer(&m, &fmuiTreeViewModel::updateFooter);
        m.CreateClientTree();
        m.CreateClientTree(); // a rebuild gives the same tree
        QStringList shape;
        for (int g = 0; g < m.rowCount(); ++g) {
            const QModelIndex gi = m.index(g, 0);
            QStringList names;
            for (int r = 0; r < m.rowCount(gi); ++r)
                names << m.data(m.index(r, 0, gi)).toString();
            shape << m.data(gi).toString() + QLatin1Char(':') + names.join(QLatin1Char(','));
        }
        QCOMPARE(shape.join(QLatin1Char('|')), expected);
        QCOMPARE(footer.count(), 2);
    }

    // Catches a rebuild that recreates group nodes (losing the user's expanded state) and a single
    // group that is not opened.
    void oneGroupExpandedAndGroupsKept()
    {
        addClient(u"a"_s);
        addClient(u"b"_s);
        addGroup(u"G0"_s, {0, 1});
        fmTreeView widget;
        fmTreeView* view = &widget;
        fmuiTreeViewClientsModel* m = nullptr;
        const bool flag = false, showTime = true;
        initClientTree(view, m, FM, nullptr, &widget, false, false, flag, showTime);
        QVERIFY(m);
        fmtest::checkModel(m);
        m->CreateClientTree();
        QVERIFY(widget.Tree->isExpanded(m->index(0, 0)));
        QVERIFY(widget.isColumnHidden(3));
        QCOMPARE(widget.Tree->header()->visualIndex(1), 0);

        fmuiTreeViewNode* group = m->Root->Children.value(0);
        addGroup(u"G1"_s, {1});
        m->CreateClientTree();
        QCOMPARE(m->Root->Children.value(0), group);
        QCOMPARE(m->rowCount(), 2);
        QCOMPARE(m->rowCount(m->index(1, 0)), 1);
    }

    // Catches wrong thresholds and number forms in the client row's texts.
    void endText_data()
    {
        QTest::addColumn<int>("col");
        QTest::addColumn<int>("status");
        QTest::addColumn<int>("cpu");
        QTest::addColumn<int>("cores");
        QTest::addColumn<int>("userTime");
        QTest::addColumn<int>("temperature");
        QTest::addColumn<QString>("expected");
        QTest::newRow("user 180 min") << 7 << 1 << 0 << 8 << 180 << 0 << "bob";
        QTest::newRow("user 181 min") << 7 << 1 << 0 << 8 << 181 << 0 << "bob (3.0h)";
        QTest::newRow("user 28801 min") << 7 << 1 << 0 << 8 << 28801 << 0 << "bob (20d+)";
        QTest::newRow("cpu 9 cores") << 4 << 3 << 253 << 9 << 0 << 0 << "8.9/ 9";
        QTest::newRow("cpu no value") << 4 << 3 << 254 << 16 << 0 << 0 << "16";
        QTest::newRow("avail at status 0") << 5 << 0 << 0 << 8 << 0 << 0 << "";
        QTest::newRow("avail rendering") << 5 << 3 << 0 << 8 << 0 << 0 << "3.0";
        QTest::newRow("temperature") << 9 << 1 << 0 << 8 << 0 << 45 << u"45\u00B0C"_s;
    }
    void endText()
    {
        QFETCH(int, col);
        QFETCH(int, status);
        QFETCH(int, cpu);
        QFETCH(int, cores);
        QFETCH(int, userTime);
        QFETCH(int, temperature);
        QFETCH(QString, expected);
        _Client& c = addClient(u"a"_s, status);
        c.Status.Thread[0].CPUUsage = uint8_t(cpu);
        c.Hardware.Cores = uint8_t(cores);
        c.Status.UserName.set(u"bob"_s);
        c.Status.UserTime = int16_t(userTime);
        c.Status.Temperature = static_cast<signed char>(temperature);
        c.Status.AvailableMemory = 3072;
        Model m;
        QCOMPARE(m.data(endIndex(m, 0, col)).toString(), expected);
    }

    // Catches bars drawn for an idle machine, wrong percent arithmetic and damaged values that
    // escape 0..100.
    void endBars_data()
    {
        QTest::addColumn<int>("col");
        QTest::addColumn<int>("status");
        QTest::addColumn<int>("cpu");
        QTest::addColumn<int>("threadMemory");
        QTest::addColumn<int>("available");
        QTest::addColumn<int>("memory");
        QTest::addColumn<QList<qulonglong>>("values"); // empty: no bars
        QTest::newRow("cpu at status 0") << 4 << 0 << 255 << 0 << 0 << 8192 << QList<qulonglong>();
        QTest::newRow("cpu full") << 4 << 3 << 253 << 0 << 0 << 8192 << QList<qulonglong>{99, 0};
        QTest::newRow("memory quarters") << 5 << 3 << 0 << 2048 << 4096 << 8192 << QList<qulonglong>{25, 25};
        QTest::newRow("memory damaged") << 5 << 3 << 0 << 90000 << -5 << 0 << QList<qulonglong>{100, 0};
    }
    void endBars()
    {
        QFETCH(int, col);
        QFETCH(int, status);
        QFETCH(int, cpu);
        QFETCH(int, threadMemory);
        QFETCH(int, available);
        QFETCH(int, memory);
        QFETCH(QList<qulonglong>, values);
        _Client& c = addClient(u"a"_s, status);
        c.Status.Thread[0].CPUUsage = uint8_t(cpu);
        c.Status.Thread[0].ThreadMemory = threadMemory;
        c.Status.AvailableMemory = available;
        c.Hardware.Memory = memory;
        Model m;
        const QVariant v = m.data(endIndex(m, 0, col), fmtvRole::BGbars);
        QCOMPARE(v.isValid(), !values.isEmpty());
        if (values.isEmpty()) {
            QVERIFY(m.data(endIndex(m, 0, 0), Qt::BackgroundRole).value<QBrush>().color().rgba() ==
                    0xFFFAFAFAu);
            return;
        }
        const fmtvBGbars bars = v.value<fmtvBGbars>();
        QCOMPARE(bars.Mode, 3);
        QCOMPARE(QList<qulonglong>({bars.Values[0], bars.Values[1]}), values);
        QVERIFY(bars.Name.endsWith(QLatin1String(" a")));
    }

    // Catches the rounding rules of the group bar (a non-zero share never shows 0, an incomplete one
    // never 100), the cap of 42 jobs, and the render time sum that must skip negative frame counts.
    void groupAssignmentBar_data()
    {
        QTest::addColumn<int>("clients");
        QTest::addColumn<int>("worked");
        QTest::addColumn<int>("jobs");
        QTest::addColumn<int>("items");
        QTest::addColumn<int>("percent");
        QTest::newRow("none") << 3 << 0 << 1 << 1 << 0;
        QTest::newRow("all") << 3 << 3 << 1 << 1 << 100;
        QTest::newRow("tiny share shows 1") << 300 << 1 << 1 << 1 << 1;
        QTest::newRow("almost all shows 99") << 300 << 299 << 1 << 1 << 99;
        QTest::newRow("capped at 42 jobs") << 2 << 1 << 50 << 42 << 50;
    }
    void groupAssignmentBar()
    {
        QFETCH(int, clients);
        QFETCH(int, worked);
        QFETCH(int, jobs);
        QFETCH(int, items);
        QFETCH(int, percent);
        QList<int> members;
        for (int i = 0; i < clients; ++i) {
            addClient(u"c%1"_s.arg(i));
            members << i;
        }
        addGroup(u"G"_s, members);
        auto jobList = std::make_unique<fmJ::_JobList>(FM);
        for (int j = 0; j < jobs; ++j) {
            fmJ::_jobsHistoryDB_Runtime* job = jobList->GetNewJob();
            QVERIFY(job);
            job->Selected = 1;
            job->AverageFrameTime = 30;
            for (int k = 0; k < worked; ++k)
                job->ClientStats[k].FramesDone = 10;
            job->ClientStats[clients - 1].FramesDone = worked < clients ? -7 : 10;
        }
        jobList->CreateSelectionList();
        Model m(jobList.get());
        m.CreateClientTree();
        const fmtvBGbars bars = m.data(m.index(0, 1), fmtvRole::BGbars).value<fmtvBGbars>();
        QCOMPARE(bars.Mode, 1);
        QCOMPARE(bars.Count, items);
        QCOMPARE(bars.Values[0], qulonglong(percent));
        QCOMPARE(bars.Values[1], 0xFF00CC00ull);
        // Client 0 worked on every job (when anyone did): 10 frames x 30 s each.
        const QString time = m.data(endIndex(m, 0, 2)).toString();
        QCOMPARE(time, worked ? fmSec2hms(300 * jobs) : QString());
        const fmtvBGbars own = m.data(endIndex(m, 0, 1), fmtvRole::BGbars).value<fmtvBGbars>();
        QCOMPARE(own.Values[0], qulonglong(worked ? 100 : 0));
        // The last client's negative frame counts add no time.
        QCOMPARE(m.data(endIndex(m, clients - 1, 2)).toString().isEmpty(), worked < clients);
        // A new job selection is not answered from what the rows showed before.
        for (int j = 1; j < jobs; ++j)
            jobList->GetJobByQueueID(j)->Selected = 0;
        jobList->CreateSelectionList();
        QCOMPARE(m.data(endIndex(m, 0, 2)).toString(), worked ? fmSec2hms(300) : QString());
    }

    // Catches a group row that does not show how many of its clients are selected.
    void groupColors_data()
    {
        QTest::addColumn<int>("members");
        QTest::addColumn<int>("selected");
        QTest::addColumn<bool>("explicitSelected");
        QTest::addColumn<uint>("background");
        QTest::addColumn<int>("pattern");
        QTest::addColumn<uint>("text");
        QTest::newRow("some selected")
            << 3 << 1 << false << 0xFF999999u << int(Qt::Dense5Pattern) << 0xFF000000u;
        QTest::newRow("all selected")
            << 3 << 3 << false << 0xFF999999u << int(Qt::SolidPattern) << 0xFFFFFFFFu;
        QTest::newRow("all, explicit")
            << 3 << 3 << true << 0xFF000000u << int(Qt::SolidPattern) << 0xFFFFFFFFu;
    }
    void groupColors()
    {
        QFETCH(int, members);
        QFETCH(int, selected);
        QFETCH(bool, explicitSelected);
        QFETCH(uint, background);
        QFETCH(int, pattern);
        QFETCH(uint, text);
        QList<int> group;
        for (int i = 0; i < 3; ++i) {
            addClient(u"c%1"_s.arg(i)).Selected = i < selected;
            if (i < members) group << i;
        }
        addGroup(u"G"_s, group);
        Model m;
        m.CreateClientTree();
        m.Root->Children.value(0)->ExplicitSelected = explicitSelected;
        const QBrush bg = m.data(m.index(0, 0), Qt::BackgroundRole).value<QBrush>();
        QCOMPARE(bg.color().rgba(), background);
        QCOMPARE(int(bg.style()), pattern);
        QCOMPARE(m.data(m.index(0, 3), Qt::ForegroundRole).value<QBrush>().color().rgba(), text);
        QVERIFY(!m.data(m.index(0, 1), Qt::BackgroundRole).isValid());
    }

    // Catches wrong status classes in the footer counts (status 0 nowhere, 28 and above free) and
    // totals over unselected clients.
    void footer_data()
    {
        QTest::addColumn<QList<int>>("statuses");
        QTest::addColumn<QList<int>>("selected");
        QTest::addColumn<QStringList>("expected"); // columns 0, 2, 10, 11, 12
        QTest::newRow("none selected")
            << QList<int>{0, 1, 3, 2, 28} << QList<int>{}
            << QStringList{"0 / 5 selected", "1 render  1 disabled  2 free", "", "", ""};
        QTest::newRow("classes") << QList<int>{6, 9, 14, 23, 17, 24, 25, 100, -1} << QList<int>{0, 1}
                                 << QStringList{"2 / 9 selected", "4 render  3 disabled  2 free", "8.0", "16",
                                                "4800 / 3.0"};
    }
    void footer()
    {
        QFETCH(QList<int>, statuses);
        QFETCH(QList<int>, selected);
        QFETCH(QStringList, expected);
        for (int i = 0; i < statuses.size(); ++i)
            addClient(u"c%1"_s.arg(i), statuses[i]);
        for (int i : selected)
            list().Clients[i].Selected = 1;
        fmuiTreeViewClientsModelFooter f(FM, gNoView, nullptr);
        const int cols[] = {0, 2, 10, 11, 12};
        for (int k = 0; k < 5; ++k)
            QCOMPARE(f.headerData(cols[k], Qt::Horizontal).toString(), expected[k]);
    }

    // Catches reads past the tables from nodes with numbers out of range, and a group row that writes
    // the selected flag of the client with its number.
    void damagedIndexes()
    {
        addClient(u"a"_s);
        addGroup(u"G"_s, {0});
        Model m;
        m.CreateClientTree();
        auto* group = static_cast<fmuiTreeViewClientsNode*>(m.Root->Children.value(0));
        auto* end = static_cast<fmuiTreeViewClientsNode*>(group->Children.value(0));
        group->data()->Index = 30;
        end->data()->Index = 750;
        for (int role : {int(Qt::DisplayRole), int(Qt::BackgroundRole), fmtvRole::BGbars}) {
            QVERIFY(!m.data(m.index(0, 0), role).isValid());
            QVERIFY(!m.data(m.index(0, 0, m.index(0, 0)), role).isValid());
        }
        end->SetDataIsSelected(true, FM);
        QVERIFY(!end->GetDataIsSelected(FM));
        // A group's number is no client number: client 0 keeps its flag.
        group->data()->Index = 0;
        group->SetDataIsSelected(true, FM);
        QCOMPARE(list().Clients[0].Selected, uint8_t(0));
    }

    // Catches a change in how assignment, render time and the CPU bars come from the records,
    // against figures worked out by hand.
    void derivedFromRecord()
    {
        _Client& a = addClient(u"a"_s, 3);
        a.Status.ThreadCount = 2;
        a.Status.Thread[0].CPUUsage = 102; // 40 %; with thread 1 the machine has 153, 60 %
        a.Status.Thread[1].CPUUsage = 51;
        auto jobList = std::make_unique<fmJ::_JobList>(FM);
        for (int frames : {12, -4}) { // 45 s a frame; the second count is damaged
            fmJ::_jobsHistoryDB_Runtime* job = jobList->GetNewJob();
            job->Selected = 1;
            job->AverageFrameTime = 45;
            job->ClientStats[0].FramesDone = frames;
        }
        jobList->CreateSelectionList();
        Model m(jobList.get());
        auto bar = [&m](const QModelIndex& i, int k) {
            return m.data(i, fmtvRole::BGbars).value<fmtvBGbars>().Values[k];
        };
        QCOMPARE(m.data(endIndex(m, 0, 2)).toString(), u"00:09.00"_s); // 12 x 45 s
        QCOMPARE(bar(endIndex(m, 0, 1), 0), 50ull);                    // on 1 of 2 jobs
        QCOMPARE(bar(endIndex(m, 0, 4), 0), 40ull);
        QCOMPARE(bar(endIndex(m, 0, 4), 1), 20ull); // 60 - 40
    }

private:
    _ClientList& list() { return *FM.ClientList; }
    // A client named `name`, status 1, 8 cores, 8 GB, nothing selected.
    _Client& addClient(const QString& name, int status = 1);
    // A group holding the given client numbers.
    void addGroup(const QString& name, const QList<int>& clients);
    QModelIndex endIndex(fmuiTreeViewClientsModel& m, int client, int col);
};

_Client& tst_fmClientsTreeModel::addClient(const QString& name, int status)
{
    _Client& c = list().Clients[list().addClient()];
    c.Status.Name.set(name);
    c.Status.Thread[0].Status = static_cast<signed char>(status);
    c.Hardware.Cores = 8;
    c.Hardware.Memory = 8192;
    c.Hardware.MHz = 2400;
    c.Hardware.Speed = 1.5f;
    c.Hardware.OS = 1;
    list().sort();
    list().filter();
    return c;
}

void tst_fmClientsTreeModel::addGroup(const QString& name, const QList<int>& clients)
{
    _ClientGroup* g = FM.ClientGroups->addGroup(name);
    QVERIFY(g);
    for (int c : clients)
        g->Place[c].Assigned = true;
}

QModelIndex tst_fmClientsTreeModel::endIndex(fmuiTreeViewClientsModel& m, int client, int col)
{
    if (m.rowCount() == 0) addGroup(u"G"_s, {client});
    if (m.rowCount() == 0) m.CreateClientTree();
    const QModelIndex group = m.index(0, 0);
    for (int r = 0; r < m.rowCount(group); ++r) {
        const QModelIndex i = m.index(r, col, group);
        auto* node = static_cast<fmuiTreeViewClientsNode*>(m.nodeFromIndex(i));
        if (node && node->data() && node->data()->Index == static_cast<unsigned long long>(client)) return i;
    }
    return QModelIndex();
}

QTEST_MAIN(tst_fmClientsTreeModel)
#include "tst_fmclientstreemodel.moc"
