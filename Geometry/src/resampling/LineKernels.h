#pragma once

#include <cstddef>
#include <cstdint>

#include <rix/algorithms/OptimLevel.h>

namespace rix::geometry {

/// What a row is made of along itself.
template <class T>
struct RowTaps {
    const std::int32_t* indices;  ///< of the first tap, at the first element of the result
    const T* weights;
    std::size_t stride;      ///< from tap to tap
    std::size_t taps;        ///< at least 1
    const T* constants;      ///< or null
    const std::int32_t* at;  ///< where each tap of each vector reads, from `place`, at the first vector
    std::int32_t first;      ///< the index of the first element of the row that is read
};

/// Kernels for `float` and `double`; every level computes the same bits. Rows of results have space for whole vectors,
/// up to the next multiple of 16.
template <class T>
struct LineKernels {
    /// Finds where vectors of results read a row: where the elements of a tap lie within two vectors, twice the first
    /// element of these, and one more where the second is needed; else -1. `at` gets an entry for every tap of every
    /// vector of `count` results.
    void (*place)(const RowTaps<T>& taps, std::size_t count, std::size_t length, std::int32_t* at);
    /// out[i] = sum over k of weight(k)[i] row[index(k)[i] - first], then + constant[i]
    void (*along)(const T* row, const RowTaps<T>& taps, std::size_t count, T* out);
    /// out[x] = sum over k of weights[k] rows[k][x], then + constant where there is one
    void (*across)(const T* const* rows, const T* weights, std::size_t taps, const T* constant, T* out,
                   std::size_t count);
    /// Divides a row.
    void (*divide)(T* row, T divisor, std::size_t count);
};

template <class T>
LineKernels<T> lineKernels(OptimLevelType level);

/// `across` of `float` to integers of 1 or 2 bytes between two values: to nearest, ties to even; NaN is 0. The same as
/// rounding what `across` gives, which need not be stored then.
using AcrossRounded = void (*)(const float* const* rows, const float* weights, std::size_t taps, const float* constant,
                               float lowest, float highest, void* out, std::size_t count);
AcrossRounded acrossRounded(std::size_t bytes, OptimLevelType level);

}  // namespace rix::geometry
