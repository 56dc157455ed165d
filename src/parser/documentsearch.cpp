#include "documentsearch.h"

#include "control/tamberlinecontrol.h"
#include "platform/boundarytypes.h"
#include "platform/textcase.h"
#include "platform/textrules.h"
#include "wildcardmatcher.h"

QStringList searchFiltersOf(const Tamberline &control)
{
    QStringList filters;
    for (long long i = 0;; ++i) {
        const QString entry = control.ElemAttribs(checkedInt16(i));
        if (entry.isEmpty())
            return filters;
        filters.append(entry);
    }
}

namespace {

// The filters read once for a whole scan rather than once per element.
class AttributeFilters
{
public:
    explicit AttributeFilters(const QStringList &filters)
    {
        for (const QString &filter : filters) {
            Filter parsed{filter, QString(), Kind::Attribute};
            if (const qsizetype at = filter.indexOf(u'='); at >= 0) {
                parsed.name = trimBlanks(filter.left(at)).toUpper();
                parsed.value = trimBlanks(filter.mid(at + 1)).toUpper();
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
                holds = trimBlanks(e.tagName).toUpper() == filter.value;
                break;
            case Kind::ParentTag:
                if (e.parent < 0)
                    throw RuntimeError(ErrorNumber::ObjectVariableNotSet,
                                       QStringLiteral("Object variable not set: the element has no parent for ParentTag"));
                holds = trimBlanks(document.item(e.parent).tagName).toUpper() == filter.value;
                break;
            case Kind::SourceIndex:
                holds = QString::number(element) == filter.value;
                break;
            case Kind::Attribute: {
                const QString attribute = document.attribute(element, filter.name);
                holds = !attribute.isNull() && trimBlanks(attribute).toUpper() == filter.value;
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

int ScanDocument(const Document &document, int16_t start, const QString &searchText, const QStringList &filters,
                 const WildcardMatcher &matcher, int *matchCount)
{
    int found = -1;
    if (matchCount)
        *matchCount = 0;
    const bool hasText = !trimBlanks(searchText).isEmpty();
    const WildcardMatcher::Prepared pattern = matcher.prepare(toUpperKeepingLength(searchText));
    const AttributeFilters attributeFilters(filters);
    // Filters that cannot fail are tested first: the same answers, and most elements are then
    // turned away before their text is read.
    const bool filtersFirst = !attributeFilters.isEmpty() && !attributeFilters.canFail();
    const int16_t last = checkedInt16(static_cast<long long>(document.length()) - 1);
    for (int i = start; i <= last; ++i) {
        const auto textFits = [&] { return !hasText || matcher.matches(pattern, document.upperInnerText(i)); };
        const bool fits = filtersFirst ? attributeFilters.matches(document, i) && textFits()
                                       : textFits() && (attributeFilters.isEmpty() || attributeFilters.matches(document, i));
        if (fits) {
            if (!matchCount)
                return i;
            if (found < 0)
                found = i;
            ++*matchCount;
        }
        if (i == INT16_MAX)
            throw RuntimeError(ErrorNumber::Overflow,
                               QStringLiteral("Overflow: the search counts at most 32,768 elements of a page"));
    }
    return found;
}
