#include "browser/browsersnapshot.h"
#include "datatable.h"

#include <QtTest>

using namespace Qt::StringLiterals;

class tst_BrowserSnapshot : public QObject
{
    Q_OBJECT

private slots:
    void readsWhatTheBridgeWrites();
    void refusesTextsWithoutTexts();
    void refusesMalformedSnapshots_data();
    void refusesMalformedSnapshots()
    {
        QFETCH(QString, json);
        QVERIFY_THROWS_EXCEPTION(SnapshotFormatError, documentFromSnapshotJson(json));
    }
};

void tst_BrowserSnapshot::readsWhatTheBridgeWrites()
{
    const QString json = QStringLiteral(
        R"({"url":"file:///p.html","title":"T \"q\"","cut": true,"cutReason":"too long","unreadTextFrom":2,"nodes":[)"
        R"(-1,"HTML",0, 0,"BODY",2,"id","main","data-x","\u00e9\uD83D\uDE00\\/", -3,"A", 1,"B",0, -4,"B", -3,"tail"],)"
        R"("texts":["A\n\tB","A\n\tB","B"]})");
    const DocumentPtr document = documentFromSnapshotJson(json);
    QVERIFY(document->url == u"file:///p.html"_s && document->title == u"T \"q\""_s);
    QVERIFY(document->cut && document->unreadTextFrom == 2 && document->length() == 3);
    QVERIFY(document->innerText(0) == u"A\n\tB" && document->upperInnerText(2) == u"B");
    const Document::Element &body = document->item(1);
    QVERIFY(body.parent == 0 && body.id == u"main"_s);
    QCOMPARE(body.attributes.at(1).value, u"\u00e9\U0001F600\\/"_s);
    QVERIFY(body.children.size() == 3 && body.children.at(1).element == 2);
    QVERIFY(body.children.at(2).text == u"tail"_s && document->attribute(1, u"DATA-X"_s) == body.attributes.at(1).value);
    QVERIFY(document->attribute(2, u"id"_s).isNull());
}

// The texts come in a second answer, which must hold them and nothing after them.
void tst_BrowserSnapshot::refusesTextsWithoutTexts()
{
    const DocumentPtr structure = documentFromSnapshotJson(uR"({"nodes":[-1,"A",0]})"_s);
    QCOMPARE(documentWithTexts(*structure, uR"({"texts":["a"]})"_s)->innerText(0), u"a"_s);
    QVERIFY_THROWS_EXCEPTION(SnapshotFormatError, documentWithTexts(*structure, uR"({"cut":false})"_s));
    QVERIFY_THROWS_EXCEPTION(SnapshotFormatError, documentWithTexts(*structure, uR"({"texts":["a"]} x)"_s));
}

void tst_BrowserSnapshot::refusesMalformedSnapshots_data()
{
    addColumns<QString>("json");
    QTest::newRow("not an object") << u"[]"_s;
    QTest::newRow("parent after the child") << uR"({"nodes":[1,"A",0,-1,"B",0]})"_s;
    QTest::newRow("parent of a text after it") << uR"({"nodes":[-1,"A",0,-3,"t"]})"_s;
    QTest::newRow("attribute without value") << uR"({"nodes":[-1,"A",1,"id"]})"_s;
    QTest::newRow("fewer texts than elements") << uR"({"nodes":[-1,"A",0,0,"B",0],"texts":["a"]})"_s;
    QTest::newRow("texts before the elements") << uR"({"texts":["a"],"nodes":[-1,"A",0]})"_s;
    QTest::newRow("unterminated string") << uR"({"url":"abc)"_s;
    QTest::newRow("bad escape") << uR"({"url":"\x"})"_s;
    QTest::newRow("short unicode escape") << uR"({"url":"\u12"})"_s;
    QTest::newRow("unknown key") << uR"({"script":"x"})"_s;
    QTest::newRow("text after the end") << uR"({"url":""} x)"_s;
    QTest::newRow("index below -1") << uR"({"unreadTextFrom":-2})"_s;
    QTest::newRow("huge index") << uR"({"nodes":[99999999999,"A",0]})"_s;
}

QTEST_APPLESS_MAIN(tst_BrowserSnapshot)
#include "tst_browsersnapshot.moc"
