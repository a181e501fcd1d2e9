#include "historydb/fmjobstreemodel.h"

#include "app/fm.h"
#include "farm/fmclientlist.h"
#include "jobs/fmjoblist.h"
#include "widgets/fmtreeview.h"

#include <QHeaderView>
#include <QMutexLocker>
#include <QReadLocker>
#include <QStyle>
#include <QWriteLocker>

#include <algorithm>

using fmJ::_jobsHistoryDB_Runtime;

namespace {

// Lower-casing of the C locale: only A to Z change. Group keys and node names use the same rule,
// so a name found once is found again.
QString cLower(const QString& s)
{
    auto upper = [](QChar c) { return c.unicode() >= u'A' && c.unicode() <= u'Z'; };
    const auto first = std::find_if(s.cbegin(), s.cend(), upper);
    if (first == s.cend()) return s; // shared, no copy
    QString r = s;
    for (QChar* c = r.data() + (first - s.cbegin()); c != r.data() + r.size(); ++c)
        if (upper(*c)) *c = QChar(char16_t(c->unicode() + 32));
    return r;
}

constexpr int PrefetchAhead = 8; // jobs

bool within(int sortedID, const fmuiTreeViewJobsNodeData* d)
{
    return sortedID >= d->FirstSortedID - 1 && sortedID <= d->LastSortedID + 1;
}

float cfgFloat(__FM& app, const char* name)
{
    const float* v = app.cfgGetF(name);
    return v ? *v : 0.0f;
}

QString cfgText(__FM& app, const char* name)
{
    const fmString<100>* v = app.cfgGetS(name);
    return v ? v->toQString() : QString();
}

int cfgInt(__FM& app, const char* name)
{
    const short* v = app.cfgGetI(name);
    return v ? *v : 0;
}

} // namespace

// ---- node --------------------------------------------------------------------------------------

fmuiTreeViewJobsNode::fmuiTreeViewJobsNode(Type type, QString name, unsigned long long jobID,
                                           _jobsHistoryDB_Runtime* job, fmuiTreeViewJobsNode* parent,
                                           const int& level, const int& firstSortedID,
                                           const int& lastSortedID, const bool& listIsCopy)
{
    Parent = parent;
    NodeType = type;
    Level = level;
    ForceSelected = false;
    auto* d = new fmuiTreeViewJobsNodeData;
    d->JobID = jobID;
    d->Job = job;
    d->FirstSortedID = firstSortedID;
    d->LastSortedID = lastSortedID;
    d->ListIsCopy = listIsCopy;
    d->Name = cLower(name);
    Data = d;
}

fmuiTreeViewJobsNode::~fmuiTreeViewJobsNode()
{
    deleteDataNode();
    qDeleteAll(Children);
    Children.clear();
}

void fmuiTreeViewJobsNode::SetDataIsSelected(bool selected, __FMSDK& sdk) const
{
    fmC::_ClientList* clients = fmClientTable(sdk);
    const fmuiTreeViewJobsNodeData* d = data();
    if (!d || !d->Job) return;
    if (d->ListIsCopy) {
        d->Job->HistorySelected = selected ? 1 : 0;
        return;
    }
    d->Job->Selected = selected ? 1 : 0;
    // A selected job lights up the clients that render it.
    if (!clients) return;
    const unsigned long long id = d->Job->JobID;
    const int n = clients->count();
    for (int i = 0; i < n; ++i) {
        fmC::_Client* c = clients->at(i);
        if (c && c->Status.Thread[0].JobID == id) c->Selected = selected ? 1 : 0;
    }
}

bool fmuiTreeViewJobsNode::GetDataIsSelected(__FMSDK&) const
{
    const fmuiTreeViewJobsNodeData* d = data();
    if (!d || !d->Job) return false;
    return d->ListIsCopy ? d->Job->HistorySelected != 0 : d->Job->Selected != 0;
}

void fmuiTreeViewJobsNode::deleteDataNode()
{
    delete data();
    Data = nullptr;
}

// ---- model: construction and small operations ---------------------------------------------------

fmuiTreeViewJobsModel::fmuiTreeViewJobsModel(fmTreeView*& view, fmJ::_JobList& list, __FM& app,
                                             QObject* parent, const bool& showOnlyFlag)
    : fmuiTreeViewModel(view, parent), ShowOnlyFlag(showOnlyFlag), JobList(list), App(app),
      Cost(cfgFloat(app, "cfgCost")), CostDisplay(cfgText(app, "cfgCostDisplay")),
      PreviewPriorityIncrease(cfgInt(app, "jPreviewPriorityIncrease")),
      ScriptPriorityIncrease(cfgInt(app, "jScriptPriorityIncrease"))
{
    Root = new fmuiTreeViewJobsNode(fmuiTreeViewNode::Root, QString(), 0, nullptr, nullptr, 0, 0, 0,
                                    list.IsCopy);
    // The selection model reports every change of the records' selected flags through dataChanged.
    connect(this, &QAbstractItemModel::dataChanged, this, [this] { invalidateSummaries(); });
    connect(this, &QAbstractItemModel::modelReset, this, [this] { invalidateSummaries(); });
    connect(this, &QAbstractItemModel::layoutChanged, this, [this] { invalidateSummaries(); });
}

fmuiTreeViewJobsModel::~fmuiTreeViewJobsModel()
{
    delete Root;
    Root = nullptr;
}

int fmuiTreeViewJobsModel::columnCount(const QModelIndex&) const
{
    return ColumnCount;
}

bool fmuiTreeViewJobsModel::setData(const QModelIndex&, const QVariant&, int)
{
    QReadLocker lock(&NodeLock);
    return false;
}

Qt::ItemFlags fmuiTreeViewJobsModel::flags(const QModelIndex& index) const
{
    QReadLocker lock(const_cast<QReadWriteLock*>(&NodeLock));
    Qt::ItemFlags f = fmuiTreeViewModel::flags(index);
    if (index.column() != 19) return f;
    auto* node = static_cast<fmuiTreeViewJobsNode*>(nodeFromIndex(index));
    if (!node || node == Root || !node->data()) return f;
    const bool endLike = node->NodeType == fmuiTreeViewNode::EndNode ||
                         (node->Children.size() == 1 && node->Children[0] &&
                          node->Children[0]->NodeType == fmuiTreeViewNode::EndNode);
    if (endLike && jobIsValid(node->data()->Job)) f |= Qt::ItemIsUserCheckable;
    return f;
}

bool fmuiTreeViewJobsModel::jobIsValid(_jobsHistoryDB_Runtime* job) const
{
    // The same answer as _JobList::isValidJob without its walk over the queue: records are never
    // freed while the list lives, and Queue[i]->QueueID == i for every job in use.
    if (!job) return false;
    QReadLocker lock(&JobList.LockJobs);
    const int q = job->QueueID;
    return q >= 0 && q < JobList.JobCount && q < JobList.Capacity && JobList.Queue[q] == job;
}

QString fmuiTreeViewJobsModel::keyOf(const _jobsHistoryDB_Runtime* job) const
{
    return cLower(GroupByUser ? job->UserName.toQString().left(50) : job->CompanyProjectName.toQString());
}

QString fmuiTreeViewJobsModel::errorIconPath(int errorCount, bool fresh)
{
    if (errorCount >= 16)
        return fresh ? QStringLiteral(":JobTable/icon_achtung_redfill.png")
                     : QStringLiteral(":JobTable/icon_achtung_red.png");
    if (errorCount >= 8)
        return fresh ? QStringLiteral(":JobTable/icon_achtung_orangefill.png")
                     : QStringLiteral(":JobTable/icon_achtung_orange.png");
    if (errorCount >= 1)
        return fresh ? QStringLiteral(":JobTable/icon_achtung_yellowfill.png")
                     : QStringLiteral(":JobTable/icon_achtung_yellow.png");
    return QString();
}

uint32_t fmuiTreeViewJobsModel::jobColor(int colorIndex)
{
    static constexpr uint32_t table[12] = {0xFFEEEEEE, 0xFFFFCCCC, 0xFFBBFFAA, 0xFFAACCFF,
                                           0xFFFFFFCC, 0xFFEECCFF, 0xFFCCFFFF, 0xFF999999,
                                           0xFFFF0000, 0xFF00FF00, 0xFF6666FF, 0xFF000000};
    return colorIndex >= 0 && colorIndex < 12 ? table[colorIndex] : table[0];
}

void fmuiTreeViewJobsModel::headerClick(int column, Qt::SortOrder order)
{
    if (JobList.SetSortID(column, order)) CreateJobTree(false);
}

void fmuiTreeViewJobsModel::QHeaderView_sortIndicatorChanged(int column, Qt::SortOrder order)
{
    if (JobList.SetSortID(column, order)) CreateJobTree(false);
}

void fmuiTreeViewJobsModel::tableViewSelectionChanged()
{
    JobList.CreateSelectionList();
}

void fmuiTreeViewJobsModel::ClearSelectionAll(bool all, QString reason)
{
    fmuiTreeViewModel::ClearSelectionAll(all, reason);
    invalidateSummaries();
    if (!all) return;
    {
        QReadLocker lock(&JobList.LockJobs);
        for (int i = 0; i < JobList.Capacity; ++i) {
            _jobsHistoryDB_Runtime* job = JobList.Queue ? JobList.Queue[i] : nullptr;
            if (!job) continue;
            if (JobList.IsCopy)
                job->HistorySelected = 0;
            else
                job->Selected = 0;
        }
    }
    if (JobList.IsCopy || !App.ClientList) return;
    const int n = App.ClientList->count();
    for (int i = 0; i < n; ++i)
        if (fmC::_Client* c = App.ClientList->at(i)) c->Selected = 0;
}

void fmuiTreeViewJobsModel::ClearCompleteTree()
{
    QWriteLocker lock(&NodeLock);
    invalidateSummaries();
    addDeleteLater(Root);
    Root = new fmuiTreeViewJobsNode(fmuiTreeViewNode::Root, QString(), 0, nullptr, nullptr, 0, 0, 0,
                                    JobList.IsCopy);
}

// ---- rebuild -----------------------------------------------------------------------------------

fmuiTreeViewJobsModel::ChildIndex& fmuiTreeViewJobsModel::indexOf(fmuiTreeViewJobsNode* node)
{
    auto it = BuildIndex.find(node);
    if (it != BuildIndex.end()) return it->second;
    ChildIndex& idx = BuildIndex[node];
    for (fmuiTreeViewNode* c : node->Children) {
        auto* child = static_cast<fmuiTreeViewJobsNode*>(c);
        if (!child || !child->data()) continue;
        idx.ByJobGroup[child->data()->JobID >> 8].append(child);
        if (child->NodeType == fmuiTreeViewNode::FirstLevel)
            idx.FirstLevelByName[child->data()->Name].append(child);
    }
    return idx;
}

void fmuiTreeViewJobsModel::appendChild(fmuiTreeViewJobsNode* node, fmuiTreeViewJobsNode* child)
{
    node->Children.append(child);
    auto it = BuildIndex.find(node);
    if (it == BuildIndex.end()) return; // built from Children when first asked
    it->second.ByJobGroup[child->data()->JobID >> 8].append(child);
    if (child->NodeType == fmuiTreeViewNode::FirstLevel)
        it->second.FirstLevelByName[child->data()->Name].append(child);
}

const QString& fmuiTreeViewJobsModel::rebuildKeyOf(const _jobsHistoryDB_Runtime* job)
{
    auto view = [](const auto& name) {
        return std::u16string_view(reinterpret_cast<const char16_t*>(name.Data), size_t(name.len()));
    };
    const std::u16string_view raw = GroupByUser ? view(job->UserName) : view(job->CompanyProjectName);
    auto it = BuildKeys.find(raw);
    if (it == BuildKeys.end()) it = BuildKeys.emplace(raw, keyOf(job)).first;
    return it->second;
}

fmuiTreeViewJobsNode* fmuiTreeViewJobsModel::firstLevelGroup(fmuiTreeViewJobsNode* node, const QString& key)
{
    auto isGroup = [&](const fmuiTreeViewJobsNode* c) {
        return c->Parent == node && c->NodeType == fmuiTreeViewNode::FirstLevel && c->data() &&
               c->data()->Name == key;
    };
    // Groups only come behind the others during a rebuild, and none changes its type or name:
    // the group found for a key stays the first, and is remembered by the key's text.
    fmuiTreeViewJobsNode* child = BuildGroups.value(key.constData());
    if (child && isGroup(child)) return child;
    const auto& byName = indexOf(node).FirstLevelByName;
    auto it = byName.constFind(key);
    if (it == byName.constEnd()) return nullptr;
    for (fmuiTreeViewJobsNode* c : *it)
        if (isGroup(c)) {
            BuildGroups.insert(key.constData(), c);
            return c;
        }
    return nullptr;
}

fmuiTreeViewJobsNode* fmuiTreeViewJobsModel::submissionGroup(fmuiTreeViewJobsNode* node, int level,
                                                             unsigned long long jobID, int sortedID)
{
    using N = fmuiTreeViewNode;
    const auto& byGroup = indexOf(node).ByJobGroup;
    auto it = byGroup.constFind(jobID >> 8);
    if (it == byGroup.constEnd()) return nullptr;
    for (fmuiTreeViewJobsNode* c : *it) {
        fmuiTreeViewJobsNodeData* cd = c->data();
        if (!cd || (cd->JobID >> 8) != (jobID >> 8)) continue;
        if (!(within(sortedID, cd) || !cd->Job || !GroupAdjacentOnly)) continue;
        if (c->NodeType == N::SecondLevel) return c;
        if (c->NodeType != N::EndNode) continue;
        if (cd->JobID == jobID) return c;
        // A lone job of this submission becomes a group: its end node moves one level down.
        auto* end = new fmuiTreeViewJobsNode(N::EndNode, cd->Name, cd->JobID, cd->Job, c, level + 2,
                                             cd->FirstSortedID, cd->LastSortedID, JobList.IsCopy);
        appendChild(c, end);
        c->NodeType = N::SecondLevel;
        return c;
    }
    return nullptr;
}

bool fmuiTreeViewJobsModel::reuseEndNode(fmuiTreeViewJobsNode* node, _jobsHistoryDB_Runtime* job,
                                         int sortedID, const QString& key)
{
    const auto& byGroup = indexOf(node).ByJobGroup;
    auto it = byGroup.constFind(job->JobID >> 8);
    if (it == byGroup.constEnd()) return false;
    for (fmuiTreeViewJobsNode* c : *it) {
        fmuiTreeViewJobsNodeData* cd = c->data();
        if (c->NodeType != fmuiTreeViewNode::EndNode || !cd || cd->JobID != job->JobID) continue;
        cd->Name = key;
        cd->FirstSortedID = sortedID;
        cd->LastSortedID = sortedID;
        cd->Job = job;
        return true;
    }
    return false;
}

bool fmuiTreeViewJobsModel::AddJobtoNode(fmuiTreeViewJobsNode* node, int level, _jobsHistoryDB_Runtime* job,
                                         fmuiTreeViewJobsNode** outGroupNode, int sortedID,
                                         const QString& key)
{
    using N = fmuiTreeViewNode;
    fmuiTreeViewJobsNodeData* nd = node->data();
    if (!nd || !job) return true;
    const unsigned long long jobID = job->JobID;

    // 1. An existing first-level group of the same key: the first child in row order that is one.
    if (level == 0 && GroupFirstLevel) {
        if (fmuiTreeViewJobsNode* child = firstLevelGroup(node, key)) {
            if (child->Children.isEmpty()) {
                // Written into the parent, not the child found; of no effect for the root.
                nd->JobID = jobID;
                nd->Job = job;
            }
            return AddJobtoNode(child, 1, job, outGroupNode, sortedID, key);
        }
    }

    // 2. A second-level group of the same submission.
    if (GroupSubmissions && ((level == 0 && !GroupFirstLevel) || (level == 1 && GroupFirstLevel)))
        if (fmuiTreeViewJobsNode* group = submissionGroup(node, level, jobID, sortedID))
            return AddJobtoNode(group, level + 1, job, outGroupNode, sortedID, key);

    // 3. A new first-level group.
    if (level == 0 && GroupFirstLevel) {
        auto* group = new fmuiTreeViewJobsNode(N::FirstLevel, key, jobID, job, node, 1, sortedID, sortedID,
                                               JobList.IsCopy);
        appendChild(node, group);
        node = group;
        nd = group->data();
        level = 1;
    }

    if (level != 0 || GroupFirstLevel) {
        if (!node->Children.isEmpty()) {
            // 4.
            if (!nd->Job) {
                nd->FirstSortedID = sortedID;
                nd->LastSortedID = sortedID;
                nd->Job = job;
            }
        } else {
            // 5.
            nd->JobID = jobID;
            nd->Job = job;
            nd->FirstSortedID = sortedID;
            nd->LastSortedID = sortedID;
            nd->Name = key;
            if (node->NodeType == N::SecondLevel || node->NodeType == N::EndNode) {
                node->NodeType = N::EndNode;
                if (outGroupNode) *outGroupNode = static_cast<fmuiTreeViewJobsNode*>(node->Parent);
                return true;
            }
        }
    }

    // 6. Widen the range.
    if (within(sortedID, nd) || !GroupAdjacentOnly) {
        if (sortedID <= nd->LastSortedID)
            nd->FirstSortedID = sortedID;
        else
            nd->LastSortedID = sortedID;
    }

    // 7. The job's own end node from the last rebuild, else 8. a new one.
    if (outGroupNode) *outGroupNode = node;
    if (reuseEndNode(node, job, sortedID, key)) return true;
    appendChild(node, new fmuiTreeViewJobsNode(N::EndNode, key, jobID, job, node, level + 1, sortedID,
                                               sortedID, JobList.IsCopy));
    return true;
}

void fmuiTreeViewJobsModel::SortNodeChildren(fmuiTreeViewJobsNode* node, int left, int right)
{
    if (!node) return;
    auto key = [node](int i) {
        const auto* c = static_cast<const fmuiTreeViewJobsNode*>(node->Children[i]);
        return c && c->data() ? c->data()->FirstSortedID : 0;
    };
    left = std::max(left, 0);
    right = std::min(right, int(node->Children.size()) - 1);
    while (left < right) {
        const int pivot = key((left + right) / 2);
        int i = left, j = right;
        while (i <= j) {
            while (key(i) < pivot)
                ++i;
            while (key(j) > pivot)
                --j;
            if (i <= j) {
                node->Children.swapItemsAt(i, j);
                ++i;
                --j;
            }
        }
        // The smaller part by recursion keeps the depth logarithmic; the parts are disjoint, so
        // the order of handling them does not change the result.
        if (j - left < right - i) {
            if (left < j) SortNodeChildren(node, left, j);
            left = i;
        } else {
            if (i < right) SortNodeChildren(node, i, right);
            right = j;
        }
    }
}

// Steps 4 and 5 of the rebuild for the children of `parent`. With `firstLevel` (the root's own
// children) a first-level group with one child stays a group.
void fmuiTreeViewJobsModel::pruneChildren(fmuiTreeViewJobsNode* parent, bool firstLevel)
{
    using N = fmuiTreeViewNode;
    for (int r = 0; r < parent->Children.size(); ++r) {
        auto* c = static_cast<fmuiTreeViewJobsNode*>(parent->Children[r]);
        fmuiTreeViewJobsNodeData* cd = c ? c->data() : nullptr;
        if (!cd) {
            deleteChildrenNr(parent, r--);
            continue;
        }
        if (!firstLevel) {
            for (int g = c->Children.size() - 1; g >= 0; --g) {
                auto* gc = static_cast<fmuiTreeViewJobsNode*>(c->Children[g]);
                if (!gc || !gc->data() || !gc->data()->Job) deleteChildrenNr(c, g);
            }
        }
        const bool isEnd = c->NodeType == N::EndNode;
        if ((isEnd && !cd->Job) || (!isEnd && c->Children.isEmpty())) {
            deleteChildrenNr(parent, r--);
            continue;
        }
        if (isEnd) continue;
        auto* first = static_cast<fmuiTreeViewJobsNode*>(c->Children[0]);
        fmuiTreeViewJobsNodeData* fd = first ? first->data() : nullptr;
        if (c->Children.size() == 1 && fd) {
            cd->Job = fd->Job;
            if (firstLevel && c->NodeType == N::FirstLevel) continue;
            cd->Name = fd->Name;
            cd->JobID = fd->JobID;
            cd->FirstSortedID = fd->FirstSortedID;
            cd->LastSortedID = fd->LastSortedID;
            c->NodeType = N::EndNode;
            deleteChildrenNr(c, 0);
        } else if (!cd->Job && fd) {
            cd->Job = fd->Job;
        }
    }
}

void fmuiTreeViewJobsModel::remapPersistentIndexes()
{
    // Rows moved while the tree was rebuilt in place: point the view's persistent indexes at the
    // new rows of their nodes; those of nodes that left the tree become invalid.
    const QModelIndexList old = persistentIndexList();
    if (old.isEmpty()) return;
    QModelIndexList now;
    now.reserve(old.size());
    for (const QModelIndex& i : old) {
        auto* node = static_cast<fmuiTreeViewNode*>(i.internalPointer());
        bool attached = node != nullptr;
        int row = -1;
        for (fmuiTreeViewNode* n = node; attached && n != Root; n = n->Parent) {
            const int r = n->Parent ? rowOf(n) : -1;
            if (r < 0) attached = false;
            if (n == node) row = r;
        }
        now.append(attached ? createIndex(row, i.column(), node) : QModelIndex());
    }
    changePersistentIndexList(old, now);
}

void fmuiTreeViewJobsModel::addSortedJobs()
{
    BuildIndex.clear();
    BuildKeys.clear();
    BuildGroups.clear();
    fmuiTreeViewJobsNode* scratch = nullptr;
    // One read lock for the whole pass instead of one per job; nothing below takes it again.
    QReadLocker lock(&JobList.LockJobs);
    const int sorted = std::clamp(JobList.SortedCount, 0, JobList.Capacity);
    _jobsHistoryDB_Runtime* const* order = JobList.Sorted.get();
    for (int i = 0; i < sorted; ++i) {
        // Each job is a record of its own 38 KB: reading its name and identifier is a cache
        // and TLB miss, most of a rebuild's time. Those of the jobs a few places ahead are
        // asked for now, so that their misses overlap.
        if (i + PrefetchAhead < sorted)
            if (const _jobsHistoryDB_Runtime* ahead = order[i + PrefetchAhead]) {
                __builtin_prefetch(&ahead->JobID);
                auto fetch = [](const auto& name) {
                    __builtin_prefetch(&name.Data[0]);
                    __builtin_prefetch(&name.Length);
                };
                if (GroupByUser)
                    fetch(ahead->UserName);
                else
                    fetch(ahead->CompanyProjectName);
            }
        if (_jobsHistoryDB_Runtime* job = order[i])
            AddJobtoNode(jobsRoot(), 0, job, &scratch, i, rebuildKeyOf(job));
    }
    BuildIndex.clear();
    BuildKeys.clear();
    BuildGroups.clear();
}

void fmuiTreeViewJobsModel::CreateJobTree(bool reset)
{
    QMutexLocker treeLock(&TreeMutex);
    // A redraw (reset) tells the views only afterwards, and only what changed: when the shape stayed,
    // the view keeps its current row, anchors and scroll position. A new order (no reset) is a
    // layout change announced in advance, so that the view's selection follows its rows.
    const QList<quintptr> before = reset ? shape() : QList<quintptr>();
    fmuiTreeViewNode* current = reset ? currentNode() : nullptr;
    if (!reset) emit layoutAboutToBeChanged();
    {
        QWriteLocker nodeLock(&NodeLock);
        invalidateSummaries(); // keyed by node: a destroyed node's address may come back
        executeDeleteLater();

        // Mark: a node that meets its job again keeps its place and IsExpanded.
        for (fmuiTreeViewNode* t : Root->Children) {
            if (!t) continue;
            if (auto* d = static_cast<fmuiTreeViewJobsNode*>(t)->data()) d->Job = nullptr;
            for (fmuiTreeViewNode* c : t->Children) {
                if (!c) continue;
                if (auto* d = static_cast<fmuiTreeViewJobsNode*>(c)->data()) d->Job = nullptr;
                for (fmuiTreeViewNode* g : c->Children)
                    if (g)
                        if (auto* d = static_cast<fmuiTreeViewJobsNode*>(g)->data()) d->Job = nullptr;
            }
        }

        addSortedJobs();

        for (int t = 0; t < Root->Children.size(); ++t)
            if (auto* tn = static_cast<fmuiTreeViewJobsNode*>(Root->Children[t])) pruneChildren(tn, false);
        pruneChildren(jobsRoot(), true);

        auto sortAll = [this](fmuiTreeViewNode* n) {
            if (n && !n->Children.isEmpty())
                SortNodeChildren(static_cast<fmuiTreeViewJobsNode*>(n), 0, int(n->Children.size()) - 1);
        };
        if (GroupFirstLevel) {
            for (fmuiTreeViewNode* t : Root->Children) {
                if (!t) continue;
                for (fmuiTreeViewNode* c : t->Children)
                    sortAll(c);
                sortAll(t);
            }
        } else {
            sortAll(Root);
            for (fmuiTreeViewNode* t : Root->Children)
                sortAll(t);
        }
        if (!reset) remapPersistentIndexes();
    }
    if (reset)
        finishRebuild(before, current);
    else
        emit layoutChanged();
    if (Footer) Footer->pleaseUpdate();
}

// ---- footer ------------------------------------------------------------------------------------

fmuiTreeViewJobsModelFooter::fmuiTreeViewJobsModelFooter(fmJ::_JobList& list, __FM& app, fmTreeView*& view,
                                                         QObject* parent)
    : QAbstractItemModel(parent), JobList(list), App(app), View(view), Cost(cfgFloat(app, "cfgCost")),
      CostDisplay(cfgText(app, "cfgCostDisplay"))
{
}

QModelIndex fmuiTreeViewJobsModelFooter::index(int, int, const QModelIndex&) const
{
    return QModelIndex();
}
QModelIndex fmuiTreeViewJobsModelFooter::parent(const QModelIndex&) const
{
    return QModelIndex();
}
int fmuiTreeViewJobsModelFooter::rowCount(const QModelIndex&) const
{
    return 0;
}
int fmuiTreeViewJobsModelFooter::columnCount(const QModelIndex&) const
{
    return fmuiTreeViewJobsModel::ColumnCount;
}
QVariant fmuiTreeViewJobsModelFooter::data(const QModelIndex&, int) const
{
    return QVariant();
}

void fmuiTreeViewJobsModelFooter::pleaseUpdate()
{
    SumsValid = false;
    emit headerDataChanged(Qt::Horizontal, 0, fmuiTreeViewJobsModel::ColumnCount - 1);
}

const fmuiTreeViewJobsModelFooter::Totals& fmuiTreeViewJobsModelFooter::totals() const
{
    // Also recomputed when the sorted list changed its length behind our back.
    if (SumsValid && Sums.Sorted == JobList.SortedCount) return Sums;
    Totals s;
    QReadLocker lock(&JobList.LockJobs);
    const int n = std::clamp(JobList.SortedCount, 0, JobList.Capacity);
    s.Sorted = JobList.SortedCount;
    for (int i = 0; i < n; ++i) {
        const _jobsHistoryDB_Runtime* job = JobList.Sorted[i];
        if (!job || !(JobList.IsCopy ? job->HistorySelected : job->Selected)) continue;
        ++s.Selected;
        s.Frames += job->TotalFrames;
        const uint32_t ft = job->AverageFrameTime;
        if (ft > 0) {
            s.FrameTimeSum += ft;
            ++s.FrameTimeCount;
        }
        s.PS += double(job->TotalPS);
        s.GhzHours += double(job->TotalGhzHours);
    }
    Sums = s;
    SumsValid = true;
    return Sums;
}

QVariant fmuiTreeViewJobsModelFooter::headerData(int section, Qt::Orientation orientation, int role) const
{
    if (orientation != Qt::Horizontal || role != Qt::DisplayRole) return QVariant();
    switch (section) {
    case 8: {
        const Totals& t = totals();
        return QStringLiteral(" %1 / %2 jobs selected").arg(t.Selected).arg(t.Sorted);
    }
    case 11:
        return QStringLiteral(" %1 ").arg(totals().Frames);
    case 15: {
        const Totals& t = totals();
        return fmSec2ms(t.FrameTimeCount > 0 ? t.FrameTimeSum / t.FrameTimeCount : 0);
    }
    case 25:
        return QStringLiteral(" %1 ").arg(totals().PS / 1000.0, 0, 'f', 3);
    case 26:
        return QStringLiteral(" %1 ").arg(totals().GhzHours, 0, 'f', 3);
    case 27:
        return QStringLiteral("%1 %2").arg(totals().GhzHours * double(Cost), 0, 'f', 2).arg(CostDisplay);
    default:
        return QVariant();
    }
}

// ---- wiring ------------------------------------------------------------------------------------

void initJobTree(fmTreeView*& view, fmuiTreeViewJobsModel*& model, fmuiTreeViewSelectionModel*& selection,
                 __FM& app, fmJ::_JobList& list, QObject* parent, const bool& flag)
{
    if (!view || !view->Tree) return;
    // Texts that don't fit are cut at their end, a path in its middle; numbers, dates and the first
    // column are widened to their texts after each load instead (the window fits them).
    view->Tree->setTextElideMode(Qt::ElideRight);
    view->Tree->setColumnElideMode(8, Qt::ElideMiddle);

    model = new fmuiTreeViewJobsModel(view, list, app, parent, flag);
    model->GroupFirstLevel = true;
    model->GroupByUser = true;
    model->GroupSubmissions = false;
    view->Tree->setModel(model);

    auto* footer = new fmuiTreeViewJobsModelFooter(list, app, view, parent);
    model->Footer = footer;
    if (view->Footer) view->Footer->setModel(footer);

    selection = new fmuiTreeViewSelectionModel(model, app, parent);
    view->setSelectionModel(selection);

    QObject::connect(selection, &fmuiTreeViewSelectionModel::SelectionUpdated, footer,
                     &fmuiTreeViewJobsModelFooter::pleaseUpdate);
    QObject::connect(selection, &fmuiTreeViewSelectionModel::SelectionUpdated, model,
                     &fmuiTreeViewJobsModel::tableViewSelectionChanged);
    QHeaderView* header = view->Tree->header();
    QObject::connect(header, &QHeaderView::sortIndicatorChanged, model,
                     &fmuiTreeViewJobsModel::QHeaderView_sortIndicatorChanged);

    header->moveSection(header->visualIndex(19), 1);
    header->moveSection(header->visualIndex(22), 13);
    header->setStretchLastSection(false);
    if (view->Footer) view->Footer->setStretchLastSection(false);

    view->hideColumn(19);
    if (model->GroupFirstLevel) view->hideColumn(model->GroupByUser ? 1 : 2);

    static constexpr int widths[fmuiTreeViewJobsModel::ColumnCount] = {
        125, 65, 85, 75, 30, 15, 15, 15, 350, 75, 75, 80, 100, 50,
        50,  45, 20, 75, 25, 20, 80, 80, 45,  30, 35, 55, 40,  45};
    for (int c = 0; c < fmuiTreeViewJobsModel::ColumnCount; ++c)
        view->setColumnWidth(c, widths[c]);
    // The error icon keeps its whole size and the delegate's margins.
    const int margin =
        view->Tree->style()->pixelMetric(QStyle::PM_FocusFrameHMargin, nullptr, view->Tree) + 1;
    view->setColumnWidth(5, std::max(widths[5], view->Tree->iconSize().isValid()
                                                    ? view->Tree->iconSize().width() + 2 * margin + 2
                                                    : 16 + 2 * margin + 2));
    for (int c : {6, 7, 12, 14, 17, 22, 23})
        view->hideColumn(c);

    view->syncFooter();
}
