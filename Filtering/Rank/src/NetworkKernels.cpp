#include "NetworkKernels.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "NetworkKernels.cpp"
#include <rix/simd/KernelTargets.h>

#include <cstdint>

#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace rix::filtering::rank::HWY_NAMESPACE {

namespace hn = hwy::HWY_NAMESPACE;

template <bool low, bool high, class Key>
HWY_INLINE void compare(const Key* a, const Key* b, Key* lows, Key* highs, std::size_t count) {
    const hn::ScalableTag<Key> d;
    for (std::size_t i = 0; i < count; i += hn::Lanes(d)) {
        const auto first = hn::LoadU(d, a + i);
        const auto second = hn::LoadU(d, b + i);
        if constexpr (low) {
            hn::Store(hn::Min(first, second), d, lows + i);
        }
        if constexpr (high) {
            hn::Store(hn::Max(first, second), d, highs + i);
        }
    }
}

template <class Key>
void runSteps(const NetworkRun<Key>& run, const Key* const* rows, std::size_t count) {
    const auto line = [&](std::size_t i) { return run.lines + (i - run.inputs) * run.lineStride; };
    const auto source = [&](std::size_t i) { return i < run.inputs ? rows[i] : line(i); };
    for (std::size_t s = 0; s < run.stepCount; ++s) {
        const RankNetwork::Step& step = run.steps[s];
        const Key* const a = source(step.a) + step.shiftA;
        const Key* const b = source(step.b) + step.shiftB;
        const std::size_t n = count + step.more;
        if (step.high == RankNetwork::none) {
            compare<true, false, Key>(a, b, line(step.low), nullptr, n);
        } else if (step.low == RankNetwork::none) {
            compare<false, true, Key>(a, b, nullptr, line(step.high), n);
        } else {
            compare<true, true>(a, b, line(step.low), line(step.high), n);
        }
    }
}

}  // namespace rix::filtering::rank::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace rix::filtering::rank {

template <class Key>
NetworkKernel<Key> networkKernel(OptimLevelType level) {
    return RIX_SELECT_KERNELS(level, runSteps<Key>);
}

template NetworkKernel<std::uint8_t> networkKernel<std::uint8_t>(OptimLevelType);
template NetworkKernel<std::uint16_t> networkKernel<std::uint16_t>(OptimLevelType);
template NetworkKernel<std::uint32_t> networkKernel<std::uint32_t>(OptimLevelType);
template NetworkKernel<std::uint64_t> networkKernel<std::uint64_t>(OptimLevelType);

}  // namespace rix::filtering::rank
#endif
