// Speed of the jobs tree on the largest project: 15000 jobs of 40 users. Prints one figure a
// line, "name: value unit". Every rebuild includes two required pauses of 50 ms; the figures
// "..._work" are the same times without them.

#include "joblist_fixtures.h"

#include "historydb/fmjobstreemodel.h"
#include "jobs/fmjoblist.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QFile>
#include <QTemporaryDir>

#include <cstdio>
#include <memory>
#include <random>

using namespace fmJ;

namespace {

constexpr int Jobs = 15000;
constexpr double Pauses = 100.0; // ms of required pauses in each rebuild

void print(const char* name, double value, const char* unit)
{
    std::printf("%s: %.2f %s\n", name, value, unit);
    std::fflush(stdout);
}

double ms(const QElapsedTimer& t) { return double(t.nsecsElapsed()) / 1e6; }

// The first `rows` rows in the order the view shows them (children only below expanded rows).
void visibleRows(const QAbstractItemModel& m, const QModelIndex& parent, bool expanded, int rows,
                 QModelIndexList& out)
{
    for (int r = 0; r < m.rowCount(parent) && out.size() < rows; ++r) {
        const QModelIndex i = m.index(r, 0, parent);
        out.append(i);
        if (expanded) visibleRows(m, i, expanded, rows, out);
    }
}

double paintRows(fmuiTreeViewJobsModel& m, bool expanded)
{
    for (fmuiTreeViewNode* t : m.Root->Children) {
        t->IsExpanded = expanded;
        for (fmuiTreeViewNode* c : t->Children) c->IsExpanded = expanded;
    }
    QModelIndexList rows;
    visibleRows(m, QModelIndex(), expanded, 60, rows);
    QElapsedTimer t;
    t.start();
    int sink = 0;
    for (const QModelIndex& r : rows)
        for (int c = 0; c < fmuiTreeViewJobsModel::ColumnCount; ++c) {
            const QModelIndex i = m.index(r.row(), c, r.parent());
            for (int role : {int(Qt::DisplayRole), int(Qt::DecorationRole), int(Qt::FontRole), int(Qt::TextAlignmentRole),
                             int(Qt::BackgroundRole), int(Qt::ForegroundRole), 33, 34, 35})
                sink += m.data(i, role).isValid();
        }
    const double r = ms(t);
    if (sink == 0) std::fprintf(stderr, "no data\n");
    return r;
}

} // namespace

int main(int argc, char** argv)
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app(argc, argv);
    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("feature.db"));
    {
        std::mt19937 rnd(20260101);
        QFile f(path);
        if (!f.open(QIODevice::WriteOnly)) return 1;
        for (int n = 0; n < Jobs; ++n) {
            auto r = jlfix::makeRecord(n);
            r->JobID = 0x100000ull + (unsigned long long)n;
            r->UserName = QStringLiteral("Artist%1").arg(rnd() % 40);
            r->CompanyProjectName = QStringLiteral("Feature_%1").arg(rnd() % 3);
            r->ErrorCount = int8_t(rnd() % 20);
            r->TotalGhzHours = float(rnd() % 1000) / 10.0f;
            r->TotalPS = rnd() % 100000;
            f.write(jlfix::frameOf(*r));
        }
    }
    _JobList list(FM, nullptr);
    list.SetSortID(0, Qt::AscendingOrder);
    list.LoadFileJobs(path);
    std::printf("jobs: %d\n", list.SortedCount);

    fmTreeView* noView = nullptr;
    fmuiTreeViewJobsModel m(noView, list, FM, nullptr, false);
    QElapsedTimer t;

    t.start();
    m.CreateJobTree(true);
    double v = ms(t);
    print("create_reset", v, "ms");
    print("create_reset_work", v - Pauses, "ms");

    t.restart();
    m.CreateJobTree(false);
    v = ms(t);
    print("rebuild_same_work", v - Pauses, "ms");

    t.restart();
    const bool changed = list.SetSortID(8, Qt::AscendingOrder);
    const double sortMs = ms(t);
    m.CreateJobTree(false);
    v = ms(t);
    print("resort_and_rebuild", v, "ms");
    print("resort_and_rebuild_work", v - Pauses, "ms");
    print("resort_only", sortMs, "ms");
    if (!changed) std::fprintf(stderr, "sort did not change\n");

    {
        fmuiTreeViewSelectionModel sel(&m, FM, nullptr);
        const int top = m.rowCount();
        t.restart();
        sel.select(QItemSelection(m.index(0, 0), m.index(top - 1, 0)),
                   QItemSelectionModel::ClearAndSelect | QItemSelectionModel::Rows);
        list.CreateSelectionList();
        print("select_all", ms(t), "ms");
        std::printf("selected: %d\n", list.SelectedCount);
    }

    print("data_60_rows_collapsed", paintRows(m, false), "ms");
    print("data_60_rows_expanded", paintRows(m, true), "ms");

    m.ClearCompleteTree();
    m.GroupFirstLevel = false;
    t.restart();
    m.CreateJobTree(true);
    v = ms(t);
    print("create_flat_work", v - Pauses, "ms");
    std::printf("flat_rows: %d\n", m.rowCount());

    m.ClearCompleteTree();
    m.GroupFirstLevel = true;
    m.GroupSubmissions = true;
    t.restart();
    m.CreateJobTree(true);
    v = ms(t);
    print("create_submissions_work", v - Pauses, "ms");
    return 0;
}
