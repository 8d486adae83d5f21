// What the kernels of grey values have in common. Included once a pass by IntensityKernels.cpp.

#if defined(RIX_RUN_SUMS) == defined(HWY_TARGET_TOGGLE)
#ifdef RIX_RUN_SUMS
#undef RIX_RUN_SUMS
#else
#define RIX_RUN_SUMS
#endif

#include <cstddef>
#include <cstdint>

#include <hwy/cache_control.h>
#include <hwy/highway.h>

#include "IntensityKernels.h"

HWY_BEFORE_NAMESPACE();
namespace rix::individual_analysis::HWY_NAMESPACE {

namespace hn = hwy::HWY_NAMESPACE;

// Runs are short, so what counts is their ends: the pixels that are left over at the end of a run are taken by a vector
// that ends where the run ends, in which the pixels that were had before, or belong to the run before, are dead.

constexpr std::size_t lanes = 8;

/// Asks for the values that will be wanted soon: the processor's own prefetch stops at the ends of pages.
template <class T>
HWY_INLINE void askAhead(const T* values) {
    hwy::Prefetch(values + 2048 / sizeof(T));
}

template <unsigned Parts>
inline constexpr bool makesSum = (Parts & RUN_SUM) != 0;
template <unsigned Parts>
inline constexpr bool makesSquares = (Parts & RUN_SQUARES) != 0;
template <unsigned Parts>
inline constexpr bool makesExtrema = (Parts & RUN_EXTREMA) != 0;

/// Sums of integers about 0, from which those about a shift follow exactly: all is exact modulo 2^64.
template <unsigned Parts>
HWY_INLINE void finish(RunSums& sums, std::uint64_t count, std::int64_t sum, std::uint64_t squares,
                       std::int64_t shift) {
    const auto s = static_cast<std::uint64_t>(shift);
    const auto about = static_cast<std::uint64_t>(sum);
    sums.sum = static_cast<double>(sum - static_cast<std::int64_t>(count) * shift);
    if constexpr (makesSquares<Parts>) {
        sums.squares = static_cast<double>(squares - 2 * s * about + count * s * s);
    }
}

}  // namespace rix::individual_analysis::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif
