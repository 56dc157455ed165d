// Where the time of a run goes on real pages: the parser alone (MyHTML), the snapshot built
// from its tree, and the query's evaluation. Prints shares; the corpus folder is the argument.
#include "parser/wildcardmatcher.h"
#include "html/htmldocument.h"
#include "html/htmltree.h"
#include "queryrunner.h"

#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>

#include <cstdio>

int main(int argc, char *argv[])
{
    QCoreApplication app(argc, argv);
    const QDir folder(argc > 1 ? QString::fromLocal8Bit(argv[1]) : QStringLiteral("bench/.cache/package/files"));
    QList<QByteArray> pages;
    qint64 bytes = 0;
    for (const QString &name : folder.entryList({QStringLiteral("*.html")}, QDir::Files)) {
        QFile file(folder.filePath(name));
        if (file.open(QIODevice::ReadOnly))
            pages.append(file.readAll());
        bytes += pages.last().size();
    }
    if (pages.isEmpty()) {
        std::fprintf(stderr, "no pages in %s\n", qPrintable(folder.path()));
        return 1;
    }
    // The corpus query (links whose text holds an "a"), and a text-only one that reads the text
    // of every element.
    RunnableQuery query;
    query.searchText = QStringLiteral("*a*");
    query.filters = {QStringLiteral("tagName=a")};
    RunnableQuery textOnly;
    textOnly.searchText = QStringLiteral("*price*");
    const WildcardMatcher matcher;

    qint64 parseOnly = 0, snapshot = 0, evaluation = 0, textEvaluation = 0, elements = 0;
    qint64 textChars = 0, innerTextChars = 0;
    QElapsedTimer timer;
    for (const QByteArray &page : pages) {
        timer.start();
        {
            const HtmlTree html(page);
            parseOnly += timer.nsecsElapsed();
        }

        timer.start();
        const DocumentPtr document = parseHtmlDocument(page, QString());
        snapshot += timer.nsecsElapsed();
        timer.start();
        EvaluateQuery(*document, query, matcher);
        evaluation += timer.nsecsElapsed();
        timer.start();
        EvaluateQuery(*document, textOnly, matcher);
        textEvaluation += timer.nsecsElapsed();
        elements += document->length();
        textChars += document->text().size();
        for (int i = 0; i < document->length(); ++i)
            innerTextChars += document->innerText(i).size();
    }
    const double total = double(snapshot + evaluation);
    std::printf("%lld pages, %.1f MB, %lld elements, one thread:\n", qint64(pages.size()), bytes / 1e6, elements);
    std::printf("  the parser alone (MyHTML)      %7.1f ms  %6.1f MB/s\n", parseOnly / 1e6, bytes / 1e3 / (parseOnly / 1e6));
    std::printf("  parse and snapshot             %7.1f ms  %6.1f MB/s\n", snapshot / 1e6, bytes / 1e3 / (snapshot / 1e6));
    std::printf("  query evaluation               %7.1f ms\n", evaluation / 1e6);
    std::printf("  end to end (snapshot + query)  %7.1f ms  %6.1f MB/s\n", total / 1e6, bytes / 1e3 / (total / 1e6));
    std::printf("  share outside the parser       %6.1f %%\n", 100.0 * (total - double(parseOnly)) / total);
    std::printf("  share of query evaluation      %6.1f %%\n", 100.0 * double(evaluation) / total);
    std::printf("  a text-only query (*price*)    %7.1f ms, %.1f %% of its end to end\n", textEvaluation / 1e6,
                100.0 * double(textEvaluation) / double(snapshot + textEvaluation));
    // What one string per element would hold, against the one text the elements share.
    std::printf("  document text                  %7.1f M characters, %.1f MB with its upper-case copy\n",
                textChars / 1e6, 4.0 * textChars / 1e6);
    std::printf("  innerTexts one by one          %7.1f M characters, %.1f times the document text\n",
                innerTextChars / 1e6, double(innerTextChars) / double(textChars));
    return 0;
}
