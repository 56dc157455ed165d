#pragma once

#include "defaultstyle.h"
#include "document/document.h"
#include "innertextwriter.h"
#include "pagestyles.h"
#include "pagetree.h"
#include "whitespacecollapser.h"

#include <vector>

// innerText for every element of a page as the browser computes it under its default style
// sheet (the HTML "rendered text collection steps" as Chromium implements them). The rendered
// text of the page is written once, and a rendered element's innerText is the part of it that
// comes from the element, without the required line breaks at its ends. Written after it: the
// text of an optgroup in a list box (the list box shows its options, not the text around them),
// and the text content of each hidden subtree, which hidden elements give instead. So the cost
// is linear in the page, however deep it nests.
//
// The page's own CSS (pagestyles.h) changes it where it sets display, visibility, white-space
// and text-transform. Where this static result can differ from the live browser's:
// - CSS the reader does not see: rules inside @media, linked style sheets, ::before/::after
//   content (never innerText, but it can add or remove line breaks around it), white-space:
//   pre-line (taken as normal), and words capitalized across element boundaries;
// - form controls follow the browser's defaults: no input value or textarea text, every option
//   of a select on a line of its own whichever is selected, and an option inside a drop-down
//   gives its raw text content; a value set by a script is never seen;
// - <object> is taken to show its fallback content (the browser shows it only when the object
//   cannot be displayed);
// - SVG <text> and <foreignObject> count as blocks, MathML as inline text;
// - the content of a closed <details> is laid out but hidden, so its innerText is empty.
// SVG and MathML elements have no innerText in the browser; they get an empty one here.
class RenderedText
{
public:
    struct Texts {
        QString text;
        std::vector<Document::TextRange> innerTexts; // by element, where text holds it
    };

    // styles: what the page's CSS declares on each element, or empty. Throws PageReadError when
    // the text would exceed maxChars.
    static Texts collect(const PageTree &tree, qsizetype maxChars, const std::vector<CssStyle> &styles = {});

private:
    // Hidden: no box, innerText is the text content. Locked: laid out but skipped, innerText empty.
    enum class Rendering : quint8 { Rendered, Hidden, Locked };

    RenderedText(const PageTree &tree, const std::vector<CssStyle> &styles);
    void applyStyles(const std::vector<CssStyle> &styles);
    bool visible(int node) const { return m_visible.empty() || m_visible[size_t(node)]; }
    void transformTexts();
    Texts run(qsizetype maxChars);
    void layOut();
    void place(int node, int parent, bool firstSummary);
    void enter(int node);
    void leave(int node);
    Rendering childRendering(int parent, int child, bool firstSummary) const;
    bool textRenderedIn(int parent) const;
    void findLastCellsAndRows();
    void writeTextContent(int root);
    bool hasTextContentAsInnerText(int node) const;
    void writeRendered(int root);
    bool openOwn(int node);
    void addBefore(int child);
    void addAfter(int child);
    void addSelect(int select);
    void addOption(int option);
    QString optionText(int option) const;

    const PageTree &m_tree;
    const size_t m_count;
    std::vector<DefaultStyle> m_style;
    // From the page's CSS; empty when it has none.
    std::vector<bool> m_visible;
    std::vector<CssStyle::TextTransform> m_transform;
    std::vector<CssStyle::WhiteSpace> m_whiteSpace;
    std::vector<int> m_textOwner; // the element a text is rendered in, or -1
    std::vector<Rendering> m_rendering;
    std::vector<bool> m_textRenders;
    std::vector<bool> m_preserve;
    std::vector<bool> m_hasNext; // a cell followed by another in its row, a row by another in its table
    std::vector<QString> m_renderedTexts;
    std::vector<bool> m_textRendered;
    WhitespaceCollapser m_collapser;
    QString m_text;
    QString m_hiddenText; // text content ranges point here until it joins m_text
    std::vector<Document::TextRange> m_innerTexts;
    InnerTextWriter m_writer;
};
