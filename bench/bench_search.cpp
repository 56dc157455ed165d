// The text search: a full scan of a 30,000-element page with a pattern that matches nothing,
// and the many-stars pattern on a 200-character text. Prints figures.
#include "pagegenerator.h"
#include "parser/documentsearch.h"
#include "parser/wildcardmatcher.h"
#include "html/htmldocument.h"

#include <QElapsedTimer>
#include <QStringList>

#include <algorithm>
#include <cstdio>

namespace {

template <typename Work>
double medianMilliseconds(int rounds, Work &&work)
{
    QList<double> times;
    for (int i = 0; i < rounds; ++i) {
        QElapsedTimer timer;
        timer.start();
        work();
        times.append(timer.nsecsElapsed() / 1e6);
    }
    std::sort(times.begin(), times.end());
    return times.at(times.size() / 2);
}

} // namespace

int main()
{
    const DocumentPtr page = parseHtmlDocument(generatePage(30000), QStringLiteral("file:///bench.html"));
    WildcardMatcher matcher;
    qint64 textChars = 0;
    for (int i = 0; i < page->length(); ++i)
        textChars += page->innerText(i).size();

    int found = 0;
    const double plain = medianMilliseconds(9, [&] { found = ScanDocument(*page, 0, QStringLiteral("no such text"), {}, matcher); });
    std::printf("page: %d elements, %.1f M characters of inner text in all, parts of a text of %.2f M\n", page->length(),
                textChars / 1e6, page->text().size() / 1e6);
    std::printf("full scan, plain pattern that matches nothing:        median %6.2f ms (found %d)\n", plain, found);
    const double starred = medianMilliseconds(9, [&] { found = ScanDocument(*page, 0, QStringLiteral("*no such*text?"), {}, matcher); });
    std::printf("full scan, pattern with stars that matches nothing:   median %6.2f ms (found %d)\n", starred, found);
    const double filtered = medianMilliseconds(9, [&] {
        found = ScanDocument(*page, 0, QString(), {QStringLiteral("class=no-such-class")}, matcher);
    });
    std::printf("full scan, a filter that matches nothing:             median %6.2f ms (found %d)\n", filtered, found);

    const QString as(200, u'A');
    bool matched = true;
    const double pathological = medianMilliseconds(21, [&] { matched = matcher.MatchWildcard(as, QStringLiteral("*A*A*A*A*A*A*A*B")); });
    std::printf("*A*A*A*A*A*A*A*B against 200 As:                     median %6.3f ms (%s)\n", pathological,
                matched ? "match" : "no match");
    return 0;
}
