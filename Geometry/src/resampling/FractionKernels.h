#pragma once

#include <cstddef>
#include <cstdint>

#include <rix/algorithms/OptimLevel.h>

namespace rix::geometry {

/// Results that are computed together, and the elements that they are made of at most, from the first of these on.
inline constexpr std::size_t fractionGroup = 8;
inline constexpr std::size_t fractionReach = 16;
/// Groups whose tables are behind those of a period, for vectors of several groups.
inline constexpr std::size_t fractionGroupsBehind = 3;

/// A row that is made linearly of another, at places that are fractions of one denominator: result q period + r lies
/// seconds[r] / denominator behind element q advance + offsets[r].
struct FractionTaps {
    std::size_t period;
    std::size_t advance;
    std::uint16_t denominator;
    const std::int32_t* offsets;
    const std::uint16_t* seconds;
    /// Of groups of results: the first element, shuffles of bytes to words that find the elements at or below the
    /// places and those above, and the weights of both. After `period` groups, elements lie `fractionGroup advance`
    /// farther, and all else comes again.
    const std::int32_t* begins;
    const std::uint8_t* firsts;
    const std::uint8_t* nexts;
    const std::uint16_t* firstWeights;
    const std::uint16_t* nextWeights;
};

/// Division by a small number, to nearest, ties to even: with n = sum + half, of n times `reciprocal` the high word,
/// shifted, is n / divisor.
struct FractionQuotient {
    std::uint16_t divisor;
    std::uint16_t half;
    std::uint16_t even;  ///< 1 where ties can be
    std::uint16_t reciprocal;
    int shift;

    /// Whether a divisor has such a reciprocal for sums of bytes.
    static bool exists(std::size_t divisor);
    explicit FractionQuotient(std::size_t divisor);
};

/// Rows of bytes in whole numbers; every level computes the same. Rows of words have space for whole vectors.
struct FractionKernels {
    /// out[i] = (denominator - second) row[element] + second row[element + 1], the outermost elements going on beyond
    /// the row.
    void (*along)(const std::uint8_t* row, std::size_t length, const FractionTaps& taps, std::size_t count,
                  std::uint16_t* out);
    /// out[x] = (firstWeight first[x] + secondWeight second[x]) / divisor
    void (*across)(const std::uint16_t* first, const std::uint16_t* second, std::uint16_t firstWeight,
                   std::uint16_t secondWeight, const FractionQuotient& quotient, std::uint8_t* out, std::size_t count);
};
FractionKernels fractionKernels(OptimLevelType level);

}  // namespace rix::geometry
