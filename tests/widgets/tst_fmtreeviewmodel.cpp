#include "app/fm.h"
#include "widgets/fmtreeview.h"
#include "widgets/fmtreeviewmodel.h"

#include "fmmodeltext.h"

#include <QSignalSpy>
#include <QTest>

extern __FM FM;

namespace {

struct Rec
{
    bool Selected = false;
};

int gDestroyed = 0;

// A node over one Rec; destroys its record and its children like the real nodes do.
class TNode : public fmuiTreeViewNode
{
public:
    TNode(Type type, fmuiTreeViewNode* parent)
    {
        NodeType = type;
        Level = int(type);
        Parent = parent;
        Data = new Rec;
        if (parent) parent->Children.append(this);
    }
    ~TNode() override
    {
        ++gDestroyed;
        deleteDataNode();
        qDeleteAll(Children);
    }
    Rec* rec() const { return static_cast<Rec*>(Data); }
    void SetDataIsSelected(bool s, __FMSDK&) const override
    {
        if (rec()) rec()->Selected = s;
    }
    bool GetDataIsSelected(__FMSDK&) const override { return rec() && rec()->Selected; }
    void deleteDataNode() override
    {
        delete rec();
        Data = nullptr;
    }
};

fmTreeView* gNoView = nullptr; // the models of the tests without a view

// Checked by the model tester from the start.
class TModel : public fmuiTreeViewModel
{
public:
    explicit TModel(fmTreeView*& view = gNoView) : fmuiTreeViewModel(view, nullptr)
    {
        Root = new TNode(fmuiTreeViewNode::Root, nullptr);
        fmtest::checkModel(this);
    }
    ~TModel() override { delete Root; }
    int columnCount(const QModelIndex& = {}) const override { return 4; }
    QVariant data(const QModelIndex& index, int role) const override
    {
        if (role != Qt::DisplayRole || !index.isValid()) return {};
        return QString::number(index.row()) + QLatin1Char('/') + QString::number(index.column());
    }
    void ClearSelectionAll(bool all, QString reason) override
    {
        fmuiTreeViewModel::ClearSelectionAll(all, reason);
        if (all) clearBelow(Root);
    }
    void clearBelow(fmuiTreeViewNode* n)
    {
        for (fmuiTreeViewNode* c : n->Children) {
            c->SetDataIsSelected(false, FM);
            clearBelow(c);
        }
    }
    // groups x children x grandchildren; a childless child is an end node.
    void build(int groups, int children, int grand)
    {
        for (int t = 0; t < groups; ++t) {
            auto* tn = new TNode(fmuiTreeViewNode::FirstLevel, Root);
            for (int c = 0; c < children; ++c) {
                auto* cn = new TNode(grand ? fmuiTreeViewNode::SecondLevel : fmuiTreeViewNode::EndNode, tn);
                for (int g = 0; g < grand; ++g)
                    new TNode(fmuiTreeViewNode::EndNode, cn);
            }
        }
    }
    fmuiTreeViewNode* at(const QList<int>& path) const
    {
        fmuiTreeViewNode* n = Root;
        for (int r : path)
            n = n->Children.value(r);
        return n;
    }
    bool sel(const QList<int>& path) const { return at(path)->GetDataIsSelected(FM); }
};

using Path = QList<int>;

} // namespace

class tst_fmtreeviewmodel : public QObject
{
    Q_OBJECT
private slots:
    void init() { gDestroyed = 0; }

    // Row lookups must agree with the node lists after rows are removed or reordered (stale hints),
    // and a first-level node's parent must be invalid rather than the root's index.
    void indexAndParent_data()
    {
        QTest::addColumn<QString>("edit");
        QTest::newRow("first row removed") << "remove0";
        QTest::newRow("middle row removed") << "remove2";
        QTest::newRow("rows reversed") << "reverse";
    }
    void indexAndParent()
    {
        QFETCH(QString, edit);
        TModel m;
        m.build(5, 3, 2);
        // Prime every hint, then edit the lists behind the model's back.
        for (auto* t : m.Root->Children)
            for (auto* c : t->Children)
                m.index(c);
        if (edit == "remove0") m.deleteChildrenNr(m.Root->Children[1], 0);
        if (edit == "remove2") m.deleteChildrenNr(m.Root, 2);
        if (edit == "reverse")
            for (auto* t : m.Root->Children)
                std::reverse(t->Children.begin(), t->Children.end());
        m.reset();
        for (auto* t : m.Root->Children) {
            QVERIFY(!m.parent(m.index(t)).isValid());
            for (auto* c : t->Children) {
                const QModelIndex ci = m.index(c);
                QCOMPARE(ci.row(), t->Children.indexOf(c));
                QCOMPARE(m.nodeFromIndex(m.parent(ci)), t);
                QCOMPARE(m.nodeFromIndex(m.parent(m.index(ci.row(), 2, m.index(t)))), t);
                for (auto* g : c->Children)
                    QCOMPARE(m.parent(m.index(g)), ci);
            }
        }
        QCOMPARE(m.rowCount(m.index(0, 1)), 0);
        m.executeDeleteLater();
    }

    // A batch of up to four entries destroys nothing; every entry after the fourth goes at once;
    // the list is empty afterwards and the shells are freed with the model (no leak, no double free).
    void deleteBatch_data()
    {
        QTest::addColumn<int>("groups");
        QTest::addColumn<int>("children");
        QTest::addColumn<int>("destroyed");
        QTest::newRow("four") << 2 << 1 << 0;
        QTest::newRow("five") << 1 << 4 << 1;
        QTest::newRow("group of 10 children") << 1 << 10 << 7;
    }
    void deleteBatch()
    {
        QFETCH(int, groups);
        QFETCH(int, children);
        QFETCH(int, destroyed);
        const int total = groups * (1 + children);
        {
            TModel m;
            m.build(groups, children, 0);
            auto* first = m.Root->Children.first();
            m.deleteAllChildren(m.Root);
            QCOMPARE(m.DeleteLaterCount, total);
            QCOMPARE(m.rowCount(), 0);
            QVERIFY(!first->Data && first->Children.isEmpty()); // record gone now, shell waits
            m.executeDeleteLater();
            QCOMPARE(gDestroyed, destroyed);
            QCOMPARE(m.DeleteLaterCount, 0);
            QCOMPARE(first->NodeType, fmuiTreeViewNode::FirstLevel); // a kept shell stays readable
            m.executeDeleteLater();
            QCOMPARE(gDestroyed, destroyed);
        }
        QCOMPARE(gDestroyed, total + 1); // + root
    }

    // The list takes 4999 nodes; the next one is refused without touching its children.
    void deleteCapacity()
    {
        TModel m;
        m.build(fmuiTreeViewModel::DeleteLaterSize - 1, 0, 0);
        m.deleteAllChildren(m.Root);
        QCOMPARE(m.DeleteLaterCount, 4999);
        auto* refused = new TNode(fmuiTreeViewNode::FirstLevel, nullptr);
        auto* child = new TNode(fmuiTreeViewNode::EndNode, refused);
        m.addDeleteLater(refused);
        QCOMPARE(m.DeleteLaterCount, 4999);
        QVERIFY(refused->Data && child->Data);
        QCOMPARE(refused->Children.size(), 1);
        m.executeDeleteLater();
        QCOMPARE(gDestroyed, 4999 - 4);
        QVERIFY(refused->Data); // still alive until the model goes
    }

    // deleteChildrenNr must ignore rows outside the list instead of reading out of bounds.
    void deleteChildrenNr_data()
    {
        QTest::addColumn<int>("nr");
        QTest::addColumn<int>("rowsLeft");
        QTest::newRow("negative") << -1 << 3;
        QTest::newRow("first") << 0 << 2;
        QTest::newRow("past end") << 3 << 3;
    }
    void deleteChildrenNr()
    {
        QFETCH(int, nr);
        QFETCH(int, rowsLeft);
        TModel m;
        m.build(3, 1, 0);
        m.deleteChildrenNr(m.Root, nr);
        QCOMPARE(m.rowCount(), rowsLeft);
        QCOMPARE(m.DeleteLaterCount, (3 - rowsLeft) * 2);
    }

    // Selection reaches the records: flags 0 clears and selects, a group marks children and
    // grandchildren but not its own record, an end node marks its own, toggle flips.
    void selectRecords_data()
    {
        QTest::addColumn<Path>("target");
        QTest::addColumn<int>("flags");
        QTest::addColumn<QList<Path>>("selected");
        using F = QItemSelectionModel;
        const QList<Path> groupAll = {{1, 0}, {1, 0, 0}, {1, 0, 1}, {1, 1}, {1, 1, 0}, {1, 1, 1}};
        QTest::newRow("flags 0 = clear+select") << Path{1} << 0 << groupAll;
        QTest::newRow("select adds") << Path{1} << int(F::Select | F::Rows)
                                     << (QList<Path>{{0, 0, 0}} + groupAll);
        QTest::newRow("clear with current keeps")
            << Path{1, 1, 1} << int(F::ClearAndSelect | F::Current) << QList<Path>{{0, 0, 0}, {1, 1, 1}};
        QTest::newRow("end node") << Path{1, 1, 1} << int(F::Select) << QList<Path>{{0, 0, 0}, {1, 1, 1}};
        QTest::newRow("deselect") << Path{0} << int(F::Deselect) << QList<Path>{};
        QTest::newRow("toggle end node") << Path{0, 0, 0} << int(F::Toggle) << QList<Path>{};
    }
    void selectRecords()
    {
        QFETCH(Path, target);
        QFETCH(int, flags);
        QFETCH(QList<Path>, selected);
        TModel m;
        m.build(2, 2, 2);
        fmuiTreeViewSelectionModel sm(&m, FM);
        m.at({0, 0, 0})->SetDataIsSelected(true, FM);
        QSignalSpy spy(&sm, &fmuiTreeViewSelectionModel::SelectionUpdated);
        const QModelIndex idx = m.index(m.at(target));
        sm.select(QItemSelection(idx, idx.siblingAtColumn(2)), QItemSelectionModel::SelectionFlags(flags));
        QCOMPARE(spy.size(), 1);
        QCOMPARE(spy.first().first().toInt(), 2);
        QList<Path> got;
        for (int t = 0; t < 2; ++t) {
            if (m.sel({t})) got << Path{t};
            for (int c = 0; c < 2; ++c) {
                if (m.sel({t, c})) got << Path{t, c};
                for (int g = 0; g < 2; ++g)
                    if (m.sel({t, c, g})) got << Path{t, c, g};
            }
        }
        QCOMPARE(got, selected);
        // For a group selected or deselected, the view's rows of every descendant match the records
        // (rows are handed to the view in merged ranges, which must not lose or add one).
        if (target.size() != 1 || (flags & QItemSelectionModel::Toggle)) return;
        for (fmuiTreeViewNode* c : m.at(target)->Children)
            for (fmuiTreeViewNode* n : QList<fmuiTreeViewNode*>{c} + c->Children)
                QCOMPARE(sm.isRowSelected(m.index(n).row(), m.parent(m.index(n))), n->GetDataIsSelected(FM));
    }

    // A click that arrives during a rebuild must change nothing and report nothing.
    void selectDroppedWhileRebuilding()
    {
        TModel m;
        m.build(1, 3, 0);
        fmuiTreeViewSelectionModel sm(&m, FM);
        QSignalSpy spy(&sm, &fmuiTreeViewSelectionModel::SelectionUpdated);
        m.TreeMutex.lock();
        sm.select(QItemSelection(m.index(0, 0), m.index(0, 0)), QItemSelectionModel::Select);
        m.TreeMutex.unlock();
        QCOMPARE(spy.size(), 0);
        QVERIFY(!sm.hasSelection());
        QVERIFY(!m.sel({0, 1}));
    }

    // restoreExpanded must expand what the nodes say and must not record expansions it causes.
    void restoreExpanded()
    {
        fmTreeView* view = new fmTreeView;
        TModel m(view);
        m.build(2, 2, 1);
        view->Tree->setModel(&m);
        m.at({0})->IsExpanded = m.at({0, 1})->IsExpanded = true;
        // Anything the tree does while restoring, e.g. expanding another row, is not the user.
        auto c =
            connect(view->Tree, &QTreeView::expanded, view, [&] { view->Tree->expand(m.index(m.at({1}))); });
        m.restoreExpanded();
        disconnect(c);
        QVERIFY(view->isExpanded(m.index(m.at({0}))) && view->isExpanded(m.index(m.at({0, 1}))));
        QVERIFY(!view->isExpanded(m.index(m.at({0, 0}))));
        QVERIFY(!m.at({1})->IsExpanded);
        QVERIFY(!m.RestoringExpanded);
        view->Tree->expand(m.index(m.at({1, 0}))); // the user
        QVERIFY(m.at({1, 0})->IsExpanded);
        view->Tree->collapse(m.index(m.at({0})));
        QVERIFY(!m.at({0})->IsExpanded);
        view->Tree->setModel(nullptr);
        delete view;
    }
};

QTEST_MAIN(tst_fmtreeviewmodel)
#include "tst_fmtreeviewmodel.moc"
