#include "EdgeKernels.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "EdgeKernels.cpp"
#include <rix/simd/KernelTargets.h>

#include <hwy/highway.h>

#include "Exponential-inl.h"

HWY_BEFORE_NAMESPACE();
namespace rix::filtering::smoothing::HWY_NAMESPACE {

/// Calls `compute(x)` for every vector of a row and writes what it gives; of the last as much as belongs to the row.
template <class T, class Compute>
HWY_INLINE void forEachVector(T* out, std::size_t count, const Compute& compute) {
    const hn::ScalableTag<T> d;
    const std::size_t lanes = hn::Lanes(d);
    std::size_t x = 0;
    for (; x + lanes <= count; x += lanes) {
        hn::StoreU(compute(x), d, out + x);
    }
    if (x < count) {
        HWY_ALIGN T last[HWY_LANES(T)];
        hn::Store(compute(x), d, last);
        for (std::size_t i = 0; x + i < count; ++i) {
            out[x + i] = last[i];
        }
    }
}

template <class T>
void average(const Taps<T>& taps, const T* center, T factor, T* out, std::size_t count) {
    const hn::ScalableTag<T> d;
    const auto scale = hn::Set(d, factor);
    forEachVector(out, count, [&](std::size_t x) HWY_ATTR {
        const auto middle = hn::LoadU(d, center + x);
        auto sum = hn::Zero(d);
        auto weights = hn::Zero(d);
        for (std::size_t i = 0; i < taps.count; ++i) {
            const auto difference = hn::Sub(hn::LoadU(d, taps.rows[i] + x), middle);
            const auto logarithm =
                hn::Add(hn::Mul(hn::Mul(difference, difference), scale), hn::Set(d, taps.weights[i]));
            const auto weight = powerOfTwo(d, logarithm);
            sum = hn::Add(sum, hn::Mul(weight, difference));
            weights = hn::Add(weights, weight);
        }
        return hn::Add(middle, hn::Div(sum, weights));
    });
}

/// Of so many vectors from x on.
template <std::size_t vectors, class T>
HWY_INLINE void averageWeightedAt(const WeightedTaps<T>& taps, const T* center, std::size_t x, T* out) {
    const hn::ScalableTag<T> d;
    const std::size_t lanes = hn::Lanes(d);
    hn::Vec<decltype(d)> middle[vectors];
    hn::Vec<decltype(d)> sums[vectors];
    hn::Vec<decltype(d)> weights[vectors];
    HWY_UNROLL(4)
    for (std::size_t v = 0; v < vectors; ++v) {
        middle[v] = hn::LoadU(d, center + x + v * lanes);
        sums[v] = hn::Zero(d);
        weights[v] = hn::Set(d, T{1});
    }
    for (std::size_t i = 0; i < taps.count; ++i) {
        const T* const row = taps.rows[i] + x;
        const T* const weight = taps.weights[i] + x;
        HWY_UNROLL(4)
        for (std::size_t v = 0; v < vectors; ++v) {
            const auto each = hn::LoadU(d, weight + v * lanes);
            const auto difference = hn::Sub(hn::LoadU(d, row + v * lanes), middle[v]);
            sums[v] = hn::Add(sums[v], hn::Mul(each, difference));
            weights[v] = hn::Add(weights[v], each);
        }
    }
    HWY_UNROLL(4)
    for (std::size_t v = 0; v < vectors; ++v) {
        hn::StoreU(hn::Add(middle[v], hn::Div(sums[v], weights[v])), d, out + v * lanes);
    }
}

template <class T>
void averageWeighted(const WeightedTaps<T>& taps, const T* center, T* out, std::size_t count) {
    const std::size_t lanes = hn::Lanes(hn::ScalableTag<T>());
    std::size_t x = 0;
    for (; x + 4 * lanes <= count; x += 4 * lanes) {
        averageWeightedAt<4>(taps, center, x, out + x);
    }
    for (; x + lanes <= count; x += lanes) {
        averageWeightedAt<1>(taps, center, x, out + x);
    }
    if (x < count) {
        HWY_ALIGN T last[HWY_LANES(T)];
        averageWeightedAt<1>(taps, center, x, last);
        for (std::size_t i = 0; x + i < count; ++i) {
            out[x + i] = last[i];
        }
    }
}

template <class T>
void weighPairs(const T* a, const T* b, T logarithm, T factor, T* weights, std::size_t count) {
    const hn::ScalableTag<T> d;
    const auto scale = hn::Set(d, factor);
    const auto shift = hn::Set(d, logarithm);
    for (std::size_t x = 0; x < count; x += hn::Lanes(d)) {
        const auto difference = hn::Sub(hn::LoadU(d, a + x), hn::LoadU(d, b + x));
        const auto exponent = hn::Add(hn::Mul(hn::Mul(difference, difference), scale), shift);
        hn::StoreU(powerOfTwo(d, exponent), d, weights + x);
    }
}

template <class T>
void squareDifferences(const T* a, const T* b, T* out, std::size_t count) {
    const hn::ScalableTag<T> d;
    for (std::size_t x = 0; x < count; x += hn::Lanes(d)) {
        const auto difference = hn::Sub(hn::LoadU(d, a + x), hn::LoadU(d, b + x));
        hn::StoreU(hn::Mul(difference, difference), d, out + x);
    }
}

template <class T>
void weigh(const T* distances, T factor, T* weights, std::size_t count) {
    const hn::ScalableTag<T> d;
    for (std::size_t x = 0; x < count; x += hn::Lanes(d)) {
        const auto distance = hn::LoadU(d, distances + x);
        const auto weight = powerOfTwo(d, hn::Mul(distance, hn::Set(d, factor)));
        // What a power makes of NaN is up to the processor.
        hn::StoreU(hn::IfThenElse(hn::Eq(distance, distance), weight, distance), d, weights + x);
    }
}

template <class T>
void accumulate(const T* weights, const T* voxels, const T* center, T* sums, T* totals, std::size_t count) {
    const hn::ScalableTag<T> d;
    for (std::size_t x = 0; x < count; x += hn::Lanes(d)) {
        const auto weight = hn::LoadU(d, weights + x);
        const auto difference = hn::Sub(hn::LoadU(d, voxels + x), hn::LoadU(d, center + x));
        hn::StoreU(hn::Add(hn::LoadU(d, sums + x), hn::Mul(weight, difference)), d, sums + x);
        hn::StoreU(hn::Add(hn::LoadU(d, totals + x), weight), d, totals + x);
    }
}

template <class T>
void divide(const T* sums, const T* weights, const T* center, T* out, std::size_t count) {
    const hn::ScalableTag<T> d;
    forEachVector(out, count, [&](std::size_t x) HWY_ATTR {
        return hn::Add(hn::LoadU(d, center + x), hn::Div(hn::LoadU(d, sums + x), hn::LoadU(d, weights + x)));
    });
}

template <bool exponential, class T>
void flow(const Flows<T>& flows, const T* center, T* out, std::size_t count) {
    const hn::ScalableTag<T> d;
    forEachVector(out, count, [&](std::size_t x) HWY_ATTR {
        const auto middle = hn::LoadU(d, center + x);
        auto sum = hn::Zero(d);
        for (std::size_t i = 0; i < flows.count; ++i) {
            const auto difference = hn::Sub(hn::LoadU(d, flows.rows[i] + x), middle);
            const auto square = hn::Mul(hn::Mul(difference, difference), hn::Set(d, flows.square[i]));
            const auto driven = hn::Mul(difference, hn::Set(d, flows.step[i]));
            if constexpr (exponential) {
                sum = hn::Add(sum, hn::Mul(driven, powerOfTwo(d, square)));
            } else {
                sum = hn::Add(sum, hn::Div(driven, hn::Add(hn::Set(d, T{1}), square)));
            }
        }
        return hn::Add(middle, sum);
    });
}

template <class T>
void round(T* row, std::size_t count, T lowest, T highest) {
    const hn::ScalableTag<T> d;
    forEachVector(row, count, [&](std::size_t x) HWY_ATTR {
        const auto value = hn::LoadU(d, row + x);
        const auto known = hn::IfThenElseZero(hn::Eq(value, value), value);
        return hn::Min(hn::Max(hn::Round(known), hn::Set(d, lowest)), hn::Set(d, highest));
    });
}

template <class T>
EdgeKernels<T> kernels() {
    return {&average<T>,    &averageWeighted<T>, &weighPairs<T>, &squareDifferences<T>, &weigh<T>,
            &accumulate<T>, &divide<T>,          &flow<true, T>, &flow<false, T>,       &round<T>};
}

}  // namespace rix::filtering::smoothing::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace rix::filtering::smoothing {

template <class T>
EdgeKernels<T> edgeKernels(OptimLevelType level) {
    return RIX_SELECT_KERNELS(level, kernels<T>());
}

template EdgeKernels<float> edgeKernels<float>(OptimLevelType);
template EdgeKernels<double> edgeKernels<double>(OptimLevelType);

}  // namespace rix::filtering::smoothing
#endif
