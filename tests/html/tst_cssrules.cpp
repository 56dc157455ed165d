#include "html/cssrules.h"
#include "datatable.h"

#include <QtTest>

// The rules cut out of a style sheet before parsing: a brace or a property name where the CSS
// syntax does not make it one must not cut a rule in two or keep one that does not matter.
class tst_CssRules : public QObject
{
    Q_OBJECT

private slots:
    void textRules_data()
    {
        addColumns<QByteArray, QByteArray>("css", "rules");
        QTest::newRow("only rules that matter, in order")
            << QByteArray(".a { color: red } .b { DISPLAY: none } .c { float: left }") << QByteArray(" .b { DISPLAY: none }\n .c { float: left }");
        QTest::newRow("at-rules with their blocks")
            << QByteArray("@import url(x.css); @media screen { .a { display: none } } .b { display: none }")
            << QByteArray(" .b { display: none }");
        QTest::newRow("braces in strings and comments")
            << QByteArray("/**/.a { content: \"\\\"}\"; display: none } /* } .x { display: none } */ .b { color: blue }")
            << QByteArray("/**/.a { content: \"\\\"}\"; display: none }");
        QTest::newRow("an unclosed block runs to the end") << QByteArray(".a { display: none") << QByteArray(".a { display: none");
    }

    void textRules()
    {
        const auto [css, rules] = fetchRow<QByteArray, QByteArray>("css", "rules");
        QCOMPARE(CssRules::textRules(css).join('\n'), rules);
    }
};

QTEST_APPLESS_MAIN(tst_CssRules)
#include "tst_cssrules.moc"
