#pragma once

#include <cstddef>
#include <cstdint>

#include <rix/algorithms/OptimLevel.h>

namespace rix::filtering::smoothing {

/// Rows of sums of 32 bit, modulo 2^32: whatever order samples enter and leave in, a sum that fits is exact.
template <class T>
struct BoxSlideRows {
    /// sums[i] += in[i]
    void (*add)(const T* in, std::uint32_t* sums, std::size_t count);
    /// sums[i] += in[i] - out[i]
    void (*slide)(const T* in, const T* out, std::uint32_t* sums, std::size_t count);
};

/// Divides totals of magnitude up to 2^31 by a number from 2 to 2^31, truncating toward zero.
///
/// With 2^shift < n <= 2^(shift + 1), m = ceil(2^(32 + shift) / n) has 32 bits, and m * n = 2^(32 + shift) + e with
/// e < n. For a total t = q * n + r the product t * m is (q + r / n) * 2^(32 + shift) + t * e / n. Its last term is below
/// 2^31 * 2^(shift + 1) / n = 2^(32 + shift) / n, and r / n is at most 1 - 1 / n: so the product lies between q and q + 1
/// times 2^(32 + shift), and its high bits are q.
struct BoxDivider {
    BoxDivider() = default;
    explicit BoxDivider(std::uint32_t divisor);

    std::uint32_t multiplier = 0;
    std::uint32_t shift = 0;
};

/// Turns a row of column sums into a row of results. The total of output x is that of the column sums x to x + window -
/// 1; `first` is the total of output 0, which may include what all totals have in common. column[-1] is readable.
template <class Out>
using BoxTotalRow = void (*)(const std::uint32_t* columns, std::size_t count, std::size_t window, std::uint32_t first,
                             Out* out, const BoxDivider& divider);

template <class Out>
struct BoxTotalRows {
    BoxTotalRow<Out> sum;   ///< totals; integers keep the low bits
    BoxTotalRow<Out> mean;  ///< null for types that are no type of voxels
};

/// The kernels of a level, for `uint8`, `int8`, `uint16`, `int16` and the 32 bit sums of planes.
template <class T>
const BoxSlideRows<T>& boxSlideRows(OptimLevelType level);
/// For `uint8`, `int8`, `uint16`, `int16`, `int32` and `float`.
template <class Out>
const BoxTotalRows<Out>& boxTotalRows(OptimLevelType level);

}  // namespace rix::filtering::smoothing
