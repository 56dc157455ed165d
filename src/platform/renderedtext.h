#pragma once

#include "defaultstyle.h"
#include "pagetree.h"
#include "textpiece.h"
#include "whitespacecollapser.h"

#include <vector>

// innerText for every element of a page as the browser computes it under its default style
// sheet (the HTML "rendered text collection steps" as Chromium implements them). Each
// element's text is built once from its children's, so the cost is the size of the page times
// its depth, not the square of its element count.
//
// Where this static result can differ from the live browser's:
// - the page's own CSS is not applied: display and visibility (elements hidden, shown, made
//   blocks or inline), white-space, text-transform, and ::before/::after content, which is never
//   innerText but can add or remove line breaks around it;
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
    // Throws PageReadError when the texts together would exceed maxChars.
    static std::vector<QString> innerTexts(const PageTree &tree, qsizetype maxChars);

private:
    // Hidden: no box, innerText is the text content. Locked: laid out but skipped, innerText empty.
    enum class Rendering : quint8 { Rendered, Hidden, Locked };

    explicit RenderedText(const PageTree &tree);
    std::vector<QString> run(qsizetype maxChars);
    void layOut();
    void place(int node, int parent, bool firstSummary);
    void enter(int node);
    void leave(int node);
    Rendering childRendering(int parent, int child, bool firstSummary) const;
    bool textRenderedIn(int parent) const;
    void findLastCellsAndRows();
    QString textContent(int node) const;
    QString optionText(int option) const;
    void addSelect(TextPiece &piece, int select) const;
    void contribute(TextPiece &piece, int child) const;

    const PageTree &m_tree;
    const size_t m_count;
    std::vector<DefaultStyle> m_style;
    std::vector<Rendering> m_rendering;
    std::vector<bool> m_textRenders;
    std::vector<bool> m_preserve;
    std::vector<bool> m_hasNext; // a cell followed by another in its row, a row by another in its table
    std::vector<QString> m_renderedTexts;
    std::vector<bool> m_textRendered;
    std::vector<TextPiece> m_pieces;
    std::vector<QString> m_innerTexts;
    WhitespaceCollapser m_collapser;
};
