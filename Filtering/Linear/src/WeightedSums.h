#pragma once

#include <cstddef>

#include <rix/algorithms/OptimLevel.h>

namespace rix::filtering::linear {

/// out[x] = (...(weights[0] * rows[0][x] + weights[1] * rows[1][x]) + ...), for begin <= x < end; 0 where there are no
/// rows. Every level computes the same bits: a multiplication and an addition a row, in this order, never fused.
template <class T>
using WeightedSum = void (*)(const T* const* rows, const T* weights, std::size_t count, T* out, std::size_t begin,
                             std::size_t end);

/// For `float` and `double`.
template <class T>
WeightedSum<T> weightedSum(OptimLevelType level);

}  // namespace rix::filtering::linear
