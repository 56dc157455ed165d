#include "defaultstyle.h"

#include <QHash>


using namespace Qt::StringLiterals;
namespace {

using Display = DefaultStyle::Display;

const QHash<QString, Display> &htmlDisplays()
{
    static const QHash<QString, Display> displays = [] {
        QHash<QString, Display> result;
        for (const char16_t *name : {u"head", u"link", u"meta", u"script", u"style", u"title", u"base",
                                     u"basefont", u"datalist", u"noembed", u"noframes", u"noscript",
                                     u"param", u"rp", u"template", u"area", u"source", u"track"})
            result.insert(QString::fromUtf16(name), Display::None);
        for (const char16_t *name :
             {u"html", u"body", u"address", u"article", u"aside", u"blockquote", u"center", u"details",
              u"dialog", u"dir", u"div", u"dl", u"dd", u"dt", u"fieldset", u"figcaption", u"figure",
              u"footer", u"form", u"h1", u"h2", u"h3", u"h4", u"h5", u"h6", u"header", u"hgroup", u"hr",
              u"legend", u"li", u"listing", u"main", u"menu", u"nav", u"ol", u"optgroup", u"plaintext",
              u"pre", u"section", u"summary", u"table", u"caption", u"ul", u"xmp", u"frameset", u"frame"})
            result.insert(QString::fromUtf16(name), Display::Block);
        for (const char16_t *name : {u"thead", u"tbody", u"tfoot", u"colgroup", u"col"})
            result.insert(QString::fromUtf16(name), Display::TableGroup);
        for (const char16_t *name : {u"img", u"input", u"textarea", u"iframe", u"video", u"audio", u"canvas",
                                     u"embed", u"meter", u"progress", u"keygen"})
            result.insert(QString::fromUtf16(name), Display::Replaced);
        result.insert(QStringLiteral("p"), Display::Paragraph);
        result.insert(QStringLiteral("tr"), Display::TableRow);
        result.insert(QStringLiteral("td"), Display::TableCell);
        result.insert(QStringLiteral("th"), Display::TableCell);
        result.insert(QStringLiteral("br"), Display::LineBreak);
        result.insert(QStringLiteral("button"), Display::InlineBlock);
        result.insert(QStringLiteral("marquee"), Display::InlineBlock);
        result.insert(QStringLiteral("select"), Display::Select);
        result.insert(QStringLiteral("option"), Display::Option);
        return result;
    }();
    return displays;
}

const QHash<QString, Display> &svgDisplays()
{
    static const QHash<QString, Display> displays = [] {
        QHash<QString, Display> result;
        // The browser reads the text of a <text> in other hidden containers (defs, symbol, mask and
        // the like), though it draws none of it.
        for (const char16_t *name : {u"linearGradient", u"radialGradient", u"filter", u"title", u"desc", u"metadata",
                                     u"style", u"script"})
            result.insert(QString::fromUtf16(name), Display::None);
        result.insert(QStringLiteral("text"), Display::Block);
        result.insert(QStringLiteral("foreignObject"), Display::Block);
        return result;
    }();
    return displays;
}

DefaultStyle htmlStyle(const PageTree &tree, int node)
{
    const QString &name = tree.nodes[size_t(node)].localName;
    DefaultStyle style;
    style.display = htmlDisplays().value(name, Display::Inline);
    style.text = DefaultStyle::TextRendering::Rendered;
    style.preservesWhitespace = name == u"pre"_s || name == u"listing"_s || name == u"plaintext"_s || name == u"xmp"_s;

    const QString hidden = tree.attribute(node, u"hidden"_s);
    if (!hidden.isNull()) {
        style.display = hidden.compare(u"until-found", Qt::CaseInsensitive) == 0 ? Display::Locked : Display::None;
    } else if (name == u"input"_s) {
        if (tree.attribute(node, u"type"_s).compare(u"hidden", Qt::CaseInsensitive) == 0)
            style.display = Display::None;
    } else if (name == u"dialog"_s) {
        if (tree.attribute(node, u"open"_s).isNull())
            style.display = Display::None;
    } else if (name == u"audio"_s) {
        if (tree.attribute(node, u"controls"_s).isNull())
            style.display = Display::None;
    }
    return style;
}

} // namespace

DefaultStyle DefaultStyle::of(const PageTree &tree, int node)
{
    const PageTree::Node &element = tree.nodes[size_t(node)];
    switch (element.ns) {
    case PageTree::Namespace::Html:
        return htmlStyle(tree, node);
    case PageTree::Namespace::Svg: {
        DefaultStyle style;
        style.display = svgDisplays().value(element.localName, Display::Inline);
        if (element.localName == u"svg"_s) {
            // The outermost svg is an atomic box in the HTML around it.
            const int parent = element.parent;
            if (parent < 0 || tree.nodes[size_t(parent)].ns != PageTree::Namespace::Svg)
                style.display = Display::InlineBlock;
            style.text = TextRendering::Hidden;
        } else if (element.localName == u"text"_s || element.localName == u"foreignObject"_s) {
            style.text = TextRendering::Rendered;
        }
        return style;
    }
    case PageTree::Namespace::MathMl:
        return {Display::Inline, element.localName == u"math"_s ? TextRendering::Rendered : TextRendering::Inherit,
                false};
    }
    return {};
}
