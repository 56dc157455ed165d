#pragma once

#include "document/document.h"

#include <QStringList>

#include <cstdint>

class WildcardMatcher;

// The search of a query over a page snapshot, shared by the Page Parser and headless runs. Its
// filters are read as every walk reads them (walkElemAttribs, walkedEntries).

// Whether the element satisfies every filter: names and values compared trimmed and without
// regard to case (upper-cased as the search text is, textcase.h); "tagName", "ParentTag" and "sourceIndex" test the element itself; an entry
// without "=" asks for the attribute, present with an empty value. Testing ParentTag on an
// element without a parent raises error 91.
bool MatchesAttributeFilters(const Document &document, int element, const QStringList &filters);

// The first element at or after start whose whole inner text fits the pattern (when the
// pattern is not blank; both upper-cased character by character, textcase.h) and that
// satisfies the filters, or -1. The counter is 16-bit: a page of more than 32,768 elements
// cannot be scanned (error 6); nor can texts the snapshot did not read (error 6 at the first). Given matchCount, the scan goes on to the end in the same pass
// and counts every element that fits.
int ScanDocument(const Document &document, int16_t start, const QString &searchText, const QStringList &filters,
                 const WildcardMatcher &matcher, int *matchCount = nullptr);

// Every element from the first that fits, in document order: the same scan going on past each
// element it finds. Raises as the scan does.
QList<int> FindAllMatches(const Document &document, const QString &searchText, const QStringList &filters,
                          const WildcardMatcher &matcher);
