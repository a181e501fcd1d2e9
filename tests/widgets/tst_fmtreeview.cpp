#include "widgets/fmtreeview.h"

#include <QApplication>
#include <QHeaderView>
#include <QMouseEvent>
#include <QScrollBar>
#include <QStandardItemModel>
#include <QTest>

using namespace Qt::StringLiterals;

namespace {

constexpr int kColumns = 5;

// A tree of 6 rows and a footer model of totals, wired the way the table owners do it.
struct Table
{
    QStandardItemModel model{6, kColumns};
    QStandardItemModel totals{0, kColumns};
    fmTreeView view;

    Table()
    {
        for (int r = 0; r < model.rowCount(); ++r)
            for (int c = 0; c < kColumns; ++c)
                model.setItem(r, c, new QStandardItem(u"r%1"_s.arg(r)));
        view.Tree->setModel(&model);
        view.Footer->setModel(&totals);
        view.resize(300, 200);
        for (int c = 0; c < kColumns; ++c)
            view.setColumnWidth(c, 120);
    }
    QList<int> order(QHeaderView* h) const
    {
        QList<int> o;
        for (int v = 0; v < h->count(); ++v)
            o << h->logicalIndex(v);
        return o;
    }
};

} // namespace

class tst_fmtreeview : public QObject
{
    Q_OBJECT
private slots:
    // The footer must follow every change of the main header: move, resize (also to 0), hide, scroll.
    void footerFollows_data()
    {
        QTest::addColumn<QString>("action");
        QTest::newRow("move 1 to 3") << "move";
        QTest::newRow("resize to 0") << "resize0";
        QTest::newRow("hide then move") << "hidemove";
        QTest::newRow("scroll") << "scroll";
    }
    void footerFollows()
    {
        QFETCH(QString, action);
        Table t;
        QHeaderView* header = t.view.Tree->header();
        QHeaderView* footer = t.view.Footer;
        QCOMPARE(footer->offset(), -2);
        if (action == "move") header->moveSection(1, 3);
        if (action == "resize0") header->resizeSection(2, 0);
        if (action == "hidemove") {
            t.view.hideColumn(1);
            header->moveSection(1, 4);
        }
        QCOMPARE(t.order(footer), t.order(header));
        for (int c = 0; c < kColumns; ++c) {
            QCOMPARE(footer->isSectionHidden(c), header->isSectionHidden(c));
            // A resize to 0 reaches the footer as 0 even where the header shows its minimum.
            const int want = action == "resize0" && c == 2 ? 0 : header->sectionSize(c);
            if (!header->isSectionHidden(c)) QCOMPARE(footer->sectionSize(c), want);
        }
        if (action == "scroll") {
            t.view.show();
            QVERIFY(QTest::qWaitForWindowExposed(&t.view));
            QScrollBar* bar = t.view.Tree->horizontalScrollBar();
            QVERIFY(bar->maximum() > 30);
            bar->setValue(30);
            QCOMPARE(footer->offset(), 28);
            bar->setValue(0);
            QCOMPARE(footer->offset(), -2);
        }
    }

    // syncFooter must bring a footer of any order, visibility and widths into line with the header.
    void syncFooter_data()
    {
        QTest::addColumn<QList<int>>("headerMoves"); // pairs of visual from, to
        QTest::addColumn<QList<int>>("footerMoves");
        QTest::addColumn<int>("hidden");
        QTest::newRow("footer reversed") << QList<int>{} << QList<int>{4, 0, 4, 1, 4, 2, 4, 3} << -1;
        QTest::newRow("both scrambled") << QList<int>{3, 0, 4, 1} << QList<int>{1, 3, 0, 2} << 0;
    }
    void syncFooter()
    {
        QFETCH(QList<int>, headerMoves);
        QFETCH(QList<int>, footerMoves);
        QFETCH(int, hidden);
        Table t;
        QHeaderView* header = t.view.Tree->header();
        QHeaderView* footer = t.view.Footer;
        // The footer's own state is scrambled with the connections cut, as after loading a layout.
        QSignalBlocker block(header);
        for (int i = 0; i + 1 < headerMoves.size(); i += 2)
            header->moveSection(headerMoves[i], headerMoves[i + 1]);
        for (int i = 0; i + 1 < footerMoves.size(); i += 2)
            footer->moveSection(footerMoves[i], footerMoves[i + 1]);
        for (int c = 0; c < kColumns; ++c)
            header->resizeSection(c, 30 + 10 * c);
        if (hidden >= 0) t.view.Tree->setColumnHidden(hidden, true);
        footer->hideSection(hidden == 0 ? 1 : 0);
        t.view.syncFooter();
        QCOMPARE(t.order(footer), t.order(header));
        for (int c = 0; c < kColumns; ++c) {
            QCOMPARE(footer->isSectionHidden(c), c == hidden);
            if (c != hidden) QCOMPARE(footer->sectionSize(c), 30 + 10 * c);
        }
    }

    // A right click or right drag must never change the selection; a left click still selects.
    void rightButtonKeepsSelection_data()
    {
        QTest::addColumn<int>("row");
        QTest::addColumn<bool>("drag");
        QTest::newRow("click unselected row") << 3 << false;
        QTest::newRow("click selected row") << 1 << false;
        QTest::newRow("drag over rows") << 4 << true;
    }
    void rightButtonKeepsSelection()
    {
        QFETCH(int, row);
        QFETCH(bool, drag);
        Table t;
        t.view.show();
        QVERIFY(QTest::qWaitForWindowExposed(&t.view));
        fmTreeViewWidget* tree = t.view.Tree;
        tree->selectionModel()->select(t.model.index(1, 0),
                                       QItemSelectionModel::ClearAndSelect | QItemSelectionModel::Rows);
        const QPoint at = tree->visualRect(t.model.index(row, 0)).center();
        if (drag) {
            QTest::mousePress(tree->viewport(), Qt::RightButton, {},
                              tree->visualRect(t.model.index(0, 0)).center());
            QMouseEvent move(QEvent::MouseMove, at, tree->viewport()->mapToGlobal(at), Qt::NoButton,
                             Qt::RightButton, {});
            QApplication::sendEvent(tree->viewport(), &move);
            QTest::mouseRelease(tree->viewport(), Qt::RightButton, {}, at);
        } else {
            QTest::mouseClick(tree->viewport(), Qt::RightButton, {}, at);
        }
        QCOMPARE(tree->selectionModel()->selectedRows(), QModelIndexList{t.model.index(1, 0)});
        QTest::mouseClick(tree->viewport(), Qt::LeftButton, {}, at);
        QCOMPARE(tree->selectionModel()->selectedRows(), QModelIndexList{t.model.index(row, 0)});
    }

    // The tree must paint its rows on the viewport (and nothing below the last row).
    void paintsRows()
    {
        Table t;
        t.view.show();
        QVERIFY(QTest::qWaitForWindowExposed(&t.view));
        fmTreeViewWidget* tree = t.view.Tree;
        const QImage img = tree->viewport()->grab().toImage();
        const QRgb base = img.pixel(img.width() - 1, img.height() - 1);
        auto inked = [&](const QRect& r) {
            int n = 0;
            for (int y = r.top(); y <= r.bottom(); ++y)
                for (int x = r.left(); x <= r.right(); ++x)
                    n += img.pixel(x, y) != base;
            return n;
        };
        const QRect last = tree->visualRect(t.model.index(5, 0)).intersected(img.rect());
        QVERIFY(inked(last) > 0);
        QCOMPARE(inked(QRect(0, last.bottom() + 2, img.width(), img.height() - last.bottom() - 2)), 0);
    }
};

QTEST_MAIN(tst_fmtreeview)
#include "tst_fmtreeview.moc"
