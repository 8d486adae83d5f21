#pragma once

#include <cstddef>
#include <cstdint>

#include <rix/algorithms/OptimLevel.h>

namespace rix::analysis {

/// The extreme finite values met so far, and how many values were special. Every real type fits a double exactly.
struct Extrema {
    double minimum = __builtin_inf();
    double maximum = -__builtin_inf();
    std::uint64_t nanCount = 0;
    std::uint64_t infiniteCount = 0;

    bool hasFiniteValue() const { return minimum <= maximum; }
};

/// Adds the values of a row.
template <class T>
using ExtremaRow = void (*)(const T* in, std::size_t count, Extrema& extrema);

/// The kernel of a level.
template <class T>
ExtremaRow<T> extremaRows(OptimLevelType level);

}  // namespace rix::analysis
