// Steps from place to place, in whole vectors.

#include "distance/DistanceKernels.h"

#if defined(RIX_NEAR_STEPS_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef RIX_NEAR_STEPS_INL_H
#undef RIX_NEAR_STEPS_INL_H
#else
#define RIX_NEAR_STEPS_INL_H
#endif

#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace rix::morphology::HWY_NAMESPACE {

namespace hn = hwy::HWY_NAMESPACE;

template <class Height>
using Tag = hn::ScalableTag<Height>;

template <bool takesMaximum, class D, class V>
HWY_INLINE V join(D /*d*/, V height, V cost) {
    if constexpr (takesMaximum) {
        return hn::Max(height, cost);
    } else {
        return hn::Add(height, cost);
    }
}

/// @return whether no more steps count for any of some vectors
template <bool takesMaximum, std::size_t vectors, class Height>
HWY_INLINE bool findNear(const Height* heights, std::ptrdiff_t pitch, const Height* ofSteps, Height* out) {
    const Tag<Height> d;
    const std::size_t lanes = hn::Lanes(d);
    hn::Vec<Tag<Height>> least[vectors];
    for (std::size_t v = 0; v < vectors; ++v) {
        least[v] = hn::LoadU(d, heights + v * lanes);
    }
    std::ptrdiff_t far = 0;
    const auto step = [&] HWY_ATTR {
        far += pitch;
        const auto cost = hn::Set(d, *++ofSteps);
        for (std::size_t v = 0; v < vectors; ++v) {
            const Height* const at = heights + v * lanes;
            const auto around = hn::Min(hn::LoadU(d, at - far), hn::LoadU(d, at + far));
            least[v] = hn::Min(least[v], join<takesMaximum>(d, around, cost));
        }
    };
    for (std::size_t steps = 0; true; steps += 2) {
        const auto next = hn::Set(d, ofSteps[1]);
        auto most = least[0];
        for (std::size_t v = 1; v < vectors; ++v) {
            most = hn::Max(most, least[v]);
        }
        if (hn::AllFalse(d, hn::Gt(most, next))) {
            break;
        }
        if (steps == nearSteps) {
            return false;
        }
        step();
        step();
    }
    for (std::size_t v = 0; v < vectors; ++v) {
        hn::StoreU(least[v], d, out + v * lanes);
    }
    return true;
}

template <bool takesMaximum, class Height>
HWY_INLINE bool transformNearAs(const Height* heights, std::ptrdiff_t pitch, const Height* ofSteps, Height* out,
                                std::size_t count) {
    constexpr std::size_t vectors = 2;
    const std::size_t lanes = hn::Lanes(Tag<Height>());
    if (count < lanes) {
        return false;
    }
    std::size_t x = 0;
    for (; x + vectors * lanes <= count; x += vectors * lanes) {
        if (!findNear<takesMaximum, vectors>(heights + x, pitch, ofSteps, out + x)) {
            return false;
        }
    }
    for (; x < count; x += lanes) {
        const std::size_t last = HWY_MIN(x, count - lanes);
        if (!findNear<takesMaximum, 1>(heights + last, pitch, ofSteps, out + last)) {
            return false;
        }
    }
    return true;
}

template <class Height>
bool transformNear(const Height* heights, std::ptrdiff_t pitch, const LineCosts<Height>& costs, Height* out,
                   std::size_t count) {
    return costs.takesMaximum ? transformNearAs<true>(heights, pitch, costs.ofSteps, out, count)
                              : transformNearAs<false>(heights, pitch, costs.ofSteps, out, count);
}

}  // namespace rix::morphology::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif
