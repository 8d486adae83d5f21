#include "FieldKernels.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "FieldKernels.cpp"
#include <rix/simd/KernelTargets.h>

#include <hwy/highway.h>

#include <rix/access/Stores-inl.h>
#include <rix/simd/Trigonometry-inl.h>

#include "RowVectors-inl.h"

HWY_BEFORE_NAMESPACE();
namespace rix::edge_detection::HWY_NAMESPACE {

namespace hn = hwy::HWY_NAMESPACE;

/// The sums of `vectors` vectors from x on, kept in registers through all taps.
template <bool isOdd, bool isMore, std::size_t vectors, class D, class Rows, class T>
HWY_INLINE void sumAt(D d, const Rows& rows, const T* half, std::size_t reach, T* out, std::size_t x) {
    const std::size_t lanes = hn::Lanes(d);
    hn::Vec<D> sums[vectors];
    const auto outer = hn::Set(d, half[reach]);
    HWY_UNROLL(8)
    for (std::size_t v = 0; v < vectors; ++v) {
        const std::size_t at = x + v * lanes;
        const auto pair = reach > 0 ? paired<isOdd>(hn::LoadU(d, rows[2 * reach] + at), hn::LoadU(d, rows[0] + at))
                                    : hn::LoadU(d, rows[0] + at);
        sums[v] = hn::Mul(outer, pair);
    }
    for (std::size_t k = 1; k < reach; ++k) {
        const auto tap = hn::Set(d, half[reach - k]);
        const T* const before = rows[k] + x;
        const T* const after = rows[2 * reach - k] + x;
        HWY_UNROLL(8)
        for (std::size_t v = 0; v < vectors; ++v) {
            const std::size_t at = v * lanes;
            const auto pair = paired<isOdd>(hn::LoadU(d, after + at), hn::LoadU(d, before + at));
            sums[v] = hn::Add(sums[v], hn::Mul(tap, pair));
        }
    }
    const auto middle = hn::Set(d, half[0]);
    HWY_UNROLL(8)
    for (std::size_t v = 0; v < vectors; ++v) {
        const std::size_t at = x + v * lanes;
        if (!isOdd && reach > 0) {
            sums[v] = hn::Add(sums[v], hn::Mul(middle, hn::LoadU(d, rows[reach] + at)));
        }
        if (isMore) {
            sums[v] = hn::Add(hn::LoadU(d, out + at), sums[v]);
        }
        hn::StoreU(sums[v], d, out + at);
    }
}

template <bool isOdd, bool isMore, class Rows, class T>
void sumLong(const Rows& rows, const T* half, std::size_t reach, T* out, std::size_t count) {
    const hn::ScalableTag<T> d;
    const std::size_t lanes = hn::Lanes(d);
    std::size_t x = 0;
    for (; x + 8 * lanes <= count; x += 8 * lanes) {
        sumAt<isOdd, isMore, 8>(d, rows, half, reach, out, x);
    }
    for (; x + lanes <= count; x += lanes) {
        sumAt<isOdd, isMore, 1>(d, rows, half, reach, out, x);
    }
    if (!isMore && x < count && count >= lanes) {  // some of it again, with the same results
        sumAt<isOdd, isMore, 1>(d, rows, half, reach, out, count - lanes);
        return;
    }
    for (; x < count; ++x) {
        sumAt<isOdd, isMore, 1>(hn::CappedTag<T, 1>(), rows, half, reach, out, x);
    }
}

/// Rows that lie `stride` apart.
template <class T>
struct Stacked {
    const T* operator[](std::size_t k) const { return first + k * stride; }
    const T* first;
    std::size_t stride;
};

/// Two sums, the second of rows from rows[1] on: each row is loaded once for both.
template <bool isOdd, bool isMore, std::size_t vectors, class D, class Rows, class T>
HWY_INLINE void sumTwoAt(D d, const Rows& rows, const T* half, std::size_t reach, T* out, T* outBelow, std::size_t x) {
    const std::size_t lanes = hn::Lanes(d);
    hn::Vec<D> sums[vectors];
    hn::Vec<D> sumsBelow[vectors];
    hn::Vec<D> before[vectors];
    hn::Vec<D> afterBelow[vectors];
    HWY_UNROLL(4)
    for (std::size_t v = 0; v < vectors; ++v) {
        before[v] = hn::LoadU(d, rows[0] + x + v * lanes);
        afterBelow[v] = hn::LoadU(d, rows[2 * reach + 1] + x + v * lanes);
    }
    const auto add = [&](std::size_t k, bool isFirst) HWY_ATTR {
        const auto tap = hn::Set(d, half[reach - k]);
        const T* const upper = rows[k + 1] + x;
        const T* const lower = rows[2 * reach - k] + x;
        HWY_UNROLL(4)
        for (std::size_t v = 0; v < vectors; ++v) {
            const auto beforeBelow = hn::LoadU(d, upper + v * lanes);
            const auto after = hn::LoadU(d, lower + v * lanes);
            const auto product = hn::Mul(tap, paired<isOdd>(after, before[v]));
            const auto productBelow = hn::Mul(tap, paired<isOdd>(afterBelow[v], beforeBelow));
            sums[v] = isFirst ? product : hn::Add(sums[v], product);
            sumsBelow[v] = isFirst ? productBelow : hn::Add(sumsBelow[v], productBelow);
            before[v] = beforeBelow;
            afterBelow[v] = after;
        }
    };
    add(0, true);
    for (std::size_t k = 1; k < reach; ++k) {
        add(k, false);
    }
    const auto middle = hn::Set(d, half[0]);
    HWY_UNROLL(4)
    for (std::size_t v = 0; v < vectors; ++v) {
        const std::size_t at = x + v * lanes;
        if (!isOdd) {  // the middle rows are those that were loaded last
            sums[v] = hn::Add(sums[v], hn::Mul(middle, before[v]));
            sumsBelow[v] = hn::Add(sumsBelow[v], hn::Mul(middle, afterBelow[v]));
        }
        if (isMore) {
            sums[v] = hn::Add(hn::LoadU(d, out + at), sums[v]);
            sumsBelow[v] = hn::Add(hn::LoadU(d, outBelow + at), sumsBelow[v]);
        }
        hn::StoreU(sums[v], d, out + at);
        hn::StoreU(sumsBelow[v], d, outBelow + at);
    }
}

template <bool isOdd, bool isMore, class Rows, class T>
void sumTwoLong(const Rows& rows, const T* half, std::size_t reach, T* out, T* outBelow, std::size_t count) {
    constexpr std::size_t vectors = HWY_MAX_BYTES >= 64 ? 4 : 2;  // as many as the registers hold
    const hn::ScalableTag<T> d;
    const std::size_t lanes = hn::Lanes(d);
    std::size_t x = 0;
    for (; x + vectors * lanes <= count; x += vectors * lanes) {
        sumTwoAt<isOdd, isMore, vectors>(d, rows, half, reach, out, outBelow, x);
    }
    for (; x + lanes <= count; x += lanes) {
        sumTwoAt<isOdd, isMore, 1>(d, rows, half, reach, out, outBelow, x);
    }
}

template <bool isOdd, bool isMore, class T>
void sumStack(Stacked<T> from, const T* half, std::size_t reach, T* out, std::size_t rows) {
    const std::size_t stride = from.stride;
    for (; reach > 0 && rows >= 2; rows -= 2) {
        sumTwoLong<isOdd, isMore>(from, half, reach, out, out + stride, stride);
        from.first += 2 * stride;
        out += 2 * stride;
    }
    if (rows > 0) {
        sumLong<isOdd, isMore>(from, half, reach, out, rows * stride);
    }
}

template <bool isOdd, class T>
void sumRows(const T* const* rows, const T* half, std::size_t reach, T* out, std::size_t count, bool isMore) {
    if (isMore) {
        sumLong<isOdd, true>(rows, half, reach, out, count);
    } else {
        sumLong<isOdd, false>(rows, half, reach, out, count);
    }
}

template <bool isOdd, class T>
void sumTwo(const T* const* rows, const T* half, std::size_t reach, T* const* outs, std::size_t count, bool isMore) {
    if (reach == 0) {
        sumRows<isOdd>(rows, half, reach, outs[0], count, isMore);
        sumRows<isOdd>(rows + 1, half, reach, outs[1], count, isMore);
    } else if (isMore) {
        sumTwoLong<isOdd, true>(rows, half, reach, outs[0], outs[1], count);
    } else {
        sumTwoLong<isOdd, false>(rows, half, reach, outs[0], outs[1], count);
    }
}

template <bool isOdd, class T>
void sumStacked(const T* first, std::size_t stride, const T* half, std::size_t reach, T* out, std::size_t rows,
                bool isMore) {
    if (isMore) {
        sumStack<isOdd, true>(Stacked<T>{first, stride}, half, reach, out, rows);
    } else {
        sumStack<isOdd, false>(Stacked<T>{first, stride}, half, reach, out, rows);
    }
}

/// Two sums of the same rows, which are loaded once.
template <bool isOdd, std::size_t vectors, class D, class Rows, class T>
HWY_INLINE void sumBothAt(D d, const Rows& rows, const T* const* halves, std::size_t reach, T* const* outs,
                          std::size_t x) {
    const std::size_t lanes = hn::Lanes(d);
    hn::Vec<D> first[vectors];
    hn::Vec<D> second[vectors];
    const auto add = [&](std::size_t k, bool isFirst) HWY_ATTR {
        const auto tap = hn::Set(d, halves[0][reach - k]);
        const auto other = hn::Set(d, halves[1][reach - k]);
        HWY_UNROLL(4)
        for (std::size_t v = 0; v < vectors; ++v) {
            const auto after = hn::LoadU(d, rows[2 * reach - k] + x + v * lanes);
            const auto before = hn::LoadU(d, rows[k] + x + v * lanes);
            const auto ofFirst = hn::Mul(tap, hn::Add(after, before));
            const auto ofSecond = hn::Mul(other, paired<isOdd>(after, before));
            first[v] = isFirst ? ofFirst : hn::Add(first[v], ofFirst);
            second[v] = isFirst ? ofSecond : hn::Add(second[v], ofSecond);
        }
    };
    add(0, true);
    for (std::size_t k = 1; k < reach; ++k) {
        add(k, false);
    }
    HWY_UNROLL(4)
    for (std::size_t v = 0; v < vectors; ++v) {
        const std::size_t at = x + v * lanes;
        const auto middle = hn::LoadU(d, rows[reach] + at);
        hn::StoreU(hn::Add(first[v], hn::Mul(hn::Set(d, halves[0][0]), middle)), d, outs[0] + at);
        if (!isOdd) {
            second[v] = hn::Add(second[v], hn::Mul(hn::Set(d, halves[1][0]), middle));
        }
        hn::StoreU(second[v], d, outs[1] + at);
    }
}

template <bool isOdd, class Rows, class T>
void sumBothOf(const Rows& rows, const T* const* halves, std::size_t reach, T* const* outs, std::size_t count) {
    const hn::ScalableTag<T> d;
    const std::size_t lanes = hn::Lanes(d);
    std::size_t x = 0;
    for (; x + 4 * lanes <= count; x += 4 * lanes) {
        sumBothAt<isOdd, 4>(d, rows, halves, reach, outs, x);
    }
    for (; x + lanes <= count; x += lanes) {
        sumBothAt<isOdd, 1>(d, rows, halves, reach, outs, x);
    }
    if (x < count && count >= lanes) {
        sumBothAt<isOdd, 1>(d, rows, halves, reach, outs, count - lanes);
        return;
    }
    for (; x < count; ++x) {
        sumBothAt<isOdd, 1>(hn::CappedTag<T, 1>(), rows, halves, reach, outs, x);
    }
}

/// The rows of a sum along a row: this one, moved.
template <class T>
struct Moved {
    const T* operator[](std::size_t k) const { return first + k; }
    const T* first;
};

template <std::size_t kernels, bool isOdd, class T>
void sumsOfRow(const T* from, const T* const* halves, std::size_t reach, T* const* outs, std::size_t count) {
#if HWY_TARGET <= HWY_AVX3
    if (reach > shortReach) {
        const hn::ScalableTag<T> d;
        const std::size_t lanes = hn::Lanes(d);
        std::size_t x = 0;
        for (; x + 4 * lanes <= count; x += 4 * lanes) {
            rowAt<kernels, isOdd, 4>(d, from, halves, reach, outs, x);
        }
        for (; x + lanes <= count; x += lanes) {
            rowAt<kernels, isOdd, 1>(d, from, halves, reach, outs, x);
        }
        return;
    }
#endif
    const Moved<T> rows{from - reach};
    if constexpr (kernels == 1) {
        sumLong<isOdd, false>(rows, halves[0], reach, outs[0], count);
    } else {
        sumBothOf<isOdd>(rows, halves, reach, outs, count);
    }
}

template <bool isOdd, class T>
void sumRow(const T* from, const T* half, std::size_t reach, T* out, std::size_t count) {
    sumsOfRow<1, isOdd>(from, &half, reach, &out, count);
}

template <access::Stores stores, class T>
void sumTo(const T* const* components, std::size_t n, T* out, std::size_t count) {
    const T* const a = components[0];
    const T* const b = components[n > 1 ? 1 : 0];
    const T* const c = components[n > 2 ? 2 : 0];
    if (n == 1) {
        access::HWY_NAMESPACE::storeRow<stores, T>(out, count, [=](std::size_t x) { return a[x]; });
    } else if (n == 2) {
        access::HWY_NAMESPACE::storeRow<stores, T>(out, count, [=](std::size_t x) { return a[x] + b[x]; });
    } else {
        access::HWY_NAMESPACE::storeRow<stores, T>(out, count, [=](std::size_t x) { return a[x] + b[x] + c[x]; });
    }
}

template <class T>
void sum(const T* const* components, std::size_t n, T* out, std::size_t count, access::Stores stores) {
    if (stores == access::Stores::Streaming) {
        sumTo<access::Stores::Streaming>(components, n, out, count);
    } else {
        sumTo<access::Stores::Cached>(components, n, out, count);
    }
}

HWY_INLINE float rootOf(float x) {
    return __builtin_sqrtf(x);
}
HWY_INLINE double rootOf(double x) {
    return __builtin_sqrt(x);
}

template <access::Stores stores, class T>
void magnitudeTo(const T* const* components, std::size_t n, T* out, std::size_t count) {
    const T* const a = components[0];
    const T* const b = components[1];
    if (n == 2) {
        access::HWY_NAMESPACE::storeRow<stores, T>(out, count,
                                                   [=](std::size_t x) { return rootOf(a[x] * a[x] + b[x] * b[x]); });
    } else {
        const T* const c = components[2];
        access::HWY_NAMESPACE::storeRow<stores, T>(
            out, count, [=](std::size_t x) { return rootOf(a[x] * a[x] + b[x] * b[x] + c[x] * c[x]); });
    }
}

template <class T>
void magnitude(const T* const* components, std::size_t n, T* out, std::size_t count, access::Stores stores) {
    if (stores == access::Stores::Streaming) {
        magnitudeTo<access::Stores::Streaming>(components, n, out, count);
    } else {
        magnitudeTo<access::Stores::Cached>(components, n, out, count);
    }
}

template <class T>
void orientation(const T* const* components, T* out, std::size_t count) {
    const T* const gx = components[0];
    const T* const gy = components[1];
    for (std::size_t x = 0; x < count; ++x) {
        out[x] =
            static_cast<T>(simd::HWY_NAMESPACE::arcTangent2Of(static_cast<double>(gy[x]), static_cast<double>(gx[x])));
    }
}

template <class T>
FieldKernels<T> kernels() {
    return {.sumEven = &sumRows<false, T>,
            .sumOdd = &sumRows<true, T>,
            .twoEven = &sumTwo<false, T>,
            .twoOdd = &sumTwo<true, T>,
            .stackEven = &sumStacked<false, T>,
            .stackOdd = &sumStacked<true, T>,
            .rowEven = &sumRow<false, T>,
            .rowOdd = &sumRow<true, T>,
            .rowEvenEven = &sumsOfRow<2, false, T>,
            .rowEvenOdd = &sumsOfRow<2, true, T>,
            .sum = &sum<T>,
            .magnitude = &magnitude<T>,
            .orientation = &orientation<T>};
}

}  // namespace rix::edge_detection::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace rix::edge_detection {

template <class T>
FieldKernels<T> fieldKernels(OptimLevelType level) {
    return RIX_SELECT_KERNELS(level, kernels<T>());
}

template FieldKernels<float> fieldKernels<float>(OptimLevelType);
template FieldKernels<double> fieldKernels<double>(OptimLevelType);

}  // namespace rix::edge_detection
#endif
