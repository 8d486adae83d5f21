#include "LocalThresholdKernels.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "LocalThresholdKernels.cpp"
#include <rix/simd/KernelTargets.h>

#include <hwy/highway.h>
#include <rix/simd/DoubleMath-inl.h>

HWY_BEFORE_NAMESPACE();
namespace rix::segmentation::HWY_NAMESPACE {

// Plain loops, which the compiler turns into vectors of the pass.

template <class M>
void plainRow(const M* values, const M* /*none*/, double* thresholds, std::size_t count,
              const ThresholdNumbers& numbers) {
    const double offset = numbers.offset;
    for (std::size_t x = 0; x < count; ++x) {
        thresholds[x] = static_cast<double>(values[x]) - offset;
    }
}

template <class M>
void niblackRow(const M* means, const M* deviations, double* thresholds, std::size_t count,
                const ThresholdNumbers& numbers) {
    const double weight = numbers.weight;
    const double offset = numbers.offset;
    for (std::size_t x = 0; x < count; ++x) {
        thresholds[x] = static_cast<double>(means[x]) - weight * static_cast<double>(deviations[x]) - offset;
    }
}

template <class M>
void sauvolaRow(const M* means, const M* deviations, double* thresholds, std::size_t count,
                const ThresholdNumbers& numbers) {
    const double weight = numbers.weight;
    const double offset = numbers.offset;
    const double scale = 2.0 / (numbers.highest - numbers.lowest);
    for (std::size_t x = 0; x < count; ++x) {
        const double factor = 1.0 + weight * (static_cast<double>(deviations[x]) * scale - 1.0);
        thresholds[x] = static_cast<double>(means[x]) * factor - offset;
    }
}

template <class M>
void phansalkarRow(const M* means, const M* deviations, double* thresholds, std::size_t count,
                   const ThresholdNumbers& numbers) {
    const double weight = numbers.weight;
    const double offset = numbers.offset;
    const double lowest = numbers.lowest;
    const double range = numbers.highest - numbers.lowest;
    const double scale = 1.0 / range;
    for (std::size_t x = 0; x < count; ++x) {
        const double mean = (static_cast<double>(means[x]) - lowest) * scale;
        const double deviation = static_cast<double>(deviations[x]) * scale;
        const double dark = 2.0 * simd::HWY_NAMESPACE::expOf(-10.0 * mean, 0.0);
        const double threshold = mean * (1.0 + dark + weight * (deviation * 2.0 - 1.0));
        thresholds[x] = lowest + threshold * range - offset;
    }
}

template <class M>
void bernsenRow(const M* largest, const M* smallest, double* thresholds, std::size_t count,
                const ThresholdNumbers& numbers) {
    constexpr double infinity = __builtin_inf();
    const double offset = numbers.offset;
    const double contrast = numbers.contrast;
    const double middle = numbers.lowest * 0.5 + numbers.highest * 0.5;
    for (std::size_t x = 0; x < count; ++x) {
        const auto high = static_cast<double>(largest[x]);
        const auto low = static_cast<double>(smallest[x]);
        const double half = low * 0.5 + high * 0.5;
        const double flat = half > middle ? -infinity : infinity;
        thresholds[x] = high - low < contrast ? flat : half - offset;
    }
}

template <class T>
void comparisonRow(const T* in, const double* thresholds, std::uint8_t* out, std::size_t count, std::uint8_t side) {
    const auto other = static_cast<std::uint8_t>(1 - side);
    for (std::size_t x = 0; x < count; ++x) {
        out[x] = static_cast<double>(in[x]) > thresholds[x] ? side : other;
    }
}

template <class M>
LocalThresholdRow<M> thresholdRow(LocalThresholdingMethod method) {
    using enum LocalThresholdingMethod;
    switch (method) {
        case BERNSEN: return &bernsenRow<M>;
        case NIBLACK:
        case SAUVOLA:
        case PHANSALKAR:
            if constexpr (M(0.5) != M(0)) {
                return method == NIBLACK ? &niblackRow<M> : method == SAUVOLA ? &sauvolaRow<M> : &phansalkarRow<M>;
            }
            break;
        case MEAN:
        case MEDIAN:
        case GAUSSIAN: break;
    }
    return &plainRow<M>;
}

template <class T>
LocalComparisonRow<T> comparison() {
    return &comparisonRow<T>;
}

}  // namespace rix::segmentation::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace rix::segmentation {

template <class M>
LocalThresholdRow<M> localThresholdRow(LocalThresholdingMethod method, OptimLevelType level) {
    return RIX_SELECT_KERNELS(level, thresholdRow<M>(method));
}

template <class T>
LocalComparisonRow<T> localComparisonRow(OptimLevelType level) {
    return RIX_SELECT_KERNELS(level, comparison<T>());
}

#define RIX_INSTANTIATE(T)                                                                       \
    template LocalThresholdRow<T> localThresholdRow<T>(LocalThresholdingMethod, OptimLevelType); \
    template LocalComparisonRow<T> localComparisonRow<T>(OptimLevelType);
RIX_INSTANTIATE(std::uint8_t)
RIX_INSTANTIATE(std::uint16_t)
RIX_INSTANTIATE(std::uint32_t)
RIX_INSTANTIATE(std::int8_t)
RIX_INSTANTIATE(std::int16_t)
RIX_INSTANTIATE(std::int32_t)
RIX_INSTANTIATE(float)
RIX_INSTANTIATE(double)
#undef RIX_INSTANTIATE

}  // namespace rix::segmentation
#endif
