#include "GaussianKernels.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "GaussianKernels.cpp"
#include <rix/simd/KernelTargets.h>

#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace rix::filtering::smoothing::HWY_NAMESPACE {

namespace hn = hwy::HWY_NAMESPACE;

/// The sums of `vectors` vectors from x on, kept in registers through all taps.
template <std::size_t vectors, class T>
HWY_INLINE void sumAt(const T* const* rows, const T* taps, std::size_t reach, T* out, std::size_t x) {
    const hn::ScalableTag<T> d;
    const std::size_t lanes = hn::Lanes(d);
    hn::Vec<decltype(d)> sums[vectors];
    HWY_UNROLL(4)
    for (std::size_t v = 0; v < vectors; ++v) {
        sums[v] = hn::Zero(d);
    }
    if (reach > 0) {
        const auto tap = hn::Set(d, taps[reach]);
        HWY_UNROLL(4)
        for (std::size_t v = 0; v < vectors; ++v) {
            const std::size_t at = x + v * lanes;
            sums[v] = hn::Mul(tap, hn::Add(hn::LoadU(d, rows[0] + at), hn::LoadU(d, rows[2 * reach] + at)));
        }
    }
    for (std::size_t k = 1; k < reach; ++k) {
        const auto tap = hn::Set(d, taps[reach - k]);
        const T* const before = rows[k] + x;
        const T* const after = rows[2 * reach - k] + x;
        HWY_UNROLL(4)
        for (std::size_t v = 0; v < vectors; ++v) {
            const std::size_t at = v * lanes;
            const auto pair = hn::Add(hn::LoadU(d, before + at), hn::LoadU(d, after + at));
            sums[v] = hn::Add(sums[v], hn::Mul(tap, pair));
        }
    }
    const auto tap = hn::Set(d, taps[0]);
    HWY_UNROLL(4)
    for (std::size_t v = 0; v < vectors; ++v) {
        const std::size_t at = x + v * lanes;
        const auto middle = hn::Mul(tap, hn::LoadU(d, rows[reach] + at));
        hn::StoreU(reach > 0 ? hn::Add(sums[v], middle) : middle, d, out + at);
    }
}

template <class T>
void sum(const T* const* rows, const T* taps, std::size_t reach, T* out, std::size_t count) {
    const std::size_t lanes = hn::Lanes(hn::ScalableTag<T>());
    std::size_t x = 0;
    for (; x + 4 * lanes <= count; x += 4 * lanes) {
        sumAt<4>(rows, taps, reach, out, x);
    }
    for (; x + lanes <= count; x += lanes) {
        sumAt<1>(rows, taps, reach, out, x);
    }
    if (x < count && count >= lanes && out != rows[0]) {
        sumAt<1>(rows, taps, reach, out, count - lanes);  // some of them again
        return;
    }
    for (; x < count; ++x) {
        T total = 0;
        if (reach > 0) {
            total = taps[reach] * (rows[0][x] + rows[2 * reach][x]);
        }
        for (std::size_t k = 1; k < reach; ++k) {
            total += taps[reach - k] * (rows[k][x] + rows[2 * reach - k][x]);
        }
        const T middle = taps[0] * rows[reach][x];
        out[x] = reach > 0 ? total + middle : middle;
    }
}

template <class D>
HWY_INLINE void roundAt(D d, hn::TFromD<D>* at, hn::TFromD<D> lowest, hn::TFromD<D> highest) {
    const auto rounded = hn::Round(hn::LoadU(d, at));
    hn::StoreU(hn::Min(hn::Max(rounded, hn::Set(d, lowest)), hn::Set(d, highest)), d, at);
}

template <class T>
void round(T* row, std::size_t count, T lowest, T highest) {
    const hn::ScalableTag<T> d;
    std::size_t x = 0;
    for (; x + hn::Lanes(d) <= count; x += hn::Lanes(d)) {
        roundAt(d, row + x, lowest, highest);
    }
    for (; x < count; ++x) {
        roundAt(hn::CappedTag<T, 1>(), row + x, lowest, highest);
    }
}

template <class T>
GaussianKernels<T> kernels() {
    return {&sum<T>, &round<T>};
}

}  // namespace rix::filtering::smoothing::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace rix::filtering::smoothing {

template <class T>
GaussianKernels<T> gaussianKernels(OptimLevelType level) {
    return RIX_SELECT_KERNELS(level, kernels<T>());
}

template GaussianKernels<float> gaussianKernels<float>(OptimLevelType);
template GaussianKernels<double> gaussianKernels<double>(OptimLevelType);

}  // namespace rix::filtering::smoothing
#endif
