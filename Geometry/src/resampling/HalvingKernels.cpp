#include "resampling/HalvingKernels.h"

#include <cstdint>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "resampling/HalvingKernels.cpp"
#include <rix/simd/KernelTargets.h>

#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace rix::geometry::HWY_NAMESPACE {

namespace hn = hwy::HWY_NAMESPACE;

/// A quarter of a sum of four: 1 less than half is added, and 1 more where the quotient is odd.
HWY_INLINE std::uint32_t quarterOf(std::uint32_t sum) {
    return (sum + 1 + (sum >> 2 & 1)) >> 2;
}

template <class T>
HWY_INLINE T meanAt(const T* a, const T* b, std::size_t i) {
    return static_cast<T>(quarterOf(std::uint32_t{a[2 * i]} + a[2 * i + 1] + b[2 * i] + b[2 * i + 1]));
}
HWY_INLINE float meanAt(const float* a, const float* b, std::size_t i) {
    return ((a[2 * i] + b[2 * i]) + (a[2 * i + 1] + b[2 * i + 1])) * 0.25F;
}

#if HWY_TARGET != HWY_SCALAR && HWY_TARGET != HWY_EMU128

/// Two elements of integers are halves of a wider one.
template <class T>
HWY_INLINE std::size_t halveVectors(const T* a, const T* b, T* out, std::size_t count) {
    const hn::ScalableTag<T> d;
    const hn::RepartitionToWide<decltype(d)> wide;
    const hn::Rebind<T, decltype(wide)> narrow;
    using Wide = hn::TFromD<decltype(wide)>;
    const auto low = hn::Set(wide, static_cast<Wide>(~T{0}));
    const auto one = hn::Set(wide, Wide{1});
    const std::size_t lanes = hn::Lanes(wide);
    const auto sumOf = [&](const T* from) HWY_ATTR {
        const auto pairs = hn::BitCast(wide, hn::LoadU(d, from));
        return hn::Add(hn::And(pairs, low), hn::ShiftRight<8 * sizeof(T)>(pairs));
    };
    std::size_t i = 0;
    for (; i + lanes <= count; i += lanes) {
        const auto sum = hn::Add(sumOf(a + 2 * i), sumOf(b + 2 * i));
        const auto odd = hn::And(hn::ShiftRight<2>(sum), one);
        const auto mean = hn::ShiftRight<2>(hn::Add(hn::Add(sum, one), odd));
        hn::StoreU(hn::TruncateTo(narrow, mean), narrow, out + i);
    }
    return i;
}

HWY_INLINE std::size_t halveVectors(const float* a, const float* b, float* out, std::size_t count) {
    const hn::ScalableTag<float> d;
    const std::size_t lanes = hn::Lanes(d);
    const auto quarter = hn::Set(d, 0.25F);
    std::size_t i = 0;
    for (; i + lanes <= count; i += lanes) {
        const auto first = hn::Add(hn::LoadU(d, a + 2 * i), hn::LoadU(d, b + 2 * i));
        const auto second = hn::Add(hn::LoadU(d, a + 2 * i + lanes), hn::LoadU(d, b + 2 * i + lanes));
        const auto sum = hn::Add(hn::ConcatEven(d, second, first), hn::ConcatOdd(d, second, first));
        hn::StoreU(hn::Mul(sum, quarter), d, out + i);
    }
    return i;
}

#else

template <class T>
HWY_INLINE std::size_t halveVectors(const T* /*a*/, const T* /*b*/, T* /*out*/, std::size_t /*count*/) {
    return 0;
}

#endif

template <class T>
void halve(const T* first, const T* second, T* out, std::size_t count) {
    for (std::size_t i = halveVectors(first, second, out, count); i < count; ++i) {
        out[i] = meanAt(first, second, i);
    }
}

template <class T>
HalveRows<T> halving() {
    return &halve<T>;
}

}  // namespace rix::geometry::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace rix::geometry {

template <class T>
HalveRows<T> halveRows(OptimLevelType level) {
    return RIX_SELECT_KERNELS(level, halving<T>());
}

template HalveRows<std::uint8_t> halveRows<std::uint8_t>(OptimLevelType);
template HalveRows<std::uint16_t> halveRows<std::uint16_t>(OptimLevelType);
template HalveRows<float> halveRows<float>(OptimLevelType);

}  // namespace rix::geometry
#endif
