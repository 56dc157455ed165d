#pragma once

#include "htmltree.h"
#include "pagetree.h"

#include <vector>

// Turns MyHTML's tree into the tree the browser's parser would have built from the same page.
class PageTreeReader
{
public:
    // Nesting the browser's parser allows: a node inserted while more elements than this are
    // open goes to the parent of the current node instead, so nothing nests deeper than one
    // level below this depth (the html element at depth 1).
    static constexpr int kFlattenDepth = 512;

    // Elements past maxElements are left out and the tree marked cut. Given sources, each
    // element's MyHTML node is put there, in the tree's order.
    static PageTree read(const HtmlTree &html, int maxElements, std::vector<myhtml_tree_node_t *> *sources = nullptr);
};
