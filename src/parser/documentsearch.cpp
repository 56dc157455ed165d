#include "documentsearch.h"

#include "control/tamberlinecontrol.h"
#include "platform/boundarytypes.h"
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

bool MatchesAttributeFilters(const Document &document, int element, const QStringList &filters)
{
    const Document::Element &e = document.item(element);
    for (const QString &filter : filters) {
        QString name = filter;
        QString value;
        if (const qsizetype at = filter.indexOf(u'='); at >= 0) {
            name = trimBlanks(filter.left(at)).toUpper();
            value = trimBlanks(filter.mid(at + 1)).toUpper();
        }
        bool holds = false;
        if (name == u"TAGNAME") {
            holds = trimBlanks(e.tagName).toUpper() == value;
        } else if (name == u"PARENTTAG") {
            if (e.parent < 0)
                throw RuntimeError(ErrorNumber::ObjectVariableNotSet, QStringLiteral("Object variable not set: the element has no parent for ParentTag"));
            holds = trimBlanks(document.item(e.parent).tagName).toUpper() == value;
        } else if (name == u"SOURCEINDEX") {
            holds = QString::number(element) == value;
        } else {
            const QString attribute = document.attribute(element, name);
            holds = !attribute.isNull() && trimBlanks(attribute).toUpper() == value;
        }
        if (!holds)
            return false;
    }
    return true;
}

int ScanDocument(const Document &document, int16_t start, const QString &searchText, const QStringList &filters,
                 const WildcardMatcher &matcher, int *matchCount)
{
    int found = -1;
    if (matchCount)
        *matchCount = 0;
    const bool hasText = !trimBlanks(searchText).isEmpty();
    const WildcardMatcher::Prepared pattern = matcher.prepare(searchText.toUpper());
    const int16_t last = checkedInt16(static_cast<long long>(document.length()) - 1);
    for (int i = start; i <= last; ++i) {
        const bool textOK = !hasText || matcher.matches(pattern, document.item(i).innerText.toUpper());
        if (textOK && (filters.isEmpty() || MatchesAttributeFilters(document, i, filters))) {
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
