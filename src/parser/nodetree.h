#pragma once

#include <QColor>
#include <QHash>
#include <QList>
#include <QString>

class QTreeWidget;
class QTreeWidgetItem;

// The element tree `tvu` as a keyed node collection: nodes are added under a relative found by
// key, and found again by key, as the tree code expects; keys are unique.
class NodeTree
{
public:
    explicit NodeTree(QTreeWidget *view);

    QTreeWidget *view() const { return m_view; }

    void clear();
    // Adds a node as the last child of the node with relativeKey (empty: a top-level node).
    // An unknown relative raises 35601 (element not found), a key in use 35602; a node may
    // have no key and then cannot be found by key.
    QTreeWidgetItem *add(const QString &relativeKey, const QString &key, const QString &text);
    // The node with that key; 35601 when there is none.
    QTreeWidgetItem *node(const QString &key) const;
    bool contains(const QString &key) const { return m_byKey.contains(key); }
    static QString keyOf(const QTreeWidgetItem *item);
    int count() const { return m_count; }
    // Changes whenever the tree is cleared, so a walk holding its nodes can tell they are gone.
    int generation() const { return m_generation; }

    // A node's colour as the tree code keeps it: red in the low byte, 0 for the default black.
    static int colourOf(const QTreeWidgetItem *item);
    static void setColour(QTreeWidgetItem *item, int colour);
    static constexpr int Red = 255;
    static constexpr int Blue = 16711680;

    // Nodes in the order they were added (the collection's index order), once any batch is over.
    QList<QTreeWidgetItem *> nodesInOrder() const;

    // While a batch is open, new top-level nodes are held back and attached when it closes,
    // so a large build does not update the view once per node.
    class Batch
    {
    public:
        explicit Batch(NodeTree &tree);
        ~Batch();
        Batch(const Batch &) = delete;
        Batch &operator=(const Batch &) = delete;

    private:
        NodeTree &m_tree;
    };

private:
    QTreeWidget *m_view;
    QHash<QString, QTreeWidgetItem *> m_byKey;
    QList<QTreeWidgetItem *> m_pendingTopLevel;
    bool m_batching = false;
    int m_count = 0;
    int m_generation = 0;
};
