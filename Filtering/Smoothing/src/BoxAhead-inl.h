// How kernels ask for the rows that slide next. Included once a pass by files of kernels.

#if defined(RIX_BOX_AHEAD) == defined(HWY_TARGET_TOGGLE)
#ifdef RIX_BOX_AHEAD
#undef RIX_BOX_AHEAD
#else
#define RIX_BOX_AHEAD
#endif

#include <cstddef>

#include <hwy/cache_control.h>
#include <hwy/highway.h>

#include "BoxAhead.h"

HWY_BEFORE_NAMESPACE();
namespace rix::filtering::smoothing::HWY_NAMESPACE {

/// Asks for the lines that the samples from x on begin.
HWY_INLINE void askAhead(const BoxAhead& ahead, std::size_t x, std::size_t count) {
    constexpr std::size_t cacheLine = 64;
    const std::size_t end = (x + count) * ahead.sampleBytes;
    for (std::size_t b = (x * ahead.sampleBytes + cacheLine - 1) / cacheLine * cacheLine; b < end; b += cacheLine) {
        hwy::Prefetch(ahead.entering + b);
        hwy::Prefetch(ahead.leaving + b);
    }
}

}  // namespace rix::filtering::smoothing::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif
