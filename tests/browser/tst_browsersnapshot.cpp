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
        R"({"url":"file:///p.html","title":"T \"q\"","cut":true,"cutReason":"too long","unreadTextFrom":2,"elements":[)"
        R"(["HTML",-1,"","A\n\tB",[],[1]],)"
        R"(["BODY",0,"main","A\n\tB",["id","main","data-x","\u00e9\ud83d\ude00\\/"],["A",2,"tail",7]],)"
        R"(["B",1,"","B",[],["B"]]]})");
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
    // The child past the end of a cut snapshot is left out.
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
    QTest::newRow("parent after the child") << QStringLiteral(R"({"elements":[["A",1,"","",[],[]],["B",-1,"","",[],[]]]})");
    QTest::newRow("parent below -1") << QStringLiteral(R"({"elements":[["A",-2,"","",[],[]]]})");
    QTest::newRow("child past the end, not cut") << QStringLiteral(R"({"elements":[["A",-1,"","",[],[5]]]})");
    QTest::newRow("five fields") << QStringLiteral(R"({"elements":[["A",-1,"","",[]]]})");
    QTest::newRow("attribute without value") << QStringLiteral(R"({"elements":[["A",-1,"","",["id"],[]]]})");
    QTest::newRow("unterminated string") << QStringLiteral(R"({"url":"abc)");
    QTest::newRow("bad escape") << QStringLiteral(R"({"url":"\x"})");
    QTest::newRow("short unicode escape") << QStringLiteral(R"({"url":"\u12"})");
    QTest::newRow("unknown key") << QStringLiteral(R"({"script":"x"})");
    QTest::newRow("text after the end") << QStringLiteral(R"({"url":""} x)");
    QTest::newRow("huge index") << QStringLiteral(R"({"elements":[["A",99999999999,"","",[],[]]]})");
}

void tst_BrowserSnapshot::refusesMalformedSnapshots()
{
    QFETCH(QString, json);
    QVERIFY_THROWS_EXCEPTION(SnapshotFormatError, documentFromSnapshotJson(json));
}

QTEST_APPLESS_MAIN(tst_BrowserSnapshot)
#include "tst_browsersnapshot.moc"
