#pragma once

#include <cstddef>
#include <limits>
#include <type_traits>

namespace rix::access {

/// A real as a sample: rounded to nearest, ties to even, and clamped to what the type holds; NaN is 0 for integers.
/// Compiled the same everywhere, without the rounding functions of the C library.
template <class T>
constexpr T roundedSample(double value) {
    if constexpr (std::is_floating_point_v<T>) {
        return static_cast<T>(value);
    } else {
        constexpr double lowest = std::numeric_limits<T>::min();
        constexpr double highest = std::numeric_limits<T>::max();
        constexpr double integers = 6755399441055744.0;  // 1.5 * 2^52: beside it, neighbouring doubles are 1 apart
        value = value == value ? value : 0.0;
        value = value < lowest ? lowest : value;
        value = value > highest ? highest : value;
        using Wide = std::conditional_t<sizeof(T) < 4, int, long>;
        return static_cast<T>(static_cast<Wide>(value + integers - integers));
    }
}

template <class T>
void roundSamples(const double* values, T* samples, std::size_t count) {
    for (std::size_t i = 0; i < count; ++i) {
        samples[i] = roundedSample<T>(values[i]);
    }
}

}  // namespace rix::access
