#include "widgets/fmstyle.h"
#include "widgets/fmtreeviewdelegate.h"
#include "widgets/fmtreeviewtypes.h"

#include <QPainter>
#include <QStandardItemModel>
#include <QTest>

#include <memory>

using namespace Qt::StringLiterals;

namespace {

constexpr QRgb kCanvas = 0xFF808080; // what the image holds before the delegate paints
constexpr QRgb kLeftLine = 0xFFEEEEEE;

// Colour of item i in a graph; distinct per item so a pixel tells which item painted it.
QRgb itemColor(int i)
{
    return qRgb(0x40, (i + 1) & 0xFF, ((i + 1) >> 8) * 16 + 1);
}

using Roles = QList<QPair<int, QVariant>>;

// Paints one cell of w x h through the delegate, with the model answering `roles`.
QImage paintCell(int w, int h, const Roles& roles, QStyle::State state = QStyle::State_Enabled)
{
    QStandardItemModel model(1, 1);
    for (const auto& [role, value] : roles)
        model.setData(model.index(0, 0), value, role);
    fmTreeViewItemDelegate delegate;
    QImage image(w, h, QImage::Format_ARGB32);
    image.fill(kCanvas);
    QPainter painter(&image);
    QStyleOptionViewItem option;
    option.rect = QRect(0, 0, w, h);
    option.state = state | QStyle::State_Active;
    option.palette.setColor(QPalette::Highlight, Qt::blue);
    option.palette.setColor(QPalette::HighlightedText, Qt::blue);
    delegate.paint(&painter, option, model.index(0, 0));
    return image;
}

QVariant bars(int mode, const QList<unsigned long long>& values, int count)
{
    auto b = std::make_unique<fmtvBGbars>();
    b->Mode = mode;
    b->Count = count;
    for (int i = 0; i < values.size(); ++i)
        b->Values[i] = values[i];
    return QVariant::fromValue(*b);
}

} // namespace

class tst_fmtreeviewdelegate : public QObject
{
    Q_OBJECT
private slots:
    // Catches a wrong choice among the strip layouts or items spilling beyond Count.
    void stripLayouts_data()
    {
        QTest::addColumn<int>("count");
        QTest::addColumn<QList<int>>("probe"); // triples x, y, item (-1: untouched)
        QTest::newRow("3 lines an item") << 5 << QList<int>{5, 0, 0, 5, 2, 0, 5, 3, 1, 5, 14, 4, 5, 15, -1};
        QTest::newRow("1 line an item") << 15 << QList<int>{5, 0, 0, 5, 14, 14, 5, 15, -1};
        QTest::newRow("two a line") << 29 << QList<int>{7, 0, 0, 8, 0, 1, 19, 0, 1, 7, 14, 28, 8, 14, -1};
        QTest::newRow("three a line")
            << 40 << QList<int>{1, 0, -1, 2, 0, 0, 6, 0, 1, 13, 0, 2, 14, 0, -1, 2, 13, 39};
        QTest::newRow("seven a line")
            << 100 << QList<int>{1, 0, 0, 13, 0, 6, 14, 0, 6, 15, 0, -1, 1, 14, 98, 3, 14, 99, 5, 14, -1};
        QTest::newRow("more than 7h is cut at h lines") << 200 << QList<int>{14, 14, 104, 1, 15, -1};
    }
    void stripLayouts()
    {
        QFETCH(int, count);
        QFETCH(QList<int>, probe);
        QList<unsigned long long> values;
        for (int i = 0; i < count; ++i)
            values << (0xFF000000u | itemColor(i));
        const QImage image = paintCell(20, 16, {{fmtvRole::BGbars, bars(0, values, count)}});
        for (int k = 0; k + 2 < probe.size(); k += 3) {
            const QRgb expected = probe[k + 2] < 0 ? kCanvas : itemColor(probe[k + 2]);
            QVERIFY2(image.pixel(probe[k], probe[k + 1]) == expected,
                     qPrintable(u"x %1 y %2"_s.arg(probe[k]).arg(probe[k + 1])));
        }
    }

    // Catches off-by-one lengths (a partial bar that looks full, a small value that vanishes), a
    // wrong correction when two percents fill the cell together, a blend other than the red-only mix
    // or segments out of order, and columns painted beyond x + 13.
    void barColumns_data()
    {
        QTest::addColumn<int>("height");
        QTest::addColumn<QVariant>("graph");
        QTest::addColumn<QList<int>>("xs");    // pixel columns that look alike
        QTest::addColumn<QList<uint>>("runs"); // colour, rows, colour, rows... from the top
        const uint R = 0xFFFF0000, G = 0xFF00FF00, B = 0xFF0000FF, C8 = 0xFFC80000;
        auto percent = [](int p) { return bars(1, {quint64(p), 0xFFFF0000, 0xFF0000FF}, 1); };
        auto two = [](int a, int b) {
            return bars(3, {quint64(a), quint64(b), 0xFFFF0000, 0xFF00FF00, 0xFF0000FF}, 5);
        };
        auto mixed = [](int count) { // items of 20 % and 80 % in turn
            QList<unsigned long long> values;
            for (int i = 0; i < count; ++i)
                values << (i % 2 ? 80 : 20) << 0xFFC80000 << 0xFF0000FF;
            return bars(1, values, count);
        };
        QList<int> all;
        for (int x = 1; x <= 13; ++x)
            all << x;
        QTest::newRow("1% shows 2 lines") << 15 << percent(1) << all << QList<uint>{R, 2, B, 13};
        QTest::newRow("0% shows none") << 15 << percent(0) << all << QList<uint>{B, 15};
        QTest::newRow("99% is H-3") << 15 << percent(99) << all << QList<uint>{R, 12, B, 3};
        QTest::newRow("100% is H-1") << 15 << percent(100) << all << QList<uint>{R, 14, B, 1};
        QTest::newRow("over 100% as 100%") << 15 << percent(250) << all << QList<uint>{R, 14, B, 1};
        QTest::newRow("3-pixel cell, 1%") << 3 << percent(1) << all << QList<uint>{B, 3};
        QTest::newRow("nothing beyond x + 13")
            << 15 << percent(100) << QList<int>{14} << QList<uint>{kCanvas, 15};
        QTest::newRow("two: 1% becomes 2") << 15 << two(1, 0) << all << QList<uint>{R, 2, B, 13};
        QTest::newRow("two: a of 1 becomes 2") << 15 << two(10, 0) << all << QList<uint>{R, 2, B, 13};
        QTest::newRow("two: complete") << 15 << two(60, 40) << all << QList<uint>{R, 9, G, 5, B, 1};
        QTest::newRow("two: negative a moves into b") << 15 << two(0, 99) << all << QList<uint>{G, 12, B, 3};
        QTest::newRow("mix of two a column")
            << 15 << mixed(15) << QList<int>{1} << QList<uint>{C8, 2, qRgb(210, 0, 0), 9, B, 4};
        QTest::newRow("mix, the last item pairs with itself")
            << 15 << mixed(15) << QList<int>{13} << QList<uint>{C8, 2, B, 13};
        QTest::newRow("mix of three a column")
            << 15 << mixed(29) << QList<int>{1} << QList<uint>{C8, 2, qRgb(207, 0, 0), 9, B, 4};
    }
    void barColumns()
    {
        QFETCH(int, height);
        QFETCH(QVariant, graph);
        QFETCH(QList<int>, xs);
        QFETCH(QList<uint>, runs);
        const QImage image = paintCell(20, height, {{fmtvRole::BGbars, graph}});
        for (int x : xs) {
            int y = 0;
            for (int k = 0; k + 1 < runs.size(); k += 2)
                for (int n = 0; n < int(runs[k + 1]); ++n, ++y)
                    QVERIFY2(image.pixel(x, y) == runs[k], qPrintable(u"x %1 y %2"_s.arg(x).arg(y)));
            QCOMPARE(y, height);
        }
    }

    // Catches graphs painted from no items, in too small cells or in unknown modes, and a role 8
    // fill under a graph.
    void emptyAndInvalidGraphs_data()
    {
        QTest::addColumn<int>("mode");
        QTest::addColumn<int>("count");
        QTest::addColumn<int>("height");
        QTest::newRow("mode 0, no items") << 0 << 0 << 15;
        QTest::newRow("unknown mode") << 7 << 3 << 15;
        QTest::newRow("negative count") << 1 << -4 << 15;
        QTest::newRow("2-pixel cell") << 1 << 1 << 2;
    }
    void emptyAndInvalidGraphs()
    {
        QFETCH(int, mode);
        QFETCH(int, count);
        QFETCH(int, height);
        const QImage image = paintCell(20, height,
                                       {{fmtvRole::BGbars, bars(mode, {50, 0xFFFF0000, 0xFF00FF00}, count)},
                                        {Qt::BackgroundRole, QBrush(Qt::yellow)}});
        for (int y = 0; y < height; ++y) {
            QCOMPARE(image.pixel(0, y), kLeftLine);
            for (int x = 1; x < 20; ++x)
                QCOMPARE(image.pixel(x, y), kCanvas);
        }
    }

    // Catches a missing default left line, a line drawn despite alpha 0, and a misplaced top line.
    void cellLines_data()
    {
        QTest::addColumn<Roles>("roles");
        QTest::addColumn<QRgb>("left");
        QTest::addColumn<QRgb>("top");
        QTest::newRow("no answers") << Roles{} << kLeftLine << kCanvas;
        QTest::newRow("left red") << Roles{{fmtvRole::TopLineColor, QColor(Qt::red)}} << 0xFFFF0000u
                                  << kCanvas;
        QTest::newRow("left suppressed")
            << Roles{{fmtvRole::TopLineColor, QColor(0, 0, 0, 0)}} << kCanvas << kCanvas;
        QTest::newRow("top green") << Roles{{fmtvRole::BottomLineColor, QColor(Qt::green)}} << kLeftLine
                                   << 0xFF00FF00u;
        QTest::newRow("top alpha 0") << Roles{{fmtvRole::BottomLineColor, QColor(0, 255, 0, 0)}} << kLeftLine
                                     << kCanvas;
        QTest::newRow("background fill")
            << Roles{{Qt::BackgroundRole, QBrush(Qt::yellow)}} << kLeftLine << 0xFFFFFF00u;
    }
    void cellLines()
    {
        QFETCH(Roles, roles);
        QFETCH(QRgb, left);
        QFETCH(QRgb, top);
        const QImage image = paintCell(20, 15, roles);
        QCOMPARE(image.pixel(0, 7), left);
        QCOMPARE(image.pixel(10, 0), top);
    }

    // Catches the style's highlight painting a selected row instead of the model's colours.
    void selectedKeepsModelColours()
    {
        const QImage image = paintCell(80, 20,
                                       {{Qt::DisplayRole, u"WWWWWW"_s},
                                        {Qt::BackgroundRole, QBrush(Qt::black)},
                                        {Qt::ForegroundRole, QBrush(Qt::white)}},
                                       QStyle::State_Enabled | QStyle::State_Selected);
        int white = 0;
        for (int y = 0; y < image.height(); ++y) {
            for (int x = 1; x < image.width(); ++x) {
                const QColor c = image.pixelColor(x, y);
                QVERIFY2(c.red() == c.green() && c.green() == c.blue(),
                         "highlight colour leaked into the cell");
                white += c.red() > 200;
            }
        }
        QVERIFY(white > 10);
    }

    // Catches one cell's text colour carried over to the next cell painted by the same delegate.
    void foregroundPerCell()
    {
        QStandardItemModel model(3, 1);
        const QColor colors[3] = {Qt::red, Qt::blue, Qt::red};
        for (int r = 0; r < 3; ++r) {
            model.setData(model.index(r, 0), u"WWWWWW"_s);
            model.setData(model.index(r, 0), QBrush(colors[r]), Qt::ForegroundRole);
        }
        fmTreeViewItemDelegate delegate;
        QImage image(80, 60, QImage::Format_ARGB32);
        image.fill(Qt::white);
        QPainter painter(&image);
        QStyleOptionViewItem option;
        option.state = QStyle::State_Enabled | QStyle::State_Active;
        for (int r = 0; r < 3; ++r) {
            option.rect = QRect(0, r * 20, 80, 20);
            delegate.paint(&painter, option, model.index(r, 0));
        }
        for (int r = 0; r < 3; ++r) {
            int inColor = 0;
            int other = 0;
            for (int y = r * 20; y < r * 20 + 20; ++y) {
                for (int x = 1; x < 80; ++x) {
                    const QColor c = image.pixelColor(x, y);
                    if (c == Qt::white) continue;
                    const bool redish = c.red() > c.blue();
                    (redish == (colors[r] == Qt::red) ? inColor : other) += 1;
                }
            }
            QVERIFY(inColor > 10);
            QCOMPARE(other, 0);
        }
    }

    // Catches shading drawn without its flag, with the wrong strength, or not over the cell.
    void shading_data()
    {
        QTest::addColumn<uint>("flags");
        QTest::addColumn<int>("rightGrey"); // grey level of the right edge over white
        QTest::newRow("none") << 0u << 255;
        QTest::newRow("end node") << 1u << 242;
        QTest::newRow("group node") << 5u << 223;
        QTest::newRow("group bit without draw bit") << 4u << 255;
    }
    void shading()
    {
        QFETCH(uint, flags);
        QFETCH(int, rightGrey);
        const QImage image = paintCell(20, 15,
                                       {{fmtvRole::Shading, QVariant::fromValue(fmtvShading{flags})},
                                        {Qt::BackgroundRole, QBrush(Qt::white)}});
        QVERIFY(qAbs(qRed(image.pixel(19, 5)) - rightGrey) <= 1);
        QCOMPARE(image.pixel(1, 5), 0xFFFFFFFFu); // white over white
        QVERIFY(qRed(image.pixel(0, 5)) <= 0xEE);
    }

    // Catches a size hint that depends on cell content or ignores the small font size.
    void sizeHintFollowsSmallFont()
    {
        fmTreeViewItemDelegate delegate;
        QStandardItemModel model(1, 1);
        model.setData(model.index(0, 0), u"a very long text that would need a wide cell"_s);
        const int saved = fmStyle::fontSizeSmall();
        fmStyle::setFontSizeSmall(10);
        QCOMPARE(delegate.sizeHint(QStyleOptionViewItem(), model.index(0, 0)), QSize(18, 19));
        fmStyle::setFontSizeSmall(2);
        QCOMPARE(delegate.sizeHint(QStyleOptionViewItem(), QModelIndex()), QSize(12, 13));
        fmStyle::setFontSizeSmall(saved);
    }
};

QTEST_MAIN(tst_fmtreeviewdelegate)
#include "tst_fmtreeviewdelegate.moc"
