#pragma once

#include <cstddef>

#include <rix/algorithms/OptimLevel.h>

namespace rix::filtering::smoothing {

/// Row kernels of the rolling ball, for `float` and `double`. Every level computes the same bits.
template <class T>
struct RollingBallKernels {
    /// out[x] = factor row[x], or where that is NaN infinite. A zero is positive. `out` may be `row`.
    void (*prepare)(const T* row, T factor, T* out, std::size_t count);
    /// The least sample of a prepared row.
    T (*least)(const T* row, std::size_t count);
    /// out[x] = the least of rows[0][x], rows[1][x] ..., which are prepared. @return the least of all
    T (*join)(const T* const* rows, std::size_t rowCount, T* out, std::size_t count);
    /// least[x] = the least of itself and row[x + d] - heights[|d|] for all |d| <= reach. Rows are prepared and hold
    /// `reach` samples before and behind; `least` has room for a whole last vector, and so much is read behind the
    /// rows.
    /// @return the largest of `least`
    T (*press)(const T* row, const T* heights, std::size_t reach, T* least, std::size_t count);
};

template <class T>
RollingBallKernels<T> rollingBallKernels(OptimLevelType level);

}  // namespace rix::filtering::smoothing
