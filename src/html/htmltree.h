#pragma once

#include <QByteArrayView>

#include <myhtml/myhtml.h>

// One page parsed by MyHTML, single-threaded, with scripting on as in the browser (noscript
// content is raw text). The tree stays reachable for every step that reads it before the
// PageTree is built. Each thread keeps one MyHTML tree and reuses it, since making one costs
// more than parsing a typical page; a tree that has held a large page is let go instead, so
// its memory is not kept.
class HtmlTree
{
public:
    // input is UTF-8 and must outlive the tree. Throws PageReadError when the parser fails.
    explicit HtmlTree(QByteArrayView input);
    ~HtmlTree();
    HtmlTree(const HtmlTree &) = delete;
    HtmlTree &operator=(const HtmlTree &) = delete;

    myhtml_tree_t *tree() const { return m_tree; }
    myhtml_tree_node_t *document() const { return m_tree->document; }
    // The bytes of the page a node was made from.
    QByteArrayView source(myhtml_tree_node_t *node) const;

private:
    QByteArrayView m_input;
    myhtml_tree_t *m_tree = nullptr;
    bool m_keep = false;
};
