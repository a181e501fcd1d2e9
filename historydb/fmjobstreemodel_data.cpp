// What a cell of the jobs tree shows: texts, colours, font, icon and shading, for job rows and for
// group rows.

#include "historydb/fmjobstreemodel.h"

#include "app/fm.h"

#include "foundation/fmjobid.h"
#include "foundation/fmtime.h"
#include "jobs/fmjoblist.h"
#include "widgets/fmtreeviewtypes.h"

#include <QBrush>
#include <QColor>
#include <QFont>
#include <QIcon>
#include <QReadLocker>

#include <climits>
#include <cmath>
#include <cstring>

using fmJ::_jobsHistoryDB_Runtime;
using N = fmuiTreeViewNode;

namespace {

const QString differText = QStringLiteral(" ~  ~  ~  ~");
const QString differSoftware = QStringLiteral("~::~::~::~");

// A double from the record as an int: NaN gives 0, values beyond the range are clamped.
int toIntTrunc(double v)
{
    if (std::isnan(v)) return 0;
    if (v >= double(INT_MAX)) return INT_MAX;
    if (v <= double(INT_MIN)) return INT_MIN;
    return int(v);
}

long long roundHalfAway(double v)
{
    if (std::isnan(v)) return 0;
    if (v >= 9.0e18) return LLONG_MAX;
    if (v <= -9.0e18) return LLONG_MIN;
    return std::llround(v);
}

long long clampedLL(uint64_t v)
{
    return v > uint64_t(LLONG_MAX) ? LLONG_MAX : (long long)v;
}

// Exact equality of two 16-bit texts of capacity N given by the address of the fmString in a
// packed record: Length (clamped), then the units in use.
template <int N> bool sameText(const char* a, const char* b)
{
    uint16_t la, lb;
    std::memcpy(&la, a + 2 * N + 2, 2);
    std::memcpy(&lb, b + 2 * N + 2, 2);
    const int na = la > N ? N : la, nb = lb > N ? N : lb;
    return na == nb && std::memcmp(a, b, size_t(na) * 2) == 0;
}

#define FM_TEXT_BYTES(job, field) reinterpret_cast<const char*>(&(job)->field)
#define FM_SAME_TEXT(a, b, field)                                                                            \
    sameText<decltype((a)->field)::Capacity>(FM_TEXT_BYTES(a, field), FM_TEXT_BYTES(b, field))

bool sameField(const _jobsHistoryDB_Runtime* a, const _jobsHistoryDB_Runtime* b, int column)
{
    switch (column) {
    case 1:
        return FM_SAME_TEXT(a, b, UserName);
    case 2:
        return FM_SAME_TEXT(a, b, CompanyProjectName);
    case 4:
        return FM_SAME_TEXT(a, b, Software);
    case 8:
        return FM_SAME_TEXT(a, b, SceneName);
    case 9:
        return FM_SAME_TEXT(a, b, Layer);
    case 10:
        return FM_SAME_TEXT(a, b, Camera);
    case 16:
        return a->Priority == b->Priority;
    default:
        return true;
    }
}

const fmuiTreeViewJobsNode* jnode(const fmuiTreeViewNode* n)
{
    return static_cast<const fmuiTreeViewJobsNode*>(n);
}

// The jobs below a group row: an end child's own job, and the jobs of the children of any other
// child. Nodes without data or job are skipped.
template <class F> void forEachJobNodeBelow(const fmuiTreeViewNode* node, F&& f)
{
    for (const fmuiTreeViewNode* c : node->Children) {
        if (!c) continue;
        if (c->Children.isEmpty()) {
            if (jnode(c)->data() && jnode(c)->data()->Job) f(jnode(c));
            continue;
        }
        for (const fmuiTreeViewNode* g : c->Children)
            if (g && jnode(g)->data() && jnode(g)->data()->Job) f(jnode(g));
    }
}

Qt::Alignment columnAlignment(int column)
{
    switch (column) {
    case 5:
    case 6:
    case 7:
    case 16:
    case 18:
        return Qt::AlignCenter;
    case 11:
    case 25:
    case 26:
    case 27:
        return Qt::AlignRight | Qt::AlignVCenter;
    default:
        return Qt::AlignLeft | Qt::AlignVCenter;
    }
}

QColor argb(uint32_t v)
{
    return QColor::fromRgba(v);
}

} // namespace

QVariant fmuiTreeViewJobsModel::headerData(int section, Qt::Orientation orientation, int role) const
{
    if (orientation != Qt::Horizontal || role != Qt::DisplayRole) return QVariant();
    static const char* const titles[ColumnCount] = {"ID",
                                                    "User",
                                                    "Company Project",
                                                    "Scn-Shot-Ver",
                                                    "Software",
                                                    "Error",
                                                    "FrameCheck",
                                                    "Approved",
                                                    "Scene",
                                                    "Layer",
                                                    "Camera",
                                                    "Frames",
                                                    "Done-started-left",
                                                    "Time total",
                                                    "Remaining",
                                                    "Fr. time",
                                                    "Priority",
                                                    "Status",
                                                    "Clients Rendering",
                                                    "",
                                                    "Date Send",
                                                    "Date Finished",
                                                    "Done",
                                                    "Debug",
                                                    "Shot",
                                                    "PS Total",
                                                    "Ghz*h",
                                                    "Cost"};
    if (section < 0 || section >= ColumnCount) return QVariant();
    if (section == 0 && GroupFirstLevel)
        return GroupByUser ? QStringLiteral("ID / User") : QStringLiteral("ID / Company Project");
    return QString::fromLatin1(titles[section]);
}

QVariant fmuiTreeViewJobsModel::data(const QModelIndex& index, int role) const
{
    QReadLocker lock(const_cast<QReadWriteLock*>(&NodeLock));
    if (!index.isValid()) return QVariant();
    const auto* node = jnode(nodeFromIndex(index));
    if (!node || node == Root) return QVariant();
    const fmuiTreeViewJobsNodeData* d = node->data();
    if (!d) return QVariant();
    if (!d->Job) return role == Qt::DisplayRole ? QVariant(QStringLiteral(" ?@? ")) : QVariant();
    if (!jobIsValid(d->Job)) return role == Qt::DisplayRole ? QVariant(QStringLiteral(" ?? ")) : QVariant();
    const int column = index.column();
    if (column < 0 || column >= ColumnCount) return QVariant();

    switch (role) {
    case Qt::TextAlignmentRole:
        return QVariant::fromValue(columnAlignment(column));
    case fmtvRole::TopLineColor:
        if (node->NodeType == N::FirstLevel) return argb(0xFF000000);
        return node->Level <= 2 ? argb(0xFFCCCCCC) : argb(0x00000000);
    case fmtvRole::BottomLineColor:
        switch (column) {
        case 5:
        case 8:
        case 9:
        case 13:
        case 16:
        case 18:
        case 22:
            return argb(0xFF999999);
        default:
            return QVariant();
        }
    case fmtvRole::Shading:
        return QVariant::fromValue(fmtvShading{node->NodeType == N::EndNode ? 3u : 5u});
    case Qt::FontRole:
        if (column == 0 && node->NodeType == N::FirstLevel)
            return QFont(QStringLiteral("Arial"), 8, QFont::Bold);
        return QVariant();
    default:
        break;
    }

    const fmuiTreeViewNode* only = node->Children.size() == 1 ? node->Children[0] : nullptr;
    const bool jobRow = node->NodeType == N::EndNode ||
                        (node->NodeType != N::FirstLevel && only && only->NodeType == N::EndNode);
    return jobRow ? jobRowData(node, d->Job, column, role) : groupRowData(node, d->Job, column, role);
}

QVariant fmuiTreeViewJobsModel::jobRowData(const fmuiTreeViewJobsNode* node,
                                           const _jobsHistoryDB_Runtime* job, int column, int role) const
{
    const bool selected = (node->GetDataIsSelected(App) || node->ForceSelected) && !node->ForceDeselected;
    switch (role) {
    case Qt::DisplayRole:
        return jobText(node, job, column);
    case Qt::BackgroundRole:
        if (column == 0) return argb(jobColor(job->Color_ID));
        return argb(selected ? 0xFF000000 : 0xFFFFFFFF);
    case Qt::ForegroundRole:
        return argb(selected && column != 0 ? 0xFFFFFFFF : 0xFF000000);
    case Qt::DecorationRole: {
        if (column != 5) return QVariant();
        const QString path = errorIconPath(job->ErrorCount, job->ErrorCountHard != 0);
        return path.isEmpty() ? QVariant() : QVariant(QIcon(path));
    }
    default:
        return QVariant();
    }
}

QString fmuiTreeViewJobsModel::jobText(const fmuiTreeViewJobsNode* node, const _jobsHistoryDB_Runtime* job,
                                       int column) const
{
    switch (column) {
    case 0: {
        QString s = fmJ::ID2str(job->JobID);
        if (!GroupFirstLevel && node->Level == 1) return QStringLiteral("    ") + s;
        if (GroupFirstLevel && node->Level == 2) return QStringLiteral("   ") + s;
        return s;
    }
    case 1:
        return job->UserName.toQString();
    case 2:
        return job->CompanyProjectName.toQString();
    case 3: {
        QString s = job->CustomSeQName.toQString() + QLatin1Char('-') + job->CustomSHotName.toQString();
        if (!job->CustomVersionName.isEmpty()) s += QLatin1Char('-') + job->CustomVersionName.toQString();
        return s;
    }
    case 4:
        return job->Software.toQString();
    case 8:
        return job->GetSceneDisplayName();
    case 9: {
        QString s = job->Layer.toQString();
        if (!job->Channel.isEmpty()) s += QStringLiteral(" - ") + job->Channel.toQString();
        return s;
    }
    case 10:
        return job->Camera.toQString();
    case 11: {
        const double start = job->SeqStart, end = job->SeqEnd, step = job->SeqStep;
        if (!(step > 1)) return QStringLiteral("%1 -%2    ").arg(start, 4).arg(end, 5);
        return QStringLiteral("%1 -%2,%3").arg(start, 4).arg(end, 5).arg(step, 3);
    }
    case 13: {
        const uint64_t t = job->ExecutionTime;
        // Kept so: a job without total time shows its frame time here.
        if (t > 0) return fmSec2hms(t > uint64_t(INT_MAX) ? INT_MAX : int(t));
        return jobText(node, job, 15);
    }
    case 15: {
        const uint32_t t = job->AverageFrameTime;
        return t > 0 ? fmSec2ms(t) : QString();
    }
    case 16:
        return QStringLiteral("%1").arg(int(job->Priority));
    case 18: {
        const float c = job->AverageClients;
        return c > 0 ? QStringLiteral("%1").arg(double(c), 0, 'f', 1) : QString();
    }
    case 20: {
        const fmTime_t t(job->DateSend);
        return t.asStringYear();
    }
    case 21: {
        const fmTime_t t(job->DateFinished);
        return t.asStringYear();
    }
    case 24:
        return job->CustomSHotName.toQString();
    case 25:
        return fmSpaceTsd(clampedLL(job->TotalPS));
    case 26: {
        const float g = job->TotalGhzHours;
        return g > 0 ? fmSpaceTsd(roundHalfAway(double(g))) : QString();
    }
    case 27: {
        const float g = job->TotalGhzHours;
        if (!(g > 0)) return QString();
        return QStringLiteral("%1 %2").arg(double(g * Cost), 0, 'f', 2).arg(CostDisplay);
    }
    default:
        return QString();
    }
}

const fmuiTreeViewJobsModel::GroupSummary&
fmuiTreeViewJobsModel::summaryOf(const fmuiTreeViewJobsNode* node, const _jobsHistoryDB_Runtime* job) const
{
    auto it = Summaries.constFind(node);
    if (it != Summaries.constEnd()) return *it;
    GroupSummary g;
    g.Low = job->SeqStart;
    g.High = job->SeqEnd;
    bool seen = false;
    g.All = true;
    forEachJobNodeBelow(node, [&](const fmuiTreeViewJobsNode* n) {
        const _jobsHistoryDB_Runtime* j = n->data()->Job;
        seen = true;
        for (int c : {1, 2, 4, 8, 9, 10, 16})
            if (!(g.DifferColumns & (1u << c)) && !sameField(j, job, c)) g.DifferColumns |= 1u << c;
        const double s = j->SeqStart, e = j->SeqEnd;
        if (s < g.Low) g.Low = s;
        if (e > g.High) g.High = e;
        const uint32_t ft = j->AverageFrameTime;
        if (ft > 0) {
            g.FrameTimeSum += ft;
            ++g.FrameTimeCount;
        }
        const long long ps = (long long)j->TotalPS; // a value above 2^63 reads negative
        if (ps > 0) g.PS = ps > LLONG_MAX - g.PS ? LLONG_MAX : g.PS + ps;
        const float ghz = j->TotalGhzHours;
        if (ghz > 0 && std::isfinite(ghz)) g.GhzHours += double(ghz);
        const int err = j->ErrorCount;
        if (err > g.ErrorLevel) g.ErrorLevel = err;
        if (j->ErrorCountHard != 0) g.Fresh = true;
        if (n->GetDataIsSelected(App))
            g.Any = true;
        else
            g.All = false;
    });
    g.All = g.All && seen;
    if (node->ForceSelected) g.Any = g.All = true;
    if (node->ForceDeselected) g.Any = g.All = false;
    return *Summaries.insert(node, g);
}

QVariant fmuiTreeViewJobsModel::groupRowData(const fmuiTreeViewJobsNode* node,
                                             const _jobsHistoryDB_Runtime* job, int column, int role) const
{
    if (role == Qt::DisplayRole) return groupText(node, job, column);

    const bool expanded = node->IsExpanded;
    const bool first = node->NodeType == N::FirstLevel;
    if (role == Qt::DecorationRole) {
        if (column != 5 || first || expanded) return QVariant();
        const GroupSummary& g = summaryOf(node, job);
        const QString path = errorIconPath(g.ErrorLevel, g.Fresh);
        return path.isEmpty() ? QVariant() : QVariant(QIcon(path));
    }
    if (role != Qt::BackgroundRole && role != Qt::ForegroundRole) return QVariant();

    if (expanded) {
        if (role == Qt::ForegroundRole) return argb(0xFF000000);
        if (column == 0) return argb(first ? 0xFFEEEEEE : 0xFFFAFAFA);
        return argb(first ? 0xFFCCCCCC : 0xFFEEEEEE);
    }

    const GroupSummary& g = summaryOf(node, job);
    if (role == Qt::ForegroundRole) {
        if (column == 0) return argb(first ? 0xFF000000 : 0xFF444444);
        if (g.All) return argb(0xFFFFFFFF);
        return argb(g.Any ? 0xFF000000 : 0xFF444444);
    }
    if (column == 0) return argb(0xFFEEEEEE);
    if (!g.Any) return argb(first ? 0xFFEEEEEE : 0xFFFAFAFA);
    if (!g.All) return QBrush(argb(0xFF999999), Qt::Dense5Pattern);
    return argb(0xFF000000);
}

QString fmuiTreeViewJobsModel::groupText(const fmuiTreeViewJobsNode* node, const _jobsHistoryDB_Runtime* job,
                                         int column) const
{
    const fmuiTreeViewJobsNodeData* d = node->data();
    switch (column) {
    case 0: {
        QString s;
        if (node->NodeType == N::FirstLevel) {
            s = d->Name;
        } else {
            s = fmJ::ID2str(d->JobID & ~0xFFULL);
            if (node->NodeType == N::SecondLevel && node->Level == 1 && GroupFirstLevel)
                s = d->Name + QStringLiteral("   ") + s;
        }
        int count = 0;
        for (const fmuiTreeViewNode* c : node->Children)
            if (c) count += c->NodeType == N::EndNode ? 1 : int(c->Children.size());
        if (count >= 2) return QStringLiteral("%1 ").arg(count, 2) + s;
        return QStringLiteral("    ") + s;
    }
    case 1:
    case 2:
    case 4:
    case 8:
    case 9:
    case 10:
    case 16: {
        if (node->IsExpanded) return QString();
        if (summaryOf(node, job).DifferColumns & (1u << column))
            return column == 4 ? differSoftware : differText;
        if (column == 9) return job->Layer.toQString();
        return jobText(node, job, column);
    }
    case 11: {
        const GroupSummary& g = summaryOf(node, job);
        return QStringLiteral("%1 -%2      ").arg(toIntTrunc(g.Low), 4).arg(toIntTrunc(g.High), 5);
    }
    case 15: {
        const GroupSummary& g = summaryOf(node, job);
        return g.FrameTimeCount > 0 ? fmSec2ms(g.FrameTimeSum / g.FrameTimeCount) : QString();
    }
    case 20: {
        const fmTime_t t(job->DateSend);
        return t.asString();
    }
    case 21: {
        const fmTime_t t(job->DateFinished);
        return t.asString();
    }
    case 25: {
        const long long sum = summaryOf(node, job).PS;
        return sum >= 1 ? fmSpaceTsd(sum) : QString();
    }
    case 26:
    case 27: {
        const double sum = summaryOf(node, job).GhzHours;
        if (!(sum > 0)) return QString();
        if (column == 26) return fmSpaceTsd(roundHalfAway(sum));
        return QStringLiteral("%1 %2").arg(sum * double(Cost), 0, 'f', 2).arg(CostDisplay);
    }
    default:
        return QString();
    }
}
