#pragma once

#include <QString>

#include <cstdint>

// Text to number the way the system's conversions read it.

// The whole text as a 32-bit integer: blanks around it allowed, fractions rounded half to
// even; not a number raises 13 (type mismatch), out of range 6 (overflow).
int32_t convertToInt32(const QString &text);

// The longest leading number of the text after leading blanks ("12abc" is 12, "abc" and ""
// are 0); never fails.
double leadingNumber(const QString &text);
