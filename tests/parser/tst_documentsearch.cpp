#include <tamberline/tamberlinecontrol.h>
#include "freshquery.h"
#include "parser/documentsearch.h"
#include "parser/wildcardmatcher.h"
#include "datatable.h"

#include <QtTest>

using namespace Qt::StringLiterals;

namespace {

// html > body > (div.price "Price: 12", a href=X "link", input disabled "", p "Straße 𐐨")
Document shop()
{
    Document document;
    document.append({u"HTML"_s, -1}, u"Price: 12\nlink");
    document.append({u"BODY"_s, 0}, u"Price: 12\nlink");
    document.append({u"DIV"_s, 1, {}, {{u"class"_s, u" Price "_s}}}, u"Price: 12");
    document.append({u"A"_s, 1, {}, {{u"href"_s, u"x"_s}}}, u"link");
    document.append({u"INPUT"_s, 1, {}, {{u"disabled"_s, QString()}}});
    document.append({u"P"_s, 1, {}, {{u"title"_s, u"Stra\u00dfe"_s}}}, u"Stra\u00dfe \U00010428");
    return document;
}

} // namespace

class tst_DocumentSearch : public QObject
{
    Q_OBJECT

private slots:
    void filters_data()
    {
        addColumns<int, QStringList, QString>("element", "filters", "holds");
        const QString yes = u"true"_s, no = u"false"_s;
        QTest::newRow("no filters") << 2 << QStringList{} << yes;
        QTest::newRow("blanks and case do not count") << 3 << QStringList{u" HREF = X "_s} << yes;
        QTest::newRow("value compared trimmed") << 2 << QStringList{u"class=price"_s} << yes;
        QTest::newRow("other value") << 3 << QStringList{u"href=y"_s} << no;
        QTest::newRow("missing attribute") << 2 << QStringList{u"href="_s} << no;
        QTest::newRow("no = asks for an empty attribute") << 4 << QStringList{u"disabled"_s} << yes;
        QTest::newRow("no = on an attribute with a value") << 2 << QStringList{u"class"_s} << no;
        QTest::newRow("no = keeps the name as typed") << 2 << QStringList{u"tagName"_s} << no;
        QTest::newRow("tagName") << 2 << QStringList{u"tagname=div"_s} << yes;
        QTest::newRow("ParentTag") << 1 << QStringList{u"PARENTTAG = html"_s} << yes;
        QTest::newRow("ParentTag of the top element") << 0 << QStringList{u"ParentTag=x"_s} << u"error 91"_s;
        QTest::newRow("sourceIndex") << 3 << QStringList{u"sourceIndex=3"_s} << yes;
        QTest::newRow("sourceIndex of another") << 3 << QStringList{u"sourceIndex=2"_s} << no;
        QTest::newRow("every entry must hold") << 3 << QStringList{u"href=x"_s, u"tagName=div"_s} << no;
        QTest::newRow("sharp s is not SS") << 5 << QStringList{u"title=STRASSE"_s} << no;
    }

    void filters()
    {
        const auto [element, filters, holds] = fetchRow<int, QStringList, QString>("element", "filters", "holds");
        QCOMPARE(outcome([&] { return MatchesAttributeFilters(shop(), element, filters); }), holds);
    }

    void scan_data()
    {
        addColumns<int, QString, QStringList, int>("start", "text", "filters", "found");
        QTest::newRow("whole text in any case") << 0 << u"price: 12"_s << QStringList{} << 2;
        QTest::newRow("a star finds the outermost element first") << 0 << u"*price*"_s << QStringList{} << 0;
        QTest::newRow("continues after the start") << 1 << u"*price*"_s << QStringList{} << 1;
        QTest::newRow("text and filters together") << 0 << u"*price*"_s << QStringList{u"tagName=div"_s} << 2;
        QTest::newRow("ParentTag skips the top element whose text does not fit")
            << 0 << u"price: 12"_s << QStringList{u"ParentTag=body"_s} << 2;
        QTest::newRow("filters alone") << 0 << u"  "_s << QStringList{u"href=x"_s} << 3;
        QTest::newRow("nothing after the last") << 3 << u"*price*"_s << QStringList{} << -1;
        QTest::newRow("sharp s stays one letter") << 0 << u"*STRA\u00dfE*"_s << QStringList{} << 5;
        QTest::newRow("sharp s is not SS") << 0 << u"strasse*"_s << QStringList{} << -1;
        QTest::newRow("letters past U+FFFF in any case") << 0 << u"*e \U00010400"_s << QStringList{} << 5;
        QTest::newRow("start past the end") << 9 << u"link"_s << QStringList{} << -1;
    }

    void scan()
    {
        const auto [start, text, filters, found] =
            fetchRow<int, QString, QStringList, int>("start", "text", "filters", "found");
        const WildcardMatcher matcher([] { return 0.25; });
        QCOMPARE(outcome([&] { return ScanDocument(shop(), int16_t(start), text, filters, matcher); }), QString::number(found));
    }

    void scanLimit()
    {
        Document page;
        page.elements.fill({u"P"_s, -1, {}, {}, {}, page.appendText(u"x"_s)}, 32768);
        const WildcardMatcher matcher;
        QCOMPARE(outcome([&] { return ScanDocument(page, 100, u"x"_s, {}, matcher); }), u"100"_s);
        // Stepping past the last of 32,768 elements overflows the 16-bit counter.
        QVERIFY_THROWS_EXCEPTION(RuntimeError, ScanDocument(page, 0, u"y"_s, {}, matcher));
        page.elements.append(page.elements.last());
        QVERIFY_THROWS_EXCEPTION(RuntimeError, ScanDocument(page, 0, u"x"_s, {}, matcher));
    }

    void filtersFirstRaiseAsTextFirst()
    {
        // The html element's text ends in the word past the matcher's 16-bit positions: text first,
        // that raises at once, and testing the filter first must not skip it.
        Document page;
        page.append({u"HTML"_s, -1}, QString(33000, u'x') + u"word"_s);
        page.append({u"P"_s, 0, {}, {{u"class"_s, u"x"_s}}}, u"word");
        const WildcardMatcher matcher;
        for (const QStringList &filters : {QStringList{}, QStringList{u"class=x"_s}})
            QVERIFY_THROWS_EXCEPTION(RuntimeError, ScanDocument(page, 0, u"*word"_s, filters, matcher));
        QCOMPARE(outcome([&] { return ScanDocument(page, 1, u"*word"_s, {u"class=x"_s}, matcher); }), u"1"_s);
        // Texts the snapshot did not read cannot be searched; filters alone still can.
        page.unreadTextFrom = 1;
        QVERIFY_THROWS_EXCEPTION(RuntimeError, ScanDocument(page, 1, u"*"_s, {}, matcher));
        QCOMPARE(outcome([&] { return ScanDocument(page, 0, QString(), {u"class=x"_s}, matcher); }), u"1"_s);
    }
};

QTEST_GUILESS_MAIN(tst_DocumentSearch)
#include "tst_documentsearch.moc"
