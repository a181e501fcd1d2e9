#pragma once
// fmTreeViewItemDelegate paints every cell of the tables: a background that may hold a small bar
// graph (fmtvBGbars), two thin cell lines in colours the model chooses, a soft shading, and a
// selection that comes from the model's colours, never from the style.

#include <QBrush>
#include <QItemDelegate>
#include <QPalette>
#include <QSizeF>
#include <QTextLayout>
#include <QTextOption>

struct fmtvBGbars;
class QIcon;

class fmTreeViewItemDelegate : public QItemDelegate
{
    Q_OBJECT
public:
    explicit fmTreeViewItemDelegate(QWidget* parent = nullptr);

    void paint(QPainter* painter, const QStyleOptionViewItem& option, const QModelIndex& index) const override;
    // All rows equally high: the small font size + 8 wide, + 9 high, whatever the cell holds.
    QSize sizeHint(const QStyleOptionViewItem& option, const QModelIndex& index) const override;

    // Natural size of `text` laid out in `rect`'s width (wrapped when the layout option says so),
    // rounded half up, with the text margin added at both ends.
    QRect textRectangle(QPainter* painter, const QRect& rect, const QFont& font, const QString& text) const;

protected:
    void drawDecoration(QPainter* painter, const QStyleOptionViewItem& option, const QRect& rect,
                        const QPixmap& pixmap) const override;
    void drawDecoration(QPainter* painter, const QStyleOptionViewItem& option, const QRect& rect,
                        const QIcon& icon) const;
    // Decoration part on the left, text part behind it. With `hint` the rectangles keep their
    // natural sizes; without, they are placed in option.rect.
    void doLayout(const QStyleOptionViewItem& option, QRect* decoration, QRect* text, bool hint) const;
    // Bounds a text is measured in: the cell, or unbounded width when wrapping is off.
    QRect textLayoutBounds(const QStyleOptionViewItem& option) const;
    // One layout pass of TextLayout: widest natural line and the sum of the line heights.
    QSizeF doTextLayout(int lineWidth) const;
    void drawBackground(QPainter* painter, const QStyleOptionViewItem& option, const QModelIndex& index) const;
    void drawShading(QPainter* painter, const QStyleOptionViewItem& option, const QModelIndex& index) const;

private:
    static void drawBars(QPainter* painter, const QStyleOptionViewItem& option, const fmtvBGbars& bars);

    mutable QTextLayout TextLayout;
    mutable QTextOption TextOption;
    // The option's palette with the model's text brush, kept for the next cell of the same colour.
    mutable QPalette TextPalette;
    mutable QBrush TextPaletteBrush;
    mutable qint64 TextPaletteSource = -1;
};
