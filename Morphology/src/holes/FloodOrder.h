#pragma once

#include <bit>
#include <cstdint>
#include <limits>
#include <type_traits>

namespace rix::morphology {

/// What samples are compared by: integers themselves; reals as integers of the same order, in which -0 lies below +0
/// and every NaN above all else.
template <class T>
constexpr auto floodKey(T value) {
    if constexpr (std::is_integral_v<T>) {
        return value;
    } else {
        using Key = std::conditional_t<sizeof(T) == 4, std::int32_t, std::int64_t>;
        const Key bits = std::bit_cast<Key>(value);
        const Key key = bits ^ ((bits >> (8 * sizeof(T) - 1)) & std::numeric_limits<Key>::max());
        return value == value ? key : std::numeric_limits<Key>::max();
    }
}

template <class T>
constexpr bool isLower(T a, T b) {
    return floodKey(a) < floodKey(b);
}
template <class T>
constexpr T lowerOf(T a, T b) {
    return isLower(b, a) ? b : a;
}
/// The second where both are equal.
template <class T>
constexpr T higherOf(T a, T b) {
    return isLower(b, a) ? a : b;
}

/// Above all samples that are numbers.
template <class T>
constexpr T floodTop() {
    return std::numeric_limits<T>::has_infinity ? std::numeric_limits<T>::infinity() : std::numeric_limits<T>::max();
}

}  // namespace rix::morphology
