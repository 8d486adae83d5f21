#include "IntensityKernels.h"

#include <cstdint>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "gathering/IntensityKernels.cpp"
#include <rix/simd/KernelTargets.h>

#include "IntegerRunSums-inl.h"
#include "RealRunSums-inl.h"
#include "RunSums-inl.h"

HWY_BEFORE_NAMESPACE();
namespace rix::individual_analysis::HWY_NAMESPACE {

#if HWY_TARGET == HWY_EMU128 || HWY_TARGET == HWY_SCALAR

// Without vectors: plain loops, with the same sums in the same order.

template <class T, unsigned Parts>
void sumSmallIntegers(const T* row, const Run* runs, std::size_t count, const double* shifts, RunSums* sums) {
    for (std::size_t i = 0; i < count; ++i) {
        std::int64_t sum = 0;
        std::uint64_t squares = 0;
        T minimum = row[runs[i].begin];
        T maximum = minimum;
        for (std::size_t x = runs[i].begin; x < runs[i].end; ++x) {
            const T value = row[x];
            const auto wide = static_cast<std::int64_t>(value);
            sum += wide;
            squares += static_cast<std::uint64_t>(wide * wide);
            minimum = value < minimum ? value : minimum;
            maximum = value > maximum ? value : maximum;
        }
        if constexpr (makesSum<Parts>) {
            finish<Parts>(sums[i], runs[i].end - runs[i].begin, sum, squares, static_cast<std::int64_t>(shifts[i]));
        }
        if constexpr (makesExtrema<Parts>) {
            sums[i].minimum = static_cast<double>(minimum);
            sums[i].maximum = static_cast<double>(maximum);
        }
    }
}

double addLanes(const double* lane) {
    return ((lane[0] + lane[4]) + (lane[2] + lane[6])) + ((lane[1] + lane[5]) + (lane[3] + lane[7]));
}

template <class T, unsigned Parts>
void sumReals(const T* row, const Run* runs, std::size_t count, const double* shifts, RunSums* sums) {
    for (std::size_t i = 0; i < count; ++i) {
        double sum[lanes] = {};
        double squares[lanes] = {};
        double minimum = __builtin_inf();
        double maximum = -__builtin_inf();
        const std::size_t end = runs[i].end;
        for (std::size_t x = runs[i].begin; x < end;) {
            for (std::size_t l = end - x >= lanes ? 0 : lanes - (end - x); l < lanes; ++l, ++x) {
                const auto value = static_cast<double>(row[x]);
                if constexpr (makesSum<Parts>) {
                    const double difference = value - shifts[i];
                    sum[l] += difference;
                    squares[l] += difference * difference;
                }
                minimum = value < minimum ? value : minimum;
                maximum = value > maximum ? value : maximum;
            }
        }
        if constexpr (makesSum<Parts>) {
            sums[i].sum = addLanes(sum);
        }
        if constexpr (makesSquares<Parts>) {
            sums[i].squares = addLanes(squares);
        }
        if constexpr (makesExtrema<Parts>) {
            sums[i].minimum = minimum;
            sums[i].maximum = maximum;
        }
    }
}

template <class T>
void sumMoments(const T* row, const Run* runs, std::size_t count, double* moments) {
    for (std::size_t i = 0; i < count; ++i) {
        double sum[lanes] = {};
        const std::size_t begin = runs[i].begin;
        const std::size_t end = runs[i].end;
        for (std::size_t x = begin; x < end;) {
            for (std::size_t l = end - x >= lanes ? 0 : lanes - (end - x); l < lanes; ++l, ++x) {
                sum[l] += static_cast<double>(x - begin) * static_cast<double>(row[x]);
            }
        }
        moments[i] = addLanes(sum);
    }
}

#endif

template <class T, unsigned Parts>
constexpr typename IntensityKernels<T>::Sum sumOf() {
    if constexpr (sizeof(T) <= 2) {
        return &sumSmallIntegers<T, Parts>;
    } else {
        return &sumReals<T, Parts>;
    }
}

template <class T>
IntensityKernels<T> kernels() {
    return {{nullptr, sumOf<T, RUN_SUM>(), nullptr, sumOf<T, RUN_SUM | RUN_SQUARES>(), sumOf<T, RUN_EXTREMA>(),
             sumOf<T, RUN_SUM | RUN_EXTREMA>(), nullptr, sumOf<T, RUN_SUM | RUN_SQUARES | RUN_EXTREMA>()},
            &sumMoments<T>};
}

}  // namespace rix::individual_analysis::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace rix::individual_analysis {

template <class T>
IntensityKernels<T> intensityKernels(OptimLevelType level) {
    return RIX_SELECT_KERNELS(level, kernels<T>());
}

template IntensityKernels<std::uint8_t> intensityKernels<std::uint8_t>(OptimLevelType);
template IntensityKernels<std::uint16_t> intensityKernels<std::uint16_t>(OptimLevelType);
template IntensityKernels<std::uint32_t> intensityKernels<std::uint32_t>(OptimLevelType);
template IntensityKernels<std::int8_t> intensityKernels<std::int8_t>(OptimLevelType);
template IntensityKernels<std::int16_t> intensityKernels<std::int16_t>(OptimLevelType);
template IntensityKernels<std::int32_t> intensityKernels<std::int32_t>(OptimLevelType);
template IntensityKernels<float> intensityKernels<float>(OptimLevelType);
template IntensityKernels<double> intensityKernels<double>(OptimLevelType);

}  // namespace rix::individual_analysis
#endif
