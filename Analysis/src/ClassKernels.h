#pragma once

#include <cstddef>
#include <cstdint>

#include <rix/algorithms/OptimLevel.h>
#include <rix/math/Histogram.h>

#include "Int128.h"

namespace rix::analysis {

/// Writes the class of each sample of a row, `classes.count` for a sample that lies in none. That number is at most
/// 65535.
template <class T>
using ClassRow = void (*)(const T* in, std::uint16_t* out, std::size_t count, const math::HistogramClasses& classes);

/// Integers of any sign and width in classes of width 1 that start at an integer: no division is needed.
struct UnitClasses {
    std::uint32_t first = 0;  ///< the start of class 0, as the low bits of the integer
    std::uint32_t count = 0;
};
template <class T>
using UnitClassRow = void (*)(const T* in, std::uint16_t* out, std::size_t count, UnitClasses classes);

/// Sums and counts of the samples below and not below a threshold. Samples are summed as integers, in units of
/// 1 / scale: any order gives the same sums.
struct SplitSums {
    Int128 low = 0;
    Int128 high = 0;
    std::uint64_t lowCount = 0;
    std::uint64_t highCount = 0;
};
/// Adds the finite samples of a row. The absolute value of sample * scale, a power of 2, is below 2^50.
template <class T>
using SplitRow = void (*)(const T* in, std::size_t count, double threshold, double scale, SplitSums& sums);

/// The kernels of one sample type.
template <class T>
struct ClassRows {
    ClassRow<T> classes;
    UnitClassRow<T> unitClasses;  ///< null for floating types
    SplitRow<T> split;
};

/// The kernels of a level.
template <class T>
ClassRows<T> classRows(OptimLevelType level);

}  // namespace rix::analysis
