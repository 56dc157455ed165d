#pragma once

#include <QList>

#include <functional>

class QTreeWidget;
class QTreeWidgetItem;

// The expand and collapse walks over the element tree.
namespace TreeWalks {

// Opens the collapsed nodes at the edge of what is visible: the tree is one level deeper
// everywhere. Runs in one go.
void ExpandOneLevel(QTreeWidget *tree);

// Closes the deepest open level along each branch, judged by each node's first child. Runs in
// one go.
void CollapseOneLevel(QTreeWidget *tree);

// Visits every node in index order, expanding (or collapsing) it, and calls yield after each;
// stops after the node at which shouldStop turns true.
void SetAllExpanded(const QList<QTreeWidgetItem *> &nodes, bool expanded, const std::function<void()> &yield,
                    const std::function<bool()> &shouldStop);

} // namespace TreeWalks
