#pragma once

#include <cstdint>
#include <limits>

namespace rix::helper {

/// Truncates toward zero. What does not fit (also NaN and the infinities) gives the most negative integer on every
/// path: that is what the conversion instructions of the processor give, where the language leaves it open.
constexpr std::int32_t truncateToInt32(double value) {
    return value > -2147483649.0 && value < 2147483648.0 ? static_cast<std::int32_t>(value)
                                                         : std::numeric_limits<std::int32_t>::min();
}

/// The same in 64 bits; see `truncateToInt32`.
constexpr std::int64_t truncateToInt64(double value) {
    return value >= -0x1p63 && value < 0x1p63 ? static_cast<std::int64_t>(value)
                                              : std::numeric_limits<std::int64_t>::min();
}

}  // namespace rix::helper
