#include "wildcardreference.h"

#include "platform/runtimeerror.h"

#include <cmath>

using namespace Qt::StringLiterals;

namespace WildcardReference {

namespace {

// A 16-bit text position.
long long pos16(long long p)
{
    if (p > 32767)
        throw RuntimeError(ErrorNumber::Overflow);
    return p;
}

// Mid$(s, start[, length]), 1-based.
QString mid(const QString &s, long long start, long long length = -1)
{
    if (start < 1 || length < -1)
        throw RuntimeError(ErrorNumber::InvalidCall);
    return start > s.size() ? QString() : s.mid(start - 1, length);
}

// InStr(start, s, find), 1-based, 0 for none; nothing is found in an empty text.
long long inStr(long long start, const QString &s, const QString &find)
{
    if (start < 1)
        throw RuntimeError(ErrorNumber::InvalidCall);
    if (s.isEmpty() || start > s.size())
        return 0;
    if (find.isEmpty())
        return start;
    for (long long i = start; i + find.size() - 1 <= s.size(); ++i) {
        if (QStringView(s).mid(i - 1, find.size()) == find)
            return i;
    }
    return 0;
}

long long nearer(long long a, long long b)
{
    return b != 0 && (a == 0 || b < a) ? b : a;
}

long long matchFrom(const QString &text, const QString &pattern, const QString &star, const QString &any, long long start)
{
    const long long s = pos16(inStr(1, pattern, star));
    const long long q = pos16(inStr(1, pattern, any));
    if (s == 1) {
        const long long next = nearer(inStr(2, pattern, star), inStr(2, pattern, any));
        const QString rest = mid(pattern, star.size() + 1);
        const QString literal = next == 0 ? rest : mid(pattern, star.size() + 1, next - star.size() - 1);
        for (long long p = start;; ) {
            if (matchFrom(text, rest, star, any, p) != 0)
                return 1;
            if ((p = pos16(inStr(p + 1, text, literal))) == 0)
                return 0;
        }
    }
    if (q == 1)
        return !text.isEmpty() && matchFrom(mid(text, 2), mid(pattern, any.size() + 1), star, any, 1) == 1 ? 1 : 0;
    if (s == 0 && q == 0) {
        if (pattern.isEmpty())
            return text.isEmpty() ? 1 : 3;
        const QString t = mid(text, start);
        const long long first = inStr(1, t, pattern);
        return first > 0 && first + pattern.size() - 1 == t.size() ? pos16(first) : 0;
    }
    const QString literal = pattern.left(nearer(s, q) - 1);
    const long long p = pos16(inStr(start, text, literal));
    if (p == 0)
        return 0;
    return matchFrom(mid(text, p + literal.size()), mid(pattern, nearer(s, q)), star, any, 1) > 0 ? p : 0;
}

} // namespace

bool MatchWildcard(const QString &text, const QString &pattern, const std::function<double()> &random)
{
    if (!pattern.isEmpty() && text.isEmpty())
        return false;
    // Each placeholder is "_" and the first number from a random start the pattern lacks; the
    // escapes become placeholders that are never turned back.
    QString p = pattern;
    long long n = static_cast<long long>(std::floor(random() * 1000));
    const auto token = [&] {
        while (p.contains(u'_' + QString::number(n)))
            ++n;
        return u'_' + QString::number(n++);
    };
    for (const QString escape : {u"\\*"_s, u"\\?"_s, u"\\\\"_s})
        p.replace(escape, token());
    const QString star = token();
    p.replace(u'*', star);
    const QString any = token();
    p.replace(u'?', any);
    if (p.startsWith(star))
        return matchFrom(text, mid(p, star.size() + 1), star, any, 1) > 0;
    if (p.startsWith(any))
        return matchFrom(mid(text, 2), mid(p, any.size() + 1), star, any, 1) == 1;
    return matchFrom(text, p, star, any, 1) == 1;
}

} // namespace WildcardReference
