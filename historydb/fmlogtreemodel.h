#pragma once
// The small tree of log pages of the first selected job ("Job Log", "Errors", "Frames Send"),
// each with its number of entries.

#include <QAbstractItemModel>
#include <QList>
#include <QString>

class __FM;
class QTreeView;
namespace fmJ {
struct _jobsHistoryDB;
}

class fmuiTreeViewLogNode
{
public:
    enum Type { Root = 0, Page = 1 };

    fmuiTreeViewLogNode(Type type, fmuiTreeViewLogNode* parent, const int& id, const QString& name, int size);
    ~fmuiTreeViewLogNode(); // deletes the children
    fmuiTreeViewLogNode(const fmuiTreeViewLogNode&) = delete;
    fmuiTreeViewLogNode& operator=(const fmuiTreeViewLogNode&) = delete;

    fmuiTreeViewLogNode* Parent;
    QList<fmuiTreeViewLogNode*> Children; // owning
    int ID;
    Type NodeType;
    QString Name; // the page's name; LogSelectionChanged finds the page by it
    int Size;     // entries; 0 or less shows no number
};

class fmuiTreeViewLogModel : public QAbstractItemModel
{
    Q_OBJECT
public:
    fmuiTreeViewLogModel(QTreeView*& view, QObject* parent);
    ~fmuiTreeViewLogModel() override;

    QModelIndex index(int row, int column, const QModelIndex& parent = QModelIndex()) const override;
    QModelIndex index(fmuiTreeViewLogNode* node) const;
    fmuiTreeViewLogNode* nodeFromIndex(const QModelIndex& index) const;
    QModelIndex parent(const QModelIndex& index) const override;
    int rowCount(const QModelIndex& parent = QModelIndex()) const override;
    int columnCount(const QModelIndex& parent = QModelIndex()) const override;
    QVariant data(const QModelIndex& index, int role = Qt::DisplayRole) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role = Qt::DisplayRole) const override;

    // Pages of `job` (none for null), then a reset and the whole tree expanded.
    void CreateLogTree(__FM& app, fmJ::_jobsHistoryDB* job);

    fmuiTreeViewLogNode* RootNode;
    QTreeView*& View;
};

void initLogTree(QTreeView*& tree, fmuiTreeViewLogModel*& model, QObject* parent);
