#include "treewalks.h"

#include <QTreeWidget>

namespace {

// Where a walk stands: the node's parent (null for the top level) and the node's index under
// it, for every level down from the top, so a next sibling is one step away.
class Cursor
{
public:
    explicit Cursor(QTreeWidget *tree) : m_tree(tree)
    {
        if (tree->topLevelItemCount() > 0)
            m_path.append({nullptr, 0});
    }

    QTreeWidgetItem *node() const
    {
        if (m_path.isEmpty())
            return nullptr;
        const auto &[parent, index] = m_path.last();
        return parent ? parent->child(index) : m_tree->topLevelItem(index);
    }

    void toFirstChild() { m_path.append({node(), 0}); }

    // To the next sibling, true when there is one.
    bool toNextSibling()
    {
        auto &[parent, index] = m_path.last();
        const int count = parent ? parent->childCount() : m_tree->topLevelItemCount();
        if (index + 1 >= count)
            return false;
        ++index;
        return true;
    }

    // Up to the parent, false when past the top level.
    bool toParent()
    {
        m_path.removeLast();
        return !m_path.isEmpty();
    }

    // To the next sibling of the node or of its nearest ancestor that has one.
    void climb()
    {
        while (toParent()) {
            if (toNextSibling())
                return;
        }
    }

private:
    QTreeWidget *m_tree;
    QList<std::pair<QTreeWidgetItem *, int>> m_path;
};

} // namespace

namespace TreeWalks {

void ExpandOneLevel(QTreeWidget *tree)
{
    Cursor cursor(tree);
    while (QTreeWidgetItem *node = cursor.node()) {
        if (node->childCount() > 0 && !node->isExpanded()) {
            node->setExpanded(true); // its new children wait for the next click
            if (!cursor.toNextSibling())
                cursor.climb();
        } else if (node->childCount() > 0) {
            cursor.toFirstChild();
        } else if (!cursor.toNextSibling()) {
            cursor.climb();
        }
    }
}

void CollapseOneLevel(QTreeWidget *tree)
{
    Cursor cursor(tree);
    while (QTreeWidgetItem *node = cursor.node()) {
        if (node->isExpanded() && node->childCount() > 0) {
            cursor.toFirstChild();
            continue;
        }
        if (!cursor.toParent())
            return;
        cursor.node()->setExpanded(false);
        if (!cursor.toNextSibling())
            cursor.climb();
    }
}

void SetAllExpanded(const QList<QTreeWidgetItem *> &nodes, bool expanded, const std::function<void()> &yield,
                    const std::function<bool()> &shouldStop)
{
    for (QTreeWidgetItem *node : nodes) {
        if (node->isExpanded() != expanded)
            node->setExpanded(expanded);
        yield();
        if (shouldStop())
            return;
    }
}

} // namespace TreeWalks
