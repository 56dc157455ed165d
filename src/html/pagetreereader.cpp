#include "pagetreereader.h"

#include <QHash>

#include <algorithm>
#include <QSet>

#include <array>
#include <climits>
#include <string>
#include <string_view>
#include <unordered_map>

namespace {

// Keeps two texts apart in a child list: the browser keeps a comment between them.
constexpr int kCommentMark = INT_MIN;

// Past this many attributes on one element, repeated names are found by hashing.
constexpr qsizetype kLinearAttributeSearch = 16;

struct Names {
    QString localName;
    QString tagName;
};

// Only ASCII letters change case: the browser leaves other letters of a tag name alone.
QString asciiChanged(QString name, bool upper)
{
    const char16_t from = upper ? u'a' : u'A';
    for (QChar &c : name) {
        if (c.unicode() >= from && c.unicode() <= from + 25)
            c = QChar(c.unicode() ^ 0x20);
    }
    return name;
}

// MyHTML names a tag the same in every namespace, SVG's mixed case included.
struct TagNames {
    Names html;
    Names svg;
    Names mathMl;
};

TagNames namesOf(QString name)
{
    TagNames names;
    const QString lower = asciiChanged(name, false);
    names.html = {lower, asciiChanged(lower, true)};
    names.svg = {name, name};
    names.mathMl = {lower, lower};
    return names;
}

class Reader
{
public:
    Reader(const HtmlTree &html, int maxElements, std::vector<myhtml_tree_node_t *> *sources)
        : m_html(html)
        , m_maxElements(maxElements)
        , m_sources(sources)
    {
    }
    PageTree read();

private:
    const Names &names(myhtml_tag_id_t tag, myhtml_namespace_t ns);
    int addElement(myhtml_tree_node_t *node, int parent);
    void appendText(int parent, myhtml_tree_node_t *node);
    void appendComment(int parent);

    const HtmlTree &m_html;
    const int m_maxElements;
    std::vector<myhtml_tree_node_t *> *m_sources;
    PageTree m_tree;
    QHash<myhtml_tag_id_t, TagNames> m_unknownTags;
    QSet<QString> m_seen;
};

const Names &Reader::names(myhtml_tag_id_t tag, myhtml_namespace_t ns)
{
    const TagNames *names = nullptr;
    if (tag < MyHTML_TAG_LAST_ENTRY) {
        static const auto known = [tree = m_html.tree()] {
            std::array<TagNames, MyHTML_TAG_LAST_ENTRY> result;
            for (myhtml_tag_id_t id = 0; id < MyHTML_TAG_LAST_ENTRY; ++id) {
                size_t length = 0;
                const char *name = myhtml_tag_name_by_id(tree, id, &length);
                result[id] = namesOf(QString::fromUtf8(name, qsizetype(name ? length : 0)));
            }
            return result;
        }();
        names = &known[tag];
    } else {
        auto found = m_unknownTags.find(tag);
        if (found == m_unknownTags.end()) {
            size_t length = 0;
            const char *name = myhtml_tag_name_by_id(m_html.tree(), tag, &length);
            found = m_unknownTags.insert(tag, namesOf(QString::fromUtf8(name, qsizetype(name ? length : 0))));
        }
        names = &*found;
    }
    return ns == MyHTML_NAMESPACE_SVG ? names->svg : ns == MyHTML_NAMESPACE_MATHML ? names->mathMl : names->html;
}

// Attribute names repeat across elements and pages: one string per name and thread, shared,
// spares an allocation and a conversion per attribute. Pages making up names stop adding.
QString sharedName(std::string_view key)
{
    struct Hash {
        using is_transparent = void;
        size_t operator()(std::string_view text) const { return std::hash<std::string_view>()(text); }
    };
    constexpr size_t kMostNames = 4096;
    thread_local std::unordered_map<std::string, QString, Hash, std::equal_to<>> names;
    if (const auto found = names.find(key); found != names.end())
        return found->second;
    QString name = QString::fromUtf8(key.data(), qsizetype(key.size()));
    if (names.size() < kMostNames)
        names.emplace(std::string(key), name);
    return name;
}

QString attributeName(myhtml_tree_attr_t *attribute)
{
    size_t length = 0;
    const char *key = myhtml_attribute_key(attribute, &length);
    const QString name = sharedName(std::string_view(key ? key : "", key ? length : 0));
    switch (myhtml_attribute_namespace(attribute)) {
    case MyHTML_NAMESPACE_XLINK:
        return QStringLiteral("xlink:") + name;
    case MyHTML_NAMESPACE_XML:
        return QStringLiteral("xml:") + name;
    case MyHTML_NAMESPACE_XMLNS:
        return name == u"xmlns" ? name : QStringLiteral("xmlns:") + name;
    default:
        return name;
    }
}

int Reader::addElement(myhtml_tree_node_t *node, int parent)
{
    const int index = int(m_tree.nodes.size());
    m_tree.nodes.emplace_back();
    PageTree::Node &element = m_tree.nodes.back();
    const myhtml_namespace_t ns = myhtml_node_namespace(node);
    const Names &tagNames = names(myhtml_node_tag_id(node), ns);
    element.localName = tagNames.localName;
    element.tagName = tagNames.tagName;
    element.ns = ns == MyHTML_NAMESPACE_SVG ? PageTree::Namespace::Svg
        : ns == MyHTML_NAMESPACE_MATHML     ? PageTree::Namespace::MathMl
                                            : PageTree::Namespace::Html;
    element.parent = parent;
    qsizetype count = 0;
    for (myhtml_tree_attr_t *attribute = myhtml_node_attribute_first(node); attribute;
         attribute = myhtml_attribute_next(attribute))
        ++count;
    if (count > 0)
        element.attributes.reserve(count);
    // MyHTML keeps an attribute whose name came before; the browser drops the later one.
    for (myhtml_tree_attr_t *attribute = myhtml_node_attribute_first(node); attribute;
         attribute = myhtml_attribute_next(attribute)) {
        QString name = attributeName(attribute);
        const auto same = [&](const Document::Attribute &other) { return other.name == name; };
        if (element.attributes.size() < kLinearAttributeSearch) {
            if (std::any_of(element.attributes.cbegin(), element.attributes.cend(), same))
                continue;
        } else {
            if (element.attributes.size() == kLinearAttributeSearch) {
                m_seen.clear();
                for (const Document::Attribute &other : std::as_const(element.attributes))
                    m_seen.insert(other.name);
            }
            if (m_seen.contains(name))
                continue;
            m_seen.insert(name);
        }
        size_t length = 0;
        const char *value = myhtml_attribute_value(attribute, &length);
        element.attributes.append({std::move(name), QString::fromUtf8(value, qsizetype(value ? length : 0))});
    }
    if (parent >= 0)
        m_tree.nodes[size_t(parent)].children.push_back(index);
    return index;
}

// MyHTML decodes character references in raw text that holds "</" (<style>a</b>&amp;);
// the text comes from the page's bytes instead, as the tokenizer would have left it.
bool holdsRawText(myhtml_tree_node_t *element)
{
    if (myhtml_node_namespace(element) != MyHTML_NAMESPACE_HTML)
        return false;
    switch (myhtml_node_tag_id(element)) {
    case MyHTML_TAG_STYLE:
    case MyHTML_TAG_XMP:
    case MyHTML_TAG_IFRAME:
    case MyHTML_TAG_NOEMBED:
    case MyHTML_TAG_NOFRAMES:
    case MyHTML_TAG_NOSCRIPT:
        return true;
    default:
        return false;
    }
}

QString rawText(QByteArrayView source)
{
    QString text = QString::fromUtf8(source);
    text.replace(QStringLiteral("\r\n"), QStringLiteral("\n"));
    text.replace(u'\r', u'\n');
    text.replace(QChar(0), QChar::ReplacementCharacter);
    return text;
}

// The browser appends text to a text node just before the insertion point.
void Reader::appendText(int parent, myhtml_tree_node_t *node)
{
    QString text;
    if (holdsRawText(myhtml_node_parent(node))) {
        text = rawText(m_html.source(node));
    } else {
        size_t length = 0;
        const char *data = myhtml_node_text(node, &length);
        text = QString::fromUtf8(data, qsizetype(data ? length : 0));
    }
    if (text.isEmpty())
        return;
    std::vector<int> &children = m_tree.nodes[size_t(parent)].children;
    if (!children.empty() && children.back() != kCommentMark && PageTree::isText(children.back())) {
        m_tree.texts[size_t(PageTree::textIndex(children.back()))] += text;
        return;
    }
    m_tree.texts.push_back(text);
    children.push_back(PageTree::textReference(int(m_tree.texts.size()) - 1));
}

void Reader::appendComment(int parent)
{
    std::vector<int> &children = m_tree.nodes[size_t(parent)].children;
    if (!children.empty() && children.back() != kCommentMark && PageTree::isText(children.back()))
        children.push_back(kCommentMark);
}

// Elements and texts in the tree, counted before it is read so that their lists are made once.
std::pair<size_t, size_t> countNodes(myhtml_tree_node_t *root, size_t mostElements)
{
    size_t elements = 0;
    size_t texts = 0;
    myhtml_tree_node_t *node = myhtml_node_child(root);
    while (node && elements < mostElements) {
        const myhtml_tag_id_t tag = myhtml_node_tag_id(node);
        if (tag == MyHTML_TAG__TEXT)
            ++texts;
        else if (tag != MyHTML_TAG__COMMENT && tag != MyHTML_TAG__DOCTYPE)
            ++elements;
        if (myhtml_tree_node_t *child = myhtml_node_child(node); child && tag != MyHTML_TAG_TEMPLATE) {
            node = child;
            continue;
        }
        while (node && node != root && !myhtml_node_next(node))
            node = myhtml_node_parent(node);
        node = node && node != root ? myhtml_node_next(node) : nullptr;
    }
    return {std::min(elements, mostElements), texts};
}

PageTree Reader::read()
{
    const auto [elements, texts] = countNodes(m_html.document(), size_t(m_maxElements));
    m_tree.nodes.reserve(elements);
    m_tree.texts.reserve(texts);
    // open[d] is the element at depth d; open[0] stands for the document.
    std::vector<int> open{-1};
    myhtml_tree_node_t *node = myhtml_node_child(m_html.document());
    while (node) {
        const int depth = int(open.size()) - 1;
        const int parent = open.back();
        const int attachTo = depth > PageTreeReader::kFlattenDepth ? open[PageTreeReader::kFlattenDepth] : parent;
        myhtml_tree_node_t *descend = nullptr;
        switch (myhtml_node_tag_id(node)) {
        case MyHTML_TAG__TEXT:
            if (parent >= 0)
                appendText(parent, node);
            break;
        case MyHTML_TAG__COMMENT:
            if (attachTo >= 0)
                appendComment(attachTo);
            break;
        case MyHTML_TAG__DOCTYPE:
        case MyHTML_TAG__UNDEF:
        case MyHTML_TAG__END_OF_FILE:
            break;
        default: {
            if (int(m_tree.nodes.size()) >= m_maxElements) {
                m_tree.cut = true;
                node = nullptr;
                continue;
            }
            const int index = addElement(node, attachTo);
            if (m_sources)
                m_sources->push_back(node);
            // A template's content lives in a fragment of its own, outside the document.
            const bool isTemplate = myhtml_node_tag_id(node) == MyHTML_TAG_TEMPLATE
                && myhtml_node_namespace(node) == MyHTML_NAMESPACE_HTML;
            if (!isTemplate && myhtml_node_child(node)) {
                open.push_back(index);
                descend = myhtml_node_child(node);
                // Room for all at once: most elements' child lists would otherwise grow twice.
                size_t children = 0;
                for (myhtml_tree_node_t *child = descend; child; child = myhtml_node_next(child))
                    ++children;
                m_tree.nodes[size_t(index)].children.reserve(children);
            }
        }
        }
        if (descend) {
            node = descend;
            continue;
        }
        // Next in document order: the next sibling of this node or of the nearest ancestor.
        while (node && !myhtml_node_next(node)) {
            node = myhtml_node_parent(node);
            open.pop_back();
            if (open.empty())
                node = nullptr;
        }
        if (node)
            node = myhtml_node_next(node);
    }
    for (PageTree::Node &element : m_tree.nodes)
        std::erase(element.children, kCommentMark);
    return std::move(m_tree);
}

} // namespace

PageTree PageTreeReader::read(const HtmlTree &html, int maxElements, std::vector<myhtml_tree_node_t *> *sources)
{
    return Reader(html, maxElements, sources).read();
}
