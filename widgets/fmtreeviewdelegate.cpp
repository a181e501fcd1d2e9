#include "widgets/fmtreeviewdelegate.h"

// Placeholder until the painting lands: a plain QItemDelegate.
fmTreeViewItemDelegate::fmTreeViewItemDelegate(QWidget* parent) : QItemDelegate(parent) {}

void fmTreeViewItemDelegate::paint(QPainter* painter, const QStyleOptionViewItem& option,
                                   const QModelIndex& index) const
{
    QItemDelegate::paint(painter, option, index);
}

QSize fmTreeViewItemDelegate::sizeHint(const QStyleOptionViewItem& option, const QModelIndex& index) const
{
    return QItemDelegate::sizeHint(option, index);
}

void fmTreeViewItemDelegate::drawDecoration(QPainter* painter, const QStyleOptionViewItem& option,
                                            const QRect& rect, const QPixmap& pixmap) const
{
    QItemDelegate::drawDecoration(painter, option, rect, pixmap);
}

void fmTreeViewItemDelegate::drawBackground(QPainter*, const QStyleOptionViewItem&, const QModelIndex&) const {}
void fmTreeViewItemDelegate::drawShading(QPainter*, const QStyleOptionViewItem&, const QModelIndex&) const {}
