#include "MaskKernels.h"

#include <bit>
#include <cstdint>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "MaskKernels.cpp"
#include <rix/simd/KernelTargets.h>

#include <hwy/highway.h>

#include <rix/access/Stores-inl.h>

HWY_BEFORE_NAMESPACE();
namespace rix::point_operations::HWY_NAMESPACE {

template <class T, class M>
struct Operator_Mask {
    static T apply(T value, M mask) { return mask == 0 ? T(0) : value; }
};

using access::Stores;

template <class T, class M>
HWY_INLINE auto maskedSamples(const void* first, const void* second) {
    const auto* const values = static_cast<const T*>(first);
    const auto* const mask = static_cast<const M*>(second);
    return [=](std::size_t i) HWY_ATTR { return Operator_Mask<T, M>::apply(values[i], mask[i]); };
}

template <Stores stores, class T, class M>
void maskRow(const void* first, const void* second, void* output, std::size_t count) {
    access::HWY_NAMESPACE::storeRow<stores, M>(static_cast<T*>(output), count, maskedSamples<T, M>(first, second));
}

/// By the logarithms of the two widths.
template <Stores stores>
PairRow rowOf(std::size_t sampleShift, std::size_t maskShift) {
    static constexpr PairRow table[4][2] = {
        {&maskRow<stores, std::uint8_t, std::uint8_t>, &maskRow<stores, std::uint8_t, std::uint16_t>},
        {&maskRow<stores, std::uint16_t, std::uint8_t>, &maskRow<stores, std::uint16_t, std::uint16_t>},
        {&maskRow<stores, std::uint32_t, std::uint8_t>, &maskRow<stores, std::uint32_t, std::uint16_t>},
        {&maskRow<stores, std::uint64_t, std::uint8_t>, &maskRow<stores, std::uint64_t, std::uint16_t>},
    };
    return table[sampleShift][maskShift];
}

PairRow rowOf(Stores stores, std::size_t sampleShift, std::size_t maskShift) {
    return stores == Stores::Streaming ? rowOf<Stores::Streaming>(sampleShift, maskShift)
                                       : rowOf<Stores::Cached>(sampleShift, maskShift);
}

}  // namespace rix::point_operations::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace rix::point_operations {

PairRow maskRow(std::size_t sampleBytes, std::size_t maskBytes, access::Stores stores, OptimLevelType level) {
    const auto sampleShift = static_cast<std::size_t>(std::countr_zero(sampleBytes));
    const auto maskShift = static_cast<std::size_t>(std::countr_zero(maskBytes));
    return RIX_SELECT_KERNELS(level, rowOf(stores, sampleShift, maskShift));
}

}  // namespace rix::point_operations
#endif
