#include "nestingscan.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <utility>

namespace {

enum Flag : quint32 {
    Void = 1 << 0,
    ClosesP = 1 << 1,
    Special = 1 << 2,
    Boundary = 1 << 3,
    Breakout = 1 << 4,
    RawContent = 1 << 5,
    Heading = 1 << 6,
    Formatting = 1 << 7,
    ScopedEnd = 1 << 8,
    TableStructure = 1 << 9,
};

#define TAMBERLINE_NAMES(X) \
    X(html, "html", Special | Boundary) \
    X(head, "head", Special | Breakout) \
    X(body, "body", Special | Breakout) \
    X(p, "p", ClosesP | Special | Breakout) \
    X(li, "li", ClosesP | Special | Breakout) \
    X(dd, "dd", ClosesP | Special | Breakout) \
    X(dt, "dt", ClosesP | Special | Breakout) \
    X(option, "option", 0) \
    X(optgroup, "optgroup", 0) \
    X(select, "select", Special) \
    X(button, "button", Special | ScopedEnd) \
    X(a, "a", Formatting) \
    X(nobr, "nobr", Formatting | Breakout) \
    X(table, "table", Special | Boundary | Breakout) /* closes p only in standards mode */ \
    X(caption, "caption", Special | Boundary | TableStructure) \
    X(colgroup, "colgroup", Special | TableStructure) \
    X(col, "col", Void | Special | TableStructure) \
    X(tbody, "tbody", Special | TableStructure) \
    X(thead, "thead", Special | TableStructure) \
    X(tfoot, "tfoot", Special | TableStructure) \
    X(tr, "tr", Special | TableStructure) \
    X(td, "td", Special | Boundary | TableStructure) \
    X(th, "th", Special | Boundary | TableStructure) \
    X(rb, "rb", 0) \
    X(rp, "rp", 0) \
    X(rt, "rt", 0) \
    X(rtc, "rtc", 0) \
    X(ruby, "ruby", Breakout) \
    X(svg, "svg", 0) \
    X(math, "math", 0) \
    X(templ, "template", Special | Boundary) \
    X(form, "form", ClosesP | Special) \
    X(h1, "h1", ClosesP | Special | Heading | Breakout) \
    X(h2, "h2", ClosesP | Special | Heading | Breakout) \
    X(h3, "h3", ClosesP | Special | Heading | Breakout) \
    X(h4, "h4", ClosesP | Special | Heading | Breakout) \
    X(h5, "h5", ClosesP | Special | Heading | Breakout) \
    X(h6, "h6", ClosesP | Special | Heading | Breakout) \
    X(foreignobject, "foreignobject", 0) \
    X(desc, "desc", 0) \
    X(title, "title", Special | RawContent) \
    X(mi, "mi", 0) \
    X(mo, "mo", 0) \
    X(mn, "mn", 0) \
    X(ms, "ms", 0) \
    X(mtext, "mtext", 0) \
    X(annotationxml, "annotation-xml", 0) \
    X(script, "script", Special | RawContent) \
    X(style, "style", Special | RawContent) \
    X(textarea, "textarea", Special | RawContent) \
    X(xmp, "xmp", ClosesP | Special | RawContent) \
    X(iframe, "iframe", Special | RawContent) \
    X(noembed, "noembed", Special | RawContent) \
    X(noframes, "noframes", Special | RawContent) \
    X(noscript, "noscript", Special | RawContent) \
    X(plaintext, "plaintext", ClosesP | Special) \
    X(input, "input", Void | Special) \
    X(keygen, "keygen", Void | Special) \
    X(br, "br", Void | Special | Breakout) \
    X(img, "img", Void | Special | Breakout) \
    X(image, "image", Void) \
    X(embed, "embed", Void | Special | Breakout) \
    X(hr, "hr", Void | ClosesP | Special | Breakout) \
    X(area, "area", Void | Special) \
    X(base, "base", Void | Special) \
    X(basefont, "basefont", Void | Special) \
    X(bgsound, "bgsound", Void | Special) \
    X(link, "link", Void | Special) \
    X(meta, "meta", Void | Special | Breakout) \
    X(param, "param", Void | Special) \
    X(source, "source", Void | Special) \
    X(track, "track", Void | Special) \
    X(wbr, "wbr", Void | Special) \
    X(frame, "frame", Void | Special) \
    X(address, "address", ClosesP | Special | ScopedEnd) \
    X(article, "article", ClosesP | Special | ScopedEnd) \
    X(aside, "aside", ClosesP | Special | ScopedEnd) \
    X(blockquote, "blockquote", ClosesP | Special | ScopedEnd | Breakout) \
    X(center, "center", ClosesP | Special | ScopedEnd | Breakout) \
    X(details, "details", ClosesP | Special | ScopedEnd) \
    X(dialog, "dialog", ClosesP | ScopedEnd) \
    X(dir, "dir", ClosesP | Special | ScopedEnd) \
    X(div, "div", ClosesP | Special | ScopedEnd | Breakout) \
    X(dl, "dl", ClosesP | Special | ScopedEnd | Breakout) \
    X(fieldset, "fieldset", ClosesP | Special | ScopedEnd) \
    X(figcaption, "figcaption", ClosesP | Special | ScopedEnd) \
    X(figure, "figure", ClosesP | Special | ScopedEnd) \
    X(footer, "footer", ClosesP | Special | ScopedEnd) \
    X(header, "header", ClosesP | Special | ScopedEnd) \
    X(hgroup, "hgroup", ClosesP | Special | ScopedEnd) \
    X(main, "main", ClosesP | Special | ScopedEnd) \
    X(menu, "menu", ClosesP | Special | ScopedEnd | Breakout) \
    X(nav, "nav", ClosesP | Special | ScopedEnd) \
    X(ol, "ol", ClosesP | Special | ScopedEnd | Breakout) \
    X(section, "section", ClosesP | Special | ScopedEnd) \
    X(summary, "summary", ClosesP | Special | ScopedEnd) \
    X(ul, "ul", ClosesP | Special | ScopedEnd | Breakout) \
    X(listing, "listing", ClosesP | Special | ScopedEnd | Breakout) \
    X(pre, "pre", ClosesP | Special | ScopedEnd | Breakout) \
    X(applet, "applet", Special | Boundary | ScopedEnd) \
    X(marquee, "marquee", Special | Boundary | ScopedEnd) \
    X(object, "object", Special | Boundary | ScopedEnd) \
    X(frameset, "frameset", Special) \
    X(b, "b", Formatting | Breakout) \
    X(big, "big", Formatting | Breakout) \
    X(code, "code", Formatting | Breakout) \
    X(em, "em", Formatting | Breakout) \
    X(font, "font", Formatting) \
    X(i, "i", Formatting | Breakout) \
    X(s, "s", Formatting | Breakout) \
    X(small, "small", Formatting | Breakout) \
    X(strike, "strike", Formatting | Breakout) \
    X(strong, "strong", Formatting | Breakout) \
    X(tt, "tt", Formatting | Breakout) \
    X(u, "u", Formatting | Breakout) \
    X(span, "span", Breakout) \
    X(sub, "sub", Breakout) \
    X(sup, "sup", Breakout) \
    X(var, "var", Breakout)

enum Name : int {
#define TAMBERLINE_ID(id, text, flags) N_##id,
    TAMBERLINE_NAMES(TAMBERLINE_ID)
#undef TAMBERLINE_ID
    KnownNames
};

struct NameInfo {
    const char *text;
    quint32 flags;
};

constexpr NameInfo kNames[] = {
#define TAMBERLINE_INFO(id, text, flags) {text, flags},
    TAMBERLINE_NAMES(TAMBERLINE_INFO)
#undef TAMBERLINE_INFO
};

// Which stacks of positions an open element joins; each answers "the innermost open element of
// this kind" in constant time, so scope checks never walk the stack.
enum Category : int {
    DefaultScope,
    ButtonScope,
    ListScope,
    TableScope,
    SpecialAny,
    SpecialNarrow, // special but not address, div or p: what stops the search for an open li
    HtmlElement,
};

const QHash<QByteArrayView, int> &knownNames()
{
    static const QHash<QByteArrayView, int> names = [] {
        QHash<QByteArrayView, int> result;
        for (int i = 0; i < KnownNames; ++i)
            result.insert(QByteArrayView(kNames[i].text), i);
        return result;
    }();
    return names;
}

quint32 flagsOf(int name)
{
    return name < KnownNames ? kNames[name].flags : 0;
}

bool isSpace(char c)
{
    return c == ' ' || c == '\t' || c == '\n' || c == '\f' || c == '\r';
}

bool isAsciiAlpha(char c)
{
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
}

char asciiLower(char c)
{
    return (c >= 'A' && c <= 'Z') ? char(c + ('a' - 'A')) : c;
}

} // namespace

NestingScan::Result NestingScan::run(QByteArrayView html, qsizetype maxStartTags)
{
    NestingScan scan(html, maxStartTags);
    scan.scan();
    return scan.m_result;
}

NestingScan::NestingScan(QByteArrayView html, qsizetype maxStartTags)
    : m_data(html.data())
    , m_size(html.size())
    , m_maxStartTags(maxStartTags)
    , m_positions(KnownNames)
{
}

void NestingScan::scan()
{
    push(N_html, Space::Html);
    push(N_body, Space::Html);
    for (qsizetype i = indexOf('<', 0); i >= 0 && i + 1 < m_size; i = indexOf('<', i)) {
        const char next = m_data[i + 1];
        if (isAsciiAlpha(next))
            i = startTag(i);
        else if (next == '/' && isAsciiAlpha(byteAt(i + 2)))
            i = endTag(i);
        else if (next == '/')
            i = skipPast(i + 2, '>');
        else if (next == '!')
            i = markupDeclaration(i);
        else if (next == '?')
            i = skipPast(i + 2, '>');
        else
            ++i;
    }
}

int NestingScan::nameId()
{
    const auto &known = knownNames();
    const auto it = known.constFind(QByteArrayView(m_name));
    if (it != known.cend())
        return it.value();
    const auto other = m_otherNames.constFind(m_name);
    if (other != m_otherNames.cend())
        return other.value();
    const int id = int(m_positions.size());
    m_otherNames.insert(m_name, id);
    m_positions.emplace_back();
    return id;
}

NestingScan::Tag NestingScan::readTag(qsizetype j)
{
    Tag tag;
    m_name.truncate(0);
    while (j < m_size && !isSpace(m_data[j]) && m_data[j] != '/' && m_data[j] != '>')
        m_name.append(asciiLower(m_data[j++]));
    tag.name = nameId();
    while (j < m_size) {
        while (isSpace(byteAt(j)))
            ++j;
        const char c = byteAt(j);
        if (c == '>') {
            tag.end = j + 1;
            return tag;
        }
        if (c == '/') {
            if (byteAt(j + 1) == '>') {
                tag.selfClosing = true;
                tag.end = j + 2;
                return tag;
            }
            ++j;
            continue;
        }
        // An attribute: its name may start with '=', its value may be quoted and hold '>'.
        const qsizetype nameBegin = j++;
        while (j < m_size && !isSpace(m_data[j]) && m_data[j] != '/' && m_data[j] != '>' && m_data[j] != '=')
            ++j;
        const QByteArrayView attribute(m_data + nameBegin, j - nameBegin);
        QByteArrayView value;
        while (isSpace(byteAt(j)))
            ++j;
        if (byteAt(j) == '=') {
            ++j;
            while (isSpace(byteAt(j)))
                ++j;
            if (byteAt(j) == '"' || byteAt(j) == '\'') {
                const qsizetype valueEnd = indexOf(m_data[j], j + 1);
                if (valueEnd < 0)
                    break;
                value = QByteArrayView(m_data + j + 1, valueEnd - j - 1);
                j = valueEnd + 1;
            } else {
                const qsizetype valueBegin = j;
                while (j < m_size && !isSpace(m_data[j]) && m_data[j] != '>')
                    ++j;
                value = QByteArrayView(m_data + valueBegin, j - valueBegin);
            }
        }
        // The parser reads any of a repeated attribute, not only the first.
        if (tag.name == N_annotationxml && attribute.compare("encoding", Qt::CaseInsensitive) == 0
            && (value.compare("text/html", Qt::CaseInsensitive) == 0 || value.compare("application/xhtml+xml", Qt::CaseInsensitive) == 0))
            tag.htmlContent = true;
    }
    return tag; // the input ended inside the tag, which a tokenizer drops
}

qsizetype NestingScan::skipPast(qsizetype from, char c) const
{
    const qsizetype found = indexOf(c, from);
    return found < 0 ? m_size : found + 1;
}

qsizetype NestingScan::markupDeclaration(qsizetype at)
{
    if (byteAt(at + 2) == '-' && byteAt(at + 3) == '-') {
        qsizetype j = at + 4;
        if (byteAt(j) == '>')
            return j + 1;
        if (byteAt(j) == '-' && byteAt(j + 1) == '>')
            return j + 2;
        while (j + 1 < m_size) {
            j = indexOf('-', j);
            if (j < 0)
                return m_size;
            if (byteAt(j + 1) == '-') {
                if (byteAt(j + 2) == '>')
                    return j + 3;
                if (byteAt(j + 2) == '!' && byteAt(j + 3) == '>')
                    return j + 4;
            }
            ++j;
        }
        return m_size;
    }
    if (m_size - at >= 9 && std::memcmp(m_data + at + 2, "[CDATA[", 7) == 0 && m_stack.back().space != Space::Html) {
        const qsizetype end = QByteArrayView(m_data, m_size).indexOf("]]>", at + 9);
        return end == -1 ? m_size : end + 3;
    }
    return skipPast(at + 2, '>');
}

qsizetype NestingScan::findEndTag(qsizetype from, int name) const
{
    const QByteArrayView text = name < KnownNames ? QByteArrayView(kNames[name].text) : QByteArrayView();
    const qsizetype length = text.size();
    for (qsizetype j = from;; ++j) {
        j = indexOf('<', j);
        if (j < 0)
            return m_size;
        // An end tag cut off by the end of the page ends nothing: the scan stops there anyway.
        if (byteAt(j + 1) == '/') {
            bool same = true;
            for (qsizetype k = 0; k < length && same; ++k)
                same = asciiLower(byteAt(j + 2 + k)) == text[k];
            const char after = byteAt(j + 2 + length);
            if (same && (isSpace(after) || after == '/' || after == '>'))
                return j;
        }
    }
}

qsizetype NestingScan::startTag(qsizetype at)
{
    const Tag tag = readTag(at + 1);
    if (tag.end < 0)
        return m_size;
    if (++m_result.startTags > m_maxStartTags) {
        m_result.startTags = m_maxStartTags;
        m_result.cutAt = at;
        return m_size;
    }
    if (!useHtmlRules(tag.name)) {
        if (!(flagsOf(tag.name) & Breakout)) {
            if (tag.selfClosing)
                leaf();
            else
                push(tag.name, m_stack.back().space);
            m_stack.back().htmlContent = tag.htmlContent;
            return tag.end;
        }
        while (m_stack.back().space != Space::Html && !readsHtml(m_stack.back()))
            pop();
    }
    return htmlStartTag(tag.name, tag.selfClosing, tag.end);
}

qsizetype NestingScan::endTag(qsizetype at)
{
    const Tag tag = readTag(at + 2);
    if (tag.end < 0)
        return m_size;
    if (m_stack.back().space == Space::Html)
        htmlEndTag(tag.name);
    else
        foreignEndTag(tag.name);
    return tag.end;
}

bool NestingScan::useHtmlRules(int name) const
{
    const Entry &top = m_stack.back();
    if (top.space == Space::Html)
        return true;
    if (top.space == Space::MathMl && top.name == N_annotationxml && name == N_svg)
        return true;
    return readsHtml(top);
}

bool NestingScan::readsHtml(const Entry &entry) const
{
    if (entry.space == Space::MathMl && entry.name == N_annotationxml)
        return entry.htmlContent;
    return isIntegrationPoint(entry.name, entry.space);
}

bool NestingScan::isIntegrationPoint(int name, Space space) const
{
    switch (space) {
    case Space::Html:
        return false;
    case Space::Svg:
        return name == N_foreignobject || name == N_desc || name == N_title;
    case Space::MathMl:
        return name == N_mi || name == N_mo || name == N_mn || name == N_ms
            || name == N_mtext || name == N_annotationxml;
    }
    return false;
}

qsizetype NestingScan::htmlStartTag(int name, bool selfClosing, qsizetype tagEnd)
{
    if (inSelect() && !selectStartTag(name))
        return tagEnd;
    if (name == N_html || name == N_head || name == N_body)
        return tagEnd;
    const quint32 flags = flagsOf(name);
    if ((flags & TableStructure) || name == N_table) {
        if (!tableStartTag(name))
            return tagEnd;
    }
    if (name == N_form) {
        if (m_formOpen)
            return tagEnd;
        m_formOpen = true;
    }
    if ((flags & ClosesP) && inScope(N_p, ButtonScope))
        popTo(lastPosition(N_p));
    if ((flags & Heading) && (flagsOf(topName()) & Heading))
        pop();
    if (name == N_li || name == N_dd || name == N_dt) {
        // The innermost open li (or dd/dt) closes, unless a special element is nearer; body is
        // special, so there always is one.
        const int stop = topOf(SpecialNarrow);
        const int found = m_stack[size_t(stop)].name;
        const bool match = name == N_li ? found == N_li : (found == N_dd || found == N_dt);
        if (match)
            popTo(stop);
    }
    if (name == N_a || name == N_nobr) {
        // Every scope boundary is special: one not past a special element is in scope.
        const int open = lastPosition(name);
        if (open > topOf(SpecialAny))
            popTo(open);
    }
    if (name == N_button && inScope(N_button, DefaultScope))
        popTo(lastPosition(N_button));
    if ((name == N_option || name == N_optgroup) && topName() == N_option)
        pop();
    if (name == N_rb || name == N_rtc || name == N_rp || name == N_rt) {
        if (inScope(N_ruby, DefaultScope))
            generateImpliedEndTags(name == N_rp || name == N_rt ? N_rtc : -1);
    }

    if (name == N_plaintext) {
        leaf();
        return m_size;
    }
    if (flags & RawContent) {
        leaf();
        return findEndTag(tagEnd, name);
    }
    if (flags & Void) {
        leaf();
        return tagEnd;
    }
    if (name == N_svg || name == N_math) {
        if (selfClosing)
            leaf();
        else
            push(name, name == N_svg ? Space::Svg : Space::MathMl);
        return tagEnd;
    }
    push(name, Space::Html);
    return tagEnd;
}

bool NestingScan::selectStartTag(int name)
{
    const int select = lastPosition(N_select);
    switch (name) {
    case N_optgroup:
        if (topName() == N_option)
            pop();
        if (topName() == N_optgroup)
            pop();
        return true;
    case N_option:
    case N_script:
    case N_templ:
        return true;
    case N_select:
        popTo(select);
        return false;
    case N_input:
    case N_keygen:
    case N_textarea:
        popTo(select);
        return true;
    default:
        if (tablePartEndsSelect(name)) {
            popTo(select);
            return true;
        }
        return false; // ignored inside a select
    }
}

bool NestingScan::tableStartTag(int name)
{
    const int table = tableContext();
    if (table < 0)
        return name == N_table; // table parts outside a table are ignored
    const int cell = std::max(lastPosition(N_td), lastPosition(N_th));
    const int caption = lastPosition(N_caption);
    if (name == N_table) {
        // A table directly in a table closes it; one inside a cell or caption nests.
        if (cell <= table && caption <= table)
            popTo(table);
        return true;
    }
    if (name != N_tr && name != N_td && name != N_th) {
        popTo(table + 1);
        return name != N_col;
    }
    const int row = lastPosition(N_tr);
    if (name != N_tr && row > table) {
        popTo(row + 1);
        return true;
    }
    // A row group, and for a cell a row, are implied when missing.
    const int section = std::max({lastPosition(N_tbody), lastPosition(N_thead), lastPosition(N_tfoot)});
    if (section > table) {
        popTo(section + 1);
    } else {
        popTo(table + 1);
        push(N_tbody, Space::Html);
    }
    if (name != N_tr)
        push(N_tr, Space::Html);
    return true;
}

void NestingScan::htmlEndTag(int name)
{
    const quint32 flags = flagsOf(name);
    if (inSelect()) {
        const int select = lastPosition(N_select);
        if (name == N_option) {
            if (topName() == N_option)
                pop();
            return;
        }
        if (name == N_optgroup) {
            if (topName() == N_option && m_stack[m_stack.size() - 2].name == N_optgroup)
                pop();
            if (topName() == N_optgroup)
                pop();
            return;
        }
        if (name == N_select) {
            popTo(select);
            return;
        }
        // Those that close the select close what holds it too, below.
        if (name != N_templ && !(tablePartEndsSelect(name) && inScope(name, TableScope)))
            return;
    }
    int open = -1;
    switch (name) {
    case N_html:
    case N_head:
    case N_body:
        return;
    case N_br:
        leaf(); // read as <br>
        return;
    case N_p:
        if (!inScope(N_p, ButtonScope)) {
            leaf(); // an empty p is made to be closed
            return;
        }
        open = lastPosition(N_p);
        break;
    case N_li:
        open = inScope(N_li, ListScope) ? lastPosition(N_li) : -1;
        break;
    case N_select:
    case N_templ:
        open = lastPosition(name);
        break;
    case N_form: {
        const bool pointed = std::exchange(m_formOpen, false);
        if (!pointed || !inScope(N_form, DefaultScope))
            return;
        generateImpliedEndTags();
        // The form leaves the stack but not the tree: what it holds still nests inside it.
        const int form = lastPosition(N_form);
        const std::vector<Entry> above(m_stack.begin() + form + 1, m_stack.end());
        popTo(form);
        for (const Entry &entry : above)
            push(entry.name, entry.space, entry.depth);
        return;
    }
    default:
        if (flags & Heading) {
            for (int h = N_h1; h <= N_h6; ++h)
                open = std::max(open, lastPosition(h));
            if (open < topOf(DefaultScope))
                open = -1;
        } else if ((flags & TableStructure) || name == N_table) {
            open = inScope(name, TableScope) ? lastPosition(name) : -1;
        } else if ((flags & (ScopedEnd | Formatting)) || name == N_dd || name == N_dt) {
            open = inScope(name, DefaultScope) ? lastPosition(name) : -1;
        } else {
            open = lastPosition(name);
            if (open < topOf(SpecialAny))
                open = -1;
        }
    }
    if (open >= 0)
        popTo(open);
}

void NestingScan::foreignEndTag(int name)
{
    const int open = lastPosition(name);
    if (open > topOf(HtmlElement))
        popTo(open);
    else
        htmlEndTag(name);
}

void NestingScan::push(int name, Space space, int depth)
{
    if (depth == 0)
        depth = nextDepth();
    const int position = int(m_stack.size());
    quint8 categories = 0;
    if (space == Space::Html) {
        const quint32 flags = flagsOf(name);
        categories |= 1 << HtmlElement;
        if (flags & Boundary)
            categories |= 1 << DefaultScope | 1 << ButtonScope | 1 << ListScope;
        if (name == N_button)
            categories |= 1 << ButtonScope;
        if (name == N_ol || name == N_ul)
            categories |= 1 << ListScope;
        if (name == N_html || name == N_table || name == N_templ)
            categories |= 1 << TableScope;
        if (flags & Special) {
            categories |= 1 << SpecialAny;
            if (name != N_address && name != N_div && name != N_p)
                categories |= 1 << SpecialNarrow;
        }
    } else if (isIntegrationPoint(name, space)) {
        categories |= 1 << DefaultScope | 1 << ButtonScope | 1 << ListScope | 1 << SpecialAny | 1 << SpecialNarrow;
    }
    m_stack.push_back({name, space, categories, depth});
    m_positions[size_t(name)].push_back(position);
    for (unsigned bits = categories; bits != 0; bits &= bits - 1)
        m_categories[std::countr_zero(bits)].push_back(position);
    m_result.depth = std::max(m_result.depth, depth);
}

int NestingScan::nextDepth() const
{
    return m_stack.empty() ? 1 : m_stack.back().depth + 1;
}

// An element that holds nothing, under the current node.
void NestingScan::leaf()
{
    m_result.depth = std::max(m_result.depth, nextDepth());
}

void NestingScan::pop()
{
    const Entry entry = m_stack.back();
    m_positions[size_t(entry.name)].pop_back();
    for (unsigned bits = entry.categories; bits != 0; bits &= bits - 1)
        m_categories[std::countr_zero(bits)].pop_back();
    m_stack.pop_back();
}

void NestingScan::popTo(int position)
{
    // html and body stay: end tags never close them here.
    position = std::max(position, 2);
    while (int(m_stack.size()) > position)
        pop();
}

int NestingScan::lastPosition(int name) const
{
    const std::vector<int> &positions = m_positions[size_t(name)];
    return positions.empty() ? -1 : positions.back();
}

// html, at the bottom of the stack, joins every category.
int NestingScan::topOf(int category) const
{
    return m_categories[category].back();
}

bool NestingScan::inScope(int name, int category) const
{
    return lastPosition(name) >= topOf(category);
}

int NestingScan::tableContext() const
{
    const int top = topOf(TableScope);
    return m_stack[size_t(top)].name == N_table ? top : -1;
}

// Only in a select inside a table do the table's parts close the select.
bool NestingScan::tablePartEndsSelect(int name) const
{
    const bool part = name == N_table || name == N_caption || name == N_tbody || name == N_thead || name == N_tfoot
                   || name == N_tr || name == N_td || name == N_th;
    const int table = lastPosition(N_table);
    return part && table >= 0 && table < lastPosition(N_select);
}

bool NestingScan::inSelect() const
{
    const Entry &top = m_stack.back();
    const int select = lastPosition(N_select);
    return top.space == Space::Html && (top.name == N_select || top.name == N_option || top.name == N_optgroup)
        && select >= 0 && m_stack[size_t(select)].space == Space::Html;
}

void NestingScan::generateImpliedEndTags(int except)
{
    for (;;) {
        const int top = topName();
        if (top == except)
            return;
        switch (top) {
        case N_dd:
        case N_dt:
        case N_li:
        case N_optgroup:
        case N_option:
        case N_p:
        case N_rb:
        case N_rp:
        case N_rt:
        case N_rtc:
            pop();
            break;
        default:
            return;
        }
    }
}
