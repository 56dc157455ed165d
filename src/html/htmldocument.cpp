#include "htmldocument.h"

#include "asciiwhitespace.h"
#include "htmltree.h"
#include "nestingscan.h"
#include "pageencoding.h"
#include "pagestyles.h"
#include "pagereaderror.h"
#include "pagetreereader.h"
#include "renderedtext.h"

#include <QCoreApplication>
#include <QLocale>
#include <QTextBoundaryFinder>

#include <algorithm>
#include <cstring>


using namespace Qt::StringLiterals;
namespace {

// The browser splits longer runs of text into several text nodes, except in scripts and styles.
constexpr qsizetype kTextNodeLimit = 65536;

QString number(qint64 value)
{
    return QLocale(QLocale::English).toString(value);
}

QString translated(const char *text)
{
    return QCoreApplication::translate("parseHtmlDocument", text);
}

QString collapsedTitle(const PageTree &tree)
{
    for (size_t i = 0; i < tree.nodes.size(); ++i) {
        if (!tree.isHtml(int(i), u"title"_s))
            continue;
        QString text;
        for (const int child : tree.nodes[i].children) {
            if (PageTree::isText(child))
                text += tree.texts[size_t(PageTree::textIndex(child))];
        }
        return stripAndCollapseAsciiWhitespace(text);
    }
    return {};
}

bool keepsLongText(const PageTree::Node &node)
{
    return node.localName == u"script"_s || (node.ns == PageTree::Namespace::Html && node.localName == u"style"_s);
}

void appendText(QList<Document::ChildNode> &children, const QString &text, bool split)
{
    if (!split || text.size() <= kTextNodeLimit) {
        children.append(Document::ChildNode{.text = text});
        return;
    }
    // Splits fall between characters as the user sees them, unless all are Latin-1.
    const bool latin1 = std::all_of(text.cbegin(), text.cend(), [](QChar c) { return c.unicode() <= 0xff; });
    for (qsizetype begin = 0; begin < text.size();) {
        qsizetype end = std::min(begin + kTextNodeLimit, text.size());
        if (!latin1 && end < text.size()) {
            const qsizetype window = std::max(begin, end - 32);
            QTextBoundaryFinder graphemes(QTextBoundaryFinder::Grapheme,
                                          QStringView(text).sliced(window, std::min(text.size(), end + 2) - window));
            graphemes.setPosition(end - window);
            if (!graphemes.isAtBoundary()) {
                const qsizetype previous = graphemes.toPreviousBoundary();
                if (previous > 0) // past the window's start, so past begin: each text holds something
                    end = window + previous;
            }
        }
        children.append(Document::ChildNode{.text = text.mid(begin, end - begin)});
        begin = end;
    }
}

// The input as the parser should see it: valid UTF-8 without a byte order mark, decoded from the
// encoding the browser would read the page in.
QByteArrayView validUtf8(const QByteArray &html, QByteArrayView transportCharset, QByteArray &storage)
{
    const PageEncoding::Choice encoding = PageEncoding::sniff(html, transportCharset);
    QByteArrayView input(html);
    if (encoding.name == "UTF-8") {
        if (input.startsWith("\xEF\xBB\xBF"))
            input = input.sliced(3);
        if (input.isValidUtf8())
            return input;
    }
    // The UTF-16 decoders drop their byte order marks themselves.
    storage = PageEncoding::toUtf8(input, encoding.name);
    return storage;
}

// A page with few tags can neither nest past the limit nor reach the element cap: a start tag
// opens at most two levels on average (a cell in a new table implies a row group and a row),
// and html and body come without one. Most pages are such, and skip the pre-scan.
bool needsNestingScan(QByteArrayView input, const ParseLimits &limits)
{
    const qsizetype mostTags = std::min(qsizetype(limits.maxElements), qsizetype(limits.maxDepth - 3) / 2);
    const char *at = input.data();
    const char *const end = at + input.size();
    for (qsizetype tags = 0; tags <= mostTags; ++tags) {
        at = at < end ? static_cast<const char *>(std::memchr(at, '<', size_t(end - at))) : nullptr;
        if (!at)
            return false;
        ++at;
    }
    return true;
}

Document::Element takeElement(PageTree &tree, int index, Document::TextRange innerText)
{
    PageTree::Node &node = tree.nodes[size_t(index)];
    Document::Element element;
    element.tagName = std::move(node.tagName);
    element.parent = node.parent;
    element.id = tree.attribute(index, u"id"_s);
    element.innerText = innerText;
    element.children.reserve(qsizetype(node.children.size()));
    const bool split = !keepsLongText(node);
    for (const int child : node.children) {
        if (PageTree::isText(child))
            appendText(element.children, tree.texts[size_t(PageTree::textIndex(child))], split);
        else
            element.children.append(Document::ChildNode{child, {}});
    }
    element.attributes = std::move(node.attributes);
    return element;
}

} // namespace

DocumentPtr parseHtmlDocument(const QByteArray &html, const QString &url, const ParseLimits &limits, QByteArrayView transportCharset)
{
    if (html.size() > limits.maxInputBytes) {
        throw PageReadError(translated("the page is %1 bytes long; at most %2 can be read")
                                .arg(number(html.size()), number(limits.maxInputBytes)));
    }
    QByteArray storage;
    const QByteArrayView input = validUtf8(html, transportCharset, storage);
    const NestingScan::Result scan = needsNestingScan(input, limits) ? NestingScan::run(input, limits.maxElements)
                                                                     : NestingScan::Result{};
    if (scan.depth > limits.maxDepth) {
        throw PageReadError(translated("the page nests elements %1 deep; at most %2 can be read")
                                .arg(number(scan.depth), number(limits.maxDepth)));
    }
    const HtmlTree parsed(scan.cutAt >= 0 ? input.first(scan.cutAt) : input);
    std::vector<myhtml_tree_node_t *> sources;
    PageTree tree = PageTreeReader::read(parsed, limits.maxElements, &sources);
    const std::vector<CssStyle> styles = PageStyles::declared(parsed, sources);
    RenderedText::Texts texts = RenderedText::collect(tree, limits.maxTextChars, styles);

    auto document = std::make_shared<Document>();
    document->url = url;
    document->title = collapsedTitle(tree);
    if (tree.cut || scan.cutAt >= 0) {
        document->cut = true;
        document->cutReason = translated("the page has more than %1 elements; the first %1 were read")
                                  .arg(number(limits.maxElements));
    }
    document->elements.reserve(qsizetype(tree.nodes.size()));
    for (size_t i = 0; i < tree.nodes.size(); ++i)
        document->elements.append(takeElement(tree, int(i), texts.innerTexts[i]));
    document->setText(std::move(texts.text));
    return document;
}
