#include "WeightedSums.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "WeightedSums.cpp"
#include <rix/simd/KernelTargets.h>

#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace rix::filtering::linear::HWY_NAMESPACE {

namespace hn = hwy::HWY_NAMESPACE;

/// The sums of `vectors` vectors from x on, kept in registers through all rows.
template <std::size_t vectors, class T>
HWY_INLINE void sumAt(const T* const* rows, const T* weights, std::size_t count, T* out, std::size_t x) {
    const hn::ScalableTag<T> d;
    const std::size_t lanes = hn::Lanes(d);
    hn::Vec<decltype(d)> sums[vectors];
    const auto first = hn::Set(d, weights[0]);
    HWY_UNROLL(8)
    for (std::size_t v = 0; v < vectors; ++v) {
        sums[v] = hn::Mul(first, hn::LoadU(d, rows[0] + x + v * lanes));
    }
    for (std::size_t k = 1; k < count; ++k) {
        const auto weight = hn::Set(d, weights[k]);
        const T* const row = rows[k] + x;
        HWY_UNROLL(8)
        for (std::size_t v = 0; v < vectors; ++v) {
            sums[v] = hn::Add(sums[v], hn::Mul(weight, hn::LoadU(d, row + v * lanes)));
        }
    }
    HWY_UNROLL(8)
    for (std::size_t v = 0; v < vectors; ++v) {
        hn::StoreU(sums[v], d, out + x + v * lanes);
    }
}

template <class T>
void sum(const T* const* rows, const T* weights, std::size_t count, T* out, std::size_t begin, std::size_t end) {
    const std::size_t lanes = hn::Lanes(hn::ScalableTag<T>());
    std::size_t x = begin;
    if (count == 0) {
        for (; x < end; ++x) {
            out[x] = 0;
        }
    }
    for (; x + 8 * lanes <= end; x += 8 * lanes) {
        sumAt<8>(rows, weights, count, out, x);
    }
    for (; x + lanes <= end; x += lanes) {
        sumAt<1>(rows, weights, count, out, x);
    }
    for (; x < end; ++x) {
        T total = weights[0] * rows[0][x];
        for (std::size_t k = 1; k < count; ++k) {
            total += weights[k] * rows[k][x];
        }
        out[x] = total;
    }
}

template <class T>
WeightedSum<T> sumOf() {
    return &sum<T>;
}

}  // namespace rix::filtering::linear::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace rix::filtering::linear {

template <class T>
WeightedSum<T> weightedSum(OptimLevelType level) {
    return RIX_SELECT_KERNELS(level, sumOf<T>());
}

template WeightedSum<float> weightedSum<float>(OptimLevelType);
template WeightedSum<double> weightedSum<double>(OptimLevelType);

}  // namespace rix::filtering::linear
#endif
