#include "fmmodeltext.h"

#include <QAbstractItemModelTester>

namespace fmtest {

namespace {
void addLines(const QAbstractItemModel& m, int column, const QModelIndex& parent, int depth, QStringList& out)
{
    for (int r = 0; r < m.rowCount(parent); ++r) {
        out << QString(depth * 2, QLatin1Char(' ')) + m.index(r, column, parent).data().toString();
        addLines(m, column, m.index(r, 0, parent), depth + 1, out);
    }
}
} // namespace

QStringList modelLines(const QAbstractItemModel& m, int column, const QModelIndex& parent)
{
    QStringList out;
    addLines(m, column, parent, 0, out);
    return out;
}

QString rowText(const QAbstractItemModel& m, int row, const QModelIndex& parent)
{
    QStringList cells;
    for (int c = 0; c < m.columnCount(parent); ++c)
        cells << m.index(row, c, parent).data().toString();
    return cells.join(QLatin1Char('|'));
}

void checkModel(QAbstractItemModel* m)
{
    new QAbstractItemModelTester(m, QAbstractItemModelTester::FailureReportingMode::QtTest, m);
}

} // namespace fmtest
