#include "document/document.h"
#include "document/textcase.h"
#include "datatable.h"

#include <QtTest>

using namespace Qt::StringLiterals;

class tst_Document : public QObject
{
    Q_OBJECT

private slots:
    void upperCaseKeepsLength_data()
    {
        addColumns<QString, QString>("text", "upper");
        QTest::newRow("Latin-1") << u"caf\u00e9 \u00ff"_s << u"CAF\u00c9 \u0178"_s;
        QTest::newRow("sharp s stays") << u"stra\u00dfe"_s << u"STRA\u00dfE"_s;
        QTest::newRow("ligature stays") << u"\ufb01x"_s << u"\ufb01X"_s;
        QTest::newRow("dotless i and long s") << u"\u0131\u017f"_s << u"IS"_s;
        QTest::newRow("final sigma; iota below stays") << u"\u03c2\u1fb3"_s << u"\u03a3\u1fb3"_s;
        QTest::newRow("a pair past U+FFFF") << u"a\U00010428b"_s << u"A\U00010400B"_s;
        QTest::newRow("long text, ASCII runs around others")
            << u"harbour `lane` {books} and caf\u00e9s; a pair \U00010428 across runs: the end ~"_s
            << u"HARBOUR `LANE` {BOOKS} AND CAF\u00c9S; A PAIR \U00010400 ACROSS RUNS: THE END ~"_s;
        QTest::newRow("unpaired surrogates kept") << u"a\xd801" "b\xdc28"_s << u"A\xd801" "B\xdc28"_s;
    }

    void upperCaseKeepsLength()
    {
        const auto [text, upper] = fetchRow<QString, QString>("text", "upper");
        QCOMPARE(toUpperKeepingLength(text), upper);
    }

    void elementsNameRangesOfOneText()
    {
        Document document;
        QVERIFY(document.append({u"P"_s, -1}, u"Stra\u00dfe") == 0 && document.append({u"BR"_s, 0}) == 1);
        Document::Element shared{u"B"_s, 0};
        shared.innerText = {2, 3};
        document.elements.append(shared);
        QVERIFY(document.innerText(0) == u"Stra\u00dfe" && document.upperInnerText(0) == u"STRA\u00dfE" && document.innerText(1).isEmpty());
        QVERIFY(document.innerText(2) == u"ra\u00df" && document.upperInnerText(2) == u"RA\u00df");
    }
};

QTEST_APPLESS_MAIN(tst_Document)
#include "tst_document.moc"
