#include <tamberline/tamberlinecontrol.h>
#include "freshquery.h"
#include "parser/documentsearch.h"
#include "parser/wildcardmatcher.h"
#include "platform/runtimeerror.h"

#include <QtTest>

using namespace Qt::StringLiterals;

namespace {

// html > body > (div.price "Price: 12", a href=X "link", input disabled "", p "Straße 𐐨")
Document shop()
{
    Document document;
    document.append({QStringLiteral("HTML"), -1}, u"Price: 12\nlink");
    document.append({QStringLiteral("BODY"), 0}, u"Price: 12\nlink");
    document.append({QStringLiteral("DIV"), 1, {}, {{QStringLiteral("class"), QStringLiteral(" Price ")}}}, u"Price: 12");
    document.append({QStringLiteral("A"), 1, {}, {{QStringLiteral("href"), QStringLiteral("x")}}}, u"link");
    document.append({QStringLiteral("INPUT"), 1, {}, {{QStringLiteral("disabled"), QString()}}});
    document.append({QStringLiteral("P"), 1, {}, {{QStringLiteral("title"), u"Stra\u00dfe"_s}}}, u"Stra\u00dfe \U00010428");
    return document;
}

// What the call gave, or "error N" when it raised run-time error N: a raise fails its row only.
QString outcome(const std::function<QVariant()> &call)
{
    try {
        return call().toString();
    } catch (const RuntimeError &error) {
        return QStringLiteral("error %1").arg(error.number());
    }
}

} // namespace

class tst_DocumentSearch : public QObject
{
    Q_OBJECT

private slots:
    void filters_data();
    void filters();
    void scan_data();
    void scan();
    void scanLimit();
    void filtersFirstRaiseAsTextFirst();
};

void tst_DocumentSearch::filters_data()
{
    QTest::addColumn<int>("element");
    QTest::addColumn<QStringList>("filters");
    QTest::addColumn<QString>("holds");
    const QString yes = QStringLiteral("true"), no = QStringLiteral("false");
    QTest::newRow("no filters") << 2 << QStringList{} << yes;
    QTest::newRow("blanks and case do not count") << 3 << QStringList{QStringLiteral(" HREF = X ")} << yes;
    QTest::newRow("value compared trimmed") << 2 << QStringList{QStringLiteral("class=price")} << yes;
    QTest::newRow("other value") << 3 << QStringList{QStringLiteral("href=y")} << no;
    QTest::newRow("missing attribute") << 2 << QStringList{QStringLiteral("href=")} << no;
    QTest::newRow("no = asks for an empty attribute") << 4 << QStringList{QStringLiteral("disabled")} << yes;
    QTest::newRow("no = on an attribute with a value") << 2 << QStringList{QStringLiteral("class")} << no;
    QTest::newRow("no = keeps the name as typed") << 2 << QStringList{QStringLiteral("tagName")} << no;
    QTest::newRow("tagName") << 2 << QStringList{QStringLiteral("tagname=div")} << yes;
    QTest::newRow("ParentTag") << 2 << QStringList{QStringLiteral("PARENTTAG = body")} << yes;
    QTest::newRow("ParentTag of the top element") << 0 << QStringList{QStringLiteral("ParentTag=x")} << QStringLiteral("error 91");
    QTest::newRow("sourceIndex") << 3 << QStringList{QStringLiteral("sourceIndex=3")} << yes;
    QTest::newRow("sourceIndex of another") << 3 << QStringList{QStringLiteral("sourceIndex=2")} << no;
    QTest::newRow("every entry must hold") << 3 << QStringList{QStringLiteral("href=x"), QStringLiteral("tagName=div")} << no;
    QTest::newRow("sharp s is not SS") << 5 << QStringList{QStringLiteral("title=STRASSE")} << no;
}

void tst_DocumentSearch::filters()
{
    QFETCH(int, element);
    QFETCH(QStringList, filters);
    QFETCH(QString, holds);
    QCOMPARE(outcome([&] { return MatchesAttributeFilters(shop(), element, filters); }), holds);
}

void tst_DocumentSearch::scan_data()
{
    QTest::addColumn<int>("start");
    QTest::addColumn<QString>("text");
    QTest::addColumn<QStringList>("filters");
    QTest::addColumn<int>("found");
    QTest::newRow("whole text in any case") << 0 << QStringLiteral("price: 12") << QStringList{} << 2;
    QTest::newRow("a star finds the outermost element first") << 0 << QStringLiteral("*price*") << QStringList{} << 0;
    QTest::newRow("continues after the start") << 1 << QStringLiteral("*price*") << QStringList{} << 1;
    QTest::newRow("text and filters together") << 0 << QStringLiteral("*price*") << QStringList{QStringLiteral("tagName=div")} << 2;
    QTest::newRow("ParentTag skips the top element whose text does not fit")
        << 0 << QStringLiteral("price: 12") << QStringList{QStringLiteral("ParentTag=body")} << 2;
    QTest::newRow("filters alone") << 0 << QStringLiteral("  ") << QStringList{QStringLiteral("href=x")} << 3;
    QTest::newRow("nothing after the last") << 3 << QStringLiteral("*price*") << QStringList{} << -1;
    QTest::newRow("sharp s stays one letter") << 0 << u"*STRA\u00dfE*"_s << QStringList{} << 5;
    QTest::newRow("sharp s is not SS") << 0 << u"strasse*"_s << QStringList{} << -1;
    QTest::newRow("letters past U+FFFF in any case") << 0 << u"*e \U00010400"_s << QStringList{} << 5;
    QTest::newRow("start past the end") << 9 << QStringLiteral("link") << QStringList{} << -1;
}

void tst_DocumentSearch::scan()
{
    QFETCH(int, start);
    QFETCH(QString, text);
    QFETCH(QStringList, filters);
    QFETCH(int, found);
    const WildcardMatcher matcher([] { return 0.25; });
    QCOMPARE(outcome([&] { return ScanDocument(shop(), int16_t(start), text, filters, matcher); }), QString::number(found));
}

void tst_DocumentSearch::scanLimit()
{
    Document page;
    page.elements.fill({QStringLiteral("P"), -1, {}, {}, {}, page.appendText(u"x")}, 32768);
    const WildcardMatcher matcher;
    QCOMPARE(outcome([&] { return ScanDocument(page, 100, QStringLiteral("x"), {}, matcher); }), QStringLiteral("100"));
    // Stepping past the last of 32,768 elements overflows the 16-bit counter.
    QVERIFY_THROWS_EXCEPTION(RuntimeError, ScanDocument(page, 0, QStringLiteral("y"), {}, matcher));
    page.elements.append(page.elements.last());
    QVERIFY_THROWS_EXCEPTION(RuntimeError, ScanDocument(page, 0, QStringLiteral("x"), {}, matcher));
}

void tst_DocumentSearch::filtersFirstRaiseAsTextFirst()
{
    // The html element's text ends in the word past the matcher's 16-bit positions: text first,
    // that raises at once, and testing the filter first must not skip it.
    Document page;
    page.append({QStringLiteral("HTML"), -1}, QString(33000, u'x') + QStringLiteral("word"));
    page.append({QStringLiteral("P"), 0, {}, {{QStringLiteral("class"), QStringLiteral("x")}}}, u"word");
    const WildcardMatcher matcher;
    for (const QStringList &filters : {QStringList{}, QStringList{QStringLiteral("class=x")}})
        QVERIFY_THROWS_EXCEPTION(RuntimeError, ScanDocument(page, 0, QStringLiteral("*word"), filters, matcher));
    QCOMPARE(outcome([&] { return ScanDocument(page, 1, QStringLiteral("*word"), {QStringLiteral("class=x")}, matcher); }), QStringLiteral("1"));
    // Texts the snapshot did not read cannot be searched; filters alone still can.
    page.unreadTextFrom = 1;
    QVERIFY_THROWS_EXCEPTION(RuntimeError, ScanDocument(page, 1, QStringLiteral("*"), {}, matcher));
    QCOMPARE(outcome([&] { return ScanDocument(page, 0, QString(), {QStringLiteral("class=x")}, matcher); }), QStringLiteral("1"));
}

QTEST_GUILESS_MAIN(tst_DocumentSearch)
#include "tst_documentsearch.moc"
