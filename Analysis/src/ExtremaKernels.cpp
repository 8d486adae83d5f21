#include "ExtremaKernels.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "ExtremaKernels.cpp"
#include <rix/simd/KernelTargets.h>

#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace rix::analysis::HWY_NAMESPACE {

namespace hn = hwy::HWY_NAMESPACE;

template <class T>
void mergeInto(Extrema& extrema, T low, T high) {
    const double lowest = static_cast<double>(low);
    const double highest = static_cast<double>(high);
    extrema.minimum = lowest < extrema.minimum ? lowest : extrema.minimum;
    extrema.maximum = highest > extrema.maximum ? highest : extrema.maximum;
}

// Plain loops: the compiler makes vector minima and maxima of them.
template <class T>
void integerRow(const T* in, std::size_t count, Extrema& extrema) {
    if (count == 0) {
        return;
    }
    T low = in[0];
    T high = in[0];
    for (std::size_t i = 1; i < count; ++i) {
        low = in[i] < low ? in[i] : low;
        high = in[i] > high ? in[i] : high;
    }
    mergeInto(extrema, low, high);
}

/// The special values of a row that is known to have some.
template <class T>
void countSpecial(const T* in, std::size_t count, Extrema& extrema) {
    std::uint64_t nan = 0;
    std::uint64_t special = 0;
    for (std::size_t i = 0; i < count; ++i) {
        nan += in[i] != in[i] ? 1U : 0U;
        special += in[i] - in[i] != T(0) ? 1U : 0U;  // NaN for NaN and infinities
    }
    extrema.nanCount += nan;
    extrema.infiniteCount += special - nan;
}

/// Whatever is not finite is replaced by what changes no extremum.
template <class T>
void floatingRow(const T* in, std::size_t count, Extrema& extrema) {
    const hn::ScalableTag<T> d;
    const std::size_t lanes = hn::Lanes(d);
    constexpr T infinity = sizeof(T) == 4 ? static_cast<T>(__builtin_inff()) : static_cast<T>(__builtin_inf());
    const auto above = hn::Set(d, infinity);
    const auto below = hn::Neg(above);
    auto low = above;
    auto high = below;
    auto low2 = above;
    auto high2 = below;
    auto special = hn::Zero(d);  // turns into NaN as soon as a value is not finite
    std::size_t i = 0;
    for (; i + 2 * lanes <= count; i += 2 * lanes) {
        const auto a = hn::LoadU(d, in + i);
        const auto b = hn::LoadU(d, in + i + lanes);
        const auto zeroA = hn::Sub(a, a);
        const auto zeroB = hn::Sub(b, b);
        special = hn::Add(special, hn::Add(zeroA, zeroB));
        const auto finiteA = hn::Eq(zeroA, hn::Zero(d));
        const auto finiteB = hn::Eq(zeroB, hn::Zero(d));
        low = hn::Min(low, hn::IfThenElse(finiteA, a, above));
        high = hn::Max(high, hn::IfThenElse(finiteA, a, below));
        low2 = hn::Min(low2, hn::IfThenElse(finiteB, b, above));
        high2 = hn::Max(high2, hn::IfThenElse(finiteB, b, below));
    }
    T lowest = hn::GetLane(hn::MinOfLanes(d, hn::Min(low, low2)));
    T highest = hn::GetLane(hn::MaxOfLanes(d, hn::Max(high, high2)));
    T restIsSpecial = hn::GetLane(hn::SumOfLanes(d, special));
    for (; i < count; ++i) {
        const T zero = in[i] - in[i];
        restIsSpecial += zero;
        if (zero == T(0)) {
            lowest = in[i] < lowest ? in[i] : lowest;
            highest = in[i] > highest ? in[i] : highest;
        }
    }
    if (restIsSpecial != T(0)) {
        countSpecial(in, count, extrema);
    }
    mergeInto(extrema, lowest, highest);
}

template <class T>
ExtremaRow<T> integerKernel() {
    return &integerRow<T>;
}

template <class T>
ExtremaRow<T> floatingKernel() {
    return &floatingRow<T>;
}

}  // namespace rix::analysis::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace rix::analysis {

template <class T>
ExtremaRow<T> extremaRows(OptimLevelType level) {
    if constexpr (T(1) / T(2) == T(0)) {
        return RIX_SELECT_KERNELS(level, integerKernel<T>());
    } else {
        return RIX_SELECT_KERNELS(level, floatingKernel<T>());
    }
}

template ExtremaRow<std::uint8_t> extremaRows<std::uint8_t>(OptimLevelType);
template ExtremaRow<std::uint16_t> extremaRows<std::uint16_t>(OptimLevelType);
template ExtremaRow<std::uint32_t> extremaRows<std::uint32_t>(OptimLevelType);
template ExtremaRow<std::int8_t> extremaRows<std::int8_t>(OptimLevelType);
template ExtremaRow<std::int16_t> extremaRows<std::int16_t>(OptimLevelType);
template ExtremaRow<std::int32_t> extremaRows<std::int32_t>(OptimLevelType);
template ExtremaRow<float> extremaRows<float>(OptimLevelType);
template ExtremaRow<double> extremaRows<double>(OptimLevelType);

}  // namespace rix::analysis
#endif
