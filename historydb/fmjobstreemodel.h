#pragma once
// The jobs tree: the sorted and filtered job list grouped by user (or company project), optional
// second-level groups of one submission, an end node per job; 28 columns, their colours and
// icons, and a footer model with the totals of the selected jobs.

#include "widgets/fmtreeviewmodel.h"

#include <QHash>
#include <QString>

class __FM;
class fmTreeView;
namespace fmJ {
class _JobList;
struct _jobsHistoryDB_Runtime;
} // namespace fmJ

struct fmuiTreeViewJobsNodeData
{
    unsigned long long JobID = 0;
    fmJ::_jobsHistoryDB_Runtime* Job = nullptr; // not owned; null: not reached in this rebuild
    int32_t FirstSortedID = 0;                   // lowest sorted position of the jobs below
    int32_t LastSortedID = 0;                    // highest such position
    bool ListIsCopy = false;
    QString Name; // lower case
};

class fmuiTreeViewJobsNode : public fmuiTreeViewNode
{
public:
    fmuiTreeViewJobsNode(Type type, QString name, unsigned long long jobID, fmJ::_jobsHistoryDB_Runtime* job,
                         fmuiTreeViewJobsNode* parent, const int& level, const int& firstSortedID,
                         const int& lastSortedID, const bool& listIsCopy);
    ~fmuiTreeViewJobsNode() override; // destroys the record and all children

    void SetDataIsSelected(bool selected, __FM& app) const override;
    bool GetDataIsSelected(__FM& app) const override;
    void deleteDataNode() override;

    fmuiTreeViewJobsNodeData* data() const { return static_cast<fmuiTreeViewJobsNodeData*>(Data); }
};

class fmuiTreeViewJobsModel : public fmuiTreeViewModel
{
    Q_OBJECT
public:
    static constexpr int ColumnCount = 28;

    fmuiTreeViewJobsModel(fmTreeView*& view, fmJ::_JobList& list, __FM& app, QObject* parent,
                          const bool& showOnlyFlag);
    ~fmuiTreeViewJobsModel() override;

    bool GroupFirstLevel = true;
    bool GroupByUser = true;
    bool GroupSubmissions = false;
    bool GroupAdjacentOnly = true;
    bool ShowOnlyFlag;
    fmJ::_JobList& JobList;
    __FM& App;
    float Cost;                  // "cfgCost"
    QString CostDisplay;         // "cfgCostDisplay"
    int32_t PreviewPriorityIncrease; // "jPreviewPriorityIncrease"
    int32_t ScriptPriorityIncrease;  // "jScriptPriorityIncrease"
    class fmuiTreeViewJobsModelFooter* Footer = nullptr; // not owned; set by initJobTree

    int columnCount(const QModelIndex& parent = QModelIndex()) const override;
    QVariant data(const QModelIndex& index, int role = Qt::DisplayRole) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role = Qt::DisplayRole) const override;
    Qt::ItemFlags flags(const QModelIndex& index) const override;
    bool setData(const QModelIndex& index, const QVariant& value, int role = Qt::EditRole) override;

    void CreateJobTree(bool reset);
    void ClearCompleteTree();
    void ClearSelectionAll(bool all, QString reason) override;

public slots:
    void headerClick(int column, Qt::SortOrder order);
    void QHeaderView_sortIndicatorChanged(int column, Qt::SortOrder order);
    void tableViewSelectionChanged();
};

class fmuiTreeViewJobsModelFooter : public QAbstractItemModel
{
    Q_OBJECT
public:
    fmuiTreeViewJobsModelFooter(fmJ::_JobList& list, __FM& app, fmTreeView*& view, QObject* parent);

    fmJ::_JobList& JobList;
    __FM& App;
    fmTreeView*& View;
    float Cost;
    QString CostDisplay;

    QModelIndex index(int row, int column, const QModelIndex& parent = QModelIndex()) const override;
    QModelIndex parent(const QModelIndex& index) const override;
    int rowCount(const QModelIndex& parent = QModelIndex()) const override;
    int columnCount(const QModelIndex& parent = QModelIndex()) const override;
    QVariant data(const QModelIndex& index, int role = Qt::DisplayRole) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role = Qt::DisplayRole) const override;

public slots:
    void pleaseUpdate();
};

// Wires model, footer model and selection model into the view, with the column layout of the
// jobs table.
void initJobTree(fmTreeView*& view, fmuiTreeViewJobsModel*& model, fmuiTreeViewSelectionModel*& selection,
                 __FM& app, fmJ::_JobList& list, QObject* parent, const bool& flag);
