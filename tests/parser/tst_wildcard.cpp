#include "parser/wildcardmatcher.h"
#include "platform/runtimeerror.h"
#include "wildcardreference.h"

#include <QRandomGenerator>
#include <QtTest>

namespace {

WildcardPattern::RandomSource fixed(double value)
{
    return [value] { return value; };
}

// The answer, or "error N" when the matcher raised run-time error N.
QString outcome(const std::function<bool()> &match)
{
    try {
        return match() ? QStringLiteral("match") : QStringLiteral("no match");
    } catch (const RuntimeError &error) {
        return QStringLiteral("error %1").arg(error.number());
    }
}

} // namespace

class tst_Wildcard : public QObject
{
    Q_OBJECT

private slots:
    void matches_data();
    void matches();
    void sameAnswersAsTheDefinition();
};

void tst_Wildcard::matches_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("pattern");
    QTest::addColumn<QString>("outcome");
    const QString yes = QStringLiteral("match"), no = QStringLiteral("no match");

    QTest::newRow("whole text only") << QStringLiteral("PRICE") << QStringLiteral("PRICE") << yes;
    QTest::newRow("part of the text is not enough") << QStringLiteral("THE PRICE") << QStringLiteral("PRICE") << no;
    QTest::newRow("star on both sides finds it inside") << QStringLiteral("THE PRICE IS") << QStringLiteral("*PRICE*") << yes;
    QTest::newRow("? is one character") << QStringLiteral("AB") << QStringLiteral("?B") << yes;
    QTest::newRow("? is not none") << QStringLiteral("B") << QStringLiteral("?B") << no;
    QTest::newRow("? is not two") << QStringLiteral("ABB") << QStringLiteral("?B") << no;
    QTest::newRow("trailing star may match nothing") << QStringLiteral("A") << QStringLiteral("A*") << yes;
    QTest::newRow("star matches any non-empty text") << QStringLiteral("ANYTHING") << QStringLiteral("*") << yes;
    QTest::newRow("star does not match an empty text") << QString() << QStringLiteral("*") << no;
    QTest::newRow("leading star at the first occurrence") << QStringLiteral("XABC") << QStringLiteral("*ABC") << yes;
    QTest::newRow("leading star tries one place only") << QStringLiteral("ABCABC") << QStringLiteral("*ABC") << no;
    QTest::newRow("leading star with ? tries one place only") << QStringLiteral("ABXABY") << QStringLiteral("*AB?") << no;
    QTest::newRow("a later star tries every place") << QStringLiteral("XABCABC") << QStringLiteral("X*ABC") << yes;
    QTest::newRow("escaped star matches nothing") << QStringLiteral("A*B") << QStringLiteral("A\\*B") << no;
    QTest::newRow("escaped question mark matches nothing") << QStringLiteral("A?B") << QStringLiteral("A\\?B") << no;
    QTest::newRow("the escape token itself is literal text") << QStringLiteral("A_500B") << QStringLiteral("A\\*B") << yes;
    QTest::newRow("stars and ? together") << QStringLiteral("PRICE: 12.50 EUR") << QStringLiteral("PRICE: ??.* EUR") << yes;
    QTest::newRow("two stars side by side") << QStringLiteral("AXYB") << QStringLiteral("A**B") << yes;
    QTest::newRow("a literal after ? is tried at its first occurrence")
        << QStringLiteral("XAB-AB") << QStringLiteral("?AB*") << yes;
    QTest::newRow("text after the last literal fails") << QStringLiteral("ABC") << QStringLiteral("A*B") << no;
    QTest::newRow("text that looks like a placeholder stays literal")
        << QStringLiteral("_503XYZ") << QStringLiteral("_503_504*") << no;
    QTest::newRow("placeholder-like text matches itself") << QStringLiteral("_503_504XYZ") << QStringLiteral("_503_504*") << yes;
    QTest::newRow("a match at position 32,767 counts")
        << QString(32766, u'A') + QStringLiteral("END") << QStringLiteral("*END") << yes;
    QTest::newRow("a match past position 32,767 overflows")
        << QString(32767, u'A') + QStringLiteral("END") << QStringLiteral("*END") << QStringLiteral("error 6");
    QTest::newRow("twenty thousand ? deep") << QString(20000, u'X') << QString(20000, u'?') << yes;
    QTest::newRow("twenty thousand ? need as many letters") << QString(19999, u'X') << QString(20000, u'?') << no;
    QTest::newRow("many stars over many As") << QString(200, u'A') << QStringLiteral("*A*A*A*A*A*A*A*B") << no;
    QTest::newRow("many stars, then found") << QString(200, u'A') + u'B' << QStringLiteral("*A*A*A*A*A*A*A*B") << yes;
}

void tst_Wildcard::matches()
{
    QFETCH(QString, text);
    QFETCH(QString, pattern);
    QFETCH(QString, outcome);
    WildcardMatcher matcher(fixed(0.5));
    QCOMPARE(::outcome([&] { return matcher.MatchWildcard(text, pattern); }), outcome);
    if (text.size() < 100) // the definition itself is exponential on the long rows
        QCOMPARE(::outcome([&] { return WildcardReference::MatchWildcard(text, pattern, fixed(0.5)); }), outcome);
}

void tst_Wildcard::sameAnswersAsTheDefinition()
{
    // Small random patterns and texts over an alphabet that also makes tokens clash with text.
    QRandomGenerator generator(20261121);
    const QString patternAlphabet = QStringLiteral("AB*?\\_12");
    const QString textAlphabet = QStringLiteral("AB_12");
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
        QVERIFY2(fast == reference, qPrintable(QStringLiteral("text \"%1\" pattern \"%2\" random %3: %4, the definition says %5")
                                                   .arg(text, pattern).arg(random).arg(fast, reference)));
        matched += fast == QStringLiteral("match");
    }
    QVERIFY(matched > 1000); // the rounds are not all trivially failing
}

QTEST_APPLESS_MAIN(tst_Wildcard)
#include "tst_wildcard.moc"
