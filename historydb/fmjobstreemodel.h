#pragma once
// The jobs tree: the sorted and filtered job list grouped by user (or company project), optional
// second-level groups of one submission, an end node per job; 28 columns, their colours and
// icons, and a footer model with the totals of the selected jobs.

#include "widgets/fmtreeviewmodel.h"

#include <QHash>
#include <QList>
#include <QString>

#include <string_view>
#include <unordered_map>

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
    int32_t FirstSortedID = 0;                  // lowest sorted position of the jobs below
    int32_t LastSortedID = 0;                   // highest such position
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

    void SetDataIsSelected(bool selected, __FMSDK& app) const override;
    bool GetDataIsSelected(__FMSDK& app) const override;
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
    float Cost;                                          // "cfgCost"
    QString CostDisplay;                                 // "cfgCostDisplay"
    int32_t PreviewPriorityIncrease;                     // "jPreviewPriorityIncrease"
    int32_t ScriptPriorityIncrease;                      // "jScriptPriorityIncrease"
    class fmuiTreeViewJobsModelFooter* Footer = nullptr; // not owned; set by initJobTree

    int columnCount(const QModelIndex& parent = QModelIndex()) const override;
    QVariant data(const QModelIndex& index, int role = Qt::DisplayRole) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role = Qt::DisplayRole) const override;
    Qt::ItemFlags flags(const QModelIndex& index) const override;
    bool setData(const QModelIndex& index, const QVariant& value, int role = Qt::EditRole) override;

    void CreateJobTree(bool reset);
    void ClearCompleteTree();
    void ClearSelectionAll(bool all, QString reason) override;

    // The steps of AddJobtoNode: the existing first-level group of `key` under `node`; the
    // submission group under `node` that takes job `jobID` (a lone end node of its submission
    // turned into one); the job's end node of the last rebuild, refreshed.
    fmuiTreeViewJobsNode* firstLevelGroup(fmuiTreeViewJobsNode* node, const QString& key);
    fmuiTreeViewJobsNode* submissionGroup(fmuiTreeViewJobsNode* node, int level, unsigned long long jobID,
                                          int sortedID);
    bool reuseEndNode(fmuiTreeViewJobsNode* node, fmJ::_jobsHistoryDB_Runtime* job, int sortedID,
                      const QString& key);
    // Places one job below `node` (see the rebuild), `key` being keyOf(job); always true.
    bool AddJobtoNode(fmuiTreeViewJobsNode* node, int level, fmJ::_jobsHistoryDB_Runtime* job,
                      fmuiTreeViewJobsNode** outGroupNode, int sortedID, const QString& key);
    // In-place quicksort of node->Children[left..right] on FirstSortedID, ascending.
    void SortNodeChildren(fmuiTreeViewJobsNode* node, int left, int right);

    // Resource path of the error icon for the highest error count and whether any error is new;
    // empty for a count below 1.
    static QString errorIconPath(int errorCount, bool fresh);
    // ARGB of the job colour table; an index outside the table gives entry 0.
    static uint32_t jobColor(int colorIndex);

    fmuiTreeViewJobsNode* jobsRoot() const { return static_cast<fmuiTreeViewJobsNode*>(Root); }

public slots:
    void headerClick(int column, Qt::SortOrder order);
    void QHeaderView_sortIndicatorChanged(int column, Qt::SortOrder order);
    void tableViewSelectionChanged();

private:
    // Lookup tables valid during one rebuild only; they keep the per-job searches of
    // AddJobtoNode from being linear in the number of siblings. Children are only appended while
    // they live, so each list stays in row order.
    struct ChildIndex
    {
        QHash<unsigned long long, QList<fmuiTreeViewJobsNode*>> ByJobGroup; // JobID >> 8 -> children
        QHash<QString, QList<fmuiTreeViewJobsNode*>> FirstLevelByName;      // type 1 children by Name
    };
    ChildIndex& indexOf(fmuiTreeViewJobsNode* node);
    void appendChild(fmuiTreeViewJobsNode* node, fmuiTreeViewJobsNode* child);
    QString keyOf(const fmJ::_jobsHistoryDB_Runtime* job) const;
    bool jobIsValid(fmJ::_jobsHistoryDB_Runtime* job) const;
    void pruneChildren(fmuiTreeViewJobsNode* parent, bool firstLevel);
    void remapPersistentIndexes();

    QVariant jobRowData(const fmuiTreeViewJobsNode* node, const fmJ::_jobsHistoryDB_Runtime* job, int column,
                        int role) const;
    QVariant groupRowData(const fmuiTreeViewJobsNode* node, const fmJ::_jobsHistoryDB_Runtime* job,
                          int column, int role) const;
    QString jobText(const fmuiTreeViewJobsNode* node, const fmJ::_jobsHistoryDB_Runtime* job,
                    int column) const;
    QString groupText(const fmuiTreeViewJobsNode* node, const fmJ::_jobsHistoryDB_Runtime* job,
                      int column) const;

    std::unordered_map<fmuiTreeViewJobsNode*, ChildIndex> BuildIndex;
    // keyOf of the jobs met in one rebuild, by the raw name it is made of (the views point into
    // the records, which stay where they are during a rebuild): one text per user, not per job.
    std::unordered_map<std::u16string_view, QString> BuildKeys;
    const QString& rebuildKeyOf(const fmJ::_jobsHistoryDB_Runtime* job);
    // The first-level group found in one rebuild for a key, by the key text's data.
    QHash<const QChar*, fmuiTreeViewJobsNode*> BuildGroups;
    // Every job of the sorted list into the tree, in sorted order (the rebuild's main step).
    void addSortedJobs();

    // What a collapsed group row shows, gathered in one pass over the jobs below it (each job is a
    // separate 38 KB record, so the pass is bound by memory, not by arithmetic). Valid until the
    // next rebuild, reset, selection clearing or dataChanged of this model.
    struct GroupSummary
    {
        uint32_t DifferColumns = 0; // bit c: column c differs among the jobs
        double Low = 0, High = 0;   // frame range
        long long FrameTimeSum = 0;
        int FrameTimeCount = 0;
        long long PS = 0;
        double GhzHours = 0;
        int ErrorLevel = 0;
        bool Fresh = false;
        bool Any = false, All = false;
    };
    const GroupSummary& summaryOf(const fmuiTreeViewJobsNode* node,
                                  const fmJ::_jobsHistoryDB_Runtime* job) const;
    void invalidateSummaries() { Summaries.clear(); }
    mutable QHash<const fmuiTreeViewJobsNode*, GroupSummary> Summaries;
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

private:
    // Totals of the selected jobs of the sorted list, computed once per update.
    struct Totals
    {
        int Selected = 0;
        int Sorted = 0;
        long long Frames = 0;
        long long FrameTimeSum = 0;
        int FrameTimeCount = 0;
        double PS = 0;
        double GhzHours = 0;
    };
    const Totals& totals() const;
    mutable Totals Sums;
    mutable bool SumsValid = false;
};

// Wires model, footer model and selection model into the view, with the column layout of the
// jobs table.
void initJobTree(fmTreeView*& view, fmuiTreeViewJobsModel*& model, fmuiTreeViewSelectionModel*& selection,
                 __FM& app, fmJ::_JobList& list, QObject* parent, const bool& flag);
