#include "browser/browsersnapshot.h"

#include <QtTest>

class tst_BrowserSnapshot : public QObject
{
    Q_OBJECT

private slots:
    void readsWhatTheBridgeWrites();
    void refusesMalformedSnapshots_data();
    void refusesMalformedSnapshots();
};

void tst_BrowserSnapshot::readsWhatTheBridgeWrites()
{
    const QString json = QStringLiteral(
        R"({"url":"file:///p.html","title":"T \"q\"","cut":true,"cutReason":"too long","unreadTextFrom":2,"nodes":[)"
        R"(-1,"HTML",0, 0,"BODY",2,"id","main","data-x","\u00e9\ud83d\ude00\\/", -3,"A", 1,"B",0, -4,"B", -3,"tail"],)"
        R"("texts":["A\n\tB","A\n\tB","B"]})");
    const DocumentPtr document = documentFromSnapshotJson(json);
    QCOMPARE(document->url, QStringLiteral("file:///p.html"));
    QCOMPARE(document->title, QStringLiteral("T \"q\""));
    QVERIFY(document->cut);
    QCOMPARE(document->unreadTextFrom, 2);
    QCOMPARE(document->length(), 3);
    QCOMPARE(document->innerText(0), u"A\n\tB");
    QCOMPARE(document->upperInnerText(2), u"B");
    const Document::Element &body = document->item(1);
    QCOMPARE(body.parent, 0);
    QCOMPARE(body.id, QStringLiteral("main"));
    QCOMPARE(body.attributes.at(1).value, QStringLiteral("\u00e9\U0001F600\\/"));
    QCOMPARE(body.children.size(), 3);
    QCOMPARE(body.children.at(1).element, 2);
    QCOMPARE(body.children.at(2).text, QStringLiteral("tail"));
    QCOMPARE(document->attribute(1, QStringLiteral("DATA-X")), body.attributes.at(1).value);
    QVERIFY(document->attribute(2, QStringLiteral("id")).isNull());
}

void tst_BrowserSnapshot::refusesMalformedSnapshots_data()
{
    QTest::addColumn<QString>("json");
    QTest::newRow("not an object") << QStringLiteral("[]");
    QTest::newRow("parent after the child") << QStringLiteral(R"({"nodes":[1,"A",0,-1,"B",0]})");
    QTest::newRow("parent of a text after it") << QStringLiteral(R"({"nodes":[-1,"A",0,-3,"t"]})");
    QTest::newRow("attribute without value") << QStringLiteral(R"({"nodes":[-1,"A",1,"id"]})");
    QTest::newRow("fewer texts than elements") << QStringLiteral(R"({"nodes":[-1,"A",0,0,"B",0],"texts":["a"]})");
    QTest::newRow("texts before the elements") << QStringLiteral(R"({"texts":["a"],"nodes":[-1,"A",0]})");
    QTest::newRow("unterminated string") << QStringLiteral(R"({"url":"abc)");
    QTest::newRow("bad escape") << QStringLiteral(R"({"url":"\x"})");
    QTest::newRow("short unicode escape") << QStringLiteral(R"({"url":"\u12"})");
    QTest::newRow("unknown key") << QStringLiteral(R"({"script":"x"})");
    QTest::newRow("text after the end") << QStringLiteral(R"({"url":""} x)");
    QTest::newRow("huge index") << QStringLiteral(R"({"nodes":[99999999999,"A",0]})");
}

void tst_BrowserSnapshot::refusesMalformedSnapshots()
{
    QFETCH(QString, json);
    QVERIFY_THROWS_EXCEPTION(SnapshotFormatError, documentFromSnapshotJson(json));
}

QTEST_APPLESS_MAIN(tst_BrowserSnapshot)
#include "tst_browsersnapshot.moc"
