#include "Moments.h"

#include <cmath>
#include <limits>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "Moments.cpp"
#include <rix/simd/KernelTargets.h>

#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace rix::analysis::HWY_NAMESPACE {

namespace hn = hwy::HWY_NAMESPACE;

template <int powers>
HWY_INLINE void addSample(double sample, std::size_t lane, LaneSums& sums) {
    const double before = sums.sum[lane];
    const double after = before + sample;
    const double taken = after - before;
    sums.sum[lane] = after;
    sums.rest[lane] += (before - (after - taken)) + (sample - taken);
    const double distance = sample - sums.first;
    const double square = distance * distance;
    if constexpr (powers >= 2) {
        sums.power[0][lane] += distance;
        sums.power[1][lane] += square;
    }
    if constexpr (powers >= 4) {
        sums.power[2][lane] += square * distance;
        sums.power[3][lane] += square * square;
    }
}

template <class D>
HWY_INLINE hn::Vec<D> loadDoubles(D d, const double* samples) {
    return hn::LoadU(d, samples);
}
template <class D>
HWY_INLINE hn::Vec<D> loadDoubles(D d, const float* samples) {
    return hn::PromoteTo(d, hn::LoadU(hn::Rebind<float, D>(), samples));
}

/// Two to the power of what a double holds without being subnormal.
HWY_INLINE double powerOfTwo(int exponent) {
    return __builtin_bit_cast(double, static_cast<std::int64_t>(exponent + 1023) << 52);
}
HWY_INLINE double larger(double a, double b) {
    const double magnitude = b < 0 ? -b : b;
    return magnitude > a ? magnitude : a;
}

// Plain loops: the compiler makes vectors of them.
inline Magnitudes look(const float* samples, std::size_t count) {
    std::uint32_t largest = 0;
    std::uint32_t smallest = ~std::uint32_t{0};  // less one, so that 0 is the largest
    for (std::size_t i = 0; i < count; ++i) {
        const std::uint32_t magnitude = __builtin_bit_cast(std::uint32_t, samples[i]) & 0x7fffffffU;
        largest = magnitude > largest ? magnitude : largest;
        smallest = magnitude - 1 < smallest ? magnitude - 1 : smallest;
    }
    return {largest < 0x7f800000U, smallest + 1, largest};
}
inline Magnitudes look(const double* samples, std::size_t count) {
    constexpr std::uint64_t sign = std::uint64_t{1} << 63;
    std::uint64_t carries = 0;  // a full exponent and one more runs over into the sign
    for (std::size_t i = 0; i < count; ++i) {
        carries |= (__builtin_bit_cast(std::uint64_t, samples[i]) & ~sign) + (std::uint64_t{1} << 52);
    }
    return {(carries & sign) == 0, 0, 0};
}

/// Whether samples can be added to the sums without any rounding. Takes their unit.
HWY_INLINE bool staysExact(std::size_t count, const Magnitudes& magnitudes, LaneSums& sums) {
    const auto exponentOf = [](std::uint32_t magnitude) {
        const int field = static_cast<int>(magnitude >> 23);
        return field > 0 ? field : 1;
    };
    const int unit = exponentOf(magnitudes.smallest) - 150;
    sums.unit = magnitudes.largest > 0 && unit < sums.unit ? unit : sums.unit;
    const double largestSample = powerOfTwo(exponentOf(magnitudes.largest) - 126);
    double largestSum = 0;
    double largestDistance = 0;
    for (std::size_t lane = 0; lane < LaneSums::lanes; ++lane) {
        largestSum = larger(largestSum, sums.sum[lane]);
        largestDistance = larger(largestDistance, sums.power[0][lane]);
    }
    const auto n = static_cast<double>(count / LaneSums::lanes + 1);  // in a lane
    const double limit = powerOfTwo(53 + sums.unit);
    return largestSum + n * largestSample < limit &&
           largestDistance + n * (largestSample + larger(0, sums.first)) < limit;
}

/// @tparam isExact nothing is rounded: then rests stay, and the sums of distances follow from those of samples
template <class T, int powers, bool isExact>
HWY_INLINE void addGroups(const T* samples, std::size_t groups, LaneSums& sums) {
    const hn::CappedTag<double, LaneSums::lanes> d;
    const std::size_t n = hn::Lanes(d);
    const auto origin = hn::Set(d, sums.first);
    // Lanes beside each other as many as a vector has; the samples, a piece of a row, stay in the cache meanwhile.
    for (std::size_t lane = 0; lane < LaneSums::lanes; lane += n) {
        const auto start = hn::LoadU(d, sums.sum + lane);
        auto sum = start;
        auto rest = hn::LoadU(d, sums.rest + lane);
        auto first = hn::LoadU(d, sums.power[0] + lane);
        auto second = hn::LoadU(d, sums.power[1] + lane);
        auto third = hn::LoadU(d, sums.power[2] + lane);
        auto fourth = hn::LoadU(d, sums.power[3] + lane);
        const T* at = samples + lane;
        for (std::size_t i = 0; i < groups; ++i, at += LaneSums::lanes) {
            const auto sample = loadDoubles(d, at);
            const auto after = hn::Add(sum, sample);
            if constexpr (!isExact) {
                const auto taken = hn::Sub(after, sum);
                rest = hn::Add(rest, hn::Add(hn::Sub(sum, hn::Sub(after, taken)), hn::Sub(sample, taken)));
            }
            sum = after;
            const auto distance = hn::Sub(sample, origin);
            const auto square = hn::Mul(distance, distance);
            if constexpr (powers >= 2) {
                first = isExact ? first : hn::Add(first, distance);
                second = hn::Add(second, square);
            }
            if constexpr (powers >= 4) {
                third = hn::Add(third, hn::Mul(square, distance));
                fourth = hn::Add(fourth, hn::Mul(square, square));
            }
        }
        if constexpr (isExact && powers >= 2) {
            const auto origins = hn::Mul(hn::Set(d, static_cast<double>(groups)), origin);
            first = hn::Add(first, hn::Sub(hn::Sub(sum, start), origins));
        }
        hn::StoreU(sum, d, sums.sum + lane);
        hn::StoreU(rest, d, sums.rest + lane);
        hn::StoreU(first, d, sums.power[0] + lane);
        hn::StoreU(second, d, sums.power[1] + lane);
        hn::StoreU(third, d, sums.power[2] + lane);
        hn::StoreU(fourth, d, sums.power[3] + lane);
    }
}

template <class T, int powers>
void addSamples(const T* samples, std::size_t count, const Magnitudes& magnitudes, LaneSums& sums) {
    if (count == 0) {
        return;
    }
    if (sums.count == 0) {
        sums.first = static_cast<double>(samples[0]);
    }
    if constexpr (sizeof(T) == sizeof(float)) {
        sums.mayBeExact = sums.mayBeExact && staysExact(count, magnitudes, sums);
    } else {
        sums.mayBeExact = false;
    }
    std::size_t begin = 0;
    for (; begin < count && (sums.count + begin) % LaneSums::lanes != 0; ++begin) {
        addSample<powers>(static_cast<double>(samples[begin]), (sums.count + begin) % LaneSums::lanes, sums);
    }
    const std::size_t groups = (count - begin) / LaneSums::lanes;
    if (sums.mayBeExact) {
        addGroups<T, powers, true>(samples + begin, groups, sums);
    } else {
        addGroups<T, powers, false>(samples + begin, groups, sums);
    }
    for (std::size_t i = begin + groups * LaneSums::lanes; i < count; ++i) {
        addSample<powers>(static_cast<double>(samples[i]), (sums.count + i) % LaneSums::lanes, sums);
    }
    sums.count += count;
}

// Two vectors of each: a minimum waits for the one before.
template <class T>
void findExtremes(const T* samples, std::size_t count, double& low, double& high) {
    const hn::ScalableTag<T> d;
    const std::size_t n = hn::Lanes(d);
    T lowest = static_cast<T>(low);
    T highest = static_cast<T>(high);
    auto low0 = hn::Set(d, lowest);
    auto low1 = low0;
    auto high0 = hn::Set(d, highest);
    auto high1 = high0;
    std::size_t i = 0;
    for (; i + 2 * n <= count; i += 2 * n) {
        const auto first = hn::LoadU(d, samples + i);
        const auto second = hn::LoadU(d, samples + i + n);
        low0 = hn::Min(low0, first);
        low1 = hn::Min(low1, second);
        high0 = hn::Max(high0, first);
        high1 = hn::Max(high1, second);
    }
    lowest = hn::GetLane(hn::MinOfLanes(d, hn::Min(low0, low1)));
    highest = hn::GetLane(hn::MaxOfLanes(d, hn::Max(high0, high1)));
    for (; i < count; ++i) {
        lowest = samples[i] < lowest ? samples[i] : lowest;
        highest = samples[i] > highest ? samples[i] : highest;
    }
    low = static_cast<double>(lowest);
    high = static_cast<double>(highest);
}

// A plain loop: the compiler makes vectors of it.
template <class T>
void classify(const T* samples, std::size_t count, double first, double scale, std::int32_t* classes) {
    for (std::size_t i = 0; i < count; ++i) {
        const double place = (static_cast<double>(samples[i]) / 2 - first) * scale;
        classes[i] = static_cast<std::int32_t>(place < 255 ? place : 255);
    }
}

template <class T>
StatisticKernels<T> kernels() {
    return {&look,
            {&addSamples<T, 0>, nullptr, &addSamples<T, 2>, nullptr, &addSamples<T, 4>},
            &findExtremes<T>,
            &classify<T>};
}

}  // namespace rix::analysis::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace rix::analysis {

template <class T>
StatisticKernels<T> statisticKernels(OptimLevelType level) {
    return RIX_SELECT_KERNELS(level, kernels<T>());
}
template StatisticKernels<float> statisticKernels<float>(OptimLevelType);
template StatisticKernels<double> statisticKernels<double>(OptimLevelType);

Moments LaneSums::moments() const {
    Moments result;
    if (count == 0) {
        return result;
    }
    const auto joined = [](const double* values) {
        return ((values[0] + values[1]) + (values[2] + values[3])) +
               ((values[4] + values[5]) + (values[6] + values[7]));
    };
    for (std::size_t lane = 0; lane < lanes; ++lane) {
        addExactly(result.sum, result.sumRest, sum[lane]);
        result.sumRest += rest[lane];
    }
    const double n = static_cast<double>(count);
    const double s1 = joined(power[0]);
    const double s2 = joined(power[1]);
    const double s3 = joined(power[2]);
    const double s4 = joined(power[3]);
    const double d = s1 / n;
    result.count = n;
    result.updateMean();
    result.second = std::fmax(s2 - d * s1, 0.0);
    result.third = s3 - 3 * d * s2 + 2 * d * d * s1;
    result.fourth = std::fmax(s4 - 4 * d * s3 + 6 * d * d * s2 - 3 * d * d * d * s1, 0.0);
    return result;
}

void Moments::updateMean() {
    mean = total() / count;
    meanRest = (sumRest - std::fma(mean, count, -sum)) / count;
}

void Moments::join(const Moments& right) {
    if (right.count == 0) {
        return;
    }
    if (count == 0) {
        *this = right;
        return;
    }
    const double n = count + right.count;
    const double share = right.count / n;
    const double rest = count / n;
    const double d = (right.mean - mean) + (right.meanRest - meanRest);
    const double d2 = d * d;
    fourth += right.fourth + d2 * d2 * count * share * (rest * rest - rest * share + share * share) +
              6 * d2 * (rest * rest * right.second + share * share * second) +
              4 * d * (rest * right.third - share * third);
    third += right.third + d2 * d * count * share * (rest - share) + 3 * d * (rest * right.second - share * second);
    second += right.second + d2 * count * share;
    addExactly(sum, sumRest, right.sum);
    sumRest += right.sumRest;
    count = n;
    updateMean();
}

double Moments::variance() const {
    return count > 0 ? second / count : std::numeric_limits<double>::quiet_NaN();
}

double Moments::skewness() const {
    const double v = variance();
    return v > 0 ? third / count / (v * std::sqrt(v)) : std::numeric_limits<double>::quiet_NaN();
}

double Moments::kurtosis() const {
    const double v = variance();
    return v > 0 ? fourth / count / (v * v) - 3 : std::numeric_limits<double>::quiet_NaN();
}

}  // namespace rix::analysis
#endif
