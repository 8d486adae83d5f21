#include "LocalStatisticsKernels.h"

#include <cmath>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "LocalStatisticsKernels.cpp"
#include <rix/simd/KernelTargets.h>

#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace rix::filtering::smoothing::HWY_NAMESPACE {

/// Holds all differences of two samples.
template <std::size_t bytes>
struct DifferenceOf {
    using Type = std::int32_t;
    using Square = std::uint32_t;
};
template <>
struct DifferenceOf<4> {
    using Type = std::int64_t;
    using Square = std::uint64_t;
};

template <class Sum, class T>
HWY_INLINE void enter(T sample, T origin, Sum& sums) {
    using Difference = DifferenceOf<sizeof(T)>;
    const auto difference =
        static_cast<typename Difference::Type>(sample) - static_cast<typename Difference::Type>(origin);
    const auto bits = static_cast<typename Difference::Square>(difference);
    sums.sum += static_cast<decltype(sums.sum)>(difference);
    sums.squares += static_cast<decltype(sums.squares)>(static_cast<typename Difference::Square>(bits * bits));
}

template <class Sum, class T>
HWY_INLINE void leave(T sample, T origin, Sum& sums) {
    using Difference = DifferenceOf<sizeof(T)>;
    const auto difference =
        static_cast<typename Difference::Type>(sample) - static_cast<typename Difference::Type>(origin);
    const auto bits = static_cast<typename Difference::Square>(difference);
    sums.sum -= static_cast<decltype(sums.sum)>(difference);
    sums.squares -= static_cast<decltype(sums.squares)>(static_cast<typename Difference::Square>(bits * bits));
}

template <class T, class Sum>
void addSamples(const T* in, T origin, Sum* sums, std::size_t count) {
    for (std::size_t i = 0; i < count; ++i) {
        enter(in[i], origin, sums[i]);
    }
}

template <class T, class Sum>
void slideSamples(const T* in, const T* out, T origin, Sum* sums, std::size_t count) {
    for (std::size_t i = 0; i < count; ++i) {
        enter(in[i], origin, sums[i]);
        leave(out[i], origin, sums[i]);
    }
}

template <class Sum>
void addSums(const Sum* in, Sum* sums, std::size_t count) {
    for (std::size_t i = 0; i < count; ++i) {
        sums[i].sum += in[i].sum;
        sums[i].squares += in[i].squares;
    }
}

template <class Sum>
void slideSums(const Sum* in, const Sum* out, Sum* sums, std::size_t count) {
    for (std::size_t i = 0; i < count; ++i) {
        sums[i].sum += in[i].sum - out[i].sum;
        sums[i].squares += in[i].squares - out[i].squares;
    }
}

/// A sum as the number that it is.
HWY_INLINE std::int64_t signedSum(std::uint32_t sum) {
    return static_cast<std::int32_t>(sum);
}
HWY_INLINE std::int64_t signedSum(std::uint64_t sum) {
    return static_cast<std::int64_t>(sum);
}

/// Variances from numerators, which are those times the square of the voxels; in place of the numerators.
HWY_INLINE void finish(const double* numerators, std::size_t count, const LocalResult& result, float* out) {
    const auto voxels = static_cast<double>(result.voxels);
    const double factor = 1.0 / (voxels * voxels);
    if (result.statistic == LocalStatistic::Variance) {
        for (std::size_t i = 0; i < count; ++i) {
            out[i] = static_cast<float>(numerators[i] * factor);
        }
        return;
    }
    for (std::size_t i = 0; i < count; ++i) {
        out[i] = __builtin_sqrtf(static_cast<float>(numerators[i] * factor));
    }
}

template <class Sum>
void total(const Sum* columns, std::size_t count, std::size_t window, const Sum& first, float* out,
           const LocalResult& result) {
    constexpr std::size_t piece = 256;
    double sums[piece];
    double squares[piece];
    const auto voxels = static_cast<double>(result.voxels);
    auto sum = first.sum;
    auto square = first.squares;
    for (std::size_t begin = 0; begin < count; begin += piece) {
        const std::size_t n = begin + piece < count ? piece : count - begin;
        const Sum* const leaving = columns + begin;
        const Sum* const entering = leaving + window;
        // The last sums of the row have nothing behind them.
        const std::size_t steps = begin + n < count ? n : n - 1;
        const auto slide = [&](std::size_t i) HWY_ATTR {
            if (i < steps) {
                sum += entering[i].sum - leaving[i].sum;
                square += entering[i].squares - leaving[i].squares;
            }
        };
        if (result.statistic == LocalStatistic::Mean) {
            for (std::size_t i = 0; i < n; ++i) {
                sums[i] = static_cast<double>(signedSum(sum) + result.origin * result.voxels);
                slide(i);
            }
            for (std::size_t i = 0; i < n; ++i) {
                out[begin + i] = static_cast<float>(sums[i] / voxels);
            }
            continue;
        }
        if (result.isSmall) {
            for (std::size_t i = 0; i < n; ++i) {
                sums[i] = static_cast<double>(signedSum(sum));
                squares[i] = static_cast<double>(static_cast<std::int64_t>(square));
                slide(i);
            }
            for (std::size_t i = 0; i < n; ++i) {
                squares[i] = voxels * squares[i] - sums[i] * sums[i];
            }
        } else {
            for (std::size_t i = 0; i < n; ++i) {
                const WideInteger ofSamples = signedSum(sum);
                squares[i] =
                    static_cast<double>(static_cast<WideInteger>(square) * result.voxels - ofSamples * ofSamples);
                slide(i);
            }
        }
        finish(squares, n, result, out + begin);
    }
}

template <class Twin>
LocalStatisticsKernels<Twin> kernels() {
    using T = typename Twin::Sample;
    using Sum = typename Twin::Sum;
    return {&addSamples<T, Sum>, &slideSamples<T, Sum>, &addSums<Sum>, &slideSums<Sum>, &total<Sum>};
}

}  // namespace rix::filtering::smoothing::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace rix::filtering::smoothing {

template <class Twin>
LocalStatisticsKernels<Twin> localStatisticsKernels(OptimLevelType level) {
    return RIX_SELECT_KERNELS(level, kernels<Twin>());
}

#define RIX_INSTANTIATE(...) \
    template LocalStatisticsKernels<TwinOf<__VA_ARGS__>> localStatisticsKernels<TwinOf<__VA_ARGS__>>(OptimLevelType);
RIX_INSTANTIATE(std::uint8_t, true)
RIX_INSTANTIATE(std::int8_t, true)
RIX_INSTANTIATE(std::uint8_t, false)
RIX_INSTANTIATE(std::int8_t, false)
RIX_INSTANTIATE(std::uint16_t, false)
RIX_INSTANTIATE(std::int16_t, false)
RIX_INSTANTIATE(std::uint32_t, false)
RIX_INSTANTIATE(std::int32_t, false)
#undef RIX_INSTANTIATE

}  // namespace rix::filtering::smoothing
#endif
