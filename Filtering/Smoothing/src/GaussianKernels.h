#pragma once

#include <cstddef>

#include <rix/algorithms/OptimLevel.h>

namespace rix::filtering::smoothing {

/// Rough cost, for deciding whether threads pay and how long blocks take.
inline constexpr double nanosecondsPerTap = 0.1;

/// Row kernels for `float` and `double`. Every level computes the same bits: one multiplication and two additions a
/// pair of taps, in one order, never fused.
template <class T>
struct GaussianKernels {
    /// out[x] = (...((taps[r] * (rows[0][x] + rows[2 r][x])) + taps[r - 1] * (rows[1][x] + rows[2 r - 1][x])) + ...) +
    /// taps[0] * rows[r][x], with r the reach: from the ends of the kernel to its middle. `out` may be rows[0],
    /// and overlaps no other.
    void (*sum)(const T* const* rows, const T* taps, std::size_t reach, T* out, std::size_t count);
    /// Rounds to the nearest integer, ties to even, and clamps. Not for NaN.
    void (*round)(T* row, std::size_t count, T lowest, T highest);
};

template <class T>
GaussianKernels<T> gaussianKernels(OptimLevelType level);

}  // namespace rix::filtering::smoothing
