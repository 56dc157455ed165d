#include "wildcardreference.h"

#include "platform/runtimeerror.h"

namespace WildcardReference {

namespace {

// Mid$(text, start) and Mid$(text, start, length), 1-based.
QString mid(const QString &text, long long start, long long length = -1)
{
    if (start < 1 || length < -1)
        throw RuntimeError(ErrorNumber::InvalidCall);
    if (start > text.size())
        return {};
    return length < 0 ? text.mid(start - 1) : text.mid(start - 1, length);
}

long long inStr(long long start, const QString &text, const QString &find)
{
    if (text.isEmpty())
        return 0;
    return findFrom(start, text, find);
}

} // namespace

int16_t MatchFrom(const QString &text, const QString &pattern, const QString &starToken, const QString &anyToken,
                  int16_t start)
{
    const int16_t s = matcherPosition(inStr(1, pattern, starToken));
    const int16_t q = matcherPosition(inStr(1, pattern, anyToken));
    if (s == 1) {
        const long long nextStar = inStr(2, pattern, starToken);
        const long long nextAny = inStr(2, pattern, anyToken);
        long long nearer = nextStar;
        if (nextAny != 0 && (nearer == 0 || nextAny < nearer))
            nearer = nextAny;
        const QString rest = mid(pattern, starToken.size() + 1);
        const QString literal = nearer == 0 ? rest : mid(pattern, starToken.size() + 1, nearer - starToken.size() - 1);
        int16_t p = start;
        while (true) {
            if (MatchFrom(text, rest, starToken, anyToken, p) != 0)
                return 1;
            p = matcherPosition(inStr(p + 1, text, literal));
            if (p == 0)
                return 0;
        }
    }
    if (q == 1) {
        if (text.isEmpty())
            return 0;
        return MatchFrom(mid(text, 2), mid(pattern, anyToken.size() + 1), starToken, anyToken, 1) == 1 ? 1 : 0;
    }
    if (s == 0 && q == 0) {
        if (pattern.isEmpty())
            return text.isEmpty() ? 1 : 3;
        const QString t = mid(text, start);
        const long long first = inStr(1, t, pattern);
        if (first > 0 && first + pattern.size() - 1 == t.size())
            return matcherPosition(first);
        return 0;
    }
    long long nearer = s;
    if (q != 0 && (nearer == 0 || q < nearer))
        nearer = q;
    const QString literal = pattern.left(nearer - 1);
    const int16_t p = matcherPosition(inStr(start, text, literal));
    if (p == 0)
        return 0;
    const int16_t r = MatchFrom(mid(text, p + literal.size()), mid(pattern, nearer), starToken, anyToken, 1);
    return r > 0 ? p : 0;
}

bool MatchWildcard(const QString &text, const QString &pattern, const WildcardPattern::RandomSource &random)
{
    if (!pattern.isEmpty() && text.isEmpty())
        return false;
    const WildcardPattern tokens = WildcardPattern::tokenize(pattern, random);
    const QString &p = tokens.pattern;
    if (p.startsWith(tokens.starToken))
        return MatchFrom(text, mid(p, tokens.starToken.size() + 1), tokens.starToken, tokens.anyToken, 1) > 0;
    if (p.startsWith(tokens.anyToken))
        return MatchFrom(mid(text, 2), mid(p, tokens.anyToken.size() + 1), tokens.starToken, tokens.anyToken, 1) == 1;
    return MatchFrom(text, p, tokens.starToken, tokens.anyToken, 1) == 1;
}

} // namespace WildcardReference
