#include "pagestyles.h"

#include "cssrules.h"

#include <QByteArray>

#include <mycss/declaration/init.h>
#include <mycss/mycss.h>
#include <mycss/selectors/list.h>
#include <modest/finder/finder.h>

#include <array>
#include <optional>

namespace PageStyles {

namespace {

enum Property { Display, Visibility, TextTransform, WhiteSpace, Float, Position, PropertyCount };

// A declared inherited value "inherit": it wins the cascade like any other, then means Unset.
constexpr quint8 Inherit = 0xFF;

// One element's winners. The priority orders as the cascade does: !important, a style
// attribute, specificity, then the order of the rules.
struct Declared {
    std::array<quint64, PropertyCount> priority{};
    std::array<quint8, PropertyCount> value{};
};

quint64 priorityOf(bool important, bool attribute, const mycss_selectors_specificity_t &specificity, quint32 order)
{
    const auto clamp = [](unsigned int n) { return quint64(std::min(n, 0xFFFu)); };
    return (quint64(important) << 63) | (quint64(attribute) << 62) | (clamp(specificity.a) << 50) | (clamp(specificity.b) << 38)
        | (clamp(specificity.c) << 26) | quint64(order & 0x3FFFFFF);
}

// The value of a declaration of one of the four properties, or nothing for anything else.
std::optional<std::pair<Property, quint8>> valueOf(const mycss_declaration_entry_t *entry)
{
    using D = CssStyle::Display;
    const unsigned int v = entry->value_type;
    switch (entry->type) {
    case MyCSS_PROPERTY_TYPE_DISPLAY: {
        D display = D::Unset;
        switch (v) {
        case MyCSS_PROPERTY_DISPLAY_NONE: display = D::None; break;
        case MyCSS_PROPERTY_DISPLAY_INLINE:
        case MyCSS_PROPERTY_DISPLAY_CONTENTS:
        case MyCSS_PROPERTY_DISPLAY_RUN_IN:
        case MyCSS_PROPERTY_DISPLAY_INITIAL:
        case MyCSS_PROPERTY_DISPLAY_UNSET: display = D::Inline; break;
        case MyCSS_PROPERTY_DISPLAY_BLOCK:
        case MyCSS_PROPERTY_DISPLAY_FLOW:
        case MyCSS_PROPERTY_DISPLAY_FLOW_ROOT:
        case MyCSS_PROPERTY_DISPLAY_FLEX:
        case MyCSS_PROPERTY_DISPLAY_GRID:
        case MyCSS_PROPERTY_DISPLAY_LIST_ITEM:
        case MyCSS_PROPERTY_DISPLAY_TABLE:
        case MyCSS_PROPERTY_DISPLAY_TABLE_CAPTION: display = D::Block; break;
        case MyCSS_PROPERTY_DISPLAY_INLINE_BLOCK:
        case MyCSS_PROPERTY_DISPLAY_INLINE_FLEX:
        case MyCSS_PROPERTY_DISPLAY_INLINE_GRID:
        case MyCSS_PROPERTY_DISPLAY_INLINE_TABLE:
        case MyCSS_PROPERTY_DISPLAY_INLINE_LIST_ITEM: display = D::InlineBlock; break;
        case MyCSS_PROPERTY_DISPLAY_TABLE_ROW_GROUP:
        case MyCSS_PROPERTY_DISPLAY_TABLE_HEADER_GROUP:
        case MyCSS_PROPERTY_DISPLAY_TABLE_FOOTER_GROUP:
        case MyCSS_PROPERTY_DISPLAY_TABLE_COLUMN:
        case MyCSS_PROPERTY_DISPLAY_TABLE_COLUMN_GROUP: display = D::TableGroup; break;
        case MyCSS_PROPERTY_DISPLAY_TABLE_ROW: display = D::TableRow; break;
        case MyCSS_PROPERTY_DISPLAY_TABLE_CELL: display = D::TableCell; break;
        case MyCSS_PROPERTY_DISPLAY_INHERIT: display = D::Inherit; break;
        default: return std::nullopt; // ruby and the like: the default stays
        }
        return std::pair{Display, quint8(display)};
    }
    case MyCSS_PROPERTY_TYPE_VISIBILITY:
        switch (v) {
        case MyCSS_PROPERTY_VISIBILITY_VISIBLE:
        case MyCSS_PROPERTY_VISIBILITY_INITIAL: return std::pair{Visibility, quint8(CssStyle::Visibility::Visible)};
        case MyCSS_PROPERTY_VISIBILITY_HIDDEN:
        case MyCSS_PROPERTY_VISIBILITY_COLLAPSE: return std::pair{Visibility, quint8(CssStyle::Visibility::Hidden)};
        case MyCSS_PROPERTY_VISIBILITY_INHERIT:
        case MyCSS_PROPERTY_VISIBILITY_UNSET: return std::pair{Visibility, Inherit};
        }
        return std::nullopt;
    case MyCSS_PROPERTY_TYPE_TEXT_TRANSFORM:
        switch (v) {
        case MyCSS_PROPERTY_TEXT_TRANSFORM_NONE:
        case MyCSS_PROPERTY_TEXT_TRANSFORM_FULL_WIDTH:
        case MyCSS_PROPERTY_TEXT_TRANSFORM_INITIAL: return std::pair{TextTransform, quint8(CssStyle::TextTransform::None)};
        case MyCSS_PROPERTY_TEXT_TRANSFORM_UPPERCASE: return std::pair{TextTransform, quint8(CssStyle::TextTransform::Uppercase)};
        case MyCSS_PROPERTY_TEXT_TRANSFORM_LOWERCASE: return std::pair{TextTransform, quint8(CssStyle::TextTransform::Lowercase)};
        case MyCSS_PROPERTY_TEXT_TRANSFORM_CAPITALIZE: return std::pair{TextTransform, quint8(CssStyle::TextTransform::Capitalize)};
        case MyCSS_PROPERTY_TEXT_TRANSFORM_INHERIT:
        case MyCSS_PROPERTY_TEXT_TRANSFORM_UNSET: return std::pair{TextTransform, Inherit};
        }
        return std::nullopt;
    case MyCSS_PROPERTY_TYPE_WHITE_SPACE:
        switch (v) {
        case MyCSS_PROPERTY_WHITE_SPACE_NORMAL:
        case MyCSS_PROPERTY_WHITE_SPACE_NOWRAP:
        case MyCSS_PROPERTY_WHITE_SPACE_INITIAL: return std::pair{WhiteSpace, quint8(CssStyle::WhiteSpace::Collapse)};
        case MyCSS_PROPERTY_WHITE_SPACE_PRE:
        case MyCSS_PROPERTY_WHITE_SPACE_PRE_WRAP: return std::pair{WhiteSpace, quint8(CssStyle::WhiteSpace::Preserve)};
        case MyCSS_PROPERTY_WHITE_SPACE_PRE_LINE: return std::pair{WhiteSpace, quint8(CssStyle::WhiteSpace::PreserveBreaks)};
        case MyCSS_PROPERTY_WHITE_SPACE_INHERIT:
        case MyCSS_PROPERTY_WHITE_SPACE_UNSET: return std::pair{WhiteSpace, Inherit};
        }
        return std::nullopt;
    case MyCSS_PROPERTY_TYPE_FLOAT:
        switch (v) {
        case MyCSS_PROPERTY_FLOAT_LEFT:
        case MyCSS_PROPERTY_FLOAT_RIGHT: return std::pair{Float, quint8(1)};
        case MyCSS_PROPERTY_FLOAT_NONE:
        case MyCSS_PROPERTY_FLOAT_INITIAL:
        case MyCSS_PROPERTY_FLOAT_INHERIT:
        case MyCSS_PROPERTY_FLOAT_UNSET: return std::pair{Float, quint8(0)};
        }
        // "start", "end", "top" and "bottom": the browser drops them as invalid, so they change nothing.
        return std::nullopt;
    case MyCSS_PROPERTY_TYPE_POSITION:
        return std::pair{Position, quint8(v == MyCSS_PROPERTY_POSITION_ABSOLUTE || v == MyCSS_PROPERTY_POSITION_FIXED)};
    default:
        return std::nullopt;
    }
}

bool declaresAny(const mycss_declaration_entry_t *entry)
{
    for (; entry; entry = entry->next) {
        if (valueOf(entry))
            return true;
    }
    return false;
}

// ::before and its kind style boxes of their own, not the element.
bool namesPseudoElement(const mycss_selectors_entry_t *selector)
{
    for (; selector; selector = selector->next) {
        if (selector->type == MyCSS_SELECTORS_TYPE_PSEUDO_ELEMENT || selector->type == MyCSS_SELECTORS_TYPE_PSEUDO_ELEMENT_FUNCTION)
            return true;
    }
    return false;
}

// The CSS parser and selector engine of one thread, made once: making them costs more than
// most pages' style sheets.
class Engine
{
public:
    Engine()
    {
        m_mycss = mycss_create();
        mycss_init(m_mycss);
        m_entry = mycss_entry_create();
        mycss_entry_init(m_mycss, m_entry);
        m_finder = modest_finder_create_simple();
    }
    ~Engine()
    {
        modest_finder_destroy(m_finder, true);
        mycss_entry_destroy(m_entry, true);
        mycss_destroy(m_mycss, true);
    }

    mycss_entry_t *entry() const { return m_entry; }
    modest_finder_t *finder() const { return m_finder; }

private:
    mycss_t *m_mycss = nullptr;
    mycss_entry_t *m_entry = nullptr;
    modest_finder_t *m_finder = nullptr;
};

thread_local Engine t_engine;

class Cascade
{
public:
    // Each node knows its element, one past its index, through MyHTML's own slot for the
    // caller's data; the tree is cleaned before it is used again.
    Cascade(const HtmlTree &html, const std::vector<myhtml_tree_node_t *> &sources) : m_html(html), m_sources(sources)
    {
        for (size_t i = 0; i < sources.size(); ++i)
            myhtml_node_set_data(sources[i], reinterpret_cast<void *>(i + 1));
    }

    std::vector<CssStyle> run(const std::vector<int> &styleElements, const std::vector<int> &styledElements)
    {
        m_declared.resize(m_sources.size());
        for (const int element : styleElements)
            applySheet(element);
        for (const int element : styledElements)
            applyAttribute(element);
        std::vector<CssStyle> styles(m_sources.size());
        for (size_t i = 0; i < styles.size(); ++i) {
            const auto value = [&](Property p) { return m_declared[i].value[p] == Inherit ? quint8(0) : m_declared[i].value[p]; };
            styles[i].display = CssStyle::Display(m_declared[i].value[Display]);
            styles[i].visibility = CssStyle::Visibility(value(Visibility));
            styles[i].textTransform = CssStyle::TextTransform(value(TextTransform));
            styles[i].whiteSpace = CssStyle::WhiteSpace(value(WhiteSpace));
            styles[i].outOfFlow = m_declared[i].value[Float] == 1 || m_declared[i].value[Position] == 1;
        }
        return styles;
    }

private:
    void declare(int element, const mycss_declaration_entry_t *entries, bool attribute, const mycss_selectors_specificity_t &specificity)
    {
        for (const mycss_declaration_entry_t *entry = entries; entry; entry = entry->next) {
            const auto value = valueOf(entry);
            if (!value)
                continue;
            const quint64 priority = priorityOf(entry->is_important, attribute, specificity, m_order);
            Declared &declared = m_declared[size_t(element)];
            if (priority >= declared.priority[value->first]) {
                declared.priority[value->first] = priority;
                declared.value[value->first] = value->second;
            }
        }
    }

    static void found(modest_finder_t *, myhtml_tree_node_t *node, mycss_selectors_list_t *list, mycss_selectors_entry_t *,
                      mycss_selectors_specificity_t *specificity, void *context)
    {
        auto *cascade = static_cast<Cascade *>(context);
        const auto element = reinterpret_cast<size_t>(myhtml_node_get_data(node));
        if (element > 0 && element <= cascade->m_declared.size()) // not an element past a cut
            cascade->declare(int(element - 1), list->declaration_entry, false, *specificity);
    }

    void applySheet(int element)
    {
        // The style element's text as the page has it: the parser may decode references in it.
        QByteArray css;
        for (myhtml_tree_node_t *child = myhtml_node_child(m_sources[size_t(element)]); child; child = myhtml_node_next(child)) {
            if (myhtml_node_tag_id(child) == MyHTML_TAG__TEXT)
                css += m_html.source(child);
        }
        const QByteArrayList rules = CssRules::textRules(css);
        // After a selector it cannot read, the CSS parser may lose the rule that follows it too;
        // then each rule is parsed alone, which costs more.
        if (rules.isEmpty() || applyRules(rules.join('\n'), rules.size()))
            return;
        for (const QByteArray &rule : rules)
            applyRules(rule, 1);
    }

    // Applies the rules css holds, unless the parser finds other than the number expected.
    bool applyRules(const QByteArray &css, qsizetype expected)
    {
        mycss_entry_t *entry = t_engine.entry();
        mycss_entry_clean(entry);
        if (mycss_parse(entry, MyENCODING_UTF_8, css.constData(), size_t(css.size())) != MyCSS_STATUS_OK)
            return false;
        const mycss_stylesheet_t *sheet = mycss_entry_stylesheet(entry);
        qsizetype parsed = 0;
        for (mycss_selectors_list_t *rule = sheet ? sheet->sel_list_first : nullptr; rule; rule = rule->next)
            ++parsed;
        if (parsed != expected)
            return false;
        for (mycss_selectors_list_t *rule = sheet ? sheet->sel_list_first : nullptr; rule; rule = rule->next) {
            ++m_order;
            if ((rule->flags & MyCSS_SELECTORS_FLAGS_SELECTOR_BAD) || !declaresAny(rule->declaration_entry))
                continue;
            for (size_t i = 0; i < rule->entries_list_length; ++i) {
                mycss_selectors_entry_t *selector = rule->entries_list[i].entry;
                if (namesPseudoElement(selector))
                    continue;
                mycss_selectors_specificity_t specificity = rule->entries_list[i].specificity;
                modest_finder_node_combinator_begin(t_engine.finder(), m_html.tree()->node_html, rule, selector, &specificity,
                                                    found, this);
            }
        }
        return true;
    }

    void applyAttribute(int element)
    {
        myhtml_tree_attr_t *style = myhtml_attribute_by_key(m_sources[size_t(element)], "style", 5);
        size_t length = 0;
        const char *text = style ? myhtml_attribute_value(style, &length) : nullptr;
        if (!CssRules::mentionsTextProperty(QByteArrayView(text, qsizetype(length))))
            return;
        mycss_entry_t *entry = t_engine.entry();
        mycss_entry_clean(entry);
        mystatus_t status = MyCSS_STATUS_OK;
        const mycss_declaration_entry_t *entries = mycss_declaration_parse(entry->declaration, MyENCODING_UTF_8, text, length, &status);
        declare(element, entries, true, {});
    }

    const HtmlTree &m_html;
    const std::vector<myhtml_tree_node_t *> &m_sources;
    std::vector<Declared> m_declared;
    quint32 m_order = 0;
};

bool appliesToScreen(myhtml_tree_node_t *style)
{
    myhtml_tree_attr_t *media = myhtml_attribute_by_key(style, "media", 5);
    if (!media)
        return true;
    const QByteArray value = QByteArray(myhtml_attribute_value(media, nullptr)).trimmed().toLower();
    return value.isEmpty() || value == "all" || value == "screen";
}

} // namespace

std::vector<CssStyle> declared(const HtmlTree &html, const std::vector<myhtml_tree_node_t *> &sources)
{
    std::vector<int> styleElements, styledElements;
    for (size_t i = 0; i < sources.size(); ++i) {
        myhtml_tree_node_t *node = sources[i];
        if (myhtml_node_tag_id(node) == MyHTML_TAG_STYLE && myhtml_node_namespace(node) == MyHTML_NAMESPACE_HTML
            && appliesToScreen(node))
            styleElements.push_back(int(i));
        if (myhtml_attribute_by_key(node, "style", 5))
            styledElements.push_back(int(i));
    }
    if (styleElements.empty() && styledElements.empty())
        return {};
    return Cascade(html, sources).run(styleElements, styledElements);
}

} // namespace PageStyles
