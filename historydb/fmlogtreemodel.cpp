#include "historydb/fmlogtreemodel.h"

#include "jobs/fmjobhistory.h"

#include <QItemSelectionModel>
#include <QTreeView>

#include <algorithm>
#include <cstring>
#include <iterator>

namespace {
constexpr int LogColumns = 2;
}

fmuiTreeViewLogNode::fmuiTreeViewLogNode(Type type, fmuiTreeViewLogNode* parent, const int& id,
                                         const QString& name, int size)
    : Parent(parent), ID(id), NodeType(type), Name(name), Size(size)
{
}

fmuiTreeViewLogNode::~fmuiTreeViewLogNode()
{
    qDeleteAll(Children);
}

fmuiTreeViewLogModel::fmuiTreeViewLogModel(QTreeView*& view, QObject* parent)
    : QAbstractItemModel(parent),
      RootNode(new fmuiTreeViewLogNode(fmuiTreeViewLogNode::Root, nullptr, 0, QStringLiteral("root"), 0)),
      View(view)
{
}

fmuiTreeViewLogModel::~fmuiTreeViewLogModel()
{
    delete RootNode;
}

fmuiTreeViewLogNode* fmuiTreeViewLogModel::nodeFromIndex(const QModelIndex& index) const
{
    if (index.isValid() && index.model() == this)
        return static_cast<fmuiTreeViewLogNode*>(index.internalPointer());
    return RootNode;
}

QModelIndex fmuiTreeViewLogModel::index(int row, int column, const QModelIndex& parent) const
{
    const fmuiTreeViewLogNode* p = nodeFromIndex(parent);
    if (!p || row < 0 || column < 0 || column >= LogColumns || row >= p->Children.size())
        return QModelIndex();
    return createIndex(row, column, p->Children[row]);
}

QModelIndex fmuiTreeViewLogModel::index(fmuiTreeViewLogNode* node) const
{
    if (!node || !node->Parent) return QModelIndex();
    const qsizetype row = node->Parent->Children.indexOf(node);
    if (row < 0) return QModelIndex();
    return createIndex(int(row), 0, node);
}

QModelIndex fmuiTreeViewLogModel::parent(const QModelIndex& index) const
{
    const fmuiTreeViewLogNode* node = index.isValid() ? nodeFromIndex(index) : nullptr;
    if (!node || !node->Parent || node->Parent == RootNode) return QModelIndex();
    return this->index(node->Parent);
}

int fmuiTreeViewLogModel::rowCount(const QModelIndex& parent) const
{
    if (parent.column() > 0) return 0;
    const fmuiTreeViewLogNode* node = nodeFromIndex(parent);
    return node ? int(node->Children.size()) : 0;
}

int fmuiTreeViewLogModel::columnCount(const QModelIndex&) const
{
    return LogColumns;
}

QVariant fmuiTreeViewLogModel::data(const QModelIndex& index, int role) const
{
    if (role != Qt::DisplayRole || !index.isValid()) return QVariant();
    const fmuiTreeViewLogNode* node = nodeFromIndex(index);
    if (!node || node == RootNode) return QVariant();
    if (index.column() == 0) return node->Name;
    if (index.column() == 1 && node->Size > 0) return QString::number(node->Size);
    return QVariant();
}

QVariant fmuiTreeViewLogModel::headerData(int section, Qt::Orientation orientation, int role) const
{
    if (orientation != Qt::Horizontal || role != Qt::DisplayRole) return QVariant();
    if (section == 0) return QString();
    if (section == 1) return QStringLiteral("Size");
    return QVariant();
}

void fmuiTreeViewLogModel::CreateLogTree(__FM&, fmJ::_jobsHistoryDB* job)
{
    beginResetModel();
    qDeleteAll(RootNode->Children);
    RootNode->Children.clear();
    if (job) {
        // The counts come from a record written by another machine: a page never claims more
        // entries than the record can hold.
        int16_t logCount;
        int8_t errorCount;
        uint8_t preview;
        std::memcpy(&logCount, &job->LogCount, sizeof logCount);
        std::memcpy(&errorCount, &job->ErrorCount, sizeof errorCount);
        std::memcpy(&preview, &job->PreviewEnabled, sizeof preview);
        const int logs = std::clamp<int>(logCount, 0, int(std::size(job->Log)));
        const int errors = std::clamp<int>(errorCount, 0, int(std::size(job->Errors)));
        auto add = [this](const QString& name, int size) {
            RootNode->Children.append(
                new fmuiTreeViewLogNode(fmuiTreeViewLogNode::Page, RootNode, 1, name, size));
        };
        add(QStringLiteral("Job Log"), logs);
        add(QStringLiteral("Errors"), errors);
        if (preview) add(QStringLiteral("Frames Send"), 0);
    }
    endResetModel();
    if (View && View->model() == this) View->expandAll();
}

void initLogTree(QTreeView*& tree, fmuiTreeViewLogModel*& model, QObject* parent)
{
    model = new fmuiTreeViewLogModel(tree, parent);
    if (!tree) return;
    tree->setModel(model);
    tree->setSelectionModel(new QItemSelectionModel(model, parent));
    tree->setColumnWidth(0, 175);
    tree->setColumnWidth(1, 15);
}
