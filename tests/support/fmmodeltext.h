#pragma once
// Models as text, so that a test compares a whole tree in one QCOMPARE, and the toolkit's model
// checker attached to a model under test.

#include <QAbstractItemModel>
#include <QStringList>

namespace fmtest {

// The tree below `parent` as lines "<indent><text of column>", two blanks a level.
QStringList modelLines(const QAbstractItemModel& m, int column = 0,
                       const QModelIndex& parent = QModelIndex());

// The cells of one row, joined by '|' (display role).
QString rowText(const QAbstractItemModel& m, int row, const QModelIndex& parent = QModelIndex());

// Attaches QAbstractItemModelTester in QtTest reporting mode for the model's lifetime: every
// signal and every answer the model gives afterwards is checked, failing the running test.
void checkModel(QAbstractItemModel* m);

} // namespace fmtest
