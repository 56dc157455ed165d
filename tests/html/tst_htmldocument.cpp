#include "html/htmldocument.h"
#include "html/nestingscan.h"
#include "html/pagereaderror.h"
#include "document/textcase.h"
#include "datatable.h"

#include <QtTest>

using namespace Qt::StringLiterals;

Q_DECLARE_METATYPE(ParseLimits)

namespace {

DocumentPtr parse(const QByteArray &html, const ParseLimits &limits = {})
{
    return parseHtmlDocument(html, u"https://example.test/page"_s, limits);
}

int firstWithTag(const Document &document, const QString &tagName)
{
    const auto at = std::find_if(document.elements.cbegin(), document.elements.cend(), [&](const auto &e) { return e.tagName == tagName; });
    return at == document.elements.cend() ? -1 : int(at - document.elements.cbegin());
}

// The elements' tag names, then their parents' indexes: "HTML HEAD|-1 0".
QString tagsAndParents(const Document &document)
{
    QStringList names, parents;
    for (const Document::Element &element : document.elements) {
        names.append(element.tagName);
        parents.append(QString::number(element.parent));
    }
    return names.join(u' ') + u'|' + parents.join(u' ');
}

// Elements by tag name, texts quoted: "'a'|B|'c'".
QString childList(const Document &document, int element)
{
    QStringList list;
    for (const Document::ChildNode &child : document.item(element).children)
        list.append(child.isElement() ? document.item(child.element).tagName : u'\'' + child.text + u'\'');
    return list.join(u'|');
}

QByteArray repeated(const QByteArray &piece, int count) { return piece.repeated(count); }

} // namespace

class tst_HtmlDocument : public QObject
{
    Q_OBJECT

private slots:
    void elements_data()
    {
        addColumns<QByteArray, QString, QString>("html", "tags", "parents");
        QTest::newRow("implied html, head and body") << QByteArray("<p>x") << u"HTML HEAD BODY P"_s << u"-1 0 0 2"_s;
        QTest::newRow("head content stays in head")
            << QByteArray("<title>t</title><meta charset=utf-8><div></div>") << u"HTML HEAD TITLE META BODY DIV"_s << u"-1 0 1 1 0 4"_s;
        QTest::newRow("empty page") << QByteArray() << u"HTML HEAD BODY"_s << u"-1 0 0"_s;
    }

    void elements()
    {
        const auto [html, tags, parents] = fetchRow<QByteArray, QString, QString>("html", "tags", "parents");
        const DocumentPtr document = parse(html);
        QVERIFY(tagsAndParents(*document) == (tags + u'|' + parents) && document->url == u"https://example.test/page"_s);
        QVERIFY(!document->cut);
    }

    void longTextIsSplit_data()
    {
        addColumns<QByteArray, QString, QList<int>>("html", "tag", "sizes");
        const QByteArray text = repeated("a", 70000);
        QTest::newRow("text past 65536 characters splits") << "<p>" + text + "</p>" << u"P"_s << QList<int>{65536, 4464};
        QTest::newRow("a script is one text") << "<script>" + text + "</script>" << u"SCRIPT"_s << QList<int>{70000};
        QTest::newRow("a surrogate pair stays whole")
            << "<p>" + repeated("a", 65535) + "\xF0\x9F\x98\x80" + "b</p>" << u"P"_s << QList<int>{65535, 3};
        QTest::newRow("a long cluster goes whole to the next text")
            << "<p>" + repeated("a", 65505) + "e" + repeated("\xCC\x81", 40) + "</p>" << u"P"_s << QList<int>{65505, 41};
        QTest::newRow("Latin-1 splits where it falls, even in a line end")
            << "<p>" + repeated("a", 65535) + "&#13;\nb</p>" << u"P"_s << QList<int>{65536, 2};
    }

    void longTextIsSplit()
    {
        const auto [html, tag, sizes] = fetchRow<QByteArray, QString, QList<int>>("html", "tag", "sizes");
        const DocumentPtr document = parse(html);
        QList<int> actual;
        for (const Document::ChildNode &child : document->item(firstWithTag(*document, tag)).children)
            actual.append(int(child.text.size()));
        QCOMPARE(actual, sizes);
    }

    // The page's rendered text, then the text content of each hidden subtree: every element's
    // innerText is a part of it.
    void textIsWrittenOnce_data()
    {
        addColumns<QByteArray, QString>("html", "text");
        QTest::newRow("nested elements share it") << QByteArray("<div><div><p>a</p>b</div></div>") << u"a\n\nb"_s;
        QTest::newRow("as deep as it goes") << repeated("<div>x", 2000) << QString(u"x\n"_s.repeated(2000)).chopped(1);
        QTest::newRow("hidden subtrees after it, each once")
            << QByteArray("<title>T</title><style>s</style><p>x<span hidden>h<b>i</b></span>") << u"xTshi"_s;
        QTest::newRow("SVG text content, hidden parts in it too")
            << QByteArray("<svg><style>s</style><text>t</text></svg>x") << u"t\nxst"_s;
    }

    void textIsWrittenOnce()
    {
        const auto [html, text] = fetchRow<QByteArray, QString>("html", "text");
        QCOMPARE(parse(html)->text(), text);
    }

    void title_data()
    {
        addColumns<QByteArray, QString>("html", "title");
        QTest::newRow("stripped and collapsed") << QByteArray("<title>\n  Harbour   Lane\tBooks </title>") << u"Harbour Lane Books"_s;
        QTest::newRow("the first title counts") << QByteArray("<title>one</title><title>two</title>") << u"one"_s;
        QTest::newRow("svg title does not count") << QByteArray("<svg><title>pic</title></svg><title>page</title>") << u"page"_s;
        QTest::newRow("no-break space kept") << QByteArray("<title>a\xC2\xA0 b</title>") << u"a\u00a0 b"_s;
        QTest::newRow("references decoded, tags are text") << QByteArray("<title>&lt;b&gt; <i></title>") << u"<b> <i>"_s;
        QTest::newRow("no title") << QByteArray("<p>x") << QString();
    }

    void title()
    {
        const auto [html, title] = fetchRow<QByteArray, QString>("html", "title");
        QCOMPARE(parse(html)->title, title);
    }

    void deepNestingIsFlattened()
    {
        const DocumentPtr document = parse(repeated("<div>", 600) + "deep" + repeated("</div>", 600) + "<p>after</p>");
        // html, head, body, 600 divs, p: document order is kept.
        QVERIFY(document->length() == 604 && document->item(603).tagName == u"P"_s && document->item(603).parent == 2);
        // The div at depth 512 (html = 1) holds the one below it and every deeper one after it.
        for (int i = 3; i <= 512; ++i)
            QCOMPARE(document->item(i).parent, i == 3 ? 2 : i - 1);
        for (int i = 513; i < 603; ++i)
            QCOMPARE(document->item(i).parent, 512);
        QVERIFY(document->item(512).children.size() == 90 && document->item(512).children.last().element == 602);
        QVERIFY(childList(*document, 602) == u"'deep'"_s && document->innerText(3) == u"deep"_s);
    }

    void textAroundAMovedElementMerges()
    {
        // The 513th div is at depth 515; the div inside it moves up to the div at depth 512, so
        // the text before and after that div is one text node.
        const DocumentPtr document = parse(repeated("<div>", 513) + "pre<div>x</div>tail");
        QVERIFY(document->length() == 517 && childList(*document, 515) == u"'pretail'"_s);
        QVERIFY(document->item(516).parent == 512 && childList(*document, 512) == u"DIV|DIV|DIV|DIV"_s);
    }

    void unclosedLinksAreNotRefused()
    {
        // Each link closes the one before it, however many there are.
        const DocumentPtr document = parse(repeated("<a href=x>link", 20000));
        // One string for every href: a page of many links does not hold a copy of the name in each.
        QVERIFY(document->length() == 20003 && document->item(20002).parent == 2 && document->item(20002).attributes.at(0).name.isSharedWith(document->item(3).attributes.at(0).name));
    }

    // The pre-scan's estimate of how deep a page nests, against the parser's own tree, on pages
    // made at random of the markup it models. Only a table's content, moved out in front of it,
    // may nest less deep than estimated (tables of their own parts alone are exact); a page must
    // never nest deeper. Left out: formatting
    // elements, which the parser may open again further down, and forms, selects and tables in
    // foreign content, where the estimate is not exact.
    void nestingEstimateMatchesTheParser()
    {
        static const char *const pieces[] = {
            "<table>", "</table>", "<tr>", "</tr>", "<td>", "</td>", "<th>", "<tbody>", "<caption>", "<colgroup>",
            "<form>", "</form>", "<select>", "<option>", "</option>", "<optgroup>", "</optgroup>", "</select>",
            "<div>", "</div>", "<p>", "</p>", "<ul>", "</ul>", "<li>", "</li>", "<dl>", "<dt>", "<dd>", "<h1>", "<h6>", "</h1>",
            "<br\t>", "</br>", "<img\f/>", "<div/>", "<button>", "</button>", "<span>", "</span>", "<html><head>", "<ASIDE>", "</ x>", "</>", "<?>", "a < b", "<!x-y><div>-->", "<Zz>text</zZ>",
            "<script><xscript><div></script>", "<!--a>--p><p>--!>", "<!--->", "<textarea><p></textarea>", "<div / id=a title = '>'<p>",
            "<p hidden class=\"<p>\"><span>", "<span title=a=\">\"<p>\">",
            "<svg>", "</svg>", "<g>", "<g x/>", "<foreignObject>", "<desc>", "<math>", "<mi>", "<mo>", "<ms>", "<mtext>", "</math>", "<![CDATA[<p>]]>",
            "<ruby>", "<rtc>", "<rt>", "<rp>", "<rb>", "<annotation-xml encoding=text/htm>", "<annotation-xml encoding=TEXT/HTML>",
            "<annotation-xml><svg><desc>", "<annotation-xml encoding=x ENCODING='application/XHTML+xml'>", "<plaintext>"};
        // Pieces from..to, and whether the estimate is exact there.
        const struct { int from, to; bool exact; } kinds[] = {{10, 55, true}, {0, 55, false}, {18, 78, true}, {0, 10, true}};
        QRandomGenerator random(7);
        for (int page = 0; page < 15000; ++page) {
            const auto kind = kinds[page % 4];
            QByteArray html = "x";
            for (int n = random.bounded(1, 40); n > 0; --n)
                html += pieces[random.bounded(kind.from, kind.to)];
            const DocumentPtr document = parse(html);
            int deepest = 0;
            for (int i = 0; i < document->length(); ++i) {
                int depth = 1;
                for (int up = document->item(i).parent; up >= 0; up = document->item(up).parent)
                    ++depth;
                deepest = std::max(deepest, depth);
            }
            const int estimate = NestingScan::run(html, 1 << 20).depth;
            QVERIFY2(kind.exact ? estimate == deepest : estimate >= deepest,
                     qPrintable(u"%1 for %2: %3"_s.arg(estimate).arg(deepest).arg(QString::fromUtf8(html))));
        }
    }

    void limits_data()
    {
        addColumns<QByteArray, ParseLimits, QString, int, bool>("html", "limits", "error", "elements", "cut");
        QTest::newRow("too deep for the usual limits") << repeated("<div>", 40000) << ParseLimits()
                                                      << u"the page nests elements 40,002 deep; at most 10,000 can be read"_s << 0 << false;
        ParseLimits small;
        small.maxInputBytes = 10;
        QTest::newRow("too large") << QByteArray("<p>eleven b") << small
                                   << u"the page is 11 bytes long; at most 10 can be read"_s << 0 << false;
        ParseLimits shallow;
        shallow.maxDepth = 8;
        QTest::newRow("too deep, after comments") << "<script>a</script><!-- a --><!---><section><!-->" + repeated("<section>", 6) << shallow
                                  << u"the page nests elements 9 deep; at most 8 can be read"_s << 0 << false;
        QTest::newRow("a cell closes what is open in its row") << QByteArray("<table><tr><div><td><b><i>") << shallow << QString() << 10 << false;
        ParseLimits few;
        few.maxElements = 6;
        QTest::newRow("elements past the cap cut off") << repeated("<p>x", 10) << few << QString() << 6 << true;
        few.maxDepth = 20; // the page is cut before the parser reads what would nest too deep
        QTest::newRow("what follows the cap is not read") << repeated("<p>x", 10) + repeated("<section>", 30) << few << QString() << 6 << true;
        ParseLimits little;
        little.maxTextChars = 20;
        QTest::newRow("nested text counts once") << QByteArray("<div><div><p>0123456789</p></div></div>") << little << QString() << 6 << false;
        QTest::newRow("a hidden page's text counts once") << QByteArray("<html hidden><p>012345678901234") << little << QString() << 4 << false;
        QTest::newRow("hidden text counts") << QByteArray("<title>0123456789</title><p>0123456789x") << little
                                            << u"the page's text exceeds 20 characters"_s << 0 << false;
    }

    void limits()
    {
        const auto [html, limits, error, elements, cut] =
            fetchRow<QByteArray, ParseLimits, QString, int, bool>("html", "limits", "error", "elements", "cut");
        try {
            const DocumentPtr document = parse(html, limits);
            QVERIFY2(error.isEmpty(), "no error raised");
            QVERIFY(document->length() == elements && document->cut == cut);
            if (cut)
                QCOMPARE(document->cutReason, u"the page has more than 6 elements; the first 6 were read"_s);
        } catch (const PageReadError &raised) {
            QVERIFY2(!error.isEmpty() && raised.description().startsWith(error), raised.what());
            QCOMPARE(raised.number(), ErrorNumber::Overflow);
        }
    }
};

QTEST_GUILESS_MAIN(tst_HtmlDocument)
#include "tst_htmldocument.moc"
