#pragma once

#include <cstddef>
#include <cstdint>

#include <rix/algorithms/OptimLevel.h>

namespace rix::analysis {

/// Count, sum and central moments of samples; those of two stretches join to those of both.
struct Moments {
    double count = 0;
    double sum = 0;
    double sumRest = 0;  ///< what rounding took from the sum
    double mean = 0;
    double meanRest = 0;  ///< what rounding took from the mean: the distances of means may be as small
    double second = 0;    ///< the sum of the squared distances to the mean
    double third = 0;
    double fourth = 0;

    /// Adds the samples of `right`, which come behind.
    void join(const Moments& right);

    /// Takes the mean from sum and count.
    void updateMean();

    double total() const { return sum + sumRest; }
    double variance() const;
    double skewness() const;
    double kurtosis() const;
};

/// Adds with what the rounding takes, exactly (D. E. Knuth, The Art of Computer Programming, volume 2).
inline void addExactly(double& sum, double& rest, double value) {
    const double before = sum;
    sum = before + value;
    const double taken = sum - before;
    rest += (before - (sum - taken)) + (value - taken);
}

/// Sums over a stretch of samples: of the samples, and of powers of their distances to the first, which is near enough
/// to their mean: a first one far off makes the moments as large as its distance. Sample i of the stretch belongs to
/// lane i % 8, whatever the vectors of the processor.
///
/// Sums of single precision rarely need what rounding takes: as long as all samples are multiples of a small power of
/// two and the sums stay below 2^53 of it, nothing is rounded. Then the same bits are had from plain sums.
struct LaneSums {
    static constexpr std::size_t lanes = 8;
    std::size_t count = 0;
    bool mayBeExact = true;  ///< false from the first piece on that rounding may have taken something from
    int unit = 127;          ///< all samples are multiples of two to the power of this, while they may be exact
    double first = 0;
    double sum[lanes] = {};
    double rest[lanes] = {};
    double power[4][lanes] = {};

    Moments moments() const;
};

/// What a look at samples tells before they are added.
struct Magnitudes {
    bool areFinite = true;
    std::uint32_t smallest = 0;  ///< of those of single precision that are not 0, as bits; 0 without one
    std::uint32_t largest = 0;
};

/// The row functions of statistics.
/// @tparam T float or double
template <class T>
struct StatisticKernels {
    Magnitudes (*look)(const T* samples, std::size_t count);
    /// Add `count` finite samples to the sums that some moments need: by the number of powers of distances, 0 (sum and
    /// mean), 2 (variance) or 4.
    void (*addSums[5])(const T* samples, std::size_t count, const Magnitudes& magnitudes, LaneSums& sums);
    /// Takes the extremes of finite samples into `low` and `high`, which are samples or infinite.
    void (*findExtremes)(const T* samples, std::size_t count, double& low, double& high);
    /// Of finite samples: (sample / 2 - first) * scale without its fraction, at most 255.
    void (*classify)(const T* samples, std::size_t count, double first, double scale, std::int32_t* classes);
};
template <class T>
StatisticKernels<T> statisticKernels(OptimLevelType level);

}  // namespace rix::analysis
