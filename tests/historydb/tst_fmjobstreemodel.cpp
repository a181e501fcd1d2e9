// The window's job and log tree models: grouping, row texts, colours, footer, and the log pages.
#include "fmmodeltext.h"
#include "joblist_fixtures.h"

#include "app/fm.h"
#include "foundation/fmjobid.h"
#include "foundation/fmtime.h"
#include "historydb/fmjobstreemodel.h"
#include "historydb/fmlogtreemodel.h"
#include "jobs/fmjobhistory.h"
#include "jobs/fmjoblist.h"
#include "widgets/fmtreeview.h"
#include "widgets/fmtreeviewtypes.h"

#include <QBrush>
#include <QHeaderView>
#include <QTreeView>
#include <QWriteLocker>
#include <QtTest>

#include <memory>

using namespace Qt::StringLiterals;

using fmJ::_JobList;
using fmJ::_jobsHistoryDB_Runtime;

typedef void (*JobSetup)(_jobsHistoryDB_Runtime*);
Q_DECLARE_METATYPE(JobSetup)

namespace {

struct JobEntry
{
    unsigned long long id;
    const char* user;
};

// A list in queue order (sort column 0 ascending), so sorted position = order of adding.
std::unique_ptr<_JobList> makeList(const QList<JobEntry>& jobs)
{
    auto l = std::make_unique<_JobList>(FM);
    for (const JobEntry& s : jobs) {
        auto r = jlfix::makeRecord(int(s.id % 1000));
        r->JobID = s.id;
        r->UserName = QString::fromLatin1(s.user);
        r->Selected = 0;
        l->GetNewJob()->fromJobSave(r.get(), FM);
    }
    QWriteLocker lock(&l->LockJobs);
    l->SortID = 0;
    l->SortOrder = 0;
    l->sort();
    l->filter();
    return l;
}

void resort(_JobList& l)
{
    QWriteLocker lock(&l.LockJobs);
    l.sort();
    l.filter();
}

QString id(unsigned long long v)
{
    return fmJ::ID2str(v);
}

// A list of those jobs and its model in no view, checked by the model tester; a GHz hour costs 2 EUR.
struct Tree
{
    std::unique_ptr<_JobList> list;
    fmTreeView* noView = nullptr;
    fmuiTreeViewJobsModel m;
    explicit Tree(const QList<JobEntry>& jobs) : list(makeList(jobs)), m(noView, *list, FM, nullptr, false)
    {
        fmtest::checkModel(&m);
        m.Cost = 2.0f;
        m.CostDisplay = u"EUR"_s;
    }
    _jobsHistoryDB_Runtime* job(unsigned long long id) const { return list->GetJobByJobID(id); }
};

} // namespace

Q_DECLARE_METATYPE(JobEntry)

class tst_fmjobstreemodel : public QObject
{
    Q_OBJECT

private slots:
    // Catches wrong keys (case), a first-level group that collapses or loses the order, and wrong
    // indentation of the identifier (grouped as the window groups: first level on, no submissions).
    void grouping_data()
    {
        QTest::addColumn<QList<JobEntry>>("jobs");
        QTest::addColumn<QStringList>("tree");
        QTest::newRow("case folded") << QList<JobEntry>{{1000, "Anna"}, {1001, "ANNA"}, {1002, "anna"}}
                                     << QStringList{" 3 anna", "     " + id(1000), "     " + id(1001),
                                                    "     " + id(1002)};
        QTest::newRow("one job stays a group")
            << QList<JobEntry>{{1000, "Bob"}} << QStringList{"    bob", "     " + id(1000)};
        QTest::newRow("two users in order")
            << QList<JobEntry>{{1000, "zed"}, {1001, "amy"}, {1002, "zed"}}
            << QStringList{" 2 zed", "     " + id(1000), "     " + id(1002), "    amy", "     " + id(1001)};
    }
    void grouping()
    {
        QFETCH(QList<JobEntry>, jobs);
        QFETCH(QStringList, tree);
        Tree t(jobs);
        t.m.CreateJobTree(true);
        QCOMPARE(fmtest::modelLines(t.m), tree);
        // A second rebuild over the same list meets every node again.
        t.m.CreateJobTree(false);
        QCOMPARE(fmtest::modelLines(t.m), tree);
    }

    // Catches a rebuild that keeps a node of a removed job, or drops IsExpanded of the others.
    void rebuildDropsRemovedJobKeepsExpanded_data()
    {
        QTest::addColumn<bool>("reset");
        QTest::newRow("reset") << true;
        QTest::newRow("layout") << false;
    }
    void rebuildDropsRemovedJobKeepsExpanded()
    {
        QFETCH(bool, reset);
        Tree tree({{1000, "a"}, {1001, "a"}, {1002, "b"}, {1003, "b"}, {1004, "c"}});
        _JobList* list = tree.list.get();
        fmuiTreeViewJobsModel& m = tree.m;
        m.CreateJobTree(true);
        QPersistentModelIndex keep = m.index(0, 0, m.index(2, 0)); // job 1004 under "c"
        for (fmuiTreeViewNode* t : m.Root->Children)
            t->IsExpanded = true;
        list->DeleteJob(list->GetJobByJobID(1001));
        resort(*list);
        m.CreateJobTree(reset);
        QCOMPARE(fmtest::modelLines(m), (QStringList{"    a", "     " + id(1000), " 2 b", "     " + id(1002),
                                                     "     " + id(1003), "    c", "     " + id(1004)}));
        for (fmuiTreeViewNode* t : m.Root->Children)
            QVERIFY(t->IsExpanded);
        if (!reset) {
            QVERIFY(keep.isValid());
            QCOMPARE(keep.data().toString(), "   " + id(1004));
        }
        // Emptied list: both modes leave a bare root.
        list->deleteAll();
        m.CreateJobTree(reset);
        QCOMPARE(m.rowCount(), 0);
    }

    // Catches wrong fields, formats and fallbacks in a job row's texts, and group cells that miss a
    // differing job, sum the wrong jobs or ignore the collapsed state. Two jobs of "ann".
    void rowTexts_data()
    {
        QTest::addColumn<int>("row"); // -1: the group row; 0: the first job's row
        QTest::addColumn<int>("column");
        QTest::addColumn<JobSetup>("first");
        QTest::addColumn<JobSetup>("second");
        QTest::addColumn<bool>("expanded");
        QTest::addColumn<QString>("text");

        const JobSetup none = [](_jobsHistoryDB_Runtime*) {};
        QTest::newRow("job 3 without version") << 0 << 3 << JobSetup([](_jobsHistoryDB_Runtime* j) {
            j->CustomSeQName = "010";
            j->CustomSHotName = "020";
            j->CustomVersionName = "";
        }) << none << false << "010-020";
        QTest::newRow("job 11 step 5") << 0 << 11 << JobSetup([](_jobsHistoryDB_Runtime* j) {
            j->SeqStart = 1001;
            j->SeqEnd = 1100;
            j->SeqStep = 5;
        }) << none << false << "1001 - 1100,  5";
        QTest::newRow("job 13 falls back to frame time")
            << 0 << 13 << JobSetup([](_jobsHistoryDB_Runtime* j) {
                   j->ExecutionTime = 0;
                   j->AverageFrameTime = 75;
               })
            << none << false << fmSec2ms(75);
        QTest::newRow("job 26 rounds half up")
            << 0 << 26 << JobSetup([](_jobsHistoryDB_Runtime* j) { j->TotalGhzHours = 2.5f; }) << none
            << false << "3";
        QTest::newRow("job 27 cost") << 0 << 27
                                     << JobSetup([](_jobsHistoryDB_Runtime* j) { j->TotalGhzHours = 2.5f; })
                                     << none << false << "5.00 EUR";
        QTest::newRow("10 cameras differ")
            << -1 << 10 << JobSetup([](_jobsHistoryDB_Runtime* j) { j->Camera = "camA"; })
            << JobSetup([](_jobsHistoryDB_Runtime* j) { j->Camera = "camB"; }) << false << " ~  ~  ~  ~";
        QTest::newRow("10 expanded") << -1 << 10
                                     << JobSetup([](_jobsHistoryDB_Runtime* j) { j->Camera = "camA"; })
                                     << JobSetup([](_jobsHistoryDB_Runtime* j) { j->Camera = "camB"; })
                                     << true << "";
        QTest::newRow("9 layer without channel") << -1 << 9 << JobSetup([](_jobsHistoryDB_Runtime* j) {
            j->Layer = "bg";
            j->Channel = "x";
        }) << JobSetup([](_jobsHistoryDB_Runtime* j) {
            j->Layer = "bg";
            j->Channel = "y";
        }) << false << "bg";
        QTest::newRow("11 frame range") << -1 << 11 << JobSetup([](_jobsHistoryDB_Runtime* j) {
            j->SeqStart = 10.7;
            j->SeqEnd = 20;
        }) << JobSetup([](_jobsHistoryDB_Runtime* j) {
            j->SeqStart = 15;
            j->SeqEnd = 200.9;
        }) << false << "  10 -  200      ";
        QTest::newRow("15 mean of non-zero")
            << -1 << 15 << JobSetup([](_jobsHistoryDB_Runtime* j) { j->AverageFrameTime = 0; })
            << JobSetup([](_jobsHistoryDB_Runtime* j) { j->AverageFrameTime = 90; }) << false << fmSec2ms(90);
        QTest::newRow("25 negative counts 0") << -1 << 25 << JobSetup([](_jobsHistoryDB_Runtime* j) {
            j->TotalPS = ~uint64_t(0) - 4; // reads as -5
        }) << JobSetup([](_jobsHistoryDB_Runtime* j) { j->TotalPS = 2500; })
                                              << false << "2 500";
        QTest::newRow("27 sum cost") << -1 << 27
                                     << JobSetup([](_jobsHistoryDB_Runtime* j) { j->TotalGhzHours = 1.25f; })
                                     << JobSetup([](_jobsHistoryDB_Runtime* j) { j->TotalGhzHours = -3; })
                                     << false << "2.50 EUR";
    }
    void rowTexts()
    {
        QFETCH(int, row);
        QFETCH(int, column);
        QFETCH(JobSetup, first);
        QFETCH(JobSetup, second);
        QFETCH(bool, expanded);
        QFETCH(QString, text);
        Tree t({{1000, "ann"}, {1001, "ann"}});
        first(t.job(1000));
        second(t.job(1001));
        t.m.CreateJobTree(true);
        t.m.Root->Children[0]->IsExpanded = expanded;
        const QModelIndex group = t.m.index(0, 0);
        QCOMPARE((row < 0 ? group.siblingAtColumn(column) : t.m.index(row, column, group)).data().toString(),
                 text);
    }

    // Catches selection shown with the wrong colours, or a partial group not drawn with the pattern.
    void selectionColours_data()
    {
        QTest::addColumn<int>("selectedJobs"); // bit k: job k selected
        QTest::addColumn<int>("row");          // -1: the collapsed group row; else its job row
        QTest::addColumn<int>("column");
        QTest::addColumn<uint>("background");
        QTest::addColumn<int>("pattern");
        QTest::addColumn<uint>("text");

        QTest::newRow("job selected") << 1 << 0 << 5 << 0xFF000000u << int(Qt::SolidPattern) << 0xFFFFFFFFu;
        QTest::newRow("group partly") << 1 << -1 << 5 << 0xFF999999u << int(Qt::Dense5Pattern) << 0xFF000000u;
        QTest::newRow("group all") << 3 << -1 << 5 << 0xFF000000u << int(Qt::SolidPattern) << 0xFFFFFFFFu;
    }
    void selectionColours()
    {
        QFETCH(int, selectedJobs);
        QFETCH(int, row);
        QFETCH(int, column);
        QFETCH(uint, background);
        QFETCH(int, pattern);
        QFETCH(uint, text);
        Tree t({{1000, "ann"}, {1001, "ann"}});
        t.job(1000)->Color_ID = 3;
        t.job(1000)->Selected = (selectedJobs & 1) ? 1 : 0;
        t.job(1001)->Selected = (selectedJobs & 2) ? 1 : 0;
        t.m.CreateJobTree(true);
        const QModelIndex i = row < 0 ? t.m.index(0, column) : t.m.index(row, column, t.m.index(0, 0));
        const QVariant bg = i.data(Qt::BackgroundRole);
        const QBrush brush = bg.canConvert<QBrush>() ? bg.value<QBrush>() : QBrush(bg.value<QColor>());
        QCOMPARE(brush.color().rgba(), background);
        QCOMPARE(int(brush.style()), pattern);
        QCOMPARE(i.data(Qt::ForegroundRole).value<QColor>().rgba(), text);
    }

    // Catches totals over the wrong jobs (unselected, or outside the sorted list) and wrong formats.
    void footer()
    {
        auto list = makeList({{1000, "u"}, {1001, "u"}, {1002, "u"}});
        // Jobs 0 and 2 selected; job 1 (not selected) carries values that must not count.
        for (int k = 0; k < 3; ++k) {
            _jobsHistoryDB_Runtime* j = list->GetJobByJobID(1000 + k);
            j->Selected = k != 1;
            j->TotalFrames = 150;
            j->AverageFrameTime = k == 0 ? 60 : (k == 1 ? 999 : 0);
            j->TotalPS = 1750;
            j->TotalGhzHours = 1.5f;
        }
        fmTreeView* noView = nullptr;
        fmuiTreeViewJobsModelFooter f(*list, FM, noView, nullptr);
        f.Cost = 2.0f;
        f.CostDisplay = u"EUR"_s;
        QCOMPARE(f.columnCount(), 28);
        const QList<QPair<int, QString>> cells = {
            {8, " 2 / 3 jobs selected"}, {15, fmSec2ms(60)}, {25, " 3.500 "}, {27, "6.00 EUR"}};
        for (const auto& [column, text] : cells)
            QCOMPARE(f.headerData(column, Qt::Horizontal).toString(), text);
        auto none = makeList({});
        fmuiTreeViewJobsModelFooter empty(*none, FM, noView, nullptr);
        QCOMPARE(empty.headerData(8, Qt::Horizontal).toString(), " 0 / 0 jobs selected");
    }

    // Catches a cell of a removed job read as if valid, and the check box offered on a group row.
    void staleAndFlags()
    {
        Tree t({{1000, "ann"}, {1001, "ann"}, {1002, "bob"}});
        _JobList* list = t.list.get();
        fmuiTreeViewJobsModel& m = t.m;
        m.CreateJobTree(true);
        const QModelIndex group = m.index(0, 0);
        const QModelIndex job = m.index(0, 0, group);
        QVERIFY(m.flags(m.index(0, 19, group)) & Qt::ItemIsUserCheckable);
        QVERIFY(!(m.flags(m.index(0, 19)) & Qt::ItemIsUserCheckable));
        QVERIFY(!(m.flags(m.index(0, 18, group)) & Qt::ItemIsUserCheckable));

        list->DeleteJob(list->GetJobByJobID(1000));
        QCOMPARE(job.data().toString(), " ?? ");
        QVERIFY(!job.data(Qt::BackgroundRole).isValid());
        QVERIFY(!(m.flags(m.index(0, 19, group)) & Qt::ItemIsUserCheckable));
        QVERIFY(!m.setData(job, 1));
    }

    // Catches missing wiring of the view: footer, group selection and sorting.
    void initJobTreeLayout()
    {
        auto list = makeList({{1000, "ann"}, {1001, "bob"}});
        fmTreeView view;
        fmTreeView* v = &view;
        fmuiTreeViewJobsModel* model = nullptr;
        fmuiTreeViewSelectionModel* selection = nullptr;
        QObject owner;
        initJobTree(v, model, selection, FM, *list, &owner, false);
        QVERIFY(model && selection);
        fmtest::checkModel(model);
        model->CreateJobTree(true);
        QHeaderView* h = view.Tree->header();
        QVERIFY(view.isColumnHidden(1) && !view.isColumnHidden(8));

        // Selecting a group row selects its jobs and updates the footer.
        selection->select(QItemSelection(model->index(0, 0), model->index(0, 0)),
                          QItemSelectionModel::ClearAndSelect | QItemSelectionModel::Rows);
        QVERIFY(list->GetJobByJobID(1000)->Selected);
        QVERIFY(!list->GetJobByJobID(1001)->Selected);
        QCOMPARE(view.Footer->model()->headerData(8, Qt::Horizontal).toString(), " 1 / 2 jobs selected");

        // A click on a header section sorts the list and rebuilds the tree; first-level rows keep
        // their order, the positions below them follow the new order.
        h->setSortIndicator(1, Qt::DescendingOrder);
        QCOMPARE(list->SortID, 1);
        QCOMPARE(model->index(0, 0).data().toString(), "    ann");
        QCOMPARE(static_cast<fmuiTreeViewJobsNode*>(model->Root->Children[0])->data()->FirstSortedID, 1);
    }
    void initTestCase() { QLocale::setDefault(QLocale::c()); }

    // Catches pages that are missing or extra, counts taken unclamped from a damaged record, and a
    // null job that still shows pages.
    void pages_data()
    {
        QTest::addColumn<bool>("hasJob");
        QTest::addColumn<int>("logCount");
        QTest::addColumn<int>("errorCount");
        QTest::addColumn<bool>("preview");
        QTest::addColumn<QStringList>("expected"); // "name=size" per page
        QTest::newRow("no job") << false << 5 << 2 << true << QStringList();
        QTest::newRow("log and errors") << true << 5 << 2 << false << QStringList{"Job Log=5", "Errors=2"};
        QTest::newRow("preview") << true << 0 << 0 << true
                                 << QStringList{"Job Log=", "Errors=", "Frames Send="};
        QTest::newRow("damaged counts")
            << true << 30000 << 127 << false << QStringList{"Job Log=750", "Errors=50"};
        QTest::newRow("negative counts") << true << -4 << -1 << false << QStringList{"Job Log=", "Errors="};
    }
    void pages()
    {
        QFETCH(bool, hasJob);
        QFETCH(int, logCount);
        QFETCH(int, errorCount);
        QFETCH(bool, preview);
        QFETCH(QStringList, expected);
        auto job = std::make_unique<fmJ::_jobsHistoryDB>();
        job->LogCount = int16_t(logCount);
        job->ErrorCount = int8_t(errorCount);
        job->PreviewEnabled = preview ? 1 : 0;
        QTreeView* view = nullptr;
        fmuiTreeViewLogModel m(view, nullptr);
        fmtest::checkModel(&m);
        m.CreateLogTree(FM, job.get()); // a second build must not keep the first one's pages
        m.CreateLogTree(FM, hasJob ? job.get() : nullptr);
        QStringList got;
        for (int r = 0; r < m.rowCount(); ++r) {
            const QModelIndex name = m.index(r, 0);
            QVERIFY(!m.parent(name).isValid());
            QCOMPARE(m.rowCount(name), 0);
            QVERIFY(!m.data(name, Qt::ToolTipRole).isValid());
            got << m.data(name).toString() + QLatin1Char('=') + m.data(m.index(r, 1)).toString();
            QCOMPARE(m.nodeFromIndex(name)->ID, 1);
            QCOMPARE(m.index(m.nodeFromIndex(name)), name);
        }
        QCOMPARE(got, expected);
    }

    // Catches a rebuild that leaves the view on stale rows or without its selection model.
    void rebuildOnTheView()
    {
        QTreeView tree;
        QTreeView* view = &tree;
        fmuiTreeViewLogModel* m = nullptr;
        initLogTree(view, m, &tree);
        QVERIFY(m && tree.model() == m && tree.selectionModel());
        fmtest::checkModel(m);
        auto job = std::make_unique<fmJ::_jobsHistoryDB>();
        job->LogCount = 3;
        m->CreateLogTree(FM, job.get());
        tree.selectionModel()->select(m->index(1, 0), QItemSelectionModel::Select);
        m->CreateLogTree(FM, job.get());
        QCOMPARE(tree.model()->rowCount(), 2);
        QVERIFY(!tree.selectionModel()->hasSelection());
        m->CreateLogTree(FM, nullptr);
        QCOMPARE(tree.model()->rowCount(), 0);
    }
};

QTEST_MAIN(tst_fmjobstreemodel)
#include "tst_fmjobstreemodel.moc"
