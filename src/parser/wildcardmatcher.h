#pragma once

#include "wildcardpattern.h"

#include <QList>
#include <QString>

// Whole-text matching with * (any run, also none) and ? (one character), anchored at both
// ends, with the search's deliberate limits kept: a star at the very front tries only the
// first occurrence of the literal after it, a literal after ? or at the end is tested at its
// first occurrence only, escapes match nothing, and text positions are 16-bit.
//
// The matcher follows the recursive definition step for step, but remembers each
// (text, pattern, start) it has answered and keeps its own stack, so patterns with many stars
// cost polynomial time and long patterns cannot exhaust the thread's stack.
class WildcardMatcher
{
public:
    explicit WildcardMatcher(WildcardPattern::RandomSource random = WildcardPattern::defaultRandom());

    // A pattern made ready once for many texts.
    struct Prepared {
        bool empty = true;
        WildcardPattern tokens;
        bool hasTokens = false;
        QList<qsizetype> nextStar; // per pattern position: where the token next occurs, -1 nowhere
        QList<qsizetype> nextAny;

        // Whether matching a text of this length can raise at all: a position past the 16-bit
        // counter.
        bool mayRaise(qsizetype textLength) const
        {
            return textLength >= INT16_MAX || tokens.pattern.size() >= INT16_MAX;
        }
    };
    Prepared prepare(const QString &pattern) const;

    // Both texts already upper-cased by the caller.
    bool MatchWildcard(const QString &text, const QString &pattern) const { return matches(prepare(pattern), text); }
    bool matches(const Prepared &pattern, QStringView text) const;

    // How many MatchFrom steps the last match took: the work, counted, for checks that it
    // stays polynomial.
    qint64 lastSteps() const { return m_lastSteps; }

private:
    WildcardPattern::RandomSource m_random;
    mutable qint64 m_lastSteps = 0;
};
