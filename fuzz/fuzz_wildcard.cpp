// The wildcard matcher against the plain transcription of its definition: the same answer
// (or the same run-time error), and the fast one within a time bound on any input.
#include "parser/wildcardmatcher.h"
#include "platform/runtimeerror.h"
#include "wildcardreference.h"


#include <cstdint>
#include <cstdio>
#include <cstdlib>

namespace {

QString outcome(const std::function<bool()> &match)
{
    try {
        return match() ? QStringLiteral("match") : QStringLiteral("no match");
    } catch (const RuntimeError &error) {
        return QString::number(error.number());
    }
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int *, char ***)
{
    return 0;
}

// Input: the random draw (one byte), then pattern and text separated by the first NUL.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    if (size < 1)
        return 0;
    const double random = data[0] / 256.0;
    const QByteArray rest(reinterpret_cast<const char *>(data + 1), qsizetype(size - 1));
    const qsizetype split = rest.indexOf('\0');
    const QString pattern = QString::fromUtf8(split < 0 ? rest : rest.left(split)).toUpper();
    const QString text = split < 0 ? QString() : QString::fromUtf8(rest.mid(split + 1)).toUpper();

    WildcardMatcher matcher([random] { return random; });
    const QString fast = outcome([&] { return matcher.MatchWildcard(text, pattern); });
    // The work is counted, not timed: each (text, pattern, start) is answered once, so the steps
    // stay within wildcards x text length squared, where the definition's are exponential.
    const qint64 wildcards = pattern.count(u'*') + pattern.count(u'?');
    const qint64 bound = 4 * (wildcards + 1) * (text.size() + 2) * (text.size() + 2) + 1000;
    if (matcher.lastSteps() > bound) {
        std::fprintf(stderr, "%lld steps, more than %lld\n", matcher.lastSteps(), bound);
        std::abort();
    }
    // The definition is exponential in the number of stars: compare only where it answers in
    // good time.
    if (pattern.count(u'*') <= 4 && text.size() <= 32 && pattern.size() <= 48) {
        const QString reference = outcome([&] { return WildcardReference::MatchWildcard(text, pattern, [random] { return random; }); });
        if (fast != reference)
            std::abort();
    }
    return 0;
}
