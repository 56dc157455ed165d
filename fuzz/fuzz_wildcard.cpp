// The wildcard matcher against the plain transcription of its definition: the same answer
// (or the same run-time error), and the fast one within a time bound on any input.
#include "parser/wildcardmatcher.h"
#include "platform/runtimeerror.h"
#include "wildcardreference.h"

#include <QElapsedTimer>

#include <cstdint>
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
    QElapsedTimer timer;
    timer.start();
    const QString fast = outcome([&] { return matcher.MatchWildcard(text, pattern); });
    // Polynomial by construction: the longest inputs the fuzzer makes take about a second under
    // the sanitizers (a tenth of that without); exponential work would take years.
    if (timer.elapsed() > 5000)
        std::abort();
    // The definition is exponential in the number of stars: compare only where it answers in
    // good time.
    if (pattern.count(u'*') <= 4 && text.size() <= 32 && pattern.size() <= 48) {
        const QString reference = outcome([&] { return WildcardReference::MatchWildcard(text, pattern, [random] { return random; }); });
        if (fast != reference)
            std::abort();
    }
    return 0;
}
