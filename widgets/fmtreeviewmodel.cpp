#include "widgets/fmtreeviewmodel.h"

#include "widgets/fmtreeview.h"
#include "widgets/fmtreeviewtypes.h"

#include <utility>

namespace {

void registerTreeViewTypes()
{
    static const bool done = [] {
        qRegisterMetaType<fmtvShading>("fmtvShading");
        qRegisterMetaType<fmtvBGbars>("fmtvBGbars");
        return true;
    }();
    (void)done;
}

// Visits the root and the three levels under it (the deepest a tree of this framework gets).
template <typename Fn> void forFourLevels(fmuiTreeViewNode* root, Fn&& fn)
{
    if (!root) return;
    fn(root);
    for (fmuiTreeViewNode* t : std::as_const(root->Children)) {
        if (!t) continue;
        fn(t);
        for (fmuiTreeViewNode* c : std::as_const(t->Children)) {
            if (!c) continue;
            fn(c);
            for (fmuiTreeViewNode* g : std::as_const(c->Children))
                if (g) fn(g);
        }
    }
}

} // namespace

// ---- fmuiTreeViewModel ----

fmuiTreeViewModel::fmuiTreeViewModel(fmTreeView*& view, QObject* parent)
    : QAbstractItemModel(parent), View(view)
{
    registerTreeViewTypes();
    DeleteLaterCount = 0;
    RestoringExpanded = false;
    if (View && View->Tree) {
        connect(View->Tree, &QTreeView::expanded, this, &fmuiTreeViewModel::expanded);
        connect(View->Tree, &QTreeView::collapsed, this, &fmuiTreeViewModel::collapsed);
    }
}

// Who frees what: the concrete model's destructor (which runs first) frees Root and the tree under
// it; the concrete node's destructor frees its children. Nodes on the deletion list are detached
// from that tree and have no children, so they are freed here and only here, as are the shells that
// earlier passes of executeDeleteLater deliberately left alive, and nodes the full list refused.
fmuiTreeViewModel::~fmuiTreeViewModel()
{
    executeDeleteLater();
    qDeleteAll(KeptShells);
    KeptShells.clear();
    qDeleteAll(RefusedNodes);
    RefusedNodes.clear();
}

fmuiTreeViewNode* fmuiTreeViewModel::nodeFromIndex(const QModelIndex& index) const
{
    if (index.row() < 0 || index.column() < 0 || !index.model()) return Root;
    if (index.model() != this) return nullptr; // another model's pointer means nothing here
    return static_cast<fmuiTreeViewNode*>(index.internalPointer());
}

int fmuiTreeViewModel::rowOf(const fmuiTreeViewNode* node)
{
    if (!node || !node->Parent) return -1;
    const QList<fmuiTreeViewNode*>& siblings = node->Parent->Children;
    const int hint = node->RowHint;
    if (hint >= 0 && hint < siblings.size() && siblings.at(hint) == node) return hint;
    const int row = int(siblings.indexOf(const_cast<fmuiTreeViewNode*>(node)));
    node->RowHint = row;
    return row;
}

QModelIndex fmuiTreeViewModel::index(int row, int column, const QModelIndex& parent) const
{
    if (!Root || row < 0 || column < 0) return {};
    fmuiTreeViewNode* parentNode = nodeFromIndex(parent);
    if (!parentNode || row >= parentNode->Children.size()) return {};
    fmuiTreeViewNode* child = parentNode->Children.at(row);
    if (!child) return {};
    child->RowHint = row; // the view walks rows in order; this makes the later parent() lookups O(1)
    return createIndex(row, column, child);
}

QModelIndex fmuiTreeViewModel::index(fmuiTreeViewNode* node) const
{
    if (!node || !node->Parent) return {};
    const int row = rowOf(node);
    if (row < 0) return {};
    return createIndex(row, 0, node);
}

QModelIndex fmuiTreeViewModel::parent(const QModelIndex& child) const
{
    if (!child.isValid()) return {};
    const fmuiTreeViewNode* node = nodeFromIndex(child);
    if (!node) return {};
    fmuiTreeViewNode* parentNode = node->Parent;
    if (!parentNode || !parentNode->Parent) return {}; // a first-level node's parent is the root
    const int row = rowOf(parentNode);
    if (row < 0) return {};
    return createIndex(row, 0, parentNode);
}

int fmuiTreeViewModel::rowCount(const QModelIndex& parent) const
{
    // Cells right of the first column have no children, as item views expect.
    if (parent.isValid() && parent.column() > 0) return 0;
    const fmuiTreeViewNode* node = parent.isValid() ? nodeFromIndex(parent) : Root;
    return node ? int(node->Children.size()) : 0;
}

void fmuiTreeViewModel::dataChangedNode(fmuiTreeViewNode* node, const bool& recursive)
{
    if (!node) return;
    if (node->Parent) {
        const int row = rowOf(node);
        // Columns 0 to 3 whatever the column count: a tree view repaints whole rows anyway.
        if (row >= 0) emit dataChanged(createIndex(row, 0, node), createIndex(row, 3, node));
    }
    if (!recursive) return;
    for (fmuiTreeViewNode* child : std::as_const(node->Children))
        dataChangedNode(child, recursive);
}

void fmuiTreeViewModel::allDataChanged()
{
    dataChangedNode(Root, true);
}

void fmuiTreeViewModel::addDeleteLater(fmuiTreeViewNode* node)
{
    if (!node) return;
    // Capacity is one short of the arrays. A refused node stays where the caller left it
    // (already unlinked), i.e. it is never freed.
    if (DeleteLaterCount < 0) DeleteLaterCount = 0;
    if (DeleteLaterCount + 1 > DeleteLaterSize - 1) {
        RefusedNodes.insert(node);
        return;
    }
    DeleteLaterNodes[DeleteLaterCount] = node;
    DeleteLaterCounters[DeleteLaterCount] = 4;
    ++DeleteLaterCount;
    node->deleteDataNode(); // the record goes now, only the shell waits
    for (fmuiTreeViewNode* child : std::as_const(node->Children))
        addDeleteLater(child);
    node->Children.clear();
}

// Every entry looks at the counter of the LAST entry, not at its own: so the first four entries
// of a batch are never freed by a rebuild (a view may still read their Parent, Children and
// NodeType), and every later entry is freed in this pass. Those four shells are kept in KeptShells
// and freed with the model.
void fmuiTreeViewModel::executeDeleteLater()
{
    const int count = qBound(0, int(DeleteLaterCount), int(DeleteLaterSize));
    for (int i = 0; i < count; ++i) {
        int32_t& lastCounter = DeleteLaterCounters[count - 1];
        fmuiTreeViewNode* node = DeleteLaterNodes[i];
        if (lastCounter > 0) {
            --lastCounter;
            if (node) KeptShells.append(node);
            continue;
        }
        if (node) {
            node->deleteDataNode();
            node->Parent = nullptr;
            delete node;
        }
        DeleteLaterNodes[i] = nullptr;
    }
    DeleteLaterCount = 0;
}

void fmuiTreeViewModel::deleteAllChildren(fmuiTreeViewNode* node)
{
    if (!node) return;
    for (fmuiTreeViewNode* child : std::as_const(node->Children))
        addDeleteLater(child);
    node->Children.clear();
}

void fmuiTreeViewModel::deleteChildrenNr(fmuiTreeViewNode* node, int nr)
{
    if (!node || nr < 0 || nr >= node->Children.size()) return;
    addDeleteLater(node->Children.at(nr));
    node->Children.removeAt(nr);
}

void fmuiTreeViewModel::ClearSelectionAll(bool all, QString reason)
{
    Q_UNUSED(all);
    Q_UNUSED(reason);
    forFourLevels(Root, [](fmuiTreeViewNode* n) {
        n->ForceSelected = false;
        n->ForceDeselected = false;
    });
}

void fmuiTreeViewModel::ClearExplicitSelectionAll()
{
    forFourLevels(Root, [](fmuiTreeViewNode* n) { n->ExplicitSelected = false; });
}

void fmuiTreeViewModel::restoreExpanded()
{
    RestoringExpanded = true;
    fmTreeViewWidget* tree = View ? View->Tree : nullptr;
    if (tree && Root) {
        // Deepest level first, so that expanding a parent shows children already in their state.
        for (fmuiTreeViewNode* t : std::as_const(Root->Children)) {
            if (!t) continue;
            for (fmuiTreeViewNode* c : std::as_const(t->Children)) {
                if (!c) continue;
                for (fmuiTreeViewNode* g : std::as_const(c->Children))
                    if (g && g->IsExpanded) tree->expand(index(g));
                if (c->IsExpanded) tree->expand(index(c));
            }
            if (t->IsExpanded) tree->expand(index(t));
        }
    }
    RestoringExpanded = false;
}

void fmuiTreeViewModel::clearExpanded()
{
    forFourLevels(Root, [](fmuiTreeViewNode* n) { n->IsExpanded = false; });
}

void fmuiTreeViewModel::reset()
{
    beginResetModel();
    endResetModel();
}

QList<quintptr> fmuiTreeViewModel::shape() const
{
    QList<quintptr> out;
    forFourLevels(Root, [&out](fmuiTreeViewNode* n) {
        out.append(quintptr(n));
        out.append((quintptr(n->Children.size()) << 3) | quintptr(n->NodeType & 7));
    });
    return out;
}

fmuiTreeViewNode* fmuiTreeViewModel::currentNode() const
{
    if (!View || !View->Tree || !View->Tree->selectionModel()) return nullptr;
    const QModelIndex current = View->Tree->selectionModel()->currentIndex();
    if (!current.isValid() || current.model() != this) return nullptr;
    return static_cast<fmuiTreeViewNode*>(current.internalPointer());
}

bool fmuiTreeViewModel::isAttached(const fmuiTreeViewNode* node) const
{
    if (!node || !node->Data) return false;
    for (const fmuiTreeViewNode* n = node; n != Root; n = n->Parent)
        if (!n || rowOf(n) < 0) return false;
    return true;
}

void fmuiTreeViewModel::repaintAll()
{
    const int rows = rowCount();
    if (rows > 0) emit dataChanged(index(0, 0), index(rows - 1, columnCount() - 1));
}

void fmuiTreeViewModel::finishRebuild(const QList<quintptr>& before, fmuiTreeViewNode* current)
{
    if (shape() == before) {
        repaintAll();
        return;
    }
    beginResetModel();
    endResetModel();
    restoreExpanded();
    fmTreeViewWidget* tree = View ? View->Tree : nullptr;
    auto* selection = tree ? qobject_cast<fmuiTreeViewSelectionModel*>(tree->selectionModel()) : nullptr;
    if (!selection) return;
    selection->selectFromRecords();
    if (isAttached(current)) selection->setCurrentIndex(index(current), QItemSelectionModel::NoUpdate);
}

void fmuiTreeViewModel::expanded(const QModelIndex& index)
{
    if (RestoringExpanded) return;
    if (fmuiTreeViewNode* node = nodeFromIndex(index)) node->IsExpanded = true;
}

void fmuiTreeViewModel::collapsed(const QModelIndex& index)
{
    if (RestoringExpanded) return;
    if (fmuiTreeViewNode* node = nodeFromIndex(index)) node->IsExpanded = false;
}

// ---- fmuiTreeViewSelectionModel ----

fmuiTreeViewSelectionModel::fmuiTreeViewSelectionModel(fmuiTreeViewModel* model, __FMSDK& app,
                                                       QObject* parent)
    : QItemSelectionModel(model, parent), Model(model), App(app)
{
    if (Model) Model->ClearSelectionAll(true, QStringLiteral("init"));
    connect(this, &QItemSelectionModel::selectionChanged, this,
            [this](const QItemSelection&, const QItemSelection& deselected) {
                if (Capturing) CapturedDeselected.merge(deselected, QItemSelectionModel::Select);
            });
}

// The view's own selection commands (a key, setCurrentIndex) come here with one index; they take
// the same road as a range, so that the records always follow the view.
void fmuiTreeViewSelectionModel::select(const QModelIndex& index, QItemSelectionModel::SelectionFlags flags)
{
    select(QItemSelection(index, index), flags);
}

void fmuiTreeViewSelectionModel::selectChildNode(fmuiTreeViewNode* node, const bool& select)
{
    if (!node || !Model) return;
    if (node->GetDataIsSelected(App) == select) return;
    node->SetDataIsSelected(select, App);
    if (Gathering) {
        queueRow(Model->index(node), select);
        return;
    }
    const QModelIndex index = Model->index(node);
    const QItemSelectionModel::SelectionFlags flags =
        (select ? QItemSelectionModel::Select : QItemSelectionModel::Deselect) | QItemSelectionModel::Rows;
    QItemSelectionModel::select(QItemSelection(index, index), flags); // the row alone, no walk
}

void fmuiTreeViewSelectionModel::queueRow(const QModelIndex& index, bool select)
{
    if (!index.isValid()) return; // the base ignores an invalid index as well
    // Selects and deselects are kept in their order: a change of direction hands over what is queued.
    // Within one direction the order does not matter, so rows merge per parent even when the walk
    // alternates between a child and its own children.
    if (select != PendingSelect) flushRows();
    PendingSelect = select;
    const fmuiTreeViewNode* node = Model->nodeFromIndex(index);
    const void* parentKey = node ? node->Parent : nullptr;
    const auto open = PendingOpenRange.constFind(parentKey);
    if (open != PendingOpenRange.constEnd()) {
        QItemSelectionRange& range = PendingRows[*open];
        if (range.bottom() + 1 == index.row()) {
            range = QItemSelectionRange(range.topLeft(), index);
            return;
        }
    }
    PendingOpenRange.insert(parentKey, PendingRows.size());
    PendingRows.append(QItemSelectionRange(index));
}

void fmuiTreeViewSelectionModel::flushRows()
{
    if (PendingRows.isEmpty()) return;
    const QItemSelection rows = std::exchange(PendingRows, QItemSelection());
    PendingOpenRange.clear();
    QItemSelectionModel::select(
        rows, (PendingSelect ? QItemSelectionModel::Select : QItemSelectionModel::Deselect) |
                  QItemSelectionModel::Rows);
}

void fmuiTreeViewSelectionModel::markNode(fmuiTreeViewNode* node, bool state, bool withChildren)
{
    if (withChildren) {
        for (fmuiTreeViewNode* child : std::as_const(node->Children)) {
            if (!child) continue;
            selectChildNode(child, state);
            for (fmuiTreeViewNode* grandchild : std::as_const(child->Children))
                selectChildNode(grandchild, state);
        }
    }
    if (node->NodeType == fmuiTreeViewNode::EndNode) node->SetDataIsSelected(state, App);
}

void fmuiTreeViewSelectionModel::toggleNode(fmuiTreeViewNode* node)
{
    const bool state = !node->GetDataIsSelected(App);
    for (fmuiTreeViewNode* child : std::as_const(node->Children)) {
        if (!child) continue;
        child->SetDataIsSelected(state, App);
        selectChildNode(child, state);
        for (fmuiTreeViewNode* grandchild : std::as_const(child->Children))
            selectChildNode(grandchild, state);
    }
    if (node->NodeType == fmuiTreeViewNode::EndNode) node->SetDataIsSelected(state, App);
}

// The records follow the view: the rows of `selection` are marked, cleared or flipped as the flags
// say, and rows that the view dropped on its own (a shift range that shrank, Clear with Current)
// are cleared too. A group row passes its state on to the jobs below it when it is the only row
// of the command or when it is collapsed; an expanded group in a range leaves its visible rows to
// the range, so a shift-click across a group heading takes only the rows in between.
void fmuiTreeViewSelectionModel::select(const QItemSelection& selection,
                                        QItemSelectionModel::SelectionFlags flags)
{
    if (!Model) return;
    // A rebuild holds the mutex. Rebuilds never pump events, so only a nested call can find it.
    if (!Model->TreeMutex.tryLock()) return;

    bool clearAll = false;
    if (flags == QItemSelectionModel::NoUpdate) {
        flags = QItemSelectionModel::ClearAndSelect;
        clearAll = true;
    } else if ((flags & (QItemSelectionModel::Clear | QItemSelectionModel::Current)) ==
               QItemSelectionModel::Clear) {
        clearAll = true;
    }
    if (clearAll) {
        Model->ClearSelectionAll(true, QStringLiteral("select Clear"));
        Model->ClearExplicitSelectionAll();
    }

    CapturedDeselected.clear();
    Capturing = true;
    QItemSelectionModel::select(selection, flags);
    Capturing = false;

    int lastColumn = 0;
    qsizetype rows = 0;
    for (const QItemSelectionRange& range : selection)
        rows += range.isValid() ? range.height() : 0;
    const bool oneRow = rows == 1;
    QSet<const fmuiTreeViewNode*> walked;
    Gathering = true;
    for (const QItemSelectionRange& range : selection) {
        if (!range.isValid()) continue;
        lastColumn = range.right();
        for (int row = range.top(); row <= range.bottom(); ++row) {
            fmuiTreeViewNode* node = Model->nodeFromIndex(range.model()->index(row, 0, range.parent()));
            if (!node || node->ForceSelected || node->ForceDeselected) continue;
            const bool firstVisit = !walked.contains(node);
            if (firstVisit) walked.insert(node);
            const bool withChildren = oneRow || !node->IsExpanded;
            if ((flags & QItemSelectionModel::Select) && firstVisit) markNode(node, true, withChildren);
            if ((flags & QItemSelectionModel::Deselect) && firstVisit) markNode(node, false, withChildren);
            if (flags & QItemSelectionModel::Toggle) toggleNode(node);
        }
    }
    for (const QItemSelectionRange& range : std::as_const(CapturedDeselected)) {
        if (!range.isValid()) continue;
        for (int row = range.top(); row <= range.bottom(); ++row) {
            fmuiTreeViewNode* node = Model->nodeFromIndex(range.model()->index(row, 0, range.parent()));
            if (!node || walked.contains(node) || node->ForceSelected || node->ForceDeselected) continue;
            walked.insert(node);
            markNode(node, false, !node->IsExpanded);
        }
    }
    flushRows();
    Gathering = false;
    CapturedDeselected.clear();
    if (walked.size() <= 64)
        for (const fmuiTreeViewNode* node : std::as_const(walked))
            Model->dataChangedNode(const_cast<fmuiTreeViewNode*>(node), true);
    else
        Model->repaintAll();
    Model->TreeMutex.unlock();
    emit SelectionUpdated(lastColumn);
}

void fmuiTreeViewSelectionModel::selectFromRecords()
{
    if (!Model || !Model->Root) return;
    Gathering = true;
    PendingSelect = true;
    for (fmuiTreeViewNode* t : std::as_const(Model->Root->Children)) {
        if (!t) continue;
        for (fmuiTreeViewNode* c : std::as_const(t->Children)) {
            if (!c) continue;
            if (c->NodeType == fmuiTreeViewNode::EndNode && c->GetDataIsSelected(App))
                queueRow(Model->index(c), true);
            for (fmuiTreeViewNode* g : std::as_const(c->Children))
                if (g && g->NodeType == fmuiTreeViewNode::EndNode && g->GetDataIsSelected(App))
                    queueRow(Model->index(g), true);
        }
        if (t->NodeType == fmuiTreeViewNode::EndNode && t->GetDataIsSelected(App))
            queueRow(Model->index(t), true);
    }
    flushRows();
    Gathering = false;
}

QModelIndexList fmuiTreeViewSelectionModel::selectedIndexes() const
{
    return selection().indexes();
}

QString flags2String(QItemSelectionModel::SelectionFlags flags)
{
    QString s(5, QLatin1Char(' '));
    if (flags & QItemSelectionModel::Clear) s[0] = QLatin1Char('c');
    if (flags & QItemSelectionModel::Select) s[1] = QLatin1Char('s');
    if (flags & QItemSelectionModel::Deselect) s[2] = QLatin1Char('d');
    if (flags & QItemSelectionModel::Toggle) s[3] = QLatin1Char('t');
    if (flags & QItemSelectionModel::Current) s[4] = QLatin1Char('C');
    return s;
}
