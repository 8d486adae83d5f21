#pragma once

#include <cstddef>
#include <cstdint>

#include <rix/algorithms/OptimLevel.h>

#include "BoxAhead.h"
#include "BoxDealt.h"

namespace rix::filtering::smoothing {

using BoxQuads32 = BoxQuads<std::uint32_t>;

/// Rows of sums of 32 bit, modulo 2^32: whatever order samples enter and leave in, a sum that fits is exact.
/// Kernels write to whole vectors of sums; what lies behind the last entry is kept as it was.
template <class T>
struct BoxSlideRows {
    /// sums[i] += in[0][i] + in[1][i] + ..., 1 to `boxGroup` rows
    void (*add)(const T* const* in, std::size_t rows, const BoxQuads32& sums, std::size_t count);
    /// sums[i] += in[i] - out[i]
    void (*slide)(const T* in, const T* out, const BoxQuads32& sums, std::size_t count);
};

/// The same where rows of sums enter and leave, and what is done along a row of sums.
struct BoxSumRows {
    void (*add)(const BoxQuads32* in, std::size_t rows, const BoxQuads32& sums, std::size_t count);
    void (*slide)(const BoxQuads32& in, const BoxQuads32& out, const BoxQuads32& sums, std::size_t count);
    /// row[e] = row[mirror - e] for `count` entries from `first` on, none of which is a source
    void (*reflect)(const BoxQuads32& row, std::size_t first, std::size_t count, std::size_t mirror);
    /// The sum of the first `count` entries.
    std::uint32_t (*sum)(const BoxQuads32& row, std::size_t count);
};

/// Divides totals of magnitude up to 2^31 by a number from 2 to 2^31, truncating toward zero.
///
/// With 2^shift < n <= 2^(shift + 1), m = ceil(2^(32 + shift) / n) has 32 bits, and m * n = 2^(32 + shift) + e with
/// e < n. For a total t = q * n + r the product t * m is (q + r / n) * 2^(32 + shift) + t * e / n. Its last term is
/// below 2^31 * 2^(shift + 1) / n = 2^(32 + shift) / n, and r / n is at most 1 - 1 / n: so the product lies between q
/// and q + 1 times 2^(32 + shift), and its high bits are q.
///
/// Where quotients have 8 bits and n is no more than `largestForFloat`, truncating the product of the total and 1 / n
/// in single precision is exact, too. The total has less than 24 bits. Let the factor f be 1 / n rounded up: t * f >= t
/// / n, so its rounding is not below the integer q. On the other hand t * f <= (q + 1 - 1 / n) * (1 + 2^-23) < q + 1 -
/// 1 / n + 2^-15, as q + 1 <= 256. Below q + 1 floats are at most 2^-16 apart, so the rounding stays below q + 1 when 1
/// / n > 2^-15 + 2^-17, that is n <= 26214.
///
/// For larger divisors, quotients of 8 bit without sign can be read off one byte of a product: with m * n = 2^b + e,
/// where again e < n, the last term of t * m is below 255 * n. That is less than 2^b / n, and the product's byte b / 8
/// is q, when 255 * n^2 < 2^b: n <= 1050630 for b = 48; and b = 40 where that is enough, as m must have 32 bits.
struct BoxDivider {
    static constexpr std::uint32_t largestForFloat = 26214;
    static constexpr std::uint32_t largestForBytes = 1050630;

    BoxDivider() = default;
    explicit BoxDivider(std::uint32_t divisor);

    std::uint32_t multiplier = 0;
    std::uint32_t shift = 0;
    float factor = 0;
    std::uint32_t byteMultiplier = 0;
    std::uint8_t quotientByte = 0;  ///< 0 when products have none
};

/// Turns a row of column sums into a row of results. The total of output x is that of the column sums x to x + window -
/// 1; `first` is the total of output 0, which may include what all totals have in common.
template <class Out>
using BoxTotalRow = void (*)(const BoxQuads32& columns, std::size_t count, std::size_t window, std::uint32_t first,
                             Out* out, const BoxDivider& divider, const BoxAhead& ahead);

template <class Out>
struct BoxTotalRows {
    BoxTotalRow<Out> sum;        ///< totals; integers keep the low bits
    BoxTotalRow<Out> mean;       ///< null for types that means don't have, as the next
    BoxTotalRow<Out> floatMean;  ///< for 8 bit and divisors up to `BoxDivider::largestForFloat`
    BoxTotalRow<Out> byteMean;   ///< for `uint8` and divisors with a `quotientByte`; null also at the portable level
};

/// The kernels of a level, for `uint8`, `int8`, `uint16` and `int16`.
template <class T>
const BoxSlideRows<T>& boxSlideRows(OptimLevelType level);
const BoxSumRows& boxSumRows(OptimLevelType level);
/// For `uint8`, `int8`, `uint16`, `int16`, `int32` and `float`.
template <class Out>
BoxTotalRows<Out> boxTotalRows(OptimLevelType level);

}  // namespace rix::filtering::smoothing
