#include "documentsearch.h"

#include "platform/boundarytypes.h"
#include "document/textcase.h"
#include "document/textrules.h"
#include "wildcardmatcher.h"

namespace {

// Names and values compare trimmed and in one upper case, the search text's.
QString comparable(const QString &text)
{
    return toUpperKeepingLength(trimBlanks(text));
}

// The filters read once for a whole scan rather than once per element.
class AttributeFilters
{
public:
    explicit AttributeFilters(const QStringList &filters)
    {
        for (const QString &filter : filters) {
            Filter parsed{filter, QString(), Kind::Attribute};
            if (const qsizetype at = filter.indexOf(u'='); at >= 0) {
                parsed.name = comparable(filter.left(at));
                parsed.value = comparable(filter.mid(at + 1));
            }
            if (parsed.name == u"TAGNAME")
                parsed.kind = Kind::TagName;
            else if (parsed.name == u"PARENTTAG")
                parsed.kind = Kind::ParentTag;
            else if (parsed.name == u"SOURCEINDEX")
                parsed.kind = Kind::SourceIndex;
            m_canFail = m_canFail || parsed.kind == Kind::ParentTag;
            m_filters.append(parsed);
        }
    }

    bool isEmpty() const { return m_filters.isEmpty(); }
    // Only ParentTag can fail (on the top element); the others can be tested in any order.
    bool canFail() const { return m_canFail; }

    bool matches(const Document &document, int element) const
    {
        const Document::Element &e = document.item(element);
        for (const Filter &filter : m_filters) {
            bool holds = false;
            switch (filter.kind) {
            case Kind::TagName:
                holds = comparable(e.tagName) == filter.value;
                break;
            case Kind::ParentTag:
                if (e.parent < 0)
                    throw RuntimeError(ErrorNumber::ObjectVariableNotSet,
                                       QStringLiteral("Object variable not set: the element has no parent for ParentTag"));
                holds = comparable(document.item(e.parent).tagName) == filter.value;
                break;
            case Kind::SourceIndex:
                holds = QString::number(element) == filter.value;
                break;
            case Kind::Attribute: {
                const QString attribute = document.attribute(element, filter.name);
                holds = !attribute.isNull() && comparable(attribute) == filter.value;
                break;
            }
            }
            if (!holds)
                return false;
        }
        return true;
    }

private:
    enum class Kind { TagName, ParentTag, SourceIndex, Attribute };
    struct Filter {
        QString name;
        QString value;
        Kind kind;
    };
    QList<Filter> m_filters;
    bool m_canFail = false;
};

} // namespace

bool MatchesAttributeFilters(const Document &document, int element, const QStringList &filters)
{
    return AttributeFilters(filters).matches(document, element);
}

namespace {

// The scan, telling each element that fits to fitting, which returns whether to go on.
template <typename Fitting>
void scan(const Document &document, int16_t start, const QString &searchText, const QStringList &filters,
          const WildcardMatcher &matcher, Fitting fitting)
{
    const bool hasText = !trimBlanks(searchText).isEmpty();
    const WildcardMatcher::Prepared pattern = matcher.prepare(toUpperKeepingLength(searchText));
    const AttributeFilters attributeFilters(filters);
    // Filters that cannot fail are tested first, where the text test cannot fail either: the
    // same answers and errors as text first, and most elements are turned away unread.
    const bool filtersFirst = !attributeFilters.isEmpty() && !attributeFilters.canFail();
    if (hasText && document.textsPending)
        throw RuntimeError(ErrorNumber::ObjectRequired, QStringLiteral("The page's texts have not arrived yet"));
    const int16_t last = checkedInt16(static_cast<long long>(document.length()) - 1);
    for (int i = start; i <= last; ++i) {
        if (hasText && document.unreadTextFrom >= 0 && i >= document.unreadTextFrom)
            throw RuntimeError(ErrorNumber::Overflow,
                               QStringLiteral("Overflow: the page's text was too large to read past element %1, "
                                              "and the search cannot look at texts that were not read")
                                   .arg(i));
        const QStringView text = document.upperInnerText(i);
        const auto textFits = [&] { return !hasText || matcher.matches(pattern, text); };
        const bool fits = filtersFirst && !(hasText && pattern.mayRaise(text.size()))
                              ? attributeFilters.matches(document, i) && textFits()
                              : textFits() && (attributeFilters.isEmpty() || attributeFilters.matches(document, i));
        if (fits && !fitting(i))
            return;
        if (i == INT16_MAX)
            throw RuntimeError(ErrorNumber::Overflow,
                               QStringLiteral("Overflow: the search counts at most 32,768 elements of a page"));
    }
}

} // namespace

int ScanDocument(const Document &document, int16_t start, const QString &searchText, const QStringList &filters,
                 const WildcardMatcher &matcher, int *matchCount)
{
    int found = -1;
    if (matchCount)
        *matchCount = 0;
    scan(document, start, searchText, filters, matcher, [&](int i) {
        if (found < 0)
            found = i;
        if (matchCount)
            ++*matchCount;
        return matchCount != nullptr;
    });
    return found;
}

QList<int> FindAllMatches(const Document &document, const QString &searchText, const QStringList &filters,
                          const WildcardMatcher &matcher)
{
    QList<int> found;
    scan(document, 0, searchText, filters, matcher, [&](int i) {
        found.append(i);
        return true;
    });
    return found;
}
