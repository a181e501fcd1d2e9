#include "historydb/fmclientstreemodel.h"

#include "app/fm.h"
#include "farm/fmclientgroups.h"
#include "farm/fmclientlist.h"
#include "foundation/fmtime.h"
#include "jobs/fmjobhistory.h"
#include "jobs/fmjoblist.h"
#include "widgets/fmstyle.h"
#include "widgets/fmtreeview.h"
#include "widgets/fmtreeviewtypes.h"

#include <QBrush>
#include <QColor>
#include <QFont>
#include <QHeaderView>

#include <algorithm>
#include <climits>
#include <cstring>
#include <initializer_list>

using fmC::MaxClientGroups;
using fmC::MaxClients;

namespace {

// At most this many selected jobs are drawn as items of a group's assignment bar.
constexpr int MaxGroupBarJobs = 42;

constexpr unsigned long long Green = 0xFF00CC00ull;
constexpr unsigned long long Orange = 0xFFDD8822ull;

QString degrees(int celsius)
{
    return QString::number(celsius) + QChar(0xB0) + QLatin1Char('C');
}

QString gb(double megabytes, int decimals)
{
    return QString::number(megabytes / 1024.0, 'f', decimals);
}

const fmC::_ClientStatusThread& threadOf(const fmC::_Client& c, int thread)
{
    return c.Status.Thread[std::clamp(thread, 0, fmC::MaxClientThreads - 1)];
}

bool among(int value, std::initializer_list<int> set)
{
    return std::find(set.begin(), set.end(), value) != set.end();
}

// Colour of a thread's state in the cells of an end node. `marked`: the client works on a job
// that is selected in the jobs tree (its own Selected flag, set by the jobs model).
QRgb statusColor(int status, bool marked)
{
    if (status == 0) return 0xFFAAAAAA;
    if (among(status, {2, 7, 12, 13, 15, 26, 27})) return 0xFFDD8822;
    if (among(status, {3, 5, 8})) return marked ? 0xFF00DD00 : 0xFF88BB00;
    if (among(status, {6, 10, 11})) return 0xFFFF0000;
    return 0xFF000000;
}

bool disabledState(int status)
{
    return among(status, {2, 7, 12, 15, 17}) || (status >= 24 && status <= 27);
}

// Colour of one client in a group's state strip; a wider table than that of the end nodes.
QRgb groupStripColor(int status, bool marked)
{
    if (status == 0) return 0xFF999999;
    if (disabledState(status)) return 0xFFDD8822;
    if (among(status, {3, 4, 5, 8, 16}) || (status >= 18 && status <= 23))
        return marked ? 0xFF00DD00 : 0xFF88BB00;
    if (among(status, {6, 9, 10, 11, 13, 14})) return 0xFFFF0000;
    return 0xFF000000;
}

enum class FooterClass { None, Render, Disabled, Free };

// The footer's classes: status 0 counts nowhere, unknown codes count as free.
FooterClass footerClass(int status)
{
    if (status == 0) return FooterClass::None;
    if ((status >= 3 && status <= 6) || (status >= 8 && status <= 11) || among(status, {13, 14, 16}) ||
        (status >= 18 && status <= 23))
        return FooterClass::Render;
    if (disabledState(status)) return FooterClass::Disabled;
    return FooterClass::Free;
}

// A client worked on a job when the job's history record counts frames done by it: entry k of
// ClientStats belongs to client number k of the client table. That is what "assigned" means in
// the assignment bars.
bool workedOn(const fmJ::_jobsHistoryDB_Runtime* job, int client)
{
    if (!job || client < 0 || client >= MaxClients) return false;
    int32_t done;
    std::memcpy(&done, &job->ClientStats[client].FramesDone, sizeof done); // packed record
    return done > 0;
}

// A share `part` of `whole` as a whole percent that never lies: a share that is not 0 shows at least
// 1, one that is not complete shows at most 99.
int honestPercent(int part, int whole)
{
    if (whole <= 0) return 0;
    int p = qRound(100.0 * part / whole);
    if (p == 0 && part > 0) p = 1;
    if (p >= 100 && part < whole) p = 99;
    return std::clamp(p, 0, 100);
}

// A CPU value of 0..255 as a bar percent: truncated (value / 2.55 + 1.275) - 1, so 255 gives 100.
int cpuPercent(int value)
{
    return std::clamp(int(value / 2.55 + 1.275) - 1, 0, 100);
}

bool validCpu(int value)
{
    return value >= 1 && value <= 253;
}

// The jobs whose rows are "selected" for the bars: the job list's Selection (built by
// CreateSelectionList from the sorted list), or with `all` the whole sorted list.
struct JobRange
{
    fmJ::_jobsHistoryDB_Runtime* const* Jobs = nullptr;
    int Count = 0;
};

JobRange barJobs(fmJ::_JobList* list, bool all)
{
    JobRange r;
    if (!list || list->JobCount <= 0) return r;
    if (all) {
        r.Jobs = list->Sorted.get();
        r.Count = std::clamp(list->SortedCount, 0, list->Capacity);
    } else {
        r.Jobs = list->Selection.get();
        r.Count = std::clamp(list->SelectedCount, 0, list->Capacity);
    }
    if (!r.Jobs) r.Count = 0;
    return r;
}

void addTriple(fmtvBGbars& bars, unsigned long long percent, unsigned long long c1, unsigned long long c2)
{
    if (bars.Count * 3 + 3 > fmtvBGbars::MaxValues) return;
    bars.Values[bars.Count * 3] = percent;
    bars.Values[bars.Count * 3 + 1] = c1;
    bars.Values[bars.Count * 3 + 2] = c2;
    ++bars.Count;
}

void setMode3(fmtvBGbars& bars, int p1, int p2, unsigned long long c1, unsigned long long c2,
              unsigned long long c3)
{
    bars.Mode = 3;
    bars.Count = 1;
    bars.Values[0] = static_cast<unsigned long long>(std::clamp(p1, 0, 100));
    bars.Values[1] = static_cast<unsigned long long>(std::clamp(p2, 0, 100));
    bars.Values[2] = c1;
    bars.Values[3] = c2;
    bars.Values[4] = c3;
}

QBrush brush(QRgb argb)
{
    return QBrush(QColor::fromRgba(argb));
}

} // namespace

struct fmuiTreeViewClientsModel::JobTotalsCache
{
    quint64 Key = 0;
    uint32_t Generation = 1;
    uint32_t Stamp[MaxClients] = {}; // an entry is valid when its stamp equals Generation
    int Worked[MaxClients] = {};
    long long Seconds[MaxClients] = {};
};

// ---------------------------------------------------------------------------------------------
// Node

fmuiTreeViewClientsNode::fmuiTreeViewClientsNode(__FM& app, Type type, unsigned long long index, int thread,
                                                 fmuiTreeViewClientsNode* parent, const int& level)
{
    NodeType = type;
    Parent = parent;
    Level = level;
    Data = new fmuiTreeViewClientsNodeData(app, index, thread);
}

fmuiTreeViewClientsNode::~fmuiTreeViewClientsNode()
{
    // Nodes that went through the deletion list have no children left; a live tree is torn down
    // from its root by the model's destructor.
    for (fmuiTreeViewNode* child : std::as_const(Children))
        delete child;
    Children.clear();
    deleteDataNode();
}

// Only a client row has a record with a selected flag: a group's Index is a group number, and
// reading it as a client number would touch an unrelated client.
void fmuiTreeViewClientsNode::SetDataIsSelected(bool selected, __FMSDK& sdk) const
{
    fmC::_ClientList* clients = fmClientTable(sdk);
    const fmuiTreeViewClientsNodeData* d = data();
    if (!d || NodeType != EndNode || d->Index >= MaxClients || !clients) return;
    clients->Clients[d->Index].Selected = selected ? 1 : 0;
}

bool fmuiTreeViewClientsNode::GetDataIsSelected(__FMSDK& sdk) const
{
    fmC::_ClientList* clients = fmClientTable(sdk);
    const fmuiTreeViewClientsNodeData* d = data();
    if (!d || NodeType != EndNode || d->Index >= MaxClients || !clients) return false;
    return clients->Clients[d->Index].Selected != 0;
}

void fmuiTreeViewClientsNode::deleteDataNode()
{
    delete data();
    Data = nullptr;
}

// ---------------------------------------------------------------------------------------------
// Model

fmuiTreeViewClientsModel::fmuiTreeViewClientsModel(fmTreeView*& view, __FM& app, fmJ::_JobList* jobs,
                                                   QObject* parent, bool simple, bool flag)
    : fmuiTreeViewModel(view, parent), App(app), JobList(jobs), Simple(simple), Flag(flag)
{
    Root = new fmuiTreeViewClientsNode(app, fmuiTreeViewNode::Root, 0, 0, nullptr, 0);
}

fmuiTreeViewClientsModel::~fmuiTreeViewClientsModel()
{
    delete Root;
    Root = nullptr;
}

int fmuiTreeViewClientsModel::columnCount(const QModelIndex&) const
{
    return ColumnCount;
}

QVariant fmuiTreeViewClientsModel::headerData(int section, Qt::Orientation orientation, int role) const
{
    static const char* const titles[ColumnCount] = {
        "Client", "Assignment", "Render time", "Frames", "CPU Usage", "Available Memory", "OS",
        "User",   "Version",    "Temp.",       "Memory", "Cores",     "PS/Ghz",           "Info"};
    if (orientation != Qt::Horizontal || section < 0 || section >= ColumnCount) return QVariant();
    if (role == Qt::DisplayRole) return QString::fromLatin1(titles[section]);
    if (role == Qt::TextAlignmentRole) return int(columnAlignment(section));
    return QVariant();
}

Qt::Alignment fmuiTreeViewClientsModel::columnAlignment(int column) const
{
    switch (column) {
    case 4:
    case 9:
    case 10:
    case 11:
    case 12:
        return Qt::AlignRight | Qt::AlignVCenter;
    case 5:
        return (Simple ? Qt::AlignRight : Qt::AlignLeft) | Qt::AlignVCenter;
    default:
        return Qt::AlignLeft | Qt::AlignVCenter;
    }
}

bool fmuiTreeViewClientsModel::nodeSelected(const fmuiTreeViewNode* node) const
{
    return (node->GetDataIsSelected(App) || node->ForceSelected) && !node->ForceDeselected;
}

int fmuiTreeViewClientsModel::groupClients(int group, int* out) const
{
    const fmC::_ClientList* list = App.ClientList;
    const fmC::_ClientGroupList* groups = App.ClientGroups;
    if (!list || !groups || group < 0 || group >= MaxClientGroups) return 0;
    const fmC::_ClientGroup& g = groups->Group[group];
    int n = 0;
    const int shown = list->shownCount();
    for (int i = 0; i < shown; ++i) {
        const int c = list->SortedIndex[i];
        if (c < 0 || c >= MaxClients || !g.Place[c].Assigned) continue;
        out[n++] = c;
    }
    return n;
}

fmuiTreeViewClientsModel::JobTotals fmuiTreeViewClientsModel::jobTotals(int client, bool all) const
{
    JobTotals r;
    const JobRange jobs = barJobs(JobList, all);
    r.Jobs = jobs.Count;
    if (jobs.Count == 0 || client < 0 || client >= MaxClients) return r;

    // The key names the job range: its array, its length, every record pointer in it and the list's
    // load and change times. A sequential pass over the pointers is far cheaper than one read per
    // job deep inside each record, which is what a miss costs.
    quint64 key = 14695981039346656037ull;
    auto mix = [&key](quint64 v) { key = (key ^ v) * 1099511628211ull; };
    mix(quintptr(jobs.Jobs));
    mix(quint64(jobs.Count));
    mix(quint64(JobList->TimeLoaded.t));
    mix(quint64(JobList->TimeChanged.t));
    for (int j = 0; j < jobs.Count; ++j)
        mix(quintptr(jobs.Jobs[j]));

    std::unique_ptr<JobTotalsCache>& slot = TotalsCache[all ? 1 : 0];
    if (!slot) slot = std::make_unique<JobTotalsCache>();
    JobTotalsCache& cache = *slot;
    if (cache.Key != key) {
        cache.Key = key;
        if (++cache.Generation == 0) {
            std::fill(std::begin(cache.Stamp), std::end(cache.Stamp), 0u);
            cache.Generation = 1;
        }
    }
    if (cache.Stamp[client] != cache.Generation) {
        // The history record keeps no seconds per client, only frames: a client's render time on
        // a job is its frames done times the job's mean frame time (seconds). Frame counts below 1
        // add nothing.
        int worked = 0;
        long long seconds = 0;
        for (int j = 0; j < jobs.Count; ++j) {
            const fmJ::_jobsHistoryDB_Runtime* job = jobs.Jobs[j];
            if (!job) continue;
            int32_t done;
            uint32_t frameTime;
            std::memcpy(&done, &job->ClientStats[client].FramesDone, sizeof done);
            std::memcpy(&frameTime, &job->AverageFrameTime, sizeof frameTime);
            if (done <= 0) continue;
            ++worked;
            seconds += static_cast<long long>(done) * frameTime;
        }
        cache.Worked[client] = worked;
        cache.Seconds[client] = seconds;
        cache.Stamp[client] = cache.Generation;
    }
    r.Worked = cache.Worked[client];
    r.Seconds = cache.Seconds[client];
    return r;
}

QVariant fmuiTreeViewClientsModel::data(const QModelIndex& index, int role) const
{
    if (!index.isValid()) return QVariant();
    const fmuiTreeViewNode* node = nodeFromIndex(index);
    if (!node || node == Root || !node->Data || !App.ClientList) return QVariant();
    const auto* d = static_cast<const fmuiTreeViewClientsNodeData*>(node->Data);
    const bool end = node->NodeType == fmuiTreeViewNode::EndNode;
    if (end ? d->Index >= MaxClients : d->Index >= MaxClientGroups) return QVariant();
    const int col = index.column();

    if (role == fmtvRole::Shading) {
        fmtvShading s;
        s.Flags = end ? 3 : 5;
        return QVariant::fromValue(s);
    }
    if (role == Qt::TextAlignmentRole) return int(columnAlignment(col));
    if (end) return endData(node, int(d->Index), d->Thread, col, role);
    return groupData(node, int(d->Index), col, role);
}

QVariant fmuiTreeViewClientsModel::groupData(const fmuiTreeViewNode* node, int group, int col, int role) const
{
    const fmC::_ClientList& list = *App.ClientList;
    switch (role) {
    case Qt::DisplayRole: {
        if (col == 0) return App.ClientGroups ? App.ClientGroups->Group[group].Name.toQString() : QString();
        if (col != 5 && col != 9 && (col < 10 || col > 12)) return QVariant();
        if (Simple && (col == 5 || col == 9)) return QVariant();
        int clients[MaxClients];
        const int n = groupClients(group, clients);
        if (n == 0) return QVariant();
        long long cores = 0, mhz = 0;
        int minAvail = INT_MAX, maxTemp = INT_MIN, minMem = INT_MAX;
        for (int i = 0; i < n; ++i) {
            const fmC::_Client& c = list.Clients[clients[i]];
            if (c.Status.Thread[0].Status == fmC::csRendering)
                minAvail = std::min(minAvail, c.Status.AvailableMemory);
            maxTemp = std::max(maxTemp, int(c.Status.Temperature));
            minMem = std::min(minMem, c.Hardware.Memory);
            cores += c.Hardware.Cores;
            mhz += c.Hardware.MHz;
        }
        switch (col) {
        case 5:
            return minAvail == INT_MAX ? QVariant() : QVariant(gb(minAvail, 1));
        case 9:
            return maxTemp < 1 ? QVariant() : QVariant(degrees(maxTemp));
        case 10:
            return gb(minMem, 0);
        case 11:
            return QString::number(cores);
        case 12:
            return QString::number(mhz);
        default:
            return QVariant();
        }
    }
    case Qt::BackgroundRole: {
        if (col == 1 || col == 4 || col == 5) return QVariant();
        int selected = 0;
        for (const fmuiTreeViewNode* child : node->Children)
            if (child && nodeSelected(child)) ++selected;
        const int n = int(node->Children.size());
        if (n == 0 || selected == 0) return brush(0xFFEEEEEE);
        if (selected == n) return brush(node->ExplicitSelected ? 0xFF000000 : 0xFF999999);
        return QBrush(QColor::fromRgba(0xFF999999), Qt::Dense5Pattern);
    }
    case Qt::ForegroundRole: {
        const int n = int(node->Children.size());
        if (n == 0) return brush(0xFFAAAAAA);
        for (const fmuiTreeViewNode* child : node->Children)
            if (!child || !nodeSelected(child)) return brush(0xFF000000);
        return brush(0xFFFFFFFF);
    }
    case Qt::FontRole: {
        // Weight 75 of the old scale is bold.
        QFont font(QStringLiteral("Arial"), fmStyle::fontSizeDefault());
        font.setWeight(QFont::Bold);
        return font;
    }
    case fmtvRole::BGbars:
        if (node->Children.isEmpty()) return QVariant();
        if (col == 1) return groupAssignmentBars(group);
        if (col == 2 && !Simple) {
            fmtvBGbars bars;
            bars.Mode = 0;
            bars.Name =
                QStringLiteral("Clients col 2 GroupMain ") + App.ClientGroups->Group[group].Name.toQString();
            for (const fmuiTreeViewNode* child : node->Children) {
                if (bars.Count >= fmtvBGbars::MaxValues) break;
                const auto* cd =
                    child ? static_cast<const fmuiTreeViewClientsNodeData*>(child->Data) : nullptr;
                if (!cd || cd->Index >= MaxClients) continue;
                const fmC::_Client& c = list.Clients[cd->Index];
                bars.Values[bars.Count++] = groupStripColor(threadOf(c, cd->Thread).Status, c.Selected != 0);
            }
            return QVariant::fromValue(bars);
        }
        return QVariant();
    default:
        return QVariant();
    }
}

QVariant fmuiTreeViewClientsModel::groupAssignmentBars(int group) const
{
    const JobRange jobs = barJobs(JobList, Simple);
    if (!App.ClientGroups || jobs.Count == 0) return QVariant();
    int clients[MaxClients];
    const int n = groupClients(group, clients);
    fmtvBGbars bars;
    bars.Mode = 1;
    bars.Name = QStringLiteral("Clients col 1 GroupMain ") + App.ClientGroups->Group[group].Name.toQString();
    const int count = std::min(jobs.Count, MaxGroupBarJobs);
    for (int j = 0; j < count; ++j) {
        const fmJ::_jobsHistoryDB_Runtime* job = jobs.Jobs[j];
        if (n == 0) {
            addTriple(bars, 100, 0xFFFFFFFF, 0xFFFFFFFF);
            continue;
        }
        int assigned = 0;
        for (int i = 0; i < n; ++i)
            if (workedOn(job, clients[i])) ++assigned;
        addTriple(bars, honestPercent(assigned, n), Green, Orange);
    }
    return QVariant::fromValue(bars);
}

QVariant fmuiTreeViewClientsModel::endText(int client, int thread, int col) const
{
    const fmC::_Client& c = App.ClientList->Clients[client];
    const fmC::_ClientStatusThread& t = threadOf(c, thread);
    if (thread > 0 && (col == 0 || col >= 6)) return QVariant();
    const int cores = c.Hardware.Cores;
    switch (col) {
    case 0:
        return c.Status.Name.toQString();
    case 2: {
        const long long s = jobTotals(client, false).Seconds;
        if (s < 1) return QVariant();
        return fmSec2hms(int(std::min<long long>(s, INT_MAX)));
    }
    case 4: {
        if (!validCpu(t.CPUUsage)) return QString::number(cores);
        const double used = double(cores) * t.CPUUsage / 255.0;
        if (cores > 9) return QStringLiteral("%1/%2").arg(qRound(used)).arg(cores);
        return QStringLiteral("%1/ %2").arg(used, 3, 'f', 1).arg(cores);
    }
    case 5:
        if (t.Status == 0) return QVariant();
        return gb(c.Status.AvailableMemory, 1);
    case 6:
        return c.Hardware.OSasString();
    case 7: {
        const QString user = c.Status.UserName.toQString();
        if (user.isEmpty()) return QVariant();
        const int minutes = c.Status.UserTime;
        if (minutes < 181) return user;
        if (minutes < 1441) return QStringLiteral("%1 (%2h)").arg(user).arg(minutes / 60.0, 0, 'f', 1);
        if (minutes < 28801) return QStringLiteral("%1 (%2d)").arg(user).arg(minutes / 1440.0, 0, 'f', 1);
        return QStringLiteral("%1 (20d+)").arg(user);
    }
    case 8:
        return QStringLiteral("v%1").arg(c.Status.Version.toQString());
    case 9:
        return c.Status.Temperature < 1 ? QVariant() : QVariant(degrees(c.Status.Temperature));
    case 10:
        return gb(c.Hardware.Memory, 0);
    case 11:
        return QString::number(cores);
    case 12:
        return QStringLiteral("%1 / %2").arg(c.Hardware.MHz).arg(double(c.Hardware.Speed), 0, 'f', 1);
    case 13:
        return c.CustomInfo.toQString();
    default:
        return QVariant();
    }
}

QVariant fmuiTreeViewClientsModel::endBars(int client, int thread, int col) const
{
    const fmC::_Client& c = App.ClientList->Clients[client];
    const fmC::_ClientStatusThread& t = threadOf(c, thread);
    fmtvBGbars bars;
    const QString name = c.Status.Name.toQString();
    if (col == 1) {
        if (thread != 0 || !JobList || JobList->JobCount <= 0) return QVariant();
        const JobTotals totals = jobTotals(client, Simple);
        if (totals.Jobs == 0) return QVariant();
        bars.Mode = 1;
        bars.Name = QStringLiteral("Clients col 1 EndNode ") + name;
        addTriple(bars, honestPercent(totals.Worked, totals.Jobs), Green, Orange);
        return QVariant::fromValue(bars);
    }
    if ((col != 4 && col != 5) || t.Status == 0 || Simple) return QVariant();
    if (col == 4) {
        // The machine's load is taken as the sum of the valid CPU values of its threads in
        // use; what lies above this thread's share belongs to the other threads.
        int machine = 0;
        for (int i = 0; i < c.Status.threadsInUse(); ++i) {
            const int v = c.Status.Thread[i].CPUUsage;
            if (validCpu(v)) machine += v;
        }
        const int own = validCpu(t.CPUUsage) ? cpuPercent(t.CPUUsage) : 0;
        const int all = cpuPercent(std::min(machine, 255));
        bars.Name = QStringLiteral("Clients col 4 EndNode ") + name;
        setMode3(bars, own, std::max(0, all - own), 0xFF00CC00, 0xFF88BB00, 0xFFCCCCCC);
    } else {
        const long long memory = std::max(1, c.Hardware.Memory);
        const long long threadMem = std::max(0, t.ThreadMemory);
        const long long avail = std::max(0, c.Status.AvailableMemory);
        bars.Name = QStringLiteral("Clients col 5 EndNode ") + name;
        setMode3(bars, int(std::min<long long>(threadMem * 100 / memory, 100)),
                 int(std::clamp<long long>(100 - (threadMem + avail) * 100 / memory, 0, 100)), 0xFFDD4400,
                 0xFFEE6644, 0xFFCCCCCC);
    }
    return QVariant::fromValue(bars);
}

QVariant fmuiTreeViewClientsModel::endData(const fmuiTreeViewNode* node, int client, int thread, int col,
                                           int role) const
{
    const fmC::_Client& c = App.ClientList->Clients[client];
    const fmC::_ClientStatusThread& t = threadOf(c, thread);
    const bool selected = nodeSelected(node);
    const QRgb status = statusColor(t.Status, c.Selected != 0);

    switch (role) {
    case Qt::DisplayRole:
        return endText(client, thread, col);
    case Qt::BackgroundRole:
        if (col == 1 || col == 4 || col == 5) return QVariant();
        if (!selected) return brush(0xFFFAFAFA);
        return brush(Simple ? 0xFF000000 : status);
    case Qt::ForegroundRole:
        if (col == 1) return brush(0xFF000000);
        if (selected) return brush(col == 4 || col == 5 ? 0xFF000000 : 0xFFFFFFFF);
        if (Simple || col == 4 || col == 5) return brush(0xFF000000);
        return brush(status);
    case fmtvRole::BGbars:
        return endBars(client, thread, col);
    default:
        return QVariant();
    }
}

void fmuiTreeViewClientsModel::CreateClientTree()
{
    TreeMutex.lock();
    NodeLock.lockForWrite();
    executeDeleteLater();

    for (fmuiTreeViewNode* group : std::as_const(Root->Children))
        deleteAllChildren(group);

    const int groups = App.ClientGroups ? std::clamp<int>(App.ClientGroups->Count, 0, MaxClientGroups) : 0;
    while (Root->Children.size() > groups)
        deleteChildrenNr(Root, int(Root->Children.size()) - 1);
    while (Root->Children.size() < groups) {
        const auto row = static_cast<unsigned long long>(Root->Children.size());
        Root->Children.append(new fmuiTreeViewClientsNode(App, fmuiTreeViewNode::FirstLevel, row, 0,
                                                          static_cast<fmuiTreeViewClientsNode*>(Root), 1));
    }

    // End nodes in the client list's sort order, only for clients that pass its filter.
    int clients[MaxClients];
    for (int g = 0; g < int(Root->Children.size()); ++g) {
        auto* group = static_cast<fmuiTreeViewClientsNode*>(Root->Children[g]);
        const int n = groupClients(g, clients);
        group->Children.reserve(n);
        for (int i = 0; i < n; ++i)
            group->Children.append(new fmuiTreeViewClientsNode(
                App, fmuiTreeViewNode::EndNode, static_cast<unsigned long long>(clients[i]), 0, group, 2));
    }

    NodeLock.unlock();
    reset();
    restoreExpanded();
    TreeMutex.unlock();

    if (groups == 1 && View && View->Tree) View->Tree->expandAll();
    emit updateFooter();
}

void fmuiTreeViewClientsModel::headerClick(int column, Qt::SortOrder order)
{
    if (App.ClientList && App.ClientList->SetSortID(column, order, JobList)) CreateClientTree();
}

void fmuiTreeViewClientsModel::QHeaderView_sortIndicatorChanged(int column, Qt::SortOrder order)
{
    headerClick(column, order);
}

void fmuiTreeViewClientsModel::redrawAll()
{
    dataChangedNode(Root, false);
    // The root has no row of its own: a change over all top rows and all columns makes the view
    // repaint every visible cell, bars of the client rows included.
    const int rows = Root ? int(Root->Children.size()) : 0;
    if (rows > 0) emit dataChanged(index(0, 0), index(rows - 1, ColumnCount - 1));
}

void fmuiTreeViewClientsModel::ClearSelectionAll(bool all, QString reason)
{
    fmuiTreeViewModel::ClearSelectionAll(all, reason);
    if (!all || !App.ClientList) return;
    for (fmC::_Client& c : App.ClientList->Clients)
        c.Selected = 0;
}

// The footer.

fmuiTreeViewClientsModelFooter::fmuiTreeViewClientsModelFooter(__FM& app, fmTreeView*& view, QObject* parent)
    : QAbstractItemModel(parent), App(app), View(view)
{
}

QModelIndex fmuiTreeViewClientsModelFooter::index(int, int, const QModelIndex&) const
{
    return QModelIndex();
}
QModelIndex fmuiTreeViewClientsModelFooter::parent(const QModelIndex&) const
{
    return QModelIndex();
}
int fmuiTreeViewClientsModelFooter::rowCount(const QModelIndex&) const
{
    return 0;
}
int fmuiTreeViewClientsModelFooter::columnCount(const QModelIndex&) const
{
    return fmuiTreeViewClientsModel::ColumnCount;
}
QVariant fmuiTreeViewClientsModelFooter::data(const QModelIndex&, int) const
{
    return QVariant();
}

QVariant fmuiTreeViewClientsModelFooter::headerData(int section, Qt::Orientation orientation, int role) const
{
    if (orientation != Qt::Horizontal || role != Qt::DisplayRole || !App.ClientList) return QVariant();
    const fmC::_ClientList& list = *App.ClientList;
    if (section == 2) {
        int render = 0, disabled = 0, free = 0;
        for (int i = 0; i < list.count(); ++i) {
            switch (footerClass(list.Clients[i].Status.Thread[0].Status)) {
            case FooterClass::Render:
                ++render;
                break;
            case FooterClass::Disabled:
                ++disabled;
                break;
            case FooterClass::Free:
                ++free;
                break;
            case FooterClass::None:
                break;
            }
        }
        return QStringLiteral("%1 render  %2 disabled  %3 free").arg(render).arg(disabled).arg(free);
    }
    if (section != 0 && (section < 10 || section > 12)) return QVariant();

    // The selected clients among those the filter lets through.
    const int shown = list.shownCount();
    int selected = 0;
    long long memory = 0, cores = 0, mhz = 0;
    double speed = 0;
    for (int i = 0; i < shown; ++i) {
        const int n = list.SortedIndex[i];
        if (n < 0 || n >= MaxClients || !list.Clients[n].Selected) continue;
        const fmC::_ClientHardware& h = list.Clients[n].Hardware;
        ++selected;
        memory += h.Memory;
        cores += h.Cores;
        mhz += h.MHz;
        speed += double(h.Speed);
    }
    switch (section) {
    case 0:
        return QStringLiteral("%1 / %2 selected").arg(selected).arg(shown);
    case 10:
        return selected == 0 ? QVariant() : QVariant(gb(double(memory) / selected, 1));
    case 11:
        return selected == 0 ? QVariant() : QVariant(QString::number(cores));
    case 12:
        return selected == 0 ? QVariant()
                             : QVariant(QStringLiteral("%1 / %2").arg(mhz).arg(speed, 0, 'f', 1));
    default:
        return QVariant();
    }
}

void fmuiTreeViewClientsModelFooter::pleaseUpdate()
{
    emit headerDataChanged(Qt::Horizontal, 0, fmuiTreeViewClientsModel::ColumnCount - 1);
}

void initClientTree(fmTreeView*& view, fmuiTreeViewClientsModel*& model, __FM& app, fmJ::_JobList* jobs,
                    QObject* parent, bool compact, bool single, const bool& flag, const bool& showTime)
{
    if (!view || !view->Tree) return;
    fmTreeViewWidget* tree = view->Tree;
    // Without a parent the view owns the models, so that nothing outlives it unowned.
    if (!parent) parent = view;
    model = new fmuiTreeViewClientsModel(view, app, jobs, parent, compact || single, flag);
    tree->setModel(model);

    auto* footer = new fmuiTreeViewClientsModelFooter(app, view, parent);
    if (view->Footer) {
        view->Footer->setModel(footer);
        view->Footer->setDefaultAlignment(Qt::AlignLeft | Qt::AlignVCenter);
    }

    auto* selection = new fmuiTreeViewSelectionModel(model, app, parent);
    view->setSelectionModel(selection);
    QObject::connect(model, &fmuiTreeViewModel::updateFooter, footer,
                     &fmuiTreeViewClientsModelFooter::pleaseUpdate);
    QObject::connect(selection, &fmuiTreeViewSelectionModel::SelectionUpdated, footer,
                     &fmuiTreeViewClientsModelFooter::pleaseUpdate);
    QObject::connect(tree->header(), &QHeaderView::sortIndicatorChanged, model,
                     &fmuiTreeViewClientsModel::QHeaderView_sortIndicatorChanged);

    static const int widths[][2] = {{0, 100}, {1, 30}, {2, 50},  {4, 33},  {5, 30},  {6, 25}, {7, 50},
                                    {8, 50},  {9, 30}, {10, 30}, {11, 30}, {12, 50}, {13, 75}};
    for (const auto& w : widths)
        view->setColumnWidth(w[0], w[1]);
    view->hideColumn(3);

    tree->header()->moveSection(1, 0);
    tree->header()->setStretchLastSection(false);
    if (view->Footer) view->Footer->setStretchLastSection(false);
    tree->setIndentation(10);

    if (model->Simple)
        for (int c : {2, 3, 4, 5, 7, 8, 9})
            view->hideColumn(c);
    if (single) {
        view->hideColumn(1);
        if (!showTime) view->hideColumn(2);
        for (int c : {3, 4, 5, 7, 8, 9})
            view->hideColumn(c);
        view->setColumnWidth(0, 110);
    }
    view->hideColumn(7);
    view->hideColumn(8);
    view->syncFooter();
}
