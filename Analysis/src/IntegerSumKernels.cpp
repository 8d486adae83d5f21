#include "IntegerSumKernels.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "IntegerSumKernels.cpp"
#include <rix/simd/KernelTargets.h>

#include <hwy/highway.h>

#include <rix/simd/IntegerSums-inl.h>

HWY_BEFORE_NAMESPACE();
namespace rix::analysis::HWY_NAMESPACE {

namespace hn = hwy::HWY_NAMESPACE;

template <bool withExtremes>
HWY_INLINE void takeExtremes(std::int64_t lowest, std::int64_t highest, IntegerSums& sums) {
    if constexpr (withExtremes) {
        sums.lowest = lowest < sums.lowest ? lowest : sums.lowest;
        sums.highest = highest > sums.highest ? highest : sums.highest;
    }
}

template <class T, bool withSquares, bool withExtremes>
void addAll(const T* samples, std::size_t count, IntegerSums& sums) {
    std::size_t x = 0;
#if HWY_TARGET != HWY_EMU128 && HWY_TARGET != HWY_SCALAR
    using Sums = simd::HWY_NAMESPACE::SmallSums<T, true, withSquares, withExtremes>;
    const std::size_t width = hn::Lanes(typename Sums::D());
    Sums all;
    while (count - x >= width) {
        std::size_t steps = (count - x) / width;
        steps = steps < Sums::mostSteps ? steps : Sums::mostSteps;
        for (std::size_t step = 0; step < steps; ++step, x += width) {
            all.addAll(all.load(samples + x));
        }
        all.flush();
    }
    if (x > 0) {
        constexpr std::int64_t bias = Sums::bias(T{});
        sums.sum += all.total() - bias * static_cast<std::int64_t>(x);
        if constexpr (withSquares) {  // modulo 2^64, which holds the result
            sums.squares += all.allSquares +
                            static_cast<std::uint64_t>(bias * (bias * static_cast<std::int64_t>(x) - 2 * all.total()));
        }
        takeExtremes<withExtremes>(all.lowest() - bias, all.highest() - bias, sums);
    }
#endif
    for (; x < count; ++x) {
        const auto value = static_cast<std::int64_t>(samples[x]);
        sums.sum += value;
        sums.squares += static_cast<std::uint64_t>(value * value);
        takeExtremes<withExtremes>(value, value, sums);
    }
}

template <class T>
AddIntegers<T> kernel(bool withSquares, bool withExtremes) {
    return withSquares ? (withExtremes ? &addAll<T, true, true> : &addAll<T, true, false>)
                       : (withExtremes ? &addAll<T, false, true> : &addAll<T, false, false>);
}

}  // namespace rix::analysis::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace rix::analysis {

template <class T>
AddIntegers<T> addIntegers(OptimLevelType level, bool withSquares, bool withExtremes) {
    return RIX_SELECT_KERNELS(level, kernel<T>(withSquares, withExtremes));
}
template AddIntegers<std::uint8_t> addIntegers<std::uint8_t>(OptimLevelType, bool, bool);
template AddIntegers<std::int8_t> addIntegers<std::int8_t>(OptimLevelType, bool, bool);
template AddIntegers<std::uint16_t> addIntegers<std::uint16_t>(OptimLevelType, bool, bool);
template AddIntegers<std::int16_t> addIntegers<std::int16_t>(OptimLevelType, bool, bool);

}  // namespace rix::analysis
#endif
