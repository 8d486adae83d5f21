#pragma once

#include <cstddef>
#include <cstdint>

#include <rix/algorithms/OptimLevel.h>

#include "GaussianRecursion.h"

namespace rix::filtering::smoothing {

/// Rows of a bundle of lines, each an element of all lines, `stride` samples from row to row.
template <class T>
struct LineRows {
    T* first;
    std::size_t stride;
    std::size_t width;  ///< samples of a row, whole vectors of every level
    T* row(std::size_t i) const { return first + i * stride; }
};

/// Kernels for `float` and `double`; every level computes the same bits.
template <class T>
struct GaussianRecursionKernels {
    /// The sums over what follows each of `count` rows, from the last to the first: `warmUp` rows are behind them.
    void (*downward)(const LineRows<T>& rows, std::size_t count, std::size_t warmUp,
                     const GaussianRecursion<T>& recursion, const LineRows<T>& sums);
    /// Adds the sums over what is before each row and itself, which `warmUp` rows precede, and puts the results where
    /// the rows were, `warmUp` rows lower: where nothing looks any more.
    void (*upward)(const LineRows<T>& rows, std::size_t count, std::size_t warmUp,
                   const GaussianRecursion<T>& recursion, const LineRows<T>& sums);
    /// Whether a sample is not a number, or its magnitude not below a limit.
    bool (*holdsWild)(const T* row, std::size_t count, T limit);
};

template <class T>
GaussianRecursionKernels<T> gaussianRecursionKernels(OptimLevelType level);

}  // namespace rix::filtering::smoothing
