#pragma once

#include <QString>

#include <cstdint>
#include <functional>

// A search pattern with its special characters replaced by placeholder tokens "_" + number,
// each number the first from a random start that the pattern does not already hold. The
// escapes \*, \? and \\ become tokens too and are never turned back: they stay as plain text,
// so a pattern using them matches, in practice, nothing. That is how the search behaves.
struct WildcardPattern {
    // Draws a number in [0, 1).
    using RandomSource = std::function<double()>;

    QString pattern;
    QString starToken;
    QString anyToken;

    static WildcardPattern tokenize(const QString &pattern, const RandomSource &random);
    static RandomSource defaultRandom();
};

// The 16-bit positions of the matcher: a text position past 32,767 overflows (error 6).
int16_t matcherPosition(long long position);

// VB-style string search: the 1-based position of find in text at or after start, 0 for none;
// an empty find is found where the search starts, and nothing is found past the end.
long long findFrom(long long start, QStringView text, QStringView find);
