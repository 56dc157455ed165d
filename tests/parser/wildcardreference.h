#pragma once

#include <QString>

#include <functional>

// The search's matcher as its definition reads, recursion and all, written apart from the
// product so that a fault in the product's parts cannot hide in both.
namespace WildcardReference {

bool MatchWildcard(const QString &text, const QString &pattern, const std::function<double()> &random);

} // namespace WildcardReference
