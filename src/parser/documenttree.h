#pragma once

#include "document/document.h"

#include <cstdint>

class NodeTree;

// Fills the tree with the root "Document" and one node per element under its parent's node.
// The element counter is 16-bit on purpose: a page of exactly 32,768 elements gets every node
// and then overflows (error 6) stepping past the last; a larger page leaves the root alone.
void BuildDocumentTree(const Document &document, NodeTree &tree);

// Adds an element with its text nodes and descendants under the node "K" + parentNumber:
// elements with an id in red, text nodes in blue and without key. branchNodeCount counts the
// nodes added and overflows above 32,767. Walks with its own stack, so page depth is no limit.
void AddElementBranch(const Document &document, int element, int16_t parentNumber, NodeTree &tree,
                      int16_t &branchNodeCount);
