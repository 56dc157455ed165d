#include "nodeoperations.h"

#include "nodekeys.h"
#include "nodetree.h"

#include <QTreeWidgetItem>

namespace {

void setBold(QTreeWidgetItem *node, bool bold)
{
    QFont font = node->font(0);
    font.setBold(bold);
    node->setFont(0, font);
}

} // namespace

namespace NodeOperations {

QString SetSearchNode(NodeTree &tree, QTreeWidgetItem *selected)
{
    for (QTreeWidgetItem *node : tree.nodesInOrder()) {
        if (node->font(0).bold())
            setBold(node, false);
        if (NodeTree::colourOf(node) != 0)
            NodeTree::setColour(node, 0);
    }
    setBold(selected, true);
    NodeTree::setColour(selected, NodeTree::Red);
    return QStringLiteral("0");
}

QString SetReturnNode(NodeTree &tree, QTreeWidgetItem *selected)
{
    long long search = -1;
    for (QTreeWidgetItem *node : tree.nodesInOrder()) {
        if (NodeTree::colourOf(node) != 0)
            NodeTree::setColour(node, 0);
        // The search node, the one node set in bold.
        if (node->font(0).bold()) {
            search = numberFromKey(NodeTree::keyOf(node));
            NodeTree::setColour(node, NodeTree::Blue);
        }
    }
    if (search == -1)
        return QStringLiteral("0");
    NodeTree::setColour(selected, NodeTree::Red);
    return QString::number(numberFromKey(NodeTree::keyOf(selected)) - search);
}

} // namespace NodeOperations
