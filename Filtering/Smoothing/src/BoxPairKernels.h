#pragma once

#include <cstddef>
#include <cstdint>

#include <rix/algorithms/OptimLevel.h>

#include "BoxAhead.h"
#include "BoxDealt.h"

namespace rix::filtering::smoothing {

/// Divides the totals of 2 to 257 bytes, which 16 bits hold, by their number.
///
/// With 2^shift < n <= 2^(shift + 1) let m be 2^(16 + shift) / n rounded up, m * n = 2^(16 + shift) + e. For a total t
/// = q * n + r the product t * m is (q + r / n) * 2^(16 + shift) + t * e / n, and its bits from 16 + shift on are q
/// when the last term is below 2^(16 + shift) / n. As t <= 255 * n and 2^(16 + shift) >= 2^15 * n, that holds for e <=
/// 128. Otherwise m is rounded down, m * n = 2^(16 + shift) - e with e < n - 128, and the product is that of t + 1: it
/// is below (t + 1) / n * 2^(16 + shift), and so below q + 1 times that power; and what e takes away from it, (t + 1) *
/// e / n, is no more than the 2^(16 + shift) / n that t + 1 has brought, as (255 * n + 1) * 128 < 2^15 * n for these n
/// > 128.
struct BoxPairDivider {
    static constexpr std::uint32_t largest = 257;

    BoxPairDivider() = default;
    /// @param divisor 2 to `largest`
    explicit BoxPairDivider(std::uint32_t divisor);

    std::uint16_t multiplier = 0;
    std::uint16_t shift = 0;
    std::uint16_t bias = 0;  ///< is added to totals
};

/// Turns a row of column sums into a row of results, as `BoxTotalRow`.
template <class Out>
using BoxPairTotalRow = void (*)(const BoxPairs& columns, std::size_t count, std::size_t window, std::uint16_t first,
                                 Out* out, const BoxPairDivider& divider, const BoxAhead& ahead);

template <class Out>
struct BoxPairTotals {
    BoxPairTotalRow<Out> row = nullptr;
    bool takesFirst = true;  ///< false: the total of output 0 is made anew as all others, and need not be given
};

/// Rows of sums of bytes in 16 bits, modulo 2^16: whatever order samples enter and leave in, a sum that fits is exact.
/// Kernels read and write whole vectors of sums; what lies behind the last entry of a row is kept as it was.
struct BoxPairRows {
    /// sums[i] += in[0][i] + in[1][i] + ..., 1 to `boxGroup` rows
    void (*addSamples)(const std::uint8_t* const* in, std::size_t rows, const BoxPairs& sums, std::size_t count);
    void (*addSums)(const BoxPairs* in, std::size_t rows, const BoxPairs& sums, std::size_t count);
    /// sums[i] += in[i] - out[i]
    void (*slideSamples)(const std::uint8_t* in, const std::uint8_t* out, const BoxPairs& sums, std::size_t count);
    void (*slideSums)(const BoxPairs& in, const BoxPairs& out, const BoxPairs& sums, std::size_t count);
    /// row[e] = row[mirror - e] for `count` entries from `first` on, none of which is a source
    void (*reflect)(const BoxPairs& row, std::size_t first, std::size_t count, std::size_t mirror);
    /// The sum of the first `count` entries.
    std::uint16_t (*sum)(const BoxPairs& row, std::size_t count);
};

const BoxPairRows& boxPairRows(OptimLevelType level);
/// Totals as they are. @param window columns of the windows; 0 where totals have more in common than these
BoxPairTotals<std::uint16_t> boxPairSums(OptimLevelType level, std::size_t window);
/// Their quotients, of the same windows.
BoxPairTotals<std::uint8_t> boxPairMeans(OptimLevelType level, std::size_t window);

}  // namespace rix::filtering::smoothing
