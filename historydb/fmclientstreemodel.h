#pragma once
// The clients tree: the farm's client groups with their clients below, and for the jobs selected
// in the jobs tree who worked on them, as bars in the cells; 14 columns and a footer model.

#include "widgets/fmtreeviewmodel.h"

#include <memory>

class __FM;
class fmTreeView;
namespace fmJ {
class _JobList;
}

struct fmuiTreeViewClientsNodeData
{
    fmuiTreeViewClientsNodeData(__FM& app, unsigned long long index, int thread)
        : Index(index), App(app), Thread(thread)
    {
    }
    unsigned long long Index; // client number in the client list, or group number
    __FM& App;
    int32_t Thread;
};

class fmuiTreeViewClientsNode : public fmuiTreeViewNode
{
public:
    fmuiTreeViewClientsNode(__FM& app, Type type, unsigned long long index, int thread,
                            fmuiTreeViewClientsNode* parent, const int& level);
    ~fmuiTreeViewClientsNode() override;

    void SetDataIsSelected(bool selected, __FMSDK& app) const override;
    bool GetDataIsSelected(__FMSDK& app) const override;
    void deleteDataNode() override;

    fmuiTreeViewClientsNodeData* data() const { return static_cast<fmuiTreeViewClientsNodeData*>(Data); }
};

// What the cells say about the selected jobs is derived from each job's history record and the
// client's own record, as follows (client k is number k of the client table):
// - "Assigned": client k worked on a job when the job's ClientStats[k].FramesDone is above 0; 0 or
//   a damaged negative count means it did not. Column 1 of a client is the share of the selected
//   jobs it worked on; column 1 of a group, per job, the share of the group's clients that did.
// - "Render time" (column 2): the record keeps frames per client, not seconds, so a client's time
//   on a job is FramesDone x the job's AverageFrameTime (seconds), summed over the selected jobs
//   it worked on; counts of 0 and below add nothing.
// - CPU bar (column 4): the thread's share is its CPUUsage value (0..255) as a percent, truncated
//   (value / 2.55 + 1.275) - 1; the machine's load is the sum of the valid values (1..253) of all
//   threads in use, capped at 255, taken as a percent the same way; the second bar is the
//   machine's percent less the thread's, never below 0.
class fmuiTreeViewClientsModel : public fmuiTreeViewModel
{
    Q_OBJECT
public:
    static constexpr int ColumnCount = 14;

    fmuiTreeViewClientsModel(fmTreeView*& view, __FM& app, fmJ::_JobList* jobs, QObject* parent, bool simple,
                             bool flag);
    ~fmuiTreeViewClientsModel() override;

    __FM& App;
    fmJ::_JobList* JobList;
    bool ShowAll = true;
    bool Simple;
    bool Flag;

    int columnCount(const QModelIndex& parent = QModelIndex()) const override;
    QVariant data(const QModelIndex& index, int role = Qt::DisplayRole) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role = Qt::DisplayRole) const override;

    void CreateClientTree();
    void redrawAll();
    void ClearSelectionAll(bool all, QString reason) override;

    // Alignment of a column's cells and title.
    Qt::Alignment columnAlignment(int column) const;

public slots:
    void headerClick(int column, Qt::SortOrder order);
    void QHeaderView_sortIndicatorChanged(int column, Qt::SortOrder order);

private:
    // Selected flag of the record or forced, unless forced off.
    bool nodeSelected(const fmuiTreeViewNode* node) const;
    // Client numbers of the filtered list assigned to the group, in sort order; `out` holds 750.
    int groupClients(int group, int* out) const;
    // Over the selected jobs (with `all` the whole sorted list): how many jobs there are, on how
    // many of them the client worked, and its render seconds (frames done x mean frame time).
    struct JobTotals
    {
        int Jobs = 0;
        int Worked = 0;
        long long Seconds = 0;
    };
    JobTotals jobTotals(int client, bool all) const;
    struct JobTotalsCache;
    // Per client results of jobTotals for the selection [0] and the sorted list [1]; painting asks
    // for the same rows again and again while the job selection stays.
    mutable std::unique_ptr<JobTotalsCache> TotalsCache[2];
    QVariant groupData(const fmuiTreeViewNode* node, int group, int col, int role) const;
    QVariant groupAssignmentBars(int group) const;
    // A client's row (thread 0) or thread row: its text, and its bar graphs.
    QVariant endText(int client, int thread, int col) const;
    QVariant endBars(int client, int thread, int col) const;
    QVariant endData(const fmuiTreeViewNode* node, int client, int thread, int col, int role) const;
};

class fmuiTreeViewClientsModelFooter : public QAbstractItemModel
{
    Q_OBJECT
public:
    fmuiTreeViewClientsModelFooter(__FM& app, fmTreeView*& view, QObject* parent);

    __FM& App;
    fmTreeView*& View;

    QModelIndex index(int row, int column, const QModelIndex& parent = QModelIndex()) const override;
    QModelIndex parent(const QModelIndex& index) const override;
    int rowCount(const QModelIndex& parent = QModelIndex()) const override;
    int columnCount(const QModelIndex& parent = QModelIndex()) const override;
    QVariant data(const QModelIndex& index, int role = Qt::DisplayRole) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role = Qt::DisplayRole) const override;

public slots:
    void pleaseUpdate();
};

void initClientTree(fmTreeView*& view, fmuiTreeViewClientsModel*& model, __FM& app, fmJ::_JobList* jobs,
                    QObject* parent, bool compact, bool single, const bool& flag, const bool& showTime);
