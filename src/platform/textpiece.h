#pragma once

#include <QString>

// The innerText items of a subtree, already joined: the text between its first and last
// string, with the required line breaks before and after kept as counts so that joining two
// pieces collapses the breaks at the join into their maximum, as the whole list would.
class TextPiece
{
public:
    void addLineBreaks(int count);
    void addText(const QString &text);
    void add(const TextPiece &inner);

    // The text with leading and trailing required line breaks dropped: an element's innerText.
    const QString &text() const { return m_text; }

private:
    QString m_text;
    quint8 m_leading = 0;  // before m_text, or all of them while there is no text
    quint8 m_trailing = 0; // after m_text
    bool m_hasText = false;
};
