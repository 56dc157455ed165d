#include "innertextwriter.h"

#include <algorithm>

InnerTextWriter::InnerTextWriter(QString &out, std::vector<Document::TextRange> &ranges)
    : m_out(out)
    , m_ranges(ranges)
{
}

void InnerTextWriter::startSubtree()
{
    m_hasText = false; // the breaks asked for before it are dropped at its first text
}

void InnerTextWriter::addLineBreaks(int count)
{
    m_breaks = std::max(m_breaks, count);
}

void InnerTextWriter::beforeText()
{
    if (m_hasText) {
        for (int i = 0; i < m_breaks; ++i)
            m_out.append(u'\n');
    }
    // Each element gets its start once, so this costs one step per element in all.
    for (size_t i = m_unstarted; i < m_open.size(); ++i)
        m_open[i].start = m_out.size();
    m_unstarted = m_open.size();
}

void InnerTextWriter::afterText()
{
    m_lastTextEnd = m_out.size();
    m_hasText = true;
    m_breaks = 0;
}

void InnerTextWriter::addText(QStringView text)
{
    if (text.isEmpty())
        return;
    beforeText();
    m_out.append(text);
    afterText();
}

void InnerTextWriter::open(int element)
{
    m_open.push_back({element, -1});
}

void InnerTextWriter::close()
{
    const Open element = m_open.back();
    m_open.pop_back();
    const bool hasText = m_unstarted > m_open.size();
    m_unstarted = std::min(m_unstarted, m_open.size());
    m_ranges[size_t(element.element)] = hasText ? Document::TextRange{element.start, m_lastTextEnd - element.start}
                                                : Document::TextRange{};
}
