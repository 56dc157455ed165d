#pragma once

#include "pagetree.h"

#include <QHash>

#include <gumbo.h>

// Turns gumbo's tree into the tree the browser's parser would have built from the same page.
class GumboTreeReader
{
public:
    // Nesting the browser's parser allows: a node inserted while more elements than this are
    // open goes to the parent of the current node instead, so nothing nests deeper than one
    // level below this depth (the html element at depth 1).
    static constexpr int kFlattenDepth = 512;

    // rawTexts: the text of elements gumbo was given empty, by where their start tag begins in
    // input. Elements past maxElements are left out and the tree marked cut.
    static PageTree read(const GumboOutput &output, const char *input,
                         const QHash<qsizetype, QString> &rawTexts, int maxElements);
};
