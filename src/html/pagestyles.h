#pragma once

#include "htmltree.h"

#include <QtGlobal>

#include <vector>

// What the page's own CSS declares on an element, for the properties innerText depends on.
// Unset where no rule of the page sets a property (the browser's defaults and inheritance
// then decide).
struct CssStyle {
    enum class Display : quint8 { Unset, Inherit, None, Inline, Block, InlineBlock, TableGroup, TableRow, TableCell };
    enum class Visibility : quint8 { Unset, Visible, Hidden };
    enum class TextTransform : quint8 { Unset, None, Uppercase, Lowercase, Capitalize };
    enum class WhiteSpace : quint8 { Unset, Collapse, Preserve, PreserveBreaks };

    Display display = Display::Unset;
    Visibility visibility = Visibility::Unset;
    TextTransform textTransform = TextTransform::Unset;
    WhiteSpace whiteSpace = WhiteSpace::Unset;
    // Floated or absolutely positioned: the box is a block whatever its display says.
    bool outOfFlow = false;
};

// The cascade of the page's <style> elements and style attributes, with the browser's order:
// !important over the rest, a style attribute over selectors, then specificity, then the later
// rule. Selectors are matched and CSS parsed by Modest, beside MyHTML in libmodest. Rules inside
// @media are left out (their media are not known here), and so are style sheets linked from
// the page: the browser of the designer does not load them for a local page either.
namespace PageStyles {

// By element, in the order of sources (each element's MyHTML node); empty for a page without
// style elements and style attributes.
std::vector<CssStyle> declared(const HtmlTree &html, const std::vector<myhtml_tree_node_t *> &sources);

} // namespace PageStyles
