#include "widgets/fmtreeview.h"

#include "widgets/fmstyle.h"
#include "widgets/fmtreeviewdelegate.h"

#include <QHeaderView>
#include <QHelpEvent>
#include <QIcon>
#include <QMouseEvent>
#include <QPainter>
#include <QScrollBar>
#include <QStyle>
#include <QToolTip>
#include <QVBoxLayout>

namespace {
// The footer's text stands two pixels right of the main header's; kept at construction and scroll.
constexpr int kFooterOffset = -2;
} // namespace

// ---- fmTreeViewWidget ----

fmTreeViewWidget::fmTreeViewWidget(QWidget* parent) : QTreeView(parent)
{
    auto* delegate = new fmTreeViewItemDelegate(this); // owned by this widget through QObject
    delegate->setClipping(false);
    setItemDelegate(delegate);
    HandCursorEnabled = false;
    HandCursorShown = false;
}

void fmTreeViewWidget::addHandCursorColumn(const int& column)
{
    HandCursorEnabled = true;
    HandCursorColumns.append(column);
    setAttribute(Qt::WA_MouseTracking, true);
}

// The right button goes to the plain scroll area, past the item view: a right click never
// selects or clears, so a context menu acts on what was selected before.
void fmTreeViewWidget::mousePressEvent(QMouseEvent* event)
{
    if (event->button() == Qt::RightButton) {
        QAbstractScrollArea::mousePressEvent(event);
        return;
    }
    QTreeView::mousePressEvent(event);
}

void fmTreeViewWidget::mouseReleaseEvent(QMouseEvent* event)
{
    if (event->button() == Qt::RightButton) {
        QAbstractScrollArea::mouseReleaseEvent(event);
        return;
    }
    QTreeView::mouseReleaseEvent(event);
}

void fmTreeViewWidget::mouseMoveEvent(QMouseEvent* event)
{
    if (event->buttons() & Qt::RightButton) {
        QAbstractScrollArea::mouseMoveEvent(event);
        return;
    }
    if (event->buttons() == Qt::NoButton) {
        // Swallowed in every case: a hover must never repaint rows of a table this big.
        if (!HandCursorEnabled) return;
        const QModelIndex idx = indexAt(event->position().toPoint());
        if (!idx.isValid()) return;
        const bool want = HandCursorColumns.contains(idx.column());
        if (want == HandCursorShown) return;
        HandCursorShown = want;
        setCursor(want ? Qt::PointingHandCursor : Qt::ArrowCursor);
        return;
    }
    QTreeView::mouseMoveEvent(event);
}

// Only the rows: no drop indicator, no rubber band.
void fmTreeViewWidget::paintEvent(QPaintEvent* event)
{
    QPainter painter(viewport());
    drawTree(&painter, event->region());
}

bool fmTreeViewWidget::viewportEvent(QEvent* event)
{
    switch (event->type()) {
    case QEvent::HoverEnter:
    case QEvent::HoverLeave:
    case QEvent::HoverMove:
        return true;
    case QEvent::ToolTip: {
        const auto* help = static_cast<QHelpEvent*>(event);
        const QModelIndex index = indexAt(help->pos());
        const QString text = cutText(index);
        if (text.isEmpty())
            QToolTip::hideText();
        else
            QToolTip::showText(help->globalPos(), text, viewport(), visualRect(index));
        return true;
    }
    default:
        return QAbstractItemView::viewportEvent(event);
    }
}

QString fmTreeViewWidget::cutText(const QModelIndex& index) const
{
    if (!index.isValid()) return QString();
    const QString text = index.data(Qt::DisplayRole).toString();
    if (text.isEmpty()) return QString();
    QFont font = this->font();
    const QVariant role = index.data(Qt::FontRole);
    if (role.isValid()) font = qvariant_cast<QFont>(role).resolve(font);
    // The delegate's text margin at both ends, as it lays the text out.
    const int margin = 2 * (style()->pixelMetric(QStyle::PM_FocusFrameHMargin, nullptr, this) + 1);
    int room = visualRect(index).width() - margin;
    if (index.data(Qt::DecorationRole).userType() == QMetaType::QIcon)
        room -= iconSize().isValid() ? iconSize().width() : 16;
    return QFontMetrics(font).horizontalAdvance(text) > room ? text : QString();
}

// ---- fmTreeView ----

fmTreeView::fmTreeView(QWidget* parent) : QWidget(parent)
{
    auto* layout = new QVBoxLayout(this);
    layout->setObjectName(QStringLiteral("vboxLayout"));
    layout->setSpacing(0);
    layout->setContentsMargins(0, 0, 0, 0);

    Tree = new fmTreeViewWidget(this);
    Tree->setFrameShadow(QFrame::Plain);
    Tree->setFrameShape(QFrame::NoFrame);
    Tree->setEditTriggers(QAbstractItemView::NoEditTriggers);
    Tree->setTabKeyNavigation(true);
    Tree->setDragDropMode(QAbstractItemView::NoDragDrop);
    Tree->setSelectionMode(QAbstractItemView::ExtendedSelection);
    Tree->setIndentation(15);
    Tree->setUniformRowHeights(true);
    Tree->setSortingEnabled(true);
    Tree->setExpandsOnDoubleClick(false);
    Tree->setContextMenuPolicy(Qt::CustomContextMenu);

    QHeaderView* header = Tree->header();
    header->setMinimumSectionSize(15);
    header->setMinimumHeight(20);
    header->setMaximumHeight(20);
    header->setFrameShadow(QFrame::Plain);
    header->setFrameShape(QFrame::NoFrame);

    layout->addWidget(Tree);

    auto* footer = new QHeaderView(Qt::Horizontal, this);
    footer->setObjectName(QStringLiteral("myFooter"));
    footer->setMinimumSectionSize(15);
    footer->setFixedHeight(17);
    footer->setOffset(kFooterOffset);
    footer->setSectionResizeMode(QHeaderView::Fixed);
    footer->setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
    footer->setSectionsClickable(false);
    footer->setSectionsMovable(false);
    footer->setFrameShadow(QFrame::Plain);
    footer->setFrameShape(QFrame::NoFrame);
    layout->addWidget(footer);
    Footer = footer;

    // The header object outlives a change of the tree's model, so these stay valid then.
    connect(header, &QHeaderView::sectionResized, this, &fmTreeView::SectionResized);
    connect(header, &QHeaderView::sectionMoved, this, &fmTreeView::sectionMoved);
    connect(Tree->horizontalScrollBar(), &QScrollBar::valueChanged, this, &fmTreeView::ScrollHorizontal);

    fmStyle::setFMFontSmaller(this);
}

void fmTreeView::hideColumn(int column)
{
    Tree->hideColumn(column);
    if (Footer) Footer->hideSection(column);
}

void fmTreeView::showColumn(int column)
{
    Tree->showColumn(column);
    if (Footer) Footer->showSection(column);
}

void fmTreeView::setColumnHidden(int column, bool hide)
{
    Tree->setColumnHidden(column, hide);
    if (Footer) Footer->setSectionHidden(column, hide);
}

bool fmTreeView::isColumnHidden(int column) const
{
    return Tree->isColumnHidden(column);
}
void fmTreeView::setColumnWidth(int column, int width)
{
    Tree->setColumnWidth(column, width);
}
int fmTreeView::columnWidth(int column) const
{
    return Tree->columnWidth(column);
}
bool fmTreeView::isExpanded(const QModelIndex& index) const
{
    return Tree->isExpanded(index);
}
void fmTreeView::setExpanded(const QModelIndex& index, bool expanded)
{
    Tree->setExpanded(index, expanded);
}
void fmTreeView::setSelectionModel(QItemSelectionModel* selectionModel)
{
    Tree->setSelectionModel(selectionModel);
}

void fmTreeView::syncFooter()
{
    if (!Footer || !Tree->model()) return;
    QHeaderView* header = Tree->header();
    // Order first, by visual position: each step puts the right section at position v and only
    // shifts the ones behind it, so the footer ends in the header's order whatever it started in.
    for (int v = 0; v < header->count() && v < Footer->count(); ++v) {
        const int logical = header->logicalIndex(v);
        const int from = Footer->visualIndex(logical);
        if (from >= 0 && from != v) Footer->moveSection(from, v);
    }
    // The column count is asked anew each time: the owner may change the model meanwhile.
    for (int column = 0; column < Tree->model()->columnCount(); ++column) {
        const int headerVisual = header->visualIndex(column);
        const int footerVisual = Footer->visualIndex(column);
        if (headerVisual >= 0 && footerVisual >= 0 && headerVisual != footerVisual &&
            headerVisual < Footer->count())
            Footer->moveSection(footerVisual, headerVisual);
        if (Tree->isColumnHidden(column)) {
            Footer->hideSection(column);
        } else {
            Footer->showSection(column);
            Footer->resizeSection(column, Tree->columnWidth(column));
        }
    }
}

void fmTreeView::sectionMoved(int logical, int oldVisual, int newVisual)
{
    Q_UNUSED(logical);
    if (Footer) Footer->moveSection(oldVisual, newVisual);
}

void fmTreeView::SectionResized(int logical, int oldSize, int newSize)
{
    Q_UNUSED(oldSize);
    if (Footer) Footer->resizeSection(logical, newSize);
}

void fmTreeView::ScrollHorizontal(int value)
{
    if (Footer) Footer->setOffset(value + kFooterOffset);
}
