#pragma once
// fmTreeView: a tree widget with a one-line footer header under it that shows totals per column
// and is kept exactly under the main header's sections (resize, move, hide, horizontal scroll).

#include <QHash>
#include <QTreeView>
#include <QWidget>

class QHeaderView;
class QItemSelectionModel;

class fmTreeViewWidget : public QTreeView
{
    Q_OBJECT
public:
    explicit fmTreeViewWidget(QWidget* parent = nullptr);

    // Columns over which the mouse shows a pointing hand; turns on mouse tracking.
    void addHandCursorColumn(const int& column);

    // How a column's text is cut when it does not fit; the tree's elide mode for other columns.
    void setColumnElideMode(int column, Qt::TextElideMode mode) { ColumnElide.insert(column, mode); }
    Qt::TextElideMode elideModeFor(int column) const { return ColumnElide.value(column, textElideMode()); }
    // The full text of a cell that does not fit its column, for its tooltip; empty when it fits.
    QString cutText(const QModelIndex& index) const;

    bool HandCursorEnabled = false;
    QList<int> HandCursorColumns;
    bool HandCursorShown = false;

protected:
    void mousePressEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void paintEvent(QPaintEvent* event) override;
    bool viewportEvent(QEvent* event) override;

private:
    QHash<int, Qt::TextElideMode> ColumnElide;
};

class fmTreeView : public QWidget
{
    Q_OBJECT
public:
    explicit fmTreeView(QWidget* parent = nullptr);

    fmTreeViewWidget* Tree = nullptr;
    QHeaderView* Footer = nullptr; // object name "myFooter"; may be null while constructing

    void hideColumn(int column);
    void showColumn(int column);
    void setColumnHidden(int column, bool hide);
    bool isColumnHidden(int column) const;
    void setColumnWidth(int column, int width);
    int columnWidth(int column) const;
    bool isExpanded(const QModelIndex& index) const;
    void setExpanded(const QModelIndex& index, bool expanded);
    void setSelectionModel(QItemSelectionModel* selectionModel);
    // Brings the footer's section order, visibility and widths in line with the main header.
    void syncFooter();

public slots:
    void sectionMoved(int logical, int oldVisual, int newVisual);
    void SectionResized(int logical, int oldSize, int newSize);
    void ScrollHorizontal(int value);
};
