#include "parser/wildcardmatcher.h"
#include "wildcardreference.h"
#include "datatable.h"

#include <QRandomGenerator>
#include <QtTest>

using namespace Qt::StringLiterals;

namespace {

WildcardPattern::RandomSource fixed(double value)
{
    return [value] { return value; };
}

} // namespace

class tst_Wildcard : public QObject
{
    Q_OBJECT

private slots:
    void matches_data()
    {
        addColumns<QString, QString, QString>("text", "pattern", "outcome");
        const QString yes = u"true"_s, no = u"false"_s;

        QTest::newRow("whole text only") << u"PRICE"_s << u"PRICE"_s << yes;
        QTest::newRow("part of the text is not enough") << u"THE PRICE"_s << u"PRICE"_s << no;
        QTest::newRow("star on both sides finds it inside") << u"THE PRICE IS"_s << u"*PRICE*"_s << yes;
        QTest::newRow("? is one character") << u"AB"_s << u"?B"_s << yes;
        QTest::newRow("? is not none") << u"B"_s << u"?B"_s << no;
        QTest::newRow("? is not two") << u"ABB"_s << u"?B"_s << no;
        QTest::newRow("trailing star may match nothing") << u"A"_s << u"A*"_s << yes;
        QTest::newRow("star matches any non-empty text") << u"ANYTHING"_s << u"*"_s << yes;
        QTest::newRow("star does not match an empty text") << QString() << u"*"_s << no;
        QTest::newRow("leading star at the first occurrence") << u"XABC"_s << u"*ABC"_s << yes;
        QTest::newRow("leading star tries one place only") << u"ABCABC"_s << u"*ABC"_s << no;
        QTest::newRow("leading star with ? tries one place only") << u"ABXABY"_s << u"*AB?"_s << no;
        QTest::newRow("a later star tries every place") << u"XABCABC"_s << u"X*ABC"_s << yes;
        QTest::newRow("escaped star matches nothing") << u"A*B"_s << u"A\\*B"_s << no;
        QTest::newRow("the escape token itself is literal text") << u"A_500B"_s << u"A\\*B"_s << yes;
        QTest::newRow("stars and ? together") << u"PRICE: 12.50 EUR"_s << u"PRICE: ??.* EUR"_s << yes;
        QTest::newRow("two stars side by side") << u"AXYB"_s << u"A**B"_s << yes;
        QTest::newRow("a literal after ? is tried at its first occurrence") << u"XAB-AB"_s << u"?AB*"_s << yes;
        QTest::newRow("text after the last literal fails") << u"ABC"_s << u"A*B"_s << no;
        QTest::newRow("text that looks like a placeholder stays literal") << u"_503XYZ"_s << u"_503_504*"_s << no;
        QTest::newRow("placeholder-like text matches itself") << u"_503_504XYZ"_s << u"_503_504*"_s << yes;
        QTest::newRow("a match at position 32,767 counts") << QString(32766, u'A') + u"END"_s << u"*END"_s << yes;
        QTest::newRow("a match past position 32,767 overflows") << QString(32767, u'A') + u"END"_s << u"*END"_s << u"error 6"_s;
        QTest::newRow("twenty thousand ? deep") << QString(20000, u'X') << QString(20000, u'?') << yes;
        QTest::newRow("twenty thousand ? need as many letters") << QString(19999, u'X') << QString(20000, u'?') << no;
        QTest::newRow("many stars over many As") << QString(200, u'A') << u"*A*A*A*A*A*A*A*B"_s << no;
        QTest::newRow("many stars, then found") << QString(200, u'A') + u'B' << u"*A*A*A*A*A*A*A*B"_s << yes;
    }

    void matches()
    {
        const auto [text, pattern, outcome] = fetchRow<QString, QString, QString>("text", "pattern", "outcome");
        WildcardMatcher matcher(fixed(0.5));
        QCOMPARE(::outcome([&] { return matcher.MatchWildcard(text, pattern); }), outcome);
        // What is worked out is remembered: the worst row, 200^7 steps for plain backtracking,
        // stays under 100,000.
        QVERIFY2(matcher.lastSteps() < 100000, qPrintable(QString::number(matcher.lastSteps())));
        if (text.size() < 100) // the definition itself is exponential on the long rows
            QCOMPARE(::outcome([&] { return WildcardReference::MatchWildcard(text, pattern, fixed(0.5)); }), outcome);
    }

    void sameAnswersAsTheDefinition()
    {
        // Small random patterns and texts; tokens clash with the text, which also holds the characters escapes stand for.
        QRandomGenerator generator(20261121);
        const QString patternAlphabet = u"AB*?\\_12"_s;
        const QString textAlphabet = u"AB_12\\?*"_s;
        const auto draw = [&](const QString &alphabet, int maxLength) {
            QString result;
            const int length = generator.bounded(maxLength + 1);
            for (int i = 0; i < length; ++i)
                result.append(alphabet.at(generator.bounded(int(alphabet.size()))));
            return result;
        };
        // Half the patterns are made from their text, so that many of them match.
        const auto patternFor = [&](const QString &text) {
            QString pattern;
            for (const QChar c : text) {
                const int dice = generator.bounded(8);
                if (dice == 0)
                    pattern.append(u'?');
                else if (dice == 1)
                    pattern.append(u'*');
                else if (dice != 2)
                    pattern.append(c);
                if (generator.bounded(10) == 0)
                    pattern.append(u'*');
            }
            return pattern;
        };
        int matched = 0;
        for (int round = 0; round < 20000; ++round) {
            const QString text = draw(textAlphabet, 10);
            const QString pattern = round % 2 ? patternFor(text) : draw(patternAlphabet, 8);
            const double random = round % 4 == 0 ? 0.001 : generator.generateDouble();
            WildcardMatcher matcher(fixed(random));
            const QString fast = outcome([&] { return matcher.MatchWildcard(text, pattern); });
            const QString reference = outcome([&] { return WildcardReference::MatchWildcard(text, pattern, fixed(random)); });
            QVERIFY2(fast == reference, qPrintable(u"text \"%1\" pattern \"%2\" random %3: %4, the definition says %5"_s
                                                       .arg(text, pattern).arg(random).arg(fast, reference)));
            matched += fast == u"true"_s;
        }
        QVERIFY(matched > 1000); // the rounds are not all trivially failing
    }
};

QTEST_APPLESS_MAIN(tst_Wildcard)
#include "tst_wildcard.moc"
