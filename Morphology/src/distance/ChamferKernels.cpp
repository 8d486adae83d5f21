#include "distance/ChamferKernels.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "distance/ChamferKernels.cpp"
#include <rix/simd/KernelTargets.h>

#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace rix::morphology::HWY_NAMESPACE {

namespace hn = hwy::HWY_NAMESPACE;
using D = hn::ScalableTag<float>;
using V = hn::Vec<D>;
constexpr std::size_t lanes = hn::MaxLanes(D());

template <std::size_t count>
HWY_INLINE V leastOf(D d, const float* const* from, std::size_t x) {
    V least = hn::LoadU(d, from[0] + x);
    for (std::size_t i = 1; i < count; ++i) {
        least = hn::Min(least, hn::LoadU(d, from[i] + x));
    }
    return least;
}

/// As many rows as there are steps of a kind.
template <std::size_t steps>
HWY_INLINE void takeKind(float* row, const ChamferSteps& all, std::size_t count) {
    const D d;
    const float* from[steps];
    for (std::size_t i = 0; i < steps; ++i) {
        from[i] = all.from[i];
    }
    const V price = hn::Set(d, all.price);
    for (std::size_t x = 0; x < count; x += lanes) {
        hn::StoreU(hn::Min(hn::LoadU(d, row + x), hn::Add(leastOf<steps>(d, from, x), price)), d, row + x);
    }
}

void takeSteps(float* row, const ChamferSteps* steps, std::size_t kinds, std::size_t count) {
    for (std::size_t kind = 0; kind < kinds; ++kind) {
        switch (steps[kind].count) {
            case 1: takeKind<1>(row, steps[kind], count); break;
            case 2: takeKind<2>(row, steps[kind], count); break;
            case 4: takeKind<4>(row, steps[kind], count); break;
            default: takeKind<ChamferSteps::most>(row, steps[kind], count); break;
        }
    }
}

/// row(x) less (backwards: and) x times the price is what a way along the row never changes: there its least is handed
/// on from place to place, in a vector at 1, 2, 4 ... places at once. All numbers are integers below 2^24.
template <bool backwards>
void spreadRow(float* row, float price, float start, std::size_t count) {
    const D d;
    constexpr std::size_t mostShifts = 5;
    using Indices = decltype(hn::SetTableIndices(d, static_cast<const std::int32_t*>(nullptr)));
    const V none = hn::Set(d, __builtin_inff());
    Indices shifts[mostShifts];
    hn::Mask<D> isBeyond[mostShifts];
    std::size_t shiftCount = 0;
    std::int32_t places[lanes];
    for (std::size_t shift = 1; shift < lanes; shift *= 2) {
        for (std::size_t i = 0; i < lanes; ++i) {
            places[i] = static_cast<std::int32_t>((backwards ? i + shift : i + lanes - shift) % lanes);
        }
        shifts[shiftCount] = hn::SetTableIndices(d, places);
        isBeyond[shiftCount++] = backwards ? hn::Not(hn::FirstN(d, lanes - shift)) : hn::FirstN(d, shift);
    }
    for (std::size_t i = 0; i < lanes; ++i) {
        places[i] = backwards ? 0 : static_cast<std::int32_t>(lanes - 1);
    }
    const Indices end = hn::SetTableIndices(d, places);
    const V first = hn::Iota(d, 0.0F);
    const V rise = hn::Set(d, backwards ? price : -price);
    V carried = hn::Set(d, backwards ? start + static_cast<float>(count) * price : start + price);
    for (std::size_t i = 0; i < count; i += lanes) {
        const std::size_t x = backwards ? count - lanes - i : i;
        const V ramp = hn::Mul(hn::Add(first, hn::Set(d, static_cast<float>(x))), rise);
        V lowest = hn::Add(hn::LoadU(d, row + x), ramp);
        for (std::size_t s = 0; s < shiftCount; ++s) {
            const V moved = hn::TableLookupLanes(lowest, shifts[s]);
            lowest = hn::Min(lowest, hn::IfThenElse(isBeyond[s], none, moved));
        }
        lowest = hn::Min(lowest, carried);
        carried = hn::TableLookupLanes(lowest, end);
        hn::StoreU(hn::Sub(lowest, ramp), d, row + x);
    }
}

ChamferKernels kernels() {
    return {&takeSteps, &spreadRow<false>, &spreadRow<true>};
}

}  // namespace rix::morphology::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace rix::morphology {

ChamferKernels chamferKernels(OptimLevelType level) {
    return RIX_SELECT_KERNELS(level, kernels());
}

}  // namespace rix::morphology
#endif
