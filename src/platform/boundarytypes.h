#pragma once

#include "runtimeerror.h"

#include <cstdint>
#include <limits>

// Booleans cross the control's interface as 16-bit values with True = -1; inside, they are bool.
using VBool = int16_t;
constexpr VBool VTrue = -1;
constexpr VBool VFalse = 0;

constexpr VBool toVBool(bool value) { return value ? VTrue : VFalse; }
constexpr bool fromVBool(VBool value) { return value != VFalse; }

// Counters and positions that the system keeps in 16 bits overflow (error 6) where a wider
// value does not fit, rather than wrapping.
inline int16_t checkedInt16(long long value)
{
    if (value < std::numeric_limits<int16_t>::min() || value > std::numeric_limits<int16_t>::max())
        throw RuntimeError(ErrorNumber::Overflow);
    return static_cast<int16_t>(value);
}

inline int32_t checkedInt32(long long value)
{
    if (value < std::numeric_limits<int32_t>::min() || value > std::numeric_limits<int32_t>::max())
        throw RuntimeError(ErrorNumber::Overflow);
    return static_cast<int32_t>(value);
}
