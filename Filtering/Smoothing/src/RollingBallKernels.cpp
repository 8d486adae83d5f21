#include "RollingBallKernels.h"

#include <limits>

#include <rix/simd/Loops.h>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "RollingBallKernels.cpp"
#include <rix/simd/KernelTargets.h>

#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace rix::filtering::smoothing::HWY_NAMESPACE {

namespace hn = hwy::HWY_NAMESPACE;

template <class T>
void prepare(const T* row, T factor, T* out, std::size_t count) {
    constexpr T nothing = std::numeric_limits<T>::infinity();
    RIX_INDEPENDENT_ITERATIONS
    for (std::size_t x = 0; x < count; ++x) {
        // Zeros have no sign, or which of two equal ones is kept would show.
        const T value = factor * row[x] + T{0};
        out[x] = value < nothing ? value : nothing;
    }
}

template <class T>
T least(const T* row, std::size_t count) {
    const hn::ScalableTag<T> d;
    const std::size_t lanes = hn::Lanes(d);
    auto found = hn::Set(d, std::numeric_limits<T>::infinity());
    std::size_t x = 0;
    for (; x + lanes <= count; x += lanes) {
        found = hn::Min(found, hn::LoadU(d, row + x));
    }
    T all = hn::GetLane(hn::MinOfLanes(d, found));
    for (; x < count; ++x) {
        all = row[x] < all ? row[x] : all;
    }
    return all;
}

template <class T>
T join(const T* const* rows, std::size_t rowCount, T* out, std::size_t count) {
    const hn::ScalableTag<T> d;
    const std::size_t lanes = hn::Lanes(d);
    std::size_t x = 0;
    for (; x + lanes <= count; x += lanes) {
        auto here = hn::LoadU(d, rows[0] + x);
        for (std::size_t i = 1; i < rowCount; ++i) {
            here = hn::Min(here, hn::LoadU(d, rows[i] + x));
        }
        hn::StoreU(here, d, out + x);
    }
    for (; x < count; ++x) {
        T here = rows[0][x];
        for (std::size_t i = 1; i < rowCount; ++i) {
            here = rows[i][x] < here ? rows[i][x] : here;
        }
        out[x] = here;
    }
    return least(out, count);
}

/// `vectors` vectors side by side: each height is loaded once for them all.
template <std::size_t vectors, class T>
HWY_INLINE void pressAt(const T* row, const T* heights, std::size_t reach, T* least) {
    const hn::ScalableTag<T> d;
    const std::size_t lanes = hn::Lanes(d);
    hn::Vec<decltype(d)> found[vectors];
    const auto middle = hn::Set(d, heights[0]);
    HWY_UNROLL(4)
    for (std::size_t v = 0; v < vectors; ++v) {
        found[v] = hn::Min(hn::LoadU(d, least + v * lanes), hn::Sub(hn::LoadU(d, row + v * lanes), middle));
    }
    for (std::size_t i = 1; i <= reach; ++i) {
        const auto height = hn::Set(d, heights[i]);
        const T* const before = row - i;
        const T* const behind = row + i;
        HWY_UNROLL(4)
        for (std::size_t v = 0; v < vectors; ++v) {
            // The ball is as high on both sides.
            const auto lower = hn::Min(hn::LoadU(d, before + v * lanes), hn::LoadU(d, behind + v * lanes));
            found[v] = hn::Min(found[v], hn::Sub(lower, height));
        }
    }
    HWY_UNROLL(4)
    for (std::size_t v = 0; v < vectors; ++v) {
        hn::StoreU(found[v], d, least + v * lanes);
    }
}

template <class T>
T press(const T* row, const T* heights, std::size_t reach, T* least, std::size_t count) {
    const hn::ScalableTag<T> d;
    const std::size_t lanes = hn::Lanes(d);
    std::size_t x = 0;
    for (; x + 4 * lanes <= count; x += 4 * lanes) {
        pressAt<4>(row + x, heights, reach, least + x);
    }
    for (; x < count; x += lanes) {
        pressAt<1>(row + x, heights, reach, least + x);
    }
    auto largest = hn::Set(d, -std::numeric_limits<T>::infinity());
    for (x = 0; x + lanes <= count; x += lanes) {
        largest = hn::Max(largest, hn::LoadU(d, least + x));
    }
    T all = hn::GetLane(hn::MaxOfLanes(d, largest));
    for (; x < count; ++x) {
        all = least[x] > all ? least[x] : all;
    }
    return all;
}

template <class T>
RollingBallKernels<T> kernels() {
    return {&prepare<T>, &least<T>, &join<T>, &press<T>};
}

}  // namespace rix::filtering::smoothing::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace rix::filtering::smoothing {

template <class T>
RollingBallKernels<T> rollingBallKernels(OptimLevelType level) {
    return RIX_SELECT_KERNELS(level, kernels<T>());
}

template RollingBallKernels<float> rollingBallKernels<float>(OptimLevelType);
template RollingBallKernels<double> rollingBallKernels<double>(OptimLevelType);

}  // namespace rix::filtering::smoothing
#endif
