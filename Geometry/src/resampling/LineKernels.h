#pragma once

#include <cstddef>
#include <cstdint>
#include <type_traits>

#include <rix/algorithms/OptimLevel.h>

namespace rix::geometry {

/// Results whose weights come again, some vectors of them: what these are made of, in the order in which it is used.
template <class T>
struct RowPeriod {
    using Lane = std::conditional_t<sizeof(T) == 4, std::int32_t, std::int64_t>;

    T* weights;            ///< of each vector for each tap
    Lane* lanes;           ///< where their elements are in what a vector reads
    std::int32_t* begins;  ///< the first element that it reads
    std::size_t period;    ///< results, a multiple of 16
    std::size_t shift;     ///< elements, after which it comes again
    std::size_t reach;     ///< elements to the last that is read

    /// The bytes of its tables, of vectors of any length.
    static std::size_t bytes(std::size_t period, std::size_t taps) {
        return period * (taps * (sizeof(T) + sizeof(Lane)) + sizeof(std::int32_t));
    }
};

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
    /// Null, or what results from `begin` to `end` are made of, again and again; for the first of them the elements lie
    /// `moved` behind those that it tells. The begin is a multiple of 16.
    const RowPeriod<T>* period;
    std::size_t begin;
    std::size_t end;
    std::size_t moved;
};

/// Kernels for `float` and `double`; every level computes the same bits. Rows of results have space for whole vectors,
/// up to the next multiple of 16.
template <class T>
struct LineKernels {
    /// Finds where vectors of results read a row: where the elements of a tap lie within two vectors, twice the first
    /// element of these, and one more where the second is needed; else -1. `at` gets an entry for every tap of every
    /// vector of `count` results.
    void (*place)(const RowTaps<T>& taps, std::size_t count, std::size_t length, std::int32_t* at);
    /// Fills the tables of a period from the taps at its first result; false where vectors would have to read two.
    bool (*findPeriod)(const RowTaps<T>& taps, RowPeriod<T>& period);
    /// out[i] = sum over k of weight(k)[i] row[index(k)[i] - first], then + constant[i]. @param length of the row
    void (*along)(const T* row, std::size_t length, const RowTaps<T>& taps, std::size_t count, T* out);
    /// out[x] = sum over k of weights[k] rows[k][x], then + constant where there is one
    void (*across)(const T* const* rows, const T* weights, std::size_t taps, const T* constant, T* out,
                   std::size_t count);
    /// The same past the caches.
    void (*acrossStreamed)(const T* const* rows, const T* weights, std::size_t taps, const T* constant, T* out,
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
