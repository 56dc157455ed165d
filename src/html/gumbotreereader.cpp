#include "gumbotreereader.h"

#include <array>
#include <climits>

namespace {

// Keeps two texts apart in a child list: the browser keeps a comment between them.
constexpr int kCommentMark = INT_MIN;

struct KnownTag {
    QString localName;
    QString tagName;
};

const std::array<KnownTag, GUMBO_TAG_UNKNOWN> &knownTags()
{
    static const auto tags = [] {
        std::array<KnownTag, GUMBO_TAG_UNKNOWN> result;
        for (int tag = 0; tag < GUMBO_TAG_UNKNOWN; ++tag) {
            const QString name = QString::fromLatin1(gumbo_normalized_tagname(GumboTag(tag)));
            result[size_t(tag)] = {name, name.toUpper()};
        }
        return result;
    }();
    return tags;
}

QByteArray asciiLowered(const char *data, size_t size)
{
    QByteArray result(data, qsizetype(size));
    for (char &c : result) {
        if (c >= 'A' && c <= 'Z')
            c = char(c + ('a' - 'A'));
    }
    return result;
}

// Only ASCII letters change case: the browser leaves other letters of a tag name alone.
QString asciiUpper(QString name)
{
    for (QChar &c : name) {
        if (c >= u'a' && c <= u'z')
            c = QChar(c.unicode() - (u'a' - u'A'));
    }
    return name;
}

void localAndTagName(const GumboElement &element, PageTree::Node &node)
{
    QByteArray lower;
    if (element.tag != GUMBO_TAG_UNKNOWN) {
        const KnownTag &known = knownTags()[element.tag];
        if (element.tag_namespace != GUMBO_NAMESPACE_SVG) {
            node.localName = known.localName;
            node.tagName = element.tag_namespace == GUMBO_NAMESPACE_HTML ? known.tagName : known.localName;
            return;
        }
        lower = gumbo_normalized_tagname(element.tag);
    } else {
        GumboStringPiece original = element.original_tag;
        gumbo_tag_from_original_text(&original);
        lower = asciiLowered(original.data, original.length);
    }
    if (element.tag_namespace == GUMBO_NAMESPACE_SVG) {
        const GumboStringPiece piece{lower.constData(), size_t(lower.size())};
        if (const char *svgName = gumbo_normalize_svg_tagname(&piece)) {
            node.localName = QString::fromLatin1(svgName);
            node.tagName = node.localName;
            return;
        }
    }
    node.localName = QString::fromUtf8(lower);
    node.tagName = element.tag_namespace == GUMBO_NAMESPACE_HTML ? asciiUpper(node.localName) : node.localName;
}

QString attributeName(const GumboAttribute &attribute)
{
    const QString name = QString::fromUtf8(attribute.name);
    switch (attribute.attr_namespace) {
    case GUMBO_ATTR_NAMESPACE_XLINK:
        return QStringLiteral("xlink:") + name;
    case GUMBO_ATTR_NAMESPACE_XML:
        return QStringLiteral("xml:") + name;
    case GUMBO_ATTR_NAMESPACE_XMLNS:
        return name == u"xmlns" ? name : QStringLiteral("xmlns:") + name;
    case GUMBO_ATTR_NAMESPACE_NONE:
        break;
    }
    return name;
}

// The browser appends text to a text node just before the insertion point.
void appendText(PageTree &tree, int parent, QString text)
{
    std::vector<int> &children = tree.nodes[size_t(parent)].children;
    if (!children.empty() && children.back() != kCommentMark && PageTree::isText(children.back())) {
        tree.texts[size_t(PageTree::textIndex(children.back()))] += text;
        return;
    }
    tree.texts.push_back(std::move(text));
    children.push_back(PageTree::textReference(int(tree.texts.size()) - 1));
}

void appendComment(PageTree &tree, int parent)
{
    std::vector<int> &children = tree.nodes[size_t(parent)].children;
    if (!children.empty() && children.back() != kCommentMark && PageTree::isText(children.back()))
        children.push_back(kCommentMark);
}

int addElement(PageTree &tree, const GumboNode &gumboNode, int parent, const char *input,
               const QHash<qsizetype, QString> &rawTexts)
{
    const GumboElement &element = gumboNode.v.element;
    const int index = int(tree.nodes.size());
    tree.nodes.emplace_back();
    PageTree::Node &node = tree.nodes.back();
    localAndTagName(element, node);
    node.ns = element.tag_namespace == GUMBO_NAMESPACE_SVG ? PageTree::Namespace::Svg
        : element.tag_namespace == GUMBO_NAMESPACE_MATHML  ? PageTree::Namespace::MathMl
                                                           : PageTree::Namespace::Html;
    node.parent = parent;
    node.attributes.reserve(qsizetype(element.attributes.length));
    for (unsigned i = 0; i < element.attributes.length; ++i) {
        const auto &attribute = *static_cast<const GumboAttribute *>(element.attributes.data[i]);
        node.attributes.append({attributeName(attribute), QString::fromUtf8(attribute.value)});
    }
    if (parent >= 0)
        tree.nodes[size_t(parent)].children.push_back(index);
    if (!rawTexts.isEmpty() && element.original_tag.data) {
        const auto raw = rawTexts.constFind(qsizetype(element.original_tag.data - input));
        if (raw != rawTexts.cend() && !raw->isEmpty())
            appendText(tree, index, *raw);
    }
    return index;
}

} // namespace

PageTree GumboTreeReader::read(const GumboOutput &output, const char *input,
                               const QHash<qsizetype, QString> &rawTexts, int maxElements)
{
    PageTree tree;
    struct Frame {
        const GumboVector *children;
        unsigned next;
        int index;
    };
    // stack[d] is the open element at depth d; stack[0] stands for the document.
    std::vector<Frame> stack;
    stack.push_back({&output.document->v.document.children, 0, -1});
    while (!stack.empty()) {
        Frame &top = stack.back();
        if (top.next >= top.children->length) {
            stack.pop_back();
            continue;
        }
        const auto *child = static_cast<const GumboNode *>(top.children->data[top.next++]);
        const int depth = int(stack.size()) - 1;
        const int parent = top.index;
        const int attachTo = depth > kFlattenDepth ? stack[kFlattenDepth].index : parent;
        switch (child->type) {
        case GUMBO_NODE_ELEMENT:
        case GUMBO_NODE_TEMPLATE: {
            if (int(tree.nodes.size()) >= maxElements) {
                tree.cut = true;
                stack.clear();
                break;
            }
            const int index = addElement(tree, *child, attachTo, input, rawTexts);
            // A template's content lives in a fragment of its own, outside the document.
            if (child->type == GUMBO_NODE_ELEMENT)
                stack.push_back({&child->v.element.children, 0, index});
            break;
        }
        case GUMBO_NODE_TEXT:
        case GUMBO_NODE_WHITESPACE:
        case GUMBO_NODE_CDATA:
            if (parent >= 0)
                appendText(tree, parent, QString::fromUtf8(child->v.text.text));
            break;
        case GUMBO_NODE_COMMENT:
            if (attachTo >= 0)
                appendComment(tree, attachTo);
            break;
        case GUMBO_NODE_DOCUMENT:
            break;
        }
    }
    for (PageTree::Node &node : tree.nodes)
        std::erase(node.children, kCommentMark);
    return tree;
}
