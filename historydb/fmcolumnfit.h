#pragma once
// Widens chosen columns of a tree view to the widest text in its model (rows down to the third
// level), measured with the view's fonts; never narrower than before. A 15000-job project has
// some 200,000 cells to measure, so the rows are measured in slices of a few milliseconds: the
// first slice (the rows at the top, those on screen) at once, the rest between events.

#include <QElapsedTimer>
#include <QHash>
#include <QModelIndex>
#include <QObject>
#include <QTimer>

#include <functional>
#include <vector>

class QAbstractItemModel;
class QFontMetrics;
class fmTreeView;

class fmColumnFit : public QObject
{
public:
    // `busy`, when given, is asked before each later slice; while it says yes the slice waits.
    fmColumnFit(fmTreeView* view, QAbstractItemModel* model, std::vector<int> columns,
                std::function<bool()> busy = {});
    // Measures the first slice now and schedules the rest; a fit under way starts over.
    void start();
    bool finished() const { return Done; }
    // Measures every remaining row now.
    void finish();

private:
    // Measures at least `minRows` rows, then more for up to `ms` milliseconds in all (every row
    // when `ms` is negative); true when none is left.
    bool slice(qint64 ms, int minRows);
    void measureRow(const QModelIndex& first, int depth, const QFontMetrics& plain, int margin);
    void apply();
    // The model's rows changed: the walk starts over at the first row; the widths found stay.
    void restart();

    struct Level
    {
        QModelIndex Parent;
        int Row = 0;
        int Rows = 0;
        int Depth = 0;
    };
    fmTreeView* View;
    QAbstractItemModel* Model;
    std::vector<int> Columns;
    std::function<bool()> Busy;
    std::vector<Level> Walk;  // empty: to begin at the top
    std::vector<int> Widest;  // pixels, by column
    std::vector<int> Longest; // characters of the widest text, by column
    QHash<QString, int> PlainWidths;
    QTimer Next;
    bool Done = true;
};
