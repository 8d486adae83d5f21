// Reals to integers as the processor converts them. Included once a pass by files of kernels.

#if defined(RIX_SIMD_TRUNCATION) == defined(HWY_TARGET_TOGGLE)
#ifdef RIX_SIMD_TRUNCATION
#undef RIX_SIMD_TRUNCATION
#else
#define RIX_SIMD_TRUNCATION
#endif

#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace rix::simd::HWY_NAMESPACE {

#if HWY_TARGET <= HWY_SSE4  // the better the target, the smaller its number

/// Reals of single precision truncated toward zero. What 32 bits don't hold becomes the lowest integer, which is the
/// rule of the processor; Highway's conversion gives the highest integer beyond the upper end, and takes longer.
template <class D>
HWY_INLINE hwy::HWY_NAMESPACE::Vec<D> truncatedVector(
    D, hwy::HWY_NAMESPACE::Vec<hwy::HWY_NAMESPACE::RebindToFloat<D>> reals) {
#if HWY_TARGET <= HWY_AVX3
    return hwy::HWY_NAMESPACE::Vec<D>{_mm512_cvttps_epi32(reals.raw)};
#elif HWY_TARGET <= HWY_AVX2
    return hwy::HWY_NAMESPACE::Vec<D>{_mm256_cvttps_epi32(reals.raw)};
#else
    return hwy::HWY_NAMESPACE::Vec<D>{_mm_cvttps_epi32(reals.raw)};
#endif
}

#endif

}  // namespace rix::simd::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif
