#include "app/fm.h"
#include "historydb/fmlogtreemodel.h"
#include "jobs/fmjobhistory.h"

#include "fmmodeltext.h"

#include <QTreeView>
#include <QtTest>

#include <memory>

class tst_fmLogTreeModel : public QObject
{
    Q_OBJECT
private slots:
    // Catches pages that are missing or extra, counts taken unclamped from a damaged record, and a
    // null job that still shows pages.
    void pages_data()
    {
        QTest::addColumn<bool>("hasJob");
        QTest::addColumn<int>("logCount");
        QTest::addColumn<int>("errorCount");
        QTest::addColumn<bool>("preview");
        QTest::addColumn<QStringList>("expected"); // "name=size" per page
        QTest::newRow("no job") << false << 5 << 2 << true << QStringList();
        QTest::newRow("log and errors") << true << 5 << 2 << false << QStringList{"Job Log=5", "Errors=2"};
        QTest::newRow("preview") << true << 0 << 0 << true
                                 << QStringList{"Job Log=", "Errors=", "Frames Send="};
        QTest::newRow("damaged counts")
            << true << 30000 << 127 << false << QStringList{"Job Log=750", "Errors=50"};
        QTest::newRow("negative counts") << true << -4 << -1 << false << QStringList{"Job Log=", "Errors="};
    }
    void pages()
    {
        QFETCH(bool, hasJob);
        QFETCH(int, logCount);
        QFETCH(int, errorCount);
        QFETCH(bool, preview);
        QFETCH(QStringList, expected);
        auto job = std::make_unique<fmJ::_jobsHistoryDB>();
        job->LogCount = int16_t(logCount);
        job->ErrorCount = int8_t(errorCount);
        job->PreviewEnabled = preview ? 1 : 0;
        QTreeView* view = nullptr;
        fmuiTreeViewLogModel m(view, nullptr);
        fmtest::checkModel(&m);
        m.CreateLogTree(FM, job.get()); // a second build must not keep the first one's pages
        m.CreateLogTree(FM, hasJob ? job.get() : nullptr);
        QStringList got;
        for (int r = 0; r < m.rowCount(); ++r) {
            const QModelIndex name = m.index(r, 0);
            QVERIFY(!m.parent(name).isValid());
            QCOMPARE(m.rowCount(name), 0);
            QVERIFY(!m.data(name, Qt::ToolTipRole).isValid());
            got << m.data(name).toString() + QLatin1Char('=') + m.data(m.index(r, 1)).toString();
            QCOMPARE(m.nodeFromIndex(name)->ID, 1);
            QCOMPARE(m.index(m.nodeFromIndex(name)), name);
        }
        QCOMPARE(got, expected);
    }

    // Catches a rebuild that leaves the view on stale rows or without its selection model.
    void rebuildOnTheView()
    {
        QTreeView tree;
        QTreeView* view = &tree;
        fmuiTreeViewLogModel* m = nullptr;
        initLogTree(view, m, &tree);
        QVERIFY(m && tree.model() == m && tree.selectionModel());
        fmtest::checkModel(m);
        auto job = std::make_unique<fmJ::_jobsHistoryDB>();
        job->LogCount = 3;
        m->CreateLogTree(FM, job.get());
        tree.selectionModel()->select(m->index(1, 0), QItemSelectionModel::Select);
        m->CreateLogTree(FM, job.get());
        QCOMPARE(tree.model()->rowCount(), 2);
        QVERIFY(!tree.selectionModel()->hasSelection());
        m->CreateLogTree(FM, nullptr);
        QCOMPARE(tree.model()->rowCount(), 0);
    }
};

QTEST_MAIN(tst_fmLogTreeModel)
#include "tst_fmlogtreemodel.moc"
