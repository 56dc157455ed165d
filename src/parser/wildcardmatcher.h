#pragma once

#include "wildcardpattern.h"

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

    // Both texts already upper-cased by the caller.
    bool MatchWildcard(const QString &text, const QString &pattern);

private:
    WildcardPattern::RandomSource m_random;
};
