#pragma once

#include <cstddef>

#include <rix/algorithms/OptimLevel.h>

namespace rix::filtering::smoothing {

/// Loops of sums over windows, for `float` and `double`; every level computes the same bits.
template <class T>
struct SumKernels {
    /// out[i] = the sum of `window`, an odd number, of values from i on: in steps of 2, 4, 8, ..., the same for each i.
    /// @param scratch room for count + window values, as many as `values` has
    void (*sumAlong)(const T* values, std::size_t window, T* scratch, T* out, std::size_t count);
    /// a += b.
    void (*add)(T* a, const T* b, std::size_t count);
    /// Takes the next row of a section: running += values, kept = values, and sums = running + suffix, or running alone
    /// where that is null; where `sums` is null none are asked for.
    void (*advance)(const T* values, T* running, T* kept, const T* suffix, T* sums, std::size_t count);
};

template <class T>
SumKernels<T> sumKernels(OptimLevelType level);

}  // namespace rix::filtering::smoothing
