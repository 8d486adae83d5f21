#pragma once

#include <cstddef>
#include <cstdint>
#include <type_traits>

#include <rix/access/Plan.h>
#include <rix/algorithms/OptimLevel.h>

#include "BoxJob.h"

namespace rix::filtering::smoothing {

__extension__ typedef unsigned __int128 WideUnsigned;

/// What is told of a window.
enum class LocalStatistic : std::uint8_t { Mean, Variance, StandardDeviation };

/// A sum of integers and that of their squares, each modulo its type: whatever order samples enter and leave in, a sum
/// that fits is exact.
template <class Sum, class Squares>
struct TwinSum {
    TwinSum() = default;
    explicit TwinSum(std::size_t number) : sum(static_cast<Sum>(number)), squares(static_cast<Squares>(number)) {}
    TwinSum operator+(const TwinSum& other) const { return {sum + other.sum, squares + other.squares}; }
    TwinSum operator*(const TwinSum& other) const { return {sum * other.sum, squares * other.squares}; }

    Sum sum = 0;
    Squares squares = 0;

private:
    TwinSum(Sum ofSamples, Squares ofSquares) : sum(ofSamples), squares(ofSquares) {}
};

/// What integers are summed in: 32 bits where these hold all sums of a run, which only those of 8 bits make sure.
template <class T, bool narrow>
struct TwinOf {
    using Sample = T;
    using Squares = std::conditional_t<sizeof(T) < 4, std::uint64_t, WideUnsigned>;
    using Sum = std::conditional_t<narrow, TwinSum<std::uint32_t, std::uint32_t>, TwinSum<std::uint64_t, Squares>>;
};

/// How the sums of a window become a result.
struct LocalResult {
    LocalStatistic statistic = LocalStatistic::Mean;
    std::int64_t voxels = 1;  ///< of a window
    std::int64_t origin = 0;  ///< what the samples are less than they were
    bool isSmall = false;     ///< the square of a sum, and the sum of squares times the voxels, are exact in a double
};

/// The rows of one instruction set. @tparam Twin a `TwinOf`
template <class Twin>
struct LocalStatisticsKernels {
    using T = typename Twin::Sample;
    using Sum = typename Twin::Sum;

    /// sums[i] += in[i] - origin, and their squares
    void (*addSamples)(const T* in, T origin, Sum* sums, std::size_t count);
    void (*slideSamples)(const T* in, const T* out, T origin, Sum* sums, std::size_t count);
    void (*addSums)(const Sum* in, Sum* sums, std::size_t count);
    void (*slideSums)(const Sum* in, const Sum* out, Sum* sums, std::size_t count);
    /// The result of output x is that of the column sums x to x + window - 1; `first` is the sum of output 0.
    void (*total)(const Sum* columns, std::size_t count, std::size_t window, const Sum& first, float* out,
                  const LocalResult& result);
};

/// @param stores how pairs of 32 bits are written; others are through the caches
template <class Twin>
LocalStatisticsKernels<Twin> localStatisticsKernels(OptimLevelType level, access::Stores stores);

}  // namespace rix::filtering::smoothing
