#pragma once

#include <QString>

#include <vector>

// CSS white-space processing for "white-space: normal" text, fed the rendered page in
// document order: runs of spaces, tabs and newlines become one space, which disappears at the
// start of a line, after another collapsible space (across inline element boundaries) and at
// the end of a line. Lines end at block boundaries and <br>; atomic inlines (images, controls)
// count as content.
class WhitespaceCollapser
{
public:
    // rendered[i], empty until then, receives the rendered form of text i; each text comes once.
    explicit WhitespaceCollapser(std::vector<QString> &rendered);

    void text(int index, const QString &data, bool preserve);
    void lineBoundary();
    void atomicInline();
    void enterInlineBlock();
    void leaveInlineBlock();
    void finish() { lineBoundary(); }

private:
    enum class Edge : quint8 { LineStart, AfterSpace, AfterContent };

    bool sharesUnchanged(int index, const QString &data);
    bool allWhitespace(int index, const QString &data);

    std::vector<QString> &m_rendered;
    Edge m_edge = Edge::LineStart;
    int m_trailingSpaceIn = -1; // the text whose last character is a space a line end removes
};
