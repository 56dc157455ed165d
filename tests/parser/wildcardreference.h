#pragma once

#include "parser/wildcardpattern.h"

#include <QString>

// The matcher written out as the search defines it, recursion and all, with nothing made
// faster: the reference that the fast matcher must agree with.
namespace WildcardReference {

int16_t MatchFrom(const QString &text, const QString &pattern, const QString &starToken, const QString &anyToken,
                  int16_t start);
bool MatchWildcard(const QString &text, const QString &pattern, const WildcardPattern::RandomSource &random);

} // namespace WildcardReference
