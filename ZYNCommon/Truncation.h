#pragma once

#include <cstdint>
#include <limits>

/// How doubles become integers on their way into a payload.
///
/// A plain cast is undefined outside the target's range and its outcome differs between
/// processors, while the bytes on the wire may not. These functions fix it: toward zero, and the
/// smallest integer for what does not fit.
namespace kivo {

/// `value` truncated toward zero; -2147483648 when the result would not fit or for NaN.
constexpr std::int32_t TruncateToInt32(double value) {
    constexpr double kAbove = 2147483648.0;
    const bool fits = value > -kAbove - 1.0 && value < kAbove;
    return fits ? static_cast<std::int32_t>(value) : std::numeric_limits<std::int32_t>::min();
}

/// `value` truncated toward zero; -2^63 when the result would not fit or for NaN.
constexpr std::int64_t TruncateToInt64(double value) {
    constexpr double kAbove = 9223372036854775808.0;
    const bool fits = value >= -kAbove && value < kAbove;
    return fits ? static_cast<std::int64_t>(value) : std::numeric_limits<std::int64_t>::min();
}

}  // namespace kivo
