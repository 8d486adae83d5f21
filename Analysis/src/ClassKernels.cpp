#include "ClassKernels.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "ClassKernels.cpp"
#include <rix/simd/KernelTargets.h>

#include <hwy/highway.h>

// Plain loops: the compiler makes vectors of the pass of them.
HWY_BEFORE_NAMESPACE();
namespace rix::analysis::HWY_NAMESPACE {

template <class T>
void classRow(const T* in, std::uint16_t* out, std::size_t count, const math::HistogramClasses& classes) {
    const double minimum = classes.minimum;
    const double maximum = classes.maximum;
    const double scale = classes.scale;
    const double scaledMinimum = minimum * scale;
    const double divisor = classes.divisor;
    const double last = static_cast<double>(classes.count - 1);
    const double none = static_cast<double>(classes.count);
    for (std::size_t i = 0; i < count; ++i) {
        const double value = static_cast<double>(in[i]);
        const double position = (value * scale - scaledMinimum) / divisor;
        const double inside = value < maximum ? (position < last ? position : last) : last;
        const double chosen = value >= minimum ? (value <= maximum ? inside : none) : none;
        out[i] = static_cast<std::uint16_t>(static_cast<std::int32_t>(chosen));
    }
}

template <class T>
void unitClassRow(const T* in, std::uint16_t* out, std::size_t count, UnitClasses classes) {
    for (std::size_t i = 0; i < count; ++i) {
        // Samples below the first class wrap to large numbers. The end of the range belongs to the last class.
        const std::uint32_t distance = static_cast<std::uint32_t>(in[i]) - classes.first;
        const std::uint32_t beyond = distance == classes.count ? classes.count - 1 : classes.count;
        out[i] = static_cast<std::uint16_t>(distance < classes.count ? distance : beyond);
    }
}

template <class T>
void splitRow(const T* in, std::size_t count, double threshold, double scale, SplitSums& sums) {
    // Adding this number leaves the integer part in the low bits; the sums of a stretch stay below 2^63.
    constexpr double shift = 6755399441055744.0;  // 1.5 * 2^52
    constexpr std::int64_t shiftBits = __builtin_bit_cast(std::int64_t, shift);
    constexpr std::size_t stretch = 4096;
    for (std::size_t begin = 0; begin < count; begin += stretch) {
        const std::size_t end = begin + stretch < count ? begin + stretch : count;
        std::int64_t low = 0;
        std::int64_t all = 0;
        std::uint64_t lowCount = 0;
        std::uint64_t allCount = 0;
        for (std::size_t i = begin; i < end; ++i) {
            const double value = static_cast<double>(in[i]);
            const bool finite = value - value == 0.0;
            const double finiteValue = finite ? value : 0.0;
            const std::int64_t units = __builtin_bit_cast(std::int64_t, finiteValue* scale + shift) - shiftBits;
            const std::int64_t isLow = (finite & (value < threshold)) ? -1 : 0;
            all += units;
            allCount += finite ? 1U : 0U;
            low += units & isLow;
            lowCount -= static_cast<std::uint64_t>(isLow);
        }
        sums.low += low;
        sums.high += all - low;
        sums.lowCount += lowCount;
        sums.highCount += allCount - lowCount;
    }
}

template <class T>
ClassRows<T> rows() {
    if constexpr (T(1) / T(2) == T(0)) {
        return {&classRow<T>, &unitClassRow<T>, &splitRow<T>};
    } else {
        return {&classRow<T>, nullptr, &splitRow<T>};
    }
}

}  // namespace rix::analysis::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace rix::analysis {

template <class T>
ClassRows<T> classRows(OptimLevelType level) {
    return RIX_SELECT_KERNELS(level, rows<T>());
}

template ClassRows<std::uint8_t> classRows<std::uint8_t>(OptimLevelType);
template ClassRows<std::uint16_t> classRows<std::uint16_t>(OptimLevelType);
template ClassRows<std::uint32_t> classRows<std::uint32_t>(OptimLevelType);
template ClassRows<std::int8_t> classRows<std::int8_t>(OptimLevelType);
template ClassRows<std::int16_t> classRows<std::int16_t>(OptimLevelType);
template ClassRows<std::int32_t> classRows<std::int32_t>(OptimLevelType);
template ClassRows<float> classRows<float>(OptimLevelType);
template ClassRows<double> classRows<double>(OptimLevelType);

}  // namespace rix::analysis
#endif
