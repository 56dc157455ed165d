#include "browserloader.h"
#include "html/htmldocument.h"
#include "pagescripts.h"
#include "pagesource.h"
#include "parser/wildcardmatcher.h"
#include "queryrunner.h"
#include "staticpages.h"
#include "datatable.h"

#include <QTcpServer>
#include <QtTest>

using namespace Qt::StringLiterals;

namespace {

// Queries for every page: texts with and without wildcards, filters alone, offsets both ways.
QList<RunnableQuery> queries()
{
    return {{{}, u"*e*"_s, 0, {}},
            {{}, u"*a?e*"_s, 1, {}},
            {{}, QString(), 1, {u"tagName=td"_s}},
            {{}, QString(), -1, {u"tagName=p"_s}},
            {{}, u"Pears"_s, 2, {u"class=item"_s}},
            {{}, u"*price*"_s, 0, {u"ParentTag=TR"_s}},
            {{}, QString(), 0, {u"tagName=li"_s, u"sourceIndex=40"_s}}};
}

} // namespace

class tst_RunParity : public QObject
{
    Q_OBJECT

private slots:
    void bothEnginesAgree_data() { addEveryPageRow(); }

    void bothEnginesAgree()
    {
        QFETCH(QString, path);
        if (const QString reason = whyNotStatic(path); !reason.isEmpty())
            QSKIP(qPrintable(reason));
        const PageSource source = PageSource::fromArgument(path);
        const DocumentPtr live = browser().load(source);
        const DocumentPtr parsed = readStaticDocument(source);
        const WildcardMatcher matcher([] { return 0.5; });
        const auto outcome = [&](const DocumentPtr &page, const RunnableQuery &query) {
            const RunResult r = EvaluateQuery(*page, query, matcher);
            return u"%1/%2/%3 %4"_s.arg(r.found).arg(r.returned).arg(r.matches).arg(r.reason);
        };
        for (const RunnableQuery &query : queries()) {
            const QString shown = outcome(live, query), read = outcome(parsed, query);
            QVERIFY2(shown == read, qPrintable(u"query \"%1\" %2 offset %3: browser %4, static %5"_s
                                                   .arg(query.searchText, query.filters.join(u' ')).arg(query.nodeOffset).arg(shown, read)));
        }
    }

    // Each row's script, where one runs, marks the html element: the browser says whether it ran.
    void scriptsThatRun_data()
    {
        addColumns<QByteArray, bool>("body", "runs");
        const QByteArray mark = "document.documentElement.setAttribute('data-ran', '')";
        const QByteArray run = "<script>" + mark + "</script>";
        const auto typed = [&](const QByteArray &attributes) { return "<script " + attributes + ">" + mark + "</script>"; };
        QTest::newRow("no type") << run << true;
        QTest::newRow("an empty type") << typed("type=\"\"") << true;
        QTest::newRow("a JavaScript type in capitals, among spaces") << typed("type=\" Text/JavaScript \"") << true;
        QTest::newRow("an old JavaScript type") << typed("type=\"text/javascript1.5\"") << true;
        QTest::newRow("a module") << typed("type=module") << true;
        QTest::newRow("a type with parameters is data") << typed("type=\"text/javascript; charset=utf-8\"") << false;
        QTest::newRow("JSON") << typed("type=\"application/ld+json\"") << false;
        QTest::newRow("a template") << typed("type=\"text/x-template\"") << false;
        QTest::newRow("language names JavaScript") << typed("language=JavaScript") << true;
        QTest::newRow("language names another script") << typed("language=vbscript") << false;
        QTest::newRow("a classic script for browsers without modules") << typed("nomodule") << false;
        QTest::newRow("a script from its src") << "<script src=\"data:text/javascript," + mark + "\"></script>" << true;
        QTest::newRow("an empty src fires an error and runs nothing") << typed("src=\"\"") << false;
        QTest::newRow("a blank script") << QByteArray("<script> \n </script>") << false;
        QTest::newRow("body onload") << "<body onload=\"" + mark + "\">" << true;
        QTest::newRow("an image that fails to load") << "<img src=\"missing.png\" onerror=\"" + mark + "\">" << true;
        QTest::newRow("a click handler waits for a click") << "<a href=\"#\" onclick=\"" + mark + "\">x</a>" << false;
        QTest::newRow("a frame of javascript:") << "<iframe src=\"javascript:parent." + mark + "\"></iframe>" << true;
        QTest::newRow("an SVG script") << "<svg>" + run + "</svg>" << true;
        QTest::newRow("a script in a template") << "<template>" + run + "</template>" << false;
        QTest::newRow("a script in noscript") << "<noscript>" + run + "</noscript>" << false;
    }

    void scriptsThatRun()
    {
        const auto [body, runs] = fetchRow<QByteArray, bool>("body", "runs");
        QTemporaryDir dir;
        QFile page(dir.filePath(u"page.html"_s));
        QVERIFY(page.open(QIODevice::WriteOnly));
        const QByteArray html = "<!DOCTYPE html><html><head><title>t</title></head>" + body + "</html>";
        page.write(html);
        page.close();
        const DocumentPtr live = browser().load(PageSource::fromArgument(page.fileName()));
        QVERIFY((!live->attribute(live->documentElement(), u"data-ran"_s).isNull()) == runs && runsScriptsOnLoad(*live) == runs);
        QCOMPARE(runsScriptsOnLoad(*parseHtmlDocument(html, QString())), runs);
    }

    // A server that takes the connection (the kernel does) and never answers.
    void aPageThatNeverComesIsGivenUp()
    {
        QTcpServer silent;
        QVERIFY(silent.listen(QHostAddress::LocalHost));
        BrowserLoader loader;
        loader.setTimeout(std::chrono::milliseconds(1000));
        const QString address = u"http://127.0.0.1:%1/"_s.arg(silent.serverPort());
        try {
            loader.load(PageSource::fromArgument(address));
            QFAIL("the page loaded");
        } catch (const PageError &given) {
            QCOMPARE(given.message(), u"the browser did not load %1 within 1 s"_s.arg(address));
        }
    }

private:
    BrowserLoader &browser();

    std::unique_ptr<BrowserLoader> m_browser;
};

BrowserLoader &tst_RunParity::browser()
{
    if (!m_browser)
        m_browser = std::make_unique<BrowserLoader>();
    return *m_browser;
}

QTEST_MAIN(tst_RunParity)
#include "tst_runparity.moc"
