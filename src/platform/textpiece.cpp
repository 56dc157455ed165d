#include "textpiece.h"

#include <algorithm>

void TextPiece::addLineBreaks(int count)
{
    quint8 &breaks = m_hasText ? m_trailing : m_leading;
    breaks = std::max(breaks, quint8(count));
}

void TextPiece::addText(const QString &text)
{
    if (text.isEmpty())
        return;
    if (m_hasText && m_trailing)
        m_text.append(QString(m_trailing, u'\n'));
    m_text.append(text);
    m_hasText = true;
    m_trailing = 0;
}

void TextPiece::add(const TextPiece &inner)
{
    addLineBreaks(inner.m_leading);
    if (!inner.m_hasText)
        return;
    addText(inner.m_text);
    m_trailing = inner.m_trailing;
}
