#include "renderedtext.h"

#include "asciiwhitespace.h"
#include "pagereaderror.h"

#include <QCoreApplication>
#include <QLocale>

using Display = DefaultStyle::Display;

namespace {

bool isBlockBoundary(Display display)
{
    switch (display) {
    case Display::Block:
    case Display::Paragraph:
    case Display::TableGroup:
    case Display::TableRow:
    case Display::TableCell:
    case Display::Option:
        return true;
    default:
        return false;
    }
}

} // namespace

RenderedText::RenderedText(const PageTree &tree)
    : m_tree(tree)
    , m_count(tree.nodes.size())
    , m_style(m_count)
    , m_rendering(m_count, Rendering::Hidden)
    , m_textRenders(m_count, false)
    , m_preserve(m_count, false)
    , m_hasNext(m_count, false)
    , m_renderedTexts(tree.texts.size())
    , m_textRendered(tree.texts.size(), false)
    , m_pieces(m_count)
    , m_innerTexts(m_count)
    , m_collapser(m_renderedTexts)
{
    for (size_t i = 0; i < m_count; ++i)
        m_style[i] = DefaultStyle::of(tree, int(i));
}

RenderedText::Rendering RenderedText::childRendering(int parent, int child, bool firstSummary) const
{
    const Rendering inherited = parent < 0 ? Rendering::Rendered : m_rendering[size_t(parent)];
    if (inherited != Rendering::Rendered)
        return inherited;
    const Display display = m_style[size_t(child)].display;
    if (display == Display::None)
        return Rendering::Hidden;
    if (display == Display::Locked)
        return Rendering::Locked;
    if (parent < 0)
        return Rendering::Rendered;
    switch (m_style[size_t(parent)].display) {
    case Display::Replaced:
    case Display::Option:
        return Rendering::Hidden;
    case Display::Select: {
        // A list box lays its options out; a drop-down shows none of its children.
        const bool listBox = !m_tree.attribute(parent, u"multiple").isNull()
            || m_tree.attribute(parent, u"size").toInt() > 1;
        const bool option = m_tree.isHtml(child, u"option") || m_tree.isHtml(child, u"optgroup");
        return listBox && option ? Rendering::Rendered : Rendering::Hidden;
    }
    default:
        break;
    }
    if (m_tree.isHtml(parent, u"details") && m_tree.attribute(parent, u"open").isNull())
        return firstSummary ? Rendering::Rendered : Rendering::Locked;
    return Rendering::Rendered;
}

bool RenderedText::textRenderedIn(int parent) const
{
    if (!m_textRenders[size_t(parent)])
        return false;
    switch (m_style[size_t(parent)].display) {
    case Display::Replaced:
    case Display::Select:
    case Display::Option:
        return false;
    default:
        return !(m_tree.isHtml(parent, u"details") && m_tree.attribute(parent, u"open").isNull());
    }
}

void RenderedText::enter(int node)
{
    const Display display = m_style[size_t(node)].display;
    if (isBlockBoundary(display) || display == Display::LineBreak)
        m_collapser.lineBoundary();
    else if (display == Display::InlineBlock || display == Display::Select)
        m_collapser.enterInlineBlock();
    else if (display == Display::Replaced)
        m_collapser.atomicInline();
}

void RenderedText::leave(int node)
{
    const Display display = m_style[size_t(node)].display;
    if (isBlockBoundary(display))
        m_collapser.lineBoundary();
    else if (display == Display::InlineBlock || display == Display::Select)
        m_collapser.leaveInlineBlock();
}

void RenderedText::place(int node, int parent, bool firstSummary)
{
    const DefaultStyle &style = m_style[size_t(node)];
    const Rendering rendering = childRendering(parent, node, firstSummary);
    const bool inPre = parent >= 0 && m_preserve[size_t(parent)];
    const bool inRenderedText = parent >= 0 && m_textRenders[size_t(parent)];
    m_rendering[size_t(node)] = rendering;
    m_preserve[size_t(node)] = inPre || style.preservesWhitespace;
    m_textRenders[size_t(node)] = rendering == Rendering::Rendered
        && (style.text == DefaultStyle::TextRendering::Rendered
            || (style.text == DefaultStyle::TextRendering::Inherit && inRenderedText));
    if (rendering == Rendering::Rendered)
        enter(node);
}

// Decides what is rendered and collapses white space, walking the page in document order.
void RenderedText::layOut()
{
    struct Frame {
        int node;
        size_t next;
        bool summarySeen;
    };
    std::vector<Frame> stack;
    for (size_t root = 0; root < m_count; ++root) {
        if (m_tree.nodes[root].parent >= 0)
            continue;
        place(int(root), -1, false);
        stack.push_back({int(root), 0, false});
        while (!stack.empty()) {
            Frame &frame = stack.back();
            const int node = frame.node;
            const std::vector<int> &children = m_tree.nodes[size_t(node)].children;
            if (frame.next == children.size()) {
                if (m_rendering[size_t(node)] == Rendering::Rendered)
                    leave(node);
                stack.pop_back();
                continue;
            }
            const int child = children[frame.next++];
            if (PageTree::isText(child)) {
                const int text = PageTree::textIndex(child);
                if (m_rendering[size_t(node)] == Rendering::Rendered && textRenderedIn(node)) {
                    m_textRendered[size_t(text)] = true;
                    m_collapser.text(text, m_tree.texts[size_t(text)], m_preserve[size_t(node)]);
                }
                continue;
            }
            const bool summary = !frame.summarySeen && m_tree.isHtml(child, u"summary");
            frame.summarySeen = frame.summarySeen || summary;
            place(child, node, summary);
            stack.push_back({child, 0, false});
        }
    }
    m_collapser.finish();
}

void RenderedText::findLastCellsAndRows()
{
    std::vector<int> last(m_count, -1);
    for (size_t i = 0; i < m_count; ++i) {
        if (m_rendering[i] != Rendering::Rendered)
            continue;
        const Display display = m_style[i].display;
        int owner = m_tree.nodes[i].parent;
        if (owner < 0)
            continue;
        if (display == Display::TableCell) {
            if (m_style[size_t(owner)].display != Display::TableRow)
                continue;
        } else if (display == Display::TableRow) {
            if (m_style[size_t(owner)].display == Display::TableGroup && m_tree.nodes[size_t(owner)].parent >= 0)
                owner = m_tree.nodes[size_t(owner)].parent;
            if (!m_tree.isHtml(owner, u"table"))
                continue;
        } else {
            continue;
        }
        if (last[size_t(owner)] >= 0)
            m_hasNext[size_t(last[size_t(owner)])] = true;
        last[size_t(owner)] = int(i);
    }
}

QString RenderedText::textContent(int node) const
{
    QString result;
    for (const int child : m_tree.nodes[size_t(node)].children)
        result += PageTree::isText(child) ? m_tree.texts[size_t(PageTree::textIndex(child))] : m_innerTexts[size_t(child)];
    return result;
}

QString RenderedText::optionText(int option) const
{
    QString text;
    for (const int child : m_tree.nodes[size_t(option)].children) {
        if (PageTree::isText(child))
            text += m_tree.texts[size_t(PageTree::textIndex(child))];
        else if (m_tree.nodes[size_t(child)].localName != u"script")
            text += m_innerTexts[size_t(child)];
    }
    return stripAndCollapseAsciiWhitespace(text);
}

void RenderedText::addSelect(TextPiece &piece, int select) const
{
    for (const int child : m_tree.nodes[size_t(select)].children) {
        if (PageTree::isText(child))
            continue;
        if (m_tree.isHtml(child, u"option")) {
            piece.addLineBreaks(1);
            piece.addText(optionText(child));
            piece.addLineBreaks(1);
        } else if (m_tree.isHtml(child, u"optgroup")) {
            piece.addLineBreaks(1);
            for (const int option : m_tree.nodes[size_t(child)].children) {
                if (!PageTree::isText(option) && m_tree.isHtml(option, u"option")) {
                    piece.addLineBreaks(1);
                    piece.addText(optionText(option));
                    piece.addLineBreaks(1);
                }
            }
            piece.addLineBreaks(1);
        }
    }
}

void RenderedText::contribute(TextPiece &piece, int child) const
{
    if (m_rendering[size_t(child)] != Rendering::Rendered)
        return;
    const TextPiece &inner = m_pieces[size_t(child)];
    switch (m_style[size_t(child)].display) {
    case Display::Select:
        addSelect(piece, child);
        break;
    case Display::Option:
        piece.addLineBreaks(1);
        piece.addText(optionText(child));
        piece.addLineBreaks(1);
        break;
    case Display::LineBreak:
        piece.addText(QStringLiteral("\n"));
        break;
    case Display::TableCell:
        piece.add(inner);
        if (m_hasNext[size_t(child)])
            piece.addText(QStringLiteral("\t"));
        break;
    case Display::TableRow:
        piece.add(inner);
        if (m_hasNext[size_t(child)])
            piece.addText(QStringLiteral("\n"));
        break;
    case Display::Paragraph:
        piece.addLineBreaks(2);
        piece.add(inner);
        piece.addLineBreaks(2);
        break;
    case Display::Block:
        piece.addLineBreaks(1);
        piece.add(inner);
        piece.addLineBreaks(1);
        break;
    default:
        piece.add(inner);
        break;
    }
}

std::vector<QString> RenderedText::innerTexts(const PageTree &tree, qsizetype maxChars)
{
    RenderedText collector(tree);
    return collector.run(maxChars);
}

std::vector<QString> RenderedText::run(qsizetype maxChars)
{
    layOut();
    findLastCellsAndRows();
    qsizetype total = 0;
    // Children come after their parent in document order, so this sees them first.
    for (size_t i = m_count; i-- > 0;) {
        const int node = int(i);
        QString &innerText = m_innerTexts[i];
        switch (m_rendering[i]) {
        case Rendering::Locked:
            break;
        case Rendering::Hidden:
            innerText = textContent(node);
            break;
        case Rendering::Rendered: {
            TextPiece &piece = m_pieces[i];
            for (const int child : m_tree.nodes[i].children) {
                if (!PageTree::isText(child))
                    contribute(piece, child);
                else if (m_textRendered[size_t(PageTree::textIndex(child))])
                    piece.addText(m_renderedTexts[size_t(PageTree::textIndex(child))]);
            }
            if (m_style[i].display == Display::Select) {
                TextPiece options;
                addSelect(options, node);
                innerText = options.text();
            } else if (m_style[i].display == Display::Option) {
                innerText = optionText(node);
            } else {
                innerText = piece.text();
            }
            break;
        }
        }
        total += innerText.size();
        if (total > maxChars) {
            throw PageReadError(QCoreApplication::translate("RenderedText",
                "the page's text, repeated in each element that holds it, exceeds %1 characters")
                                    .arg(QLocale(QLocale::English).toString(maxChars)));
        }
    }
    for (size_t i = 0; i < m_count; ++i) {
        if (m_tree.nodes[i].ns != PageTree::Namespace::Html)
            m_innerTexts[i].clear();
    }
    return std::move(m_innerTexts);
}

