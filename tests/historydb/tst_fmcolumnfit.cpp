// The column fit of the trees: a model too large for one slice is measured between events and
// ends with the widths a fit in one go gives, also when its rows change on the way.

#include "historydb/fmcolumnfit.h"
#include "widgets/fmtreeview.h"

#include <QStandardItemModel>
#include <QTest>

using namespace Qt::StringLiterals;

namespace {

// `rows` top rows of two children each; the longest number is in the last child of the last row.
void fill(QStandardItemModel& model, int rows)
{
    for (int r = 0; r < rows; ++r) {
        QList<QStandardItem*> row{new QStandardItem(u"group %1"_s.arg(r)),
                                  new QStandardItem(QString::number(r))};
        for (int c = 0; c < 2; ++c)
            row[0]->appendRow({new QStandardItem(u"job"_s), new QStandardItem(QString::number(r * 7 + c))});
        model.appendRow(row);
    }
    model.item(rows - 1)->child(1, 1)->setText(u"123456789012345"_s);
}

} // namespace

class tst_fmcolumnfit : public QObject
{
    Q_OBJECT
private slots:
    void sameAsInOneGo_data()
    {
        QTest::addColumn<int>("rows");
        QTest::addColumn<bool>("changeOnTheWay");
        QTest::newRow("one slice") << 40 << false;
        QTest::newRow("many slices") << 20000 << false;
        QTest::newRow("rows added on the way") << 20000 << true;
    }
    void sameAsInOneGo()
    {
        QFETCH(int, rows);
        QFETCH(bool, changeOnTheWay);
        QStandardItemModel model(0, 2), reference(0, 2);
        fill(model, rows);
        fill(reference, rows);
        fmTreeView view, oneGo;
        view.Tree->setModel(&model);
        oneGo.Tree->setModel(&reference);
        for (fmTreeView* v : {&view, &oneGo}) {
            v->setColumnWidth(0, 10);
            v->setColumnWidth(1, 10);
        }
        auto* fit = new fmColumnFit(&view, &model, {0, 1});
        fit->start();
        if (changeOnTheWay) {
            QVERIFY(!fit->finished());
            model.insertRow(0, {new QStandardItem(u"new"_s), new QStandardItem(u"1"_s)});
            reference.insertRow(0, {new QStandardItem(u"new"_s), new QStandardItem(u"1"_s)});
        }
        QTRY_VERIFY_WITH_TIMEOUT(fit->finished(), 60000);
        auto* whole = new fmColumnFit(&oneGo, &reference, {0, 1});
        whole->start();
        whole->finish();
        QVERIFY(whole->finished());
        QCOMPARE(view.columnWidth(0), oneGo.columnWidth(0));
        QCOMPARE(view.columnWidth(1), oneGo.columnWidth(1));
        QVERIFY(view.columnWidth(1) > view.Tree->fontMetrics().horizontalAdvance(u"123456789012345"_s));
    }
};

QTEST_MAIN(tst_fmcolumnfit)
#include "tst_fmcolumnfit.moc"
