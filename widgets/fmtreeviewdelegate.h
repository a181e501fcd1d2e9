#pragma once
// fmTreeViewItemDelegate paints every cell of the tables: a background that may hold a small bar
// graph (fmtvBGbars), two thin cell lines in colours the model chooses, a soft shading, and a
// selection that comes from the model's colours, never from the style.

#include <QItemDelegate>
#include <QTextLayout>
#include <QTextOption>

class fmTreeViewItemDelegate : public QItemDelegate
{
    Q_OBJECT
public:
    explicit fmTreeViewItemDelegate(QWidget* parent = nullptr);

    void paint(QPainter* painter, const QStyleOptionViewItem& option, const QModelIndex& index) const override;
    QSize sizeHint(const QStyleOptionViewItem& option, const QModelIndex& index) const override;

protected:
    void drawDecoration(QPainter* painter, const QStyleOptionViewItem& option, const QRect& rect,
                        const QPixmap& pixmap) const override;
    void drawBackground(QPainter* painter, const QStyleOptionViewItem& option, const QModelIndex& index) const;
    void drawShading(QPainter* painter, const QStyleOptionViewItem& option, const QModelIndex& index) const;

private:
    mutable QTextLayout TextLayout;
    mutable QTextOption TextOption;
};
