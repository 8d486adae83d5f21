#include "MaskKernels.h"

#include <bit>
#include <cstdint>

#include <rix/simd/Loops.h>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "MaskKernels.cpp"
#include <rix/simd/KernelTargets.h>

#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace rix::point_operations::HWY_NAMESPACE {

template <class T, class M>
struct Operator_Mask {
    static T apply(T value, M mask) { return mask == 0 ? T(0) : value; }
};

template <class T, class M>
void maskRow(const void* first, const void* second, void* output, std::size_t count) {
    const auto* const values = static_cast<const T*>(first);
    const auto* const mask = static_cast<const M*>(second);
    auto* const out = static_cast<T*>(output);
    RIX_INDEPENDENT_ITERATIONS
    for (std::size_t i = 0; i < count; ++i) {
        out[i] = Operator_Mask<T, M>::apply(values[i], mask[i]);
    }
}

/// By the logarithms of the two widths.
PairRow rowOf(std::size_t sampleShift, std::size_t maskShift) {
    static constexpr PairRow table[4][2] = {
        {&maskRow<std::uint8_t, std::uint8_t>, &maskRow<std::uint8_t, std::uint16_t>},
        {&maskRow<std::uint16_t, std::uint8_t>, &maskRow<std::uint16_t, std::uint16_t>},
        {&maskRow<std::uint32_t, std::uint8_t>, &maskRow<std::uint32_t, std::uint16_t>},
        {&maskRow<std::uint64_t, std::uint8_t>, &maskRow<std::uint64_t, std::uint16_t>},
    };
    return table[sampleShift][maskShift];
}

}  // namespace rix::point_operations::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace rix::point_operations {

PairRow maskRow(std::size_t sampleBytes, std::size_t maskBytes, OptimLevelType level) {
    const auto sampleShift = static_cast<std::size_t>(std::countr_zero(sampleBytes));
    const auto maskShift = static_cast<std::size_t>(std::countr_zero(maskBytes));
    return RIX_SELECT_KERNELS(level, rowOf(sampleShift, maskShift));
}

}  // namespace rix::point_operations
#endif
