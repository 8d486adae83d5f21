#pragma once

#include <cstddef>
#include <cstdint>

#include <rix/algorithms/OptimLevel.h>

namespace rix::filtering::smoothing {

/// Row kernels for bytes. Every level computes the same bits: sums of integers are exact, and what is made of them is
/// rounded once. Rows of pairs are in an order of the level's own.
struct GaussianFixedKernels {
    /// `countStep` divides all counts but that of `along`.
    static constexpr std::size_t countStep = 32;

    /// Two rows as pairs of 16 bits.
    void (*pair)(const std::uint8_t* upper, const std::uint8_t* lower, std::int32_t* pairs, std::size_t count);
    /// out[x] = `start` and the sum of rows[k][x] * taps[k] over all pairs, times `factor`, rounded.
    void (*down)(const std::int32_t* const* rows, const std::int32_t* taps, std::size_t pairs, std::int32_t start,
                 float factor, std::int16_t* out, std::size_t count);
    /// out[x] = 128 + the sum of the pairs (row[x + 2 k], row[x + 2 k + 1]) * taps[k], times `factor`, rounded and
    /// clamped. @param fills as of `GaussianFixedTaps`
    /// @param row as long as the sums of `count` or `countStep` elements, what is more, reach
    void (*along)(const std::int16_t* row, const std::int32_t* taps, const std::uint8_t* fills, std::size_t pairs,
                  float factor, std::uint8_t* out, std::size_t count);
};

GaussianFixedKernels gaussianFixedKernels(OptimLevelType level);

}  // namespace rix::filtering::smoothing
