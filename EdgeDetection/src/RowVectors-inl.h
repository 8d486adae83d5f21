// Sums along rows of which whole vectors are loaded, where these can be permuted at will.

#include <cstddef>
#include <cstdint>

#if defined(RIX_ROW_VECTORS_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef RIX_ROW_VECTORS_INL_H
#undef RIX_ROW_VECTORS_INL_H
#else
#define RIX_ROW_VECTORS_INL_H
#endif

#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace rix::edge_detection::HWY_NAMESPACE {

namespace hn = hwy::HWY_NAMESPACE;

/// What a sum takes from two samples equally far from its middle.
template <bool isOdd, class V>
HWY_INLINE V paired(V after, V before) {
    return isOdd ? hn::Sub(after, before) : hn::Add(after, before);
}

#if HWY_TARGET <= HWY_AVX3
/// The numbers from 0 on, of which a vector from the k-th one on selects samples of two vectors.
template <class Index, std::size_t n>
struct Numbers {
    constexpr Numbers() {
        for (std::size_t i = 0; i < n; ++i) {
            values[i] = static_cast<Index>(i);
        }
    }
    alignas(64) Index values[n] = {};
};
constexpr Numbers<std::int32_t, 32> numbersOfFloats;
constexpr Numbers<std::int64_t, 16> numbersOfDoubles;

HWY_INLINE hn::Vec512<float> from(hn::Vec512<float> a, hn::Vec512<float> b, std::size_t k) {
    return hn::Vec512<float>{_mm512_permutex2var_ps(a.raw, _mm512_loadu_si512(numbersOfFloats.values + k), b.raw)};
}
HWY_INLINE hn::Vec512<double> from(hn::Vec512<double> a, hn::Vec512<double> b, std::size_t k) {
    return hn::Vec512<double>{_mm512_permutex2var_pd(a.raw, _mm512_loadu_si512(numbersOfDoubles.values + k), b.raw)};
}

/// What lies 1 to `Lanes` to the right and to the left of some vectors of a row: made of whole vectors, because loads
/// that cross lines of the cache cost twice, and all but one do.
template <std::size_t vectors, class D, class T>
struct Beside {
    HWY_INLINE Beside(D tag, const T* from, std::size_t distance) : d(tag) {
        const std::size_t lanes = hn::Lanes(d);
        HWY_UNROLL(5)
        for (std::size_t v = 0; v <= vectors; ++v) {
            right[v] = hn::LoadU(d, from + distance + v * lanes);
            left[v] = hn::LoadU(d, from + v * lanes - distance - lanes);
        }
    }
    /// What a vector's sum takes from the distance + k voxels beside it.
    template <bool isOdd>
    HWY_INLINE hn::Vec<D> pair(std::size_t v, std::size_t k) const {
        return paired<isOdd>(from(right[v], right[v + 1], k), from(left[v], left[v + 1], hn::Lanes(d) - k));
    }

    D d;
    hn::Vec<D> right[vectors + 1];
    hn::Vec<D> left[vectors + 1];
};

/// Sums of vectors of a row by one or two kernels, of which the last may be odd.
template <std::size_t kernels, bool isOdd, std::size_t vectors, class D, class T>
HWY_INLINE void rowAt(D d, const T* from, const T* const* halves, std::size_t reach, T* const* outs, std::size_t x) {
    const std::size_t lanes = hn::Lanes(d);
    const T* const here = from + x;
    const T* const last = halves[kernels - 1];
    hn::Vec<D> first[vectors];
    hn::Vec<D> second[vectors];
    bool isFirst = true;
    for (std::size_t segment = (reach + lanes - 1) / lanes; segment-- > 0;) {
        const std::size_t distance = segment * lanes;
        const Beside<vectors, D, T> beside(d, here, distance);
        for (std::size_t k = reach - distance < lanes ? reach - distance : lanes; k > 0; --k) {
            const auto tap = hn::Set(d, halves[0][distance + k]);
            const auto other = hn::Set(d, last[distance + k]);
            HWY_UNROLL(4)
            for (std::size_t v = 0; v < vectors; ++v) {
                const auto even = beside.template pair<false>(v, k);
                const auto odd = isOdd ? beside.template pair<true>(v, k) : even;
                const auto ofLast = hn::Mul(other, odd);
                second[v] = isFirst ? ofLast : hn::Add(second[v], ofLast);
                if (kernels == 2) {
                    const auto ofFirst = hn::Mul(tap, even);
                    first[v] = isFirst ? ofFirst : hn::Add(first[v], ofFirst);
                }
            }
            isFirst = false;
        }
    }
    HWY_UNROLL(4)
    for (std::size_t v = 0; v < vectors; ++v) {
        const auto middle = hn::LoadU(d, here + v * lanes);
        if (kernels == 2) {
            hn::StoreU(hn::Add(first[v], hn::Mul(hn::Set(d, halves[0][0]), middle)), d, outs[0] + x + v * lanes);
        }
        if (!isOdd) {
            second[v] = hn::Add(second[v], hn::Mul(hn::Set(d, last[0]), middle));
        }
        hn::StoreU(second[v], d, outs[kernels - 1] + x + v * lanes);
    }
}

#endif

}  // namespace rix::edge_detection::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif
