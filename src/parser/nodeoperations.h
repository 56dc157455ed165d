#pragma once

#include <QString>

class NodeTree;
class QTreeWidgetItem;

// The marks of the node operations menu, kept in the tree itself: the search node is the
// first bold node; the return node is red. Each returns the new text of the offset box.
namespace NodeOperations {

// Clears every mark, then makes the selected node the search node: bold and red. Returns "0".
QString SetSearchNode(NodeTree &tree, QTreeWidgetItem *selected);

// Colours the search node blue (dropping any later bold node) and the selected node red, and
// returns the selected node's sourceIndex minus the search node's; "0" without a search node.
QString SetReturnNode(NodeTree &tree, QTreeWidgetItem *selected);

} // namespace NodeOperations
