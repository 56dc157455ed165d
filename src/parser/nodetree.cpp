#include "nodetree.h"

#include "platform/runtimeerror.h"

#include <QTreeWidget>

namespace {
constexpr int KeyRole = Qt::UserRole;
constexpr int OrderRole = Qt::UserRole + 1;
constexpr int KeyNotUnique = 35602;

// Key and order kept as members: a tree of tens of thousands of nodes is built in one go, and
// item data set by role costs a search and a copy per role.
class NodeItem : public QTreeWidgetItem
{
public:
    NodeItem(const QString &text, const QString &key, int order)
        : QTreeWidgetItem(QStringList{text}, UserType)
        , m_key(key)
        , m_order(order)
    {
    }

    QVariant data(int column, int role) const override
    {
        if (column == 0 && role == KeyRole)
            return m_key;
        if (column == 0 && role == OrderRole)
            return m_order;
        return QTreeWidgetItem::data(column, role);
    }

private:
    QString m_key;
    int m_order;
};
} // namespace

NodeTree::NodeTree(QTreeWidget *view)
    : m_view(view)
{
}

void NodeTree::clear()
{
    m_byKey.clear();
    qDeleteAll(m_pendingTopLevel);
    m_pendingTopLevel.clear();
    m_view->clear();
    m_count = 0;
    ++m_generation;
}

QTreeWidgetItem *NodeTree::add(const QString &relativeKey, const QString &key, const QString &text)
{
    QTreeWidgetItem *parent = relativeKey.isEmpty() ? nullptr : node(relativeKey);
    if (!key.isEmpty() && m_byKey.contains(key))
        throw RuntimeError(KeyNotUnique, QStringLiteral("Key is not unique in collection"));
    auto *item = new NodeItem(text, key, m_count);
    if (parent)
        parent->addChild(item);
    else if (m_batching)
        m_pendingTopLevel.append(item);
    else
        m_view->addTopLevelItem(item);
    if (!key.isEmpty())
        m_byKey.insert(key, item);
    ++m_count;
    return item;
}

QTreeWidgetItem *NodeTree::node(const QString &key) const
{
    QTreeWidgetItem *item = m_byKey.value(key);
    if (!item)
        throw RuntimeError(ErrorNumber::ElementNotFound);
    return item;
}

QString NodeTree::keyOf(const QTreeWidgetItem *item)
{
    return item ? item->data(0, KeyRole).toString() : QString();
}

// The colour shown is the only record of it, so what is read back is what the user sees.
int NodeTree::colourOf(const QTreeWidgetItem *item)
{
    const QVariant shown = item->data(0, Qt::ForegroundRole);
    const QColor colour = shown.value<QBrush>().color();
    return shown.isValid() ? colour.red() | colour.green() << 8 | colour.blue() << 16 : 0;
}

void NodeTree::setColour(QTreeWidgetItem *item, int colour)
{
    const QColor shown(colour & 0xFF, (colour >> 8) & 0xFF, (colour >> 16) & 0xFF);
    item->setData(0, Qt::ForegroundRole, colour == 0 ? QVariant() : QVariant(QBrush(shown)));
}

QList<QTreeWidgetItem *> NodeTree::nodesInOrder() const
{
    QList<QTreeWidgetItem *> nodes(m_count, nullptr);
    QList<QTreeWidgetItem *> pending;
    for (int i = 0; i < m_view->topLevelItemCount(); ++i)
        pending.append(m_view->topLevelItem(i));
    while (!pending.isEmpty()) {
        QTreeWidgetItem *item = pending.takeLast();
        const int order = item->data(0, OrderRole).toInt();
        if (order >= 0 && order < nodes.size())
            nodes[order] = item;
        for (int i = 0; i < item->childCount(); ++i)
            pending.append(item->child(i));
    }
    nodes.removeAll(nullptr);
    return nodes;
}

NodeTree::Batch::Batch(NodeTree &tree)
    : m_tree(tree)
{
    m_tree.m_batching = true;
    m_tree.m_view->setUpdatesEnabled(false);
}

NodeTree::Batch::~Batch()
{
    m_tree.m_batching = false;
    m_tree.m_view->addTopLevelItems(m_tree.m_pendingTopLevel);
    m_tree.m_pendingTopLevel.clear();
    m_tree.m_view->setUpdatesEnabled(true);
}
