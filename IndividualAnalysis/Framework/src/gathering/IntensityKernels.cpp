#include "IntensityKernels.h"

#include <cstdint>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "gathering/IntensityKernels.cpp"
#include <rix/simd/KernelTargets.h>

#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace rix::individual_analysis::HWY_NAMESPACE {

constexpr std::size_t lanes = 8;

HWY_INLINE double addLanes(const double* lane) {
    return ((lane[0] + lane[4]) + (lane[2] + lane[6])) + ((lane[1] + lane[5]) + (lane[3] + lane[7]));
}

// Plain loops, which the compiler turns into vectors of the pass.

template <class T>
void sumSmallIntegers(const T* row, const Run* runs, std::size_t count, const double* shifts, RunSums* sums) {
    // So many squares of a difference of 8 bits fit 32 bits.
    constexpr std::uint32_t piece = 16384;
    for (std::size_t i = 0; i < count; ++i) {
        const auto shift = static_cast<std::int32_t>(shifts[i]);
        std::int64_t sum = 0;
        std::uint64_t squares = 0;
        T minimum = row[runs[i].begin];
        T maximum = minimum;
        for (std::uint32_t begin = runs[i].begin; begin < runs[i].end;) {
            const std::uint32_t left = runs[i].end - begin;
            const std::uint32_t end = begin + (left < piece ? left : piece);
            std::int32_t partSum = 0;
            using Squares = std::conditional_t<sizeof(T) == 1, std::uint32_t, std::uint64_t>;
            Squares partSquares = 0;
            for (std::uint32_t x = begin; x < end; ++x) {
                const T value = row[x];
                const std::int32_t difference = static_cast<std::int32_t>(value) - shift;
                partSum += difference;
                partSquares += static_cast<std::uint32_t>(difference) * static_cast<std::uint32_t>(difference);
                minimum = value < minimum ? value : minimum;
                maximum = value > maximum ? value : maximum;
            }
            sum += partSum;
            squares += partSquares;
            begin = end;
        }
        sums[i] = {static_cast<double>(sum), static_cast<double>(squares), static_cast<double>(minimum),
                   static_cast<double>(maximum)};
    }
}

template <class T>
void sumReals(const T* row, const Run* runs, std::size_t count, const double* shifts, RunSums* sums) {
    for (std::size_t i = 0; i < count; ++i) {
        const double shift = shifts[i];
        double sum[lanes] = {};
        double squares[lanes] = {};
        double minimum[lanes];
        double maximum[lanes];
        for (std::size_t l = 0; l < lanes; ++l) {
            minimum[l] = __builtin_inf();
            maximum[l] = -__builtin_inf();
        }
        std::size_t x = runs[i].begin;
        const std::size_t end = runs[i].end;
        for (; x + lanes <= end; x += lanes) {
            for (std::size_t l = 0; l < lanes; ++l) {
                const auto value = static_cast<double>(row[x + l]);
                const double difference = value - shift;
                sum[l] += difference;
                squares[l] += difference * difference;
                minimum[l] = value < minimum[l] ? value : minimum[l];
                maximum[l] = value > maximum[l] ? value : maximum[l];
            }
        }
        for (std::size_t l = 0; x < end; ++x, ++l) {
            const auto value = static_cast<double>(row[x]);
            const double difference = value - shift;
            sum[l] += difference;
            squares[l] += difference * difference;
            minimum[l] = value < minimum[l] ? value : minimum[l];
            maximum[l] = value > maximum[l] ? value : maximum[l];
        }
        for (std::size_t l = 1; l < lanes; ++l) {
            minimum[0] = minimum[l] < minimum[0] ? minimum[l] : minimum[0];
            maximum[0] = maximum[l] > maximum[0] ? maximum[l] : maximum[0];
        }
        sums[i] = {addLanes(sum), addLanes(squares), minimum[0], maximum[0]};
    }
}

template <class T>
void sumMoments(const T* row, const Run* runs, std::size_t count, double* moments) {
    for (std::size_t i = 0; i < count; ++i) {
        const T* const values = row + runs[i].begin;
        const std::size_t length = runs[i].end - runs[i].begin;
        double sum[lanes] = {};
        std::size_t x = 0;
        for (; x + lanes <= length; x += lanes) {
            for (std::size_t l = 0; l < lanes; ++l) {
                sum[l] += static_cast<double>(x + l) * static_cast<double>(values[x + l]);
            }
        }
        for (std::size_t l = 0; x < length; ++x, ++l) {
            sum[l] += static_cast<double>(x) * static_cast<double>(values[x]);
        }
        moments[i] = addLanes(sum);
    }
}

template <class T>
IntensityKernels<T> kernels() {
    if constexpr (sizeof(T) <= 2) {
        return {&sumSmallIntegers<T>, &sumMoments<T>};
    } else {
        return {&sumReals<T>, &sumMoments<T>};
    }
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
