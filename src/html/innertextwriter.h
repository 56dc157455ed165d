#pragma once

#include "document/document.h"

#include <QString>

#include <vector>

// Writes the innerText items of a subtree, texts and required line breaks, into one text as
// the rendered text collection steps join them: the breaks between two texts become as many
// newlines as the most any of them asks for, those before the first text and after the last
// are dropped. An element opened around some of the items gets the range of what was written
// from its first text to its last: its innerText, so the texts of nested elements nest.
class InnerTextWriter
{
public:
    InnerTextWriter(QString &out, std::vector<Document::TextRange> &ranges);

    // The next items are another subtree's, joined to nothing written before.
    void startSubtree();
    void addLineBreaks(int count);
    void addText(QStringView text);
    void open(int element);
    // Sets the range of the element opened last.
    void close();

private:
    void beforeText();
    void afterText();

    struct Open {
        int element;
        qsizetype start;
    };

    QString &m_out;
    std::vector<Document::TextRange> &m_ranges;
    std::vector<Open> m_open;
    size_t m_unstarted = 0; // the open elements from here on have no text yet
    qsizetype m_lastTextEnd = 0;
    int m_breaks = 0;
    bool m_hasText = false;
};
