#pragma once

#include <cstddef>
#include <cstdint>
#include <limits>

#include <rix/algorithms/OptimLevel.h>

namespace rix::analysis {

/// Of some samples, fewer than 2^31.
struct IntegerSums {
    std::int64_t sum = 0;
    std::uint64_t squares = 0;
    std::int64_t lowest = std::numeric_limits<std::int64_t>::max();
    std::int64_t highest = std::numeric_limits<std::int64_t>::min();
};

/// Adds the sum of samples and, where they were asked for, that of their squares and their extremes.
template <class T>
using AddIntegers = void (*)(const T* samples, std::size_t count, IntegerSums& sums);

/// @tparam T of 8 or 16 bits
template <class T>
AddIntegers<T> addIntegers(OptimLevelType level, bool withSquares, bool withExtremes);

}  // namespace rix::analysis
