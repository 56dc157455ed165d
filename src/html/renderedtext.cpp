#include "renderedtext.h"

#include "asciiwhitespace.h"
#include "pagereaderror.h"

#include <QCoreApplication>
#include <QLocale>

using Display = DefaultStyle::Display;


using namespace Qt::StringLiterals;
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

RenderedText::RenderedText(const PageTree &tree, const std::vector<CssStyle> &styles)
    : m_tree(tree)
    , m_count(tree.nodes.size())
    , m_style(m_count)
    , m_rendering(m_count, Rendering::Hidden)
    , m_textRenders(m_count, false)
    , m_preserve(m_count, false)
    , m_hasNext(m_count, false)
    , m_renderedTexts(tree.texts.size())
    , m_textRendered(tree.texts.size(), false)
    , m_collapser(m_renderedTexts)
    , m_innerTexts(m_count)
    , m_writer(m_text, m_innerTexts)
{
    for (size_t i = 0; i < m_count; ++i)
        m_style[i] = DefaultStyle::of(tree, int(i));
    if (styles.size() == m_count)
        applyStyles(styles);
}

namespace {

Display declaredDisplay(Display base, CssStyle::Display css, Display parent);

// An element's box as the page's CSS makes it. Replaced elements, line breaks, form controls and
// content-visibility keep their own kind; a p keeps its two line breaks; any element can be taken
// out of the layout; a float or an absolutely positioned box is a block.
Display styledDisplay(Display base, const CssStyle &style, Display parent)
{
    const Display display = declaredDisplay(base, style.display, parent);
    switch (display) {
    case Display::Inline:
    case Display::InlineBlock:
    case Display::TableGroup:
    case Display::TableRow:
    case Display::TableCell:
        return style.outOfFlow ? Display::Block : display;
    default:
        return display;
    }
}

Display declaredDisplay(Display base, CssStyle::Display css, Display parent)
{
    using C = CssStyle::Display;
    if (css == C::Unset)
        return base;
    if (css == C::None)
        return Display::None;
    switch (base) {
    case Display::Locked:
    case Display::Replaced:
    case Display::LineBreak:
    case Display::Select:
    case Display::Option:
    case Display::Paragraph:
        return base;
    default:
        break;
    }
    switch (css) {
    case C::Inherit: return parent;
    case C::Inline: return Display::Inline;
    case C::Block: return Display::Block;
    case C::InlineBlock: return Display::InlineBlock;
    case C::TableGroup: return Display::TableGroup;
    case C::TableRow: return Display::TableRow;
    case C::TableCell: return Display::TableCell;
    default: return base;
    }
}

// Words begin after anything that is not a letter, a digit or an apostrophe ("O'neil").
QString capitalized(QString text)
{
    bool wordStart = true;
    for (QChar &c : text) {
        if (wordStart && c.isLetter())
            c = c.toUpper();
        wordStart = !c.isLetterOrNumber() && c != u'\'' && c != u'\u2019';
    }
    return text;
}

} // namespace

void RenderedText::applyStyles(const std::vector<CssStyle> &styles)
{
    // Every node's entry is written below.
    m_visible.resize(m_count);
    m_transform.resize(m_count);
    m_whiteSpace.resize(m_count);
    m_textOwner.assign(m_tree.texts.size(), -1);
    // A parent comes before its children in document order: each inherits from one already done.
    for (size_t i = 0; i < m_count; ++i) {
        const int parent = m_tree.nodes[i].parent;
        const CssStyle &css = styles[i];
        m_style[i].display = styledDisplay(m_style[i].display, css, parent < 0 ? Display::Inline : m_style[size_t(parent)].display);
        m_visible[i] = css.visibility == CssStyle::Visibility::Unset ? (parent < 0 || m_visible[size_t(parent)])
                                                                      : css.visibility == CssStyle::Visibility::Visible;
        m_transform[i] = css.textTransform != CssStyle::TextTransform::Unset ? css.textTransform
                         : parent >= 0                                        ? m_transform[size_t(parent)]
                                                                              : CssStyle::TextTransform::None;
        m_whiteSpace[i] = css.whiteSpace;
    }
}

void RenderedText::transformTexts()
{
    for (size_t text = 0; text < m_textOwner.size(); ++text) {
        const int owner = m_textOwner[text];
        if (owner < 0 || !m_textRendered[text])
            continue;
        QString &rendered = m_renderedTexts[text];
        switch (m_transform[size_t(owner)]) {
        case CssStyle::TextTransform::Uppercase:
            rendered = rendered.toUpper();
            break;
        case CssStyle::TextTransform::Lowercase:
            rendered = rendered.toLower();
            break;
        case CssStyle::TextTransform::Capitalize:
            rendered = capitalized(std::move(rendered));
            break;
        default:
            break;
        }
    }
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
        const bool listBox = !m_tree.attribute(parent, u"multiple"_s).isNull()
            || m_tree.attribute(parent, u"size"_s).toInt() > 1;
        const bool option = m_tree.isHtml(child, u"option"_s) || m_tree.isHtml(child, u"optgroup"_s);
        return listBox && option ? Rendering::Rendered : Rendering::Hidden;
    }
    default:
        break;
    }
    if (m_tree.isHtml(parent, u"details"_s) && m_tree.attribute(parent, u"open"_s).isNull())
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
        return !(m_tree.isHtml(parent, u"details"_s) && m_tree.attribute(parent, u"open"_s).isNull());
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
    // The page's white-space on the element itself comes before the default sheet's, which comes
    // before what the parent passes on. pre-line is taken as normal.
    const CssStyle::WhiteSpace declared = m_whiteSpace.empty() ? CssStyle::WhiteSpace::Unset : m_whiteSpace[size_t(node)];
    m_preserve[size_t(node)] = declared == CssStyle::WhiteSpace::Unset ? inPre || style.preservesWhitespace
                                                                       : declared == CssStyle::WhiteSpace::Preserve;
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
                if (m_rendering[size_t(node)] == Rendering::Rendered && textRenderedIn(node) && visible(node)) {
                    m_textRendered[size_t(text)] = true;
                    if (!m_textOwner.empty())
                        m_textOwner[size_t(text)] = node;
                    m_collapser.text(text, m_tree.texts[size_t(text)], m_preserve[size_t(node)]);
                }
                continue;
            }
            const bool summary = !frame.summarySeen && m_tree.isHtml(child, u"summary"_s);
            frame.summarySeen = frame.summarySeen || summary;
            place(child, node, summary);
            stack.push_back({child, 0, false});
        }
    }
    m_collapser.finish();
    if (!m_textOwner.empty())
        transformTexts();
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
            // Cells side by side are a row, the parent's box or an anonymous one around them.
        } else if (display == Display::TableRow) {
            if (m_style[size_t(owner)].display == Display::TableGroup) // never the root: it has a parent
                owner = m_tree.nodes[size_t(owner)].parent;
            if (!m_tree.isHtml(owner, u"table"_s))
                continue;
        } else {
            continue;
        }
        if (last[size_t(owner)] >= 0)
            m_hasNext[size_t(last[size_t(owner)])] = true;
        last[size_t(owner)] = int(i);
    }
}

// The text content of a subtree. Hidden elements, SVG and MathML ones have it as their
// innerText and get their part of it; a rendered HTML element in SVG keeps its own.
void RenderedText::writeTextContent(int root)
{
    struct Frame {
        int node;
        size_t next;
        qsizetype start;
    };
    std::vector<Frame> stack{{root, 0, m_hiddenText.size()}};
    while (!stack.empty()) {
        Frame &frame = stack.back();
        const std::vector<int> &children = m_tree.nodes[size_t(frame.node)].children;
        if (frame.next == children.size()) {
            if (hasTextContentAsInnerText(frame.node))
                m_innerTexts[size_t(frame.node)] = {frame.start, m_hiddenText.size() - frame.start};
            stack.pop_back();
            continue;
        }
        const int child = children[frame.next++];
        if (PageTree::isText(child))
            m_hiddenText += m_tree.texts[size_t(PageTree::textIndex(child))];
        else
            stack.push_back({child, 0, m_hiddenText.size()});
    }
}

bool RenderedText::hasTextContentAsInnerText(int node) const
{
    return m_tree.nodes[size_t(node)].ns != PageTree::Namespace::Html || m_rendering[size_t(node)] == Rendering::Hidden;
}

// The rendered text of a subtree, walked in document order.
void RenderedText::writeRendered(int root)
{
    struct Frame {
        int node;
        size_t next = 0;
    };
    m_writer.startSubtree();
    if (!openOwn(root))
        return;
    std::vector<Frame> stack{{root}};
    while (!stack.empty()) {
        Frame &frame = stack.back();
        const int node = frame.node;
        const std::vector<int> &children = m_tree.nodes[size_t(node)].children;
        if (frame.next == children.size()) {
            m_writer.close();
            stack.pop_back();
            if (!stack.empty())
                addAfter(node);
            continue;
        }
        const int child = children[frame.next++];
        if (PageTree::isText(child)) {
            const int text = PageTree::textIndex(child);
            if (m_textRendered[size_t(text)])
                m_writer.addText(m_renderedTexts[size_t(text)]);
            continue;
        }
        if (m_rendering[size_t(child)] != Rendering::Rendered)
            continue;
        addBefore(child);
        if (openOwn(child)) {
            stack.push_back({child});
            continue;
        }
        addAfter(child);
    }
}

// Writes the element's own text; true when that comes from its children, still to be walked.
bool RenderedText::openOwn(int node)
{
    switch (m_style[size_t(node)].display) {
    case Display::Select:
        m_writer.open(node);
        addSelect(node);
        m_writer.close();
        return false;
    case Display::Option:
        addOption(node);
        return false;
    default:
        m_writer.open(node);
        return true;
    }
}

void RenderedText::addBefore(int child)
{
    if (!visible(child))
        return; // an invisible box adds no line breaks of its own
    switch (m_style[size_t(child)].display) {
    case Display::LineBreak:
        m_writer.addText(u"\n");
        break;
    case Display::Paragraph:
        m_writer.addLineBreaks(2);
        break;
    case Display::Block:
    case Display::Option:
        m_writer.addLineBreaks(1);
        break;
    default:
        break;
    }
}

void RenderedText::addAfter(int child)
{
    if (!visible(child))
        return;
    switch (m_style[size_t(child)].display) {
    case Display::TableCell:
        if (m_hasNext[size_t(child)])
            m_writer.addText(u"\t");
        break;
    case Display::TableRow:
        if (m_hasNext[size_t(child)])
            m_writer.addText(u"\n");
        break;
    case Display::Paragraph:
        m_writer.addLineBreaks(2);
        break;
    case Display::Block:
    case Display::Option:
        m_writer.addLineBreaks(1);
        break;
    default:
        break;
    }
}

// A select lists its options whatever its children would give.
void RenderedText::addSelect(int select)
{
    const auto addListed = [this](int option) {
        m_writer.addLineBreaks(1);
        addOption(option);
        m_writer.addLineBreaks(1);
    };
    for (const int child : m_tree.nodes[size_t(select)].children) {
        if (PageTree::isText(child))
            continue;
        if (m_tree.isHtml(child, u"option"_s)) {
            addListed(child);
        } else if (m_tree.isHtml(child, u"optgroup"_s)) {
            // Laid out in a list box, it shows its options and none of the text around them.
            const bool rendered = m_rendering[size_t(child)] == Rendering::Rendered;
            if (rendered)
                m_writer.open(child);
            for (const int option : m_tree.nodes[size_t(child)].children) {
                if (!PageTree::isText(option) && m_tree.isHtml(option, u"option"_s))
                    addListed(option);
            }
            if (rendered)
                m_writer.close();
        }
    }
}

void RenderedText::addOption(int option)
{
    const bool rendered = m_rendering[size_t(option)] == Rendering::Rendered;
    if (rendered)
        m_writer.open(option);
    m_writer.addText(optionText(option));
    if (rendered)
        m_writer.close();
}

// The children of an option are hidden: their text content is in m_hiddenText.
QString RenderedText::optionText(int option) const
{
    QString text;
    for (const int child : m_tree.nodes[size_t(option)].children) {
        if (PageTree::isText(child)) {
            text += m_tree.texts[size_t(PageTree::textIndex(child))];
        } else if (m_tree.nodes[size_t(child)].localName != u"script"_s) {
            const Document::TextRange range = m_innerTexts[size_t(child)];
            text += QStringView(m_hiddenText).sliced(range.start, range.length);
        }
    }
    return stripAndCollapseAsciiWhitespace(text);
}

RenderedText::Texts RenderedText::collect(const PageTree &tree, qsizetype maxChars, const std::vector<CssStyle> &styles)
{
    RenderedText collector(tree, styles);
    return collector.run(maxChars);
}

RenderedText::Texts RenderedText::run(qsizetype maxChars)
{
    layOut();
    findLastCellsAndRows();
    const auto textContentRoot = [this](size_t i) {
        const int parent = m_tree.nodes[i].parent;
        return hasTextContentAsInnerText(int(i)) && (parent < 0 || !hasTextContentAsInnerText(parent));
    };
    // Options read their hidden children's text; SVG and MathML elements get ranges from the
    // rendered text, to be replaced.
    for (size_t i = 0; i < m_count; ++i) {
        if (m_rendering[i] == Rendering::Hidden && textContentRoot(i))
            writeTextContent(int(i));
    }
    for (size_t i = 0; i < m_count; ++i) {
        if (m_tree.nodes[i].parent < 0 && m_rendering[i] == Rendering::Rendered)
            writeRendered(int(i));
    }
    for (size_t i = 0; i < m_count; ++i) {
        if (m_rendering[i] != Rendering::Hidden && textContentRoot(i))
            writeTextContent(int(i));
    }

    if (m_text.size() + m_hiddenText.size() > maxChars) {
        throw PageReadError(QCoreApplication::translate("RenderedText", "the page's text exceeds %1 characters")
                                .arg(QLocale(QLocale::English).toString(maxChars)));
    }
    const qsizetype hiddenStart = m_text.size();
    m_text += m_hiddenText;
    m_hiddenText = QString();
    for (size_t i = 0; i < m_count; ++i) {
        if (hasTextContentAsInnerText(int(i)))
            m_innerTexts[i].start += hiddenStart;
    }
    return {std::move(m_text), std::move(m_innerTexts)};
}
