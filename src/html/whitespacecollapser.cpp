#include "whitespacecollapser.h"

#include <algorithm>

namespace {
bool isCollapsible(QChar c)
{
    return c == u' ' || c == u'\n' || c == u'\t' || c == u'\r';
}

constexpr char16_t kZeroWidthSpace = 0x200B;
} // namespace

WhitespaceCollapser::WhitespaceCollapser(std::vector<QString> &rendered)
    : m_rendered(rendered)
{
}

void WhitespaceCollapser::text(int index, const QString &data, bool preserve)
{
    QString &out = m_rendered[size_t(index)];
    if (preserve) {
        out = data;
        if (!data.isEmpty()) {
            m_trailingSpaceIn = -1;
            m_edge = data.endsWith(u'\n') ? Edge::LineStart : Edge::AfterContent;
        }
        return;
    }
    if (sharesUnchanged(index, data))
        return;
    const qsizetype size = data.size();
    for (qsizetype i = 0; i < size;) {
        const qsizetype start = i;
        while (i < size && !isCollapsible(data.at(i)))
            ++i;
        if (i > start) {
            if (start == 0 && i == size)
                out = data; // shares, nothing to collapse
            else
                out.append(QStringView(data).sliced(start, i - start));
            m_edge = Edge::AfterContent;
            m_trailingSpaceIn = -1;
        }
        if (i == size)
            break;
        bool newline = false;
        while (i < size && isCollapsible(data.at(i)))
            newline |= data.at(i++) == u'\n';
        if (m_edge != Edge::AfterContent)
            continue;
        // A newline beside a zero width space goes away entirely.
        if (newline && ((!out.isEmpty() && out.back() == kZeroWidthSpace) || (i < size && data.at(i) == kZeroWidthSpace)))
            continue;
        out.append(u' ');
        m_edge = Edge::AfterSpace;
        m_trailingSpaceIn = index;
    }
}

// Most texts are white space alone, or words with single spaces between them that stay as they
// are: those are decided in one look at each character, and share their data or a space.
bool WhitespaceCollapser::sharesUnchanged(int index, const QString &data)
{
    bool content = false;
    bool space = m_edge != Edge::AfterContent; // a space here would be dropped or joined
    for (const QChar c : data) {
        if (c == u' ') {
            if (space)
                return content ? false : allWhitespace(index, data);
            space = true;
        } else if (isCollapsible(c)) {
            return content ? false : allWhitespace(index, data);
        } else {
            content = true;
            space = false;
        }
    }
    m_rendered[size_t(index)] = data;
    if (!data.isEmpty()) {
        const bool endsWithSpace = data.back() == u' ';
        m_edge = endsWithSpace ? Edge::AfterSpace : Edge::AfterContent;
        m_trailingSpaceIn = endsWithSpace ? index : -1;
    }
    return true;
}

// Text of white space alone becomes one space after content, else nothing; false otherwise.
bool WhitespaceCollapser::allWhitespace(int index, const QString &data)
{
    if (!std::all_of(data.cbegin(), data.cend(), isCollapsible))
        return false;
    if (data.isEmpty() || m_edge != Edge::AfterContent)
        return true;
    static const QString space(u' ');
    m_rendered[size_t(index)] = space;
    m_edge = Edge::AfterSpace;
    m_trailingSpaceIn = index;
    return true;
}

void WhitespaceCollapser::lineBoundary()
{
    if (m_trailingSpaceIn >= 0)
        m_rendered[size_t(m_trailingSpaceIn)].chop(1);
    m_trailingSpaceIn = -1;
    m_edge = Edge::LineStart;
}

void WhitespaceCollapser::atomicInline()
{
    m_trailingSpaceIn = -1;
    m_edge = Edge::AfterContent;
}

void WhitespaceCollapser::enterInlineBlock()
{
    m_trailingSpaceIn = -1;
    m_edge = Edge::LineStart;
}

void WhitespaceCollapser::leaveInlineBlock()
{
    lineBoundary();
    atomicInline();
}
