#pragma once

#include <cstddef>

#include <rix/access/Plan.h>
#include <rix/algorithms/OptimLevel.h>

namespace rix::edge_detection {

/// Row kernels for `float` and `double`. Every level computes the same bits.
template <class T>
struct FieldKernels {
    /// The sums of 2 reach + 1 rows, rows[reach + i] with the weight half[|i|], or with its negative for i < 0: from
    /// the outer pairs to the middle.
    void (*sumEven)(const T* const* rows, const T* half, std::size_t reach, T* out, std::size_t count);
    void (*sumOdd)(const T* const* rows, const T* half, std::size_t reach, T* out, std::size_t count);
    /// Two such sums of the same rows: even and even, even and odd.
    void (*sumEvenEven)(const T* const* rows, const T* const* halves, std::size_t reach, T* const* outs,
                        std::size_t count);
    void (*sumEvenOdd)(const T* const* rows, const T* const* halves, std::size_t reach, T* const* outs,
                       std::size_t count);

    /// Of 1 to 3 components, as results: their sum, the root of the sum of their squares, the angle of the first two.
    void (*sum)(const T* const* components, std::size_t n, T* out, std::size_t count, access::Stores stores);
    void (*magnitude)(const T* const* components, std::size_t n, T* out, std::size_t count, access::Stores stores);
    void (*orientation)(const T* const* components, T* out, std::size_t count);
};

template <class T>
FieldKernels<T> fieldKernels(OptimLevelType level);

}  // namespace rix::edge_detection
