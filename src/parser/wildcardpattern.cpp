#include "wildcardpattern.h"

#include "platform/boundarytypes.h"

#include <QRandomGenerator>

#include <cmath>

namespace {

QString freeToken(const QString &pattern, long long &n)
{
    while (pattern.contains(u'_' + QString::number(n)))
        ++n;
    return u'_' + QString::number(n);
}

} // namespace

WildcardPattern WildcardPattern::tokenize(const QString &text, const RandomSource &random)
{
    WildcardPattern result;
    QString &pattern = result.pattern;
    pattern = text;
    long long n = static_cast<long long>(std::floor(random() * 1000));
    pattern.replace(QStringLiteral("\\*"), freeToken(pattern, n));
    ++n;
    pattern.replace(QStringLiteral("\\?"), freeToken(pattern, n));
    ++n;
    pattern.replace(QStringLiteral("\\\\"), freeToken(pattern, n));
    ++n;
    result.starToken = freeToken(pattern, n);
    pattern.replace(u'*', result.starToken);
    ++n;
    result.anyToken = freeToken(pattern, n);
    pattern.replace(u'?', result.anyToken);
    return result;
}

WildcardPattern::RandomSource WildcardPattern::defaultRandom()
{
    return [] { return QRandomGenerator::global()->generateDouble(); };
}

int16_t matcherPosition(long long position)
{
    // Positions are never negative: only the top of the range can be passed.
    if (position > INT16_MAX)
        throw RuntimeError(ErrorNumber::Overflow,
                           QStringLiteral("Overflow: the search counts text positions up to 32,767 and this text is longer"));
    return static_cast<int16_t>(position);
}

long long findFrom(long long start, QStringView text, QStringView find)
{
    if (start < 1)
        throw RuntimeError(ErrorNumber::InvalidCall);
    if (start > text.size())
        return 0;
    if (find.isEmpty())
        return start;
    const qsizetype at = text.indexOf(find, start - 1);
    return at < 0 ? 0 : at + 1;
}
