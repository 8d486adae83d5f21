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

inline void addSample(double sample, std::size_t lane, LaneSums& sums) {
    const double before = sums.sum[lane];
    const double after = before + sample;
    const double taken = after - before;
    sums.sum[lane] = after;
    sums.rest[lane] += (before - (after - taken)) + (sample - taken);
    const double distance = sample - sums.first;
    const double square = distance * distance;
    sums.power[0][lane] += distance;
    sums.power[1][lane] += square;
    sums.power[2][lane] += square * distance;
    sums.power[3][lane] += square * square;
}

void addSamples(const double* samples, std::size_t count, LaneSums& sums) {
    if (count == 0) {
        return;
    }
    if (sums.count == 0) {
        sums.first = samples[0];
    }
    std::size_t begin = 0;
    for (; begin < count && (sums.count + begin) % LaneSums::lanes != 0; ++begin) {
        addSample(samples[begin], (sums.count + begin) % LaneSums::lanes, sums);
    }
    const std::size_t groups = (count - begin) / LaneSums::lanes;
    const hn::CappedTag<double, LaneSums::lanes> d;
    const std::size_t n = hn::Lanes(d);
    const auto origin = hn::Set(d, sums.first);
    // Lanes beside each other as many as a vector has; the samples, a piece of a row, stay in the cache meanwhile.
    for (std::size_t lane = 0; lane < LaneSums::lanes; lane += n) {
        auto sum = hn::LoadU(d, sums.sum + lane);
        auto rest = hn::LoadU(d, sums.rest + lane);
        auto first = hn::LoadU(d, sums.power[0] + lane);
        auto second = hn::LoadU(d, sums.power[1] + lane);
        auto third = hn::LoadU(d, sums.power[2] + lane);
        auto fourth = hn::LoadU(d, sums.power[3] + lane);
        const double* at = samples + begin + lane;
        for (std::size_t i = 0; i < groups; ++i, at += LaneSums::lanes) {
            const auto sample = hn::LoadU(d, at);
            const auto after = hn::Add(sum, sample);
            const auto taken = hn::Sub(after, sum);
            rest = hn::Add(rest, hn::Add(hn::Sub(sum, hn::Sub(after, taken)), hn::Sub(sample, taken)));
            sum = after;
            const auto distance = hn::Sub(sample, origin);
            const auto square = hn::Mul(distance, distance);
            first = hn::Add(first, distance);
            second = hn::Add(second, square);
            third = hn::Add(third, hn::Mul(square, distance));
            fourth = hn::Add(fourth, hn::Mul(square, square));
        }
        hn::StoreU(sum, d, sums.sum + lane);
        hn::StoreU(rest, d, sums.rest + lane);
        hn::StoreU(first, d, sums.power[0] + lane);
        hn::StoreU(second, d, sums.power[1] + lane);
        hn::StoreU(third, d, sums.power[2] + lane);
        hn::StoreU(fourth, d, sums.power[3] + lane);
    }
    for (std::size_t i = begin + groups * LaneSums::lanes; i < count; ++i) {
        addSample(samples[i], (sums.count + i) % LaneSums::lanes, sums);
    }
    sums.count += count;
}

void findExtremes(const double* samples, std::size_t count, double& low, double& high) {
    const hn::ScalableTag<double> d;
    const std::size_t n = hn::Lanes(d);
    auto lowest = hn::Set(d, low);
    auto highest = hn::Set(d, high);
    std::size_t i = 0;
    for (; i + n <= count; i += n) {
        const auto sample = hn::LoadU(d, samples + i);
        lowest = hn::Min(lowest, sample);
        highest = hn::Max(highest, sample);
    }
    low = hn::GetLane(hn::MinOfLanes(d, lowest));
    high = hn::GetLane(hn::MaxOfLanes(d, highest));
    for (; i < count; ++i) {
        low = samples[i] < low ? samples[i] : low;
        high = samples[i] > high ? samples[i] : high;
    }
}

// A plain loop: the compiler makes vectors of it.
void classify(const double* samples, std::size_t count, double first, double scale, std::uint8_t* classes) {
    for (std::size_t i = 0; i < count; ++i) {
        const double place = (samples[i] / 2 - first) * scale;
        classes[i] = static_cast<std::uint8_t>(static_cast<std::int32_t>(place < 255 ? place : 255));
    }
}

inline StatisticKernels kernels() {
    return {&addSamples, &findExtremes, &classify};
}

}  // namespace rix::analysis::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace rix::analysis {

StatisticKernels statisticKernels(OptimLevelType level) {
    return RIX_SELECT_KERNELS(level, kernels());
}

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
