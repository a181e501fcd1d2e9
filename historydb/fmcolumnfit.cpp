#include "historydb/fmcolumnfit.h"

#include "widgets/fmtreeview.h"

#include <QAbstractItemModel>
#include <QFontMetrics>
#include <QStyle>

#include <algorithm>

namespace {
constexpr qint64 SliceMs = 8; // keeps the window answering between slices
// The first slice measures at least this many rows whatever its time: a project of this size
// is fitted before it is first drawn.
constexpr int FirstRows = 2000;
} // namespace

fmColumnFit::fmColumnFit(fmTreeView* view, QAbstractItemModel* model, std::vector<int> columns,
                         std::function<bool()> busy)
    : QObject(view), View(view), Model(model), Columns(std::move(columns)), Busy(std::move(busy))
{
    Next.setSingleShot(true);
    Next.setInterval(0);
    connect(&Next, &QTimer::timeout, this, [this] {
        if (Busy && Busy()) {
            Next.start(20);
            return;
        }
        if (!slice(SliceMs, 0)) Next.start(0);
    });
    // Indexes of the walk are not kept across a change of the rows.
    for (auto signal : {&QAbstractItemModel::layoutAboutToBeChanged, &QAbstractItemModel::layoutChanged})
        connect(model, signal, this, [this] { restart(); });
    connect(model, &QAbstractItemModel::modelAboutToBeReset, this, [this] { restart(); });
    connect(model, &QAbstractItemModel::modelReset, this, [this] { restart(); });
    for (auto signal : {&QAbstractItemModel::rowsAboutToBeInserted, &QAbstractItemModel::rowsInserted,
                        &QAbstractItemModel::rowsAboutToBeRemoved, &QAbstractItemModel::rowsRemoved})
        connect(model, signal, this, [this] { restart(); });
}

void fmColumnFit::start()
{
    const int columns = Model->columnCount(QModelIndex());
    Widest.assign(size_t(columns), 0);
    Longest.assign(size_t(columns), 0);
    Walk.clear();
    Done = false;
    Next.stop();
    if (!slice(SliceMs, FirstRows)) Next.start(0);
}

void fmColumnFit::finish()
{
    if (Done) return;
    Next.stop();
    slice(-1, 0);
}

void fmColumnFit::restart()
{
    Walk.clear();
}

bool fmColumnFit::slice(qint64 ms, int minRows)
{
    if (Done) return true;
    QElapsedTimer clock;
    clock.start();
    fmTreeViewWidget* tree = View->Tree;
    const int margin = 2 * (tree->style()->pixelMetric(QStyle::PM_FocusFrameHMargin, nullptr, tree) + 1) + 2;
    const QFontMetrics plain(tree->font());
    if (Walk.empty()) Walk.push_back({QModelIndex(), 0, Model->rowCount(QModelIndex()), 0});
    int measured = 0;
    while (!Walk.empty()) {
        Level& level = Walk.back();
        if (level.Row >= level.Rows) {
            Walk.pop_back();
            continue;
        }
        const QModelIndex first = Model->index(level.Row++, 0, level.Parent);
        if (!first.isValid()) continue; // fewer rows than counted: the model changed unannounced
        const int depth = level.Depth;
        measureRow(first, depth, plain, margin);
        if (depth < 2) {
            const int children = Model->rowCount(first);
            if (children > 0) Walk.push_back({first, 0, children, depth + 1});
        }
        if (ms >= 0 && ++measured >= minRows && measured % 64 == 0 && clock.elapsed() >= ms) break;
    }
    Done = Walk.empty();
    apply();
    return Done;
}

void fmColumnFit::measureRow(const QModelIndex& first, int depth, const QFontMetrics& plain, int margin)
{
    fmTreeViewWidget* tree = View->Tree;
    const int columns = int(Widest.size());
    for (int column : Columns) {
        if (column >= columns) continue;
        const QModelIndex cell = column == 0 ? first : first.siblingAtColumn(column);
        const QString text = cell.data(Qt::DisplayRole).toString();
        // Digits are of one width in the fonts in use: a shorter number or date can't be wider
        // by more than a character, so only texts near the longest are measured.
        if (column != 0 && text.size() + 1 < Longest[size_t(column)]) continue;
        const QVariant fontRole = cell.data(Qt::FontRole);
        int w = 0;
        if (fontRole.isValid()) {
            w = QFontMetrics(qvariant_cast<QFont>(fontRole).resolve(tree->font())).horizontalAdvance(text);
        } else if (column == 0) {
            w = plain.horizontalAdvance(text);
        } else {
            // By the same rule, texts that differ only in their digits are of one width: each
            // pattern is measured once (a project's dates are one or two patterns).
            QString shape = text;
            for (QChar& c : shape)
                if (c.unicode() >= u'0' && c.unicode() <= u'9') c = QLatin1Char('0');
            auto known = PlainWidths.constFind(shape);
            if (known == PlainWidths.constEnd())
                known = PlainWidths.insert(shape, plain.horizontalAdvance(shape));
            w = *known;
        }
        const int need = w + margin + (column == 0 ? tree->indentation() * (depth + 1) : 0);
        Widest[size_t(column)] = std::max(Widest[size_t(column)], need);
        Longest[size_t(column)] = std::max(Longest[size_t(column)], int(text.size()));
    }
}

void fmColumnFit::apply()
{
    for (int column : Columns)
        if (column < int(Widest.size()) && Widest[size_t(column)] > View->columnWidth(column))
            View->setColumnWidth(column, Widest[size_t(column)]);
}
