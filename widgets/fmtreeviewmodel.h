#pragma once
// A small framework under the job and client trees: an abstract node, an abstract item model over
// a tree of at most three levels below the root, and a selection model that keeps the selection in
// the records behind the nodes (a job's or a client's selected flag) rather than only in the view.
//
// Nodes that leave the tree are not destroyed at once: the view may still paint from them. They go
// on a fixed deletion list and are destroyed at the start of a later rebuild.

#include <QAbstractItemModel>
#include <QHash>
#include <QItemSelectionModel>
#include <QList>
#include <QMutex>
#include <QReadWriteLock>
#include <QSet>
#include <QString>

class __FMSDK;
class fmTreeView;

class fmuiTreeViewNode
{
public:
    enum Type : int32_t {
        Root = 0,       // the invisible root
        FirstLevel = 1, // a user or project group; in the clients tree a group of clients
        SecondLevel = 2,
        EndNode = 3, // one record: a job, or one job thread of a client
    };

    fmuiTreeViewNode() = default;
    virtual ~fmuiTreeViewNode() = default;
    fmuiTreeViewNode(const fmuiTreeViewNode&) = delete;
    fmuiTreeViewNode& operator=(const fmuiTreeViewNode&) = delete;

    // Writes or reads the selected flag of the record behind the node.
    virtual void SetDataIsSelected(bool selected, __FMSDK& app) const = 0;
    virtual bool GetDataIsSelected(__FMSDK& app) const = 0;
    // Destroys the data record and sets Data to null.
    virtual void deleteDataNode() = 0;

    fmuiTreeViewNode* Parent = nullptr; // not owning; null for the root and a detached shell
    QList<fmuiTreeViewNode*> Children;  // owning (the concrete destructor frees them); order = rows
    int32_t Level = 0;                  // depth given by the creator
    bool ForceSelected = false;         // counts as selected whatever the record says
    bool ForceDeselected = false;       // counts as not selected; wins over ForceSelected
    bool ExplicitSelected = false;      // cleared by ClearExplicitSelectionAll
    bool IsExpanded = false;            // last expanded state the user gave it in the view
    Type NodeType = Root;
    void* Data = nullptr; // the concrete node's record, owned by the concrete node

    // A cheap guess of this node's row in Parent->Children, checked before every use; the
    // answer is always that of a linear search.
    mutable int RowHint = -1;
};

class fmuiTreeViewModel : public QAbstractItemModel
{
    Q_OBJECT
public:
    static constexpr int DeleteLaterSize = 5000;

    // Connects the inner tree widget's expanded/collapsed signals when `view` is set.
    fmuiTreeViewModel(fmTreeView*& view, QObject* parent);
    ~fmuiTreeViewModel() override;

    fmuiTreeViewNode* Root = nullptr; // made by the concrete model
    QMutex TreeMutex;                 // held during a whole rebuild; select() only tries it
    bool RestoringExpanded = false;   // expanded/collapsed signals are not the user's
    QReadWriteLock NodeLock;          // rebuild writes, data() reads
    fmuiTreeViewNode* DeleteLaterNodes[DeleteLaterSize] = {};
    int32_t DeleteLaterCounters[DeleteLaterSize] = {};
    int32_t DeleteLaterCount = 0;
    fmTreeView*& View;
    // Shells that executeDeleteLater left alive on purpose (see there); owned, freed only by the
    // destructor so that a view holding an index into one can still read it.
    QList<fmuiTreeViewNode*> KeptShells;
    // Nodes refused by a full deletion list: already unlinked by the caller, never freed while the
    // model lives; owned here only so that the destructor frees them (with their records and children).
    QSet<fmuiTreeViewNode*> RefusedNodes;

    fmuiTreeViewNode* nodeFromIndex(const QModelIndex& index) const;
    QModelIndex index(int row, int column, const QModelIndex& parent = QModelIndex()) const override;
    QModelIndex index(fmuiTreeViewNode* node) const;
    QModelIndex parent(const QModelIndex& index) const override;
    int rowCount(const QModelIndex& parent = QModelIndex()) const override;
    // Row of node in its parent's Children by search (the hint first); -1 when it is not there.
    static int rowOf(const fmuiTreeViewNode* node);

    void dataChangedNode(fmuiTreeViewNode* node, const bool& recursive);
    void allDataChanged();

    void addDeleteLater(fmuiTreeViewNode* node);
    void executeDeleteLater();
    void deleteAllChildren(fmuiTreeViewNode* node);
    void deleteChildrenNr(fmuiTreeViewNode* node, int nr);

    virtual void ClearSelectionAll(bool all, QString reason);
    virtual void ClearExplicitSelectionAll();

    void restoreExpanded();
    void clearExpanded();

    // Model reset for Qt 6 (beginResetModel/endResetModel around nothing).
    void reset();

    // The tree's shape in one list: each node of the three levels below the root, depth first,
    // with its type and child count. Two equal lists mean the same rows under the same parents.
    QList<quintptr> shape() const;
    // The node of the view's current index; null without a view or current index.
    fmuiTreeViewNode* currentNode() const;
    // Ends a rebuild that was done without telling the views in advance. Same shape as `before`:
    // one dataChanged, so the view keeps its current index, anchors, scroll position and
    // selection. Otherwise a reset, the expanded rows restored, the view's selection rebuilt from
    // the records, and `current` made current again if it is still in the tree.
    void finishRebuild(const QList<quintptr>& before, fmuiTreeViewNode* current);
    // Tells the views that every cell may have changed (one dataChanged over the top rows).
    void repaintAll();
    // True when `node` hangs in the tree under Root (not a shell on the deletion list).
    bool isAttached(const fmuiTreeViewNode* node) const;

signals:
    void updateFooter();

public slots:
    void expanded(const QModelIndex& index);
    void collapsed(const QModelIndex& index);
};

class fmuiTreeViewSelectionModel : public QItemSelectionModel
{
    Q_OBJECT
public:
    fmuiTreeViewSelectionModel(fmuiTreeViewModel* model, __FMSDK& app, QObject* parent = nullptr);

    void select(const QModelIndex& index, QItemSelectionModel::SelectionFlags flags) override;
    void select(const QItemSelection& selection, QItemSelectionModel::SelectionFlags flags) override;
    void selectChildNode(fmuiTreeViewNode* node, const bool& select);
    QModelIndexList selectedIndexes() const;
    // Puts the rows whose records are selected into the view's selection, after a reset emptied it.
    void selectFromRecords();

    fmuiTreeViewModel* Model;
    __FMSDK& App;

signals:
    void SelectionUpdated(int column);

private:
    // While a group is walked, the rows its children add to or take from the view's selection are
    // gathered here (neighbouring rows as one range) and handed over in one go: the item selection
    // model's cost grows with its range count, so one call per row would be quadratic.
    void queueRow(const QModelIndex& index, bool select);
    void flushRows();

    // Marks or clears the records of one row's node; a group passes the change on to its
    // children and grandchildren when `withChildren`.
    void markNode(fmuiTreeViewNode* node, bool state, bool withChildren);
    void toggleNode(fmuiTreeViewNode* node);

    bool Gathering = false;
    bool Capturing = false;            // the base's selectionChanged is recorded in CapturedDeselected
    QItemSelection CapturedDeselected; // rows the last base select took out of the view's selection
    bool PendingSelect = true;
    QItemSelection PendingRows;
    QHash<const void*, qsizetype> PendingOpenRange; // parent node -> its last range in PendingRows
};

// Five characters for diagnosis: "c" clear, "s" select, "d" deselect, "t" toggle, "C" current;
// a blank for a flag that is not set.
QString flags2String(QItemSelectionModel::SelectionFlags flags);
