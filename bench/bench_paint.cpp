// Speed of the item delegate: every cell of a 15000-row table painted once, for plain text cells and
// for each kind of bar graph, and one screenful (60 rows x 12 columns) of text cells. Prints one
// figure a line, "name: value unit". Runs on the offscreen platform unless told otherwise.

#include "widgets/fmtreeviewdelegate.h"
#include "widgets/fmtreeviewtypes.h"

#include <QAbstractTableModel>
#include <QApplication>
#include <QBrush>
#include <QColor>
#include <QElapsedTimer>
#include <QImage>
#include <QPainter>

#include <cstdio>
#include <memory>

namespace {

constexpr int Rows = 15000;
constexpr int CellW = 80;
constexpr int CellH = 16;

// Answers what the jobs table answers for a cell: text, colours, lines, shading, maybe a graph.
class BenchModel : public QAbstractTableModel
{
public:
    explicit BenchModel(int mode) : Mode(mode)
    {
        Bars->Mode = mode;
        Bars->Count = mode == 0 ? 12 : mode == 1 ? 30 : 5;
        for (int i = 0; i < fmtvBGbars::MaxValues; ++i) Bars->Values[i] = i % 3 == 0 ? (i * 7) % 101 : 0xFF336699;
        BarsValue = QVariant::fromValue(*Bars);
    }
    int rowCount(const QModelIndex& = QModelIndex()) const override { return Rows; }
    int columnCount(const QModelIndex& = QModelIndex()) const override { return 1; }
    QVariant data(const QModelIndex& index, int role) const override
    {
        switch (role) {
        case Qt::DisplayRole: return Mode < 0 ? QVariant(QStringLiteral("job_%1_comp_v012").arg(index.row())) : QVariant();
        case Qt::BackgroundRole: return QBrush(index.row() % 2 ? QColor(0xF0F0F3) : QColor(0xE4E4E8));
        case Qt::ForegroundRole: return QBrush(Qt::black);
        case fmtvRole::BGbars: return Mode < 0 ? QVariant() : BarsValue;
        case fmtvRole::TopLineColor: return QColor(0xDDDDDD);
        case fmtvRole::Shading: return QVariant::fromValue(fmtvShading{index.row() % 7 == 0 ? 5u : 1u});
        default: return QVariant();
        }
    }

private:
    int Mode; // -1: text cells
    std::unique_ptr<fmtvBGbars> Bars = std::make_unique<fmtvBGbars>();
    QVariant BarsValue; // built once, as a model that caches its graphs hands it out
};

double paintRows(const QAbstractItemModel& model, int rows, int columns)
{
    fmTreeViewItemDelegate delegate;
    delegate.setClipping(false);
    QImage image(CellW * columns, CellH * 64, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::white);
    QPainter painter(&image);
    QStyleOptionViewItem option;
    option.state = QStyle::State_Enabled | QStyle::State_Active;
    QElapsedTimer timer;
    timer.start();
    for (int r = 0; r < rows; ++r) {
        for (int c = 0; c < columns; ++c) {
            option.rect = QRect(c * CellW, (r % 64) * CellH, CellW, CellH);
            delegate.paint(&painter, option, model.index(r, 0));
        }
    }
    return timer.nsecsElapsed() / 1e6;
}

} // namespace

int main(int argc, char** argv)
{
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app(argc, argv);

    const struct
    {
        int Mode;
        const char* Name;
    } kinds[] = {{-1, "text"}, {0, "strips"}, {1, "percent columns"}, {2, "counts"}, {3, "two percents"}};
    for (const auto& kind : kinds) {
        BenchModel model(kind.Mode);
        const double ms = paintRows(model, Rows, 1);
        std::printf("paint %d %s cells: %.1f ms (%.2f us a cell)\n", Rows, kind.Name, ms, ms * 1000.0 / Rows);
    }
    BenchModel text(-1);
    double best = 1e9;
    for (int i = 0; i < 5; ++i) best = std::min(best, paintRows(text, 60, 12));
    std::printf("paint one screen of 60 x 12 text cells: %.2f ms\n", best);
    return 0;
}
