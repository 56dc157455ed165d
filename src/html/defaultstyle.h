#pragma once

#include "pagetree.h"

// How the browser's default style sheet lays an element out, as far as innerText depends on
// it. Style sheets of the page are not applied.
struct DefaultStyle {
    enum class Display : quint8 {
        None,        // no box: neither the element nor its content is rendered
        Locked,      // laid out but hidden from innerText (content-visibility: hidden)
        Inline,
        Block,
        Paragraph,   // a block with two line breaks around it
        TableGroup,   // row groups and columns: block boundaries that add no breaks
        TableRow,
        TableCell,
        InlineBlock, // atomic from outside, its own lines inside
        Replaced,    // atomic, its content never rendered
        LineBreak,
        Select,
        Option,
    };
    // Whether text directly inside is rendered: SVG renders text only within <text>.
    enum class TextRendering : quint8 { Inherit, Rendered, Hidden };

    Display display = Display::Inline;
    TextRendering text = TextRendering::Inherit;
    bool preservesWhitespace = false;

    static DefaultStyle of(const PageTree &tree, int node);
};
