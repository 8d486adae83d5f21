#include "SquareMedianKernels.h"

#include <cstdint>
#include <type_traits>
#include <utility>

#include "ExchangeNetwork.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "SquareMedianKernels.cpp"
#include <rix/simd/KernelTargets.h>

#include <hwy/highway.h>

#include <rix/access/Stores-inl.h>
#include <rix/simd/Loops.h>

HWY_BEFORE_NAMESPACE();
namespace rix::filtering::rank::HWY_NAMESPACE {

namespace hn = hwy::HWY_NAMESPACE;

template <class T>
using KeysOf = typename SquareMedian<T>::Key;

template <class V>
HWY_INLINE void exchange(V& low, V& high) {
    const V least = hn::Min(low, high);
    high = hn::Max(low, high);
    low = least;
}

template <const ExchangeNetwork& network, class V, std::size_t... i>
HWY_INLINE void apply(V* values, std::index_sequence<i...> /*exchanges*/) {
    (exchange(values[network.exchanges[i].low], values[network.exchanges[i].high]), ...);
}

template <const ExchangeNetwork& network, class V>
HWY_INLINE void apply(V* values) {
    apply<network>(values, std::make_index_sequence<network.count>());
}

/// The samples of keys; integers are their own.
template <class T, class V>
HWY_INLINE hn::Vec<hn::ScalableTag<T>> samplesOf(V keys) {
    if constexpr (std::is_integral_v<T>) {
        return keys;
    } else {
        const hn::ScalableTag<T> d;
        const hn::RebindToUnsigned<decltype(d)> ofKeys;
        const hn::RebindToSigned<decltype(d)> ofBits;
        constexpr int signBit = 8 * sizeof(T) - 1;
        const auto ofPositive = hn::BitCast(ofKeys, hn::ShiftRight<signBit>(hn::BitCast(ofBits, keys)));
        const auto sign = hn::ShiftLeft<signBit>(hn::Set(ofKeys, 1));
        return hn::BitCast(d, hn::Xor(keys, hn::Or(hn::Not(ofPositive), sign)));
    }
}

/// As `keyOf`.
void keysOfFloats(const float* samples, KeyOf<float>* keys, std::size_t count) {
    constexpr KeyOf<float> sign = KeyOf<float>{1} << 31;
    constexpr KeyOf<float> keyOfNan = 0xFFC00000;
    RIX_INDEPENDENT_ITERATIONS
    for (std::size_t i = 0; i < count; ++i) {
        const float sample = samples[i];
        const auto bits = __builtin_bit_cast(std::uint32_t, sample);
        const auto allOfNegative = static_cast<std::uint32_t>(static_cast<std::int32_t>(bits) >> 31);
        keys[i] = sample == sample ? bits ^ (allOfNegative | sign) : keyOfNan;
    }
}

/// Calls `compute(x)` for the vectors of a row and stores what it gives. The vectors at both ends may overlap others,
/// so that those between are aligned where they are streamed, and nothing behind the row is read.
template <access::Stores stores, class T, class Compute>
HWY_INLINE void forEachVector(T* out, std::size_t count, const Compute& compute) {
    const hn::ScalableTag<T> d;
    const std::size_t lanes = hn::Lanes(d);
    std::size_t x = 0;
    if constexpr (stores == access::Stores::Streaming) {
        const std::size_t first = access::samplesBeforeLine(out, sizeof(T), count);
        for (; x < first; x += lanes) {
            hn::StoreU(compute(x), d, out + x);
        }
        x = first;
    }
    for (; x + lanes <= count; x += lanes) {
        access::HWY_NAMESPACE::storeTo<stores>(compute(x), d, out + x);
    }
    if (x < count) {
        hn::StoreU(compute(count - lanes), d, out + count - lanes);
    }
}

template <access::Stores stores, class T>
void median3(const KeysOf<T>* const* rows, KeysOf<T>* /*lines*/, T* out, std::size_t count) {
    const hn::ScalableTag<KeysOf<T>> d;
    const KeysOf<T>* const a = rows[0];
    const KeysOf<T>* const b = rows[1];
    const KeysOf<T>* const c = rows[2];
    // The median of nine is that of the largest of the columns' least, the median of their medians and the least of
    // their largest (A. W. Paeth, Graphics Gems, 1990).
    forEachVector<stores>(out, count, [&](std::size_t x) HWY_ATTR {
        hn::Vec<decltype(d)> v[3][3];
        HWY_UNROLL(3)
        for (std::size_t i = 0; i < 3; ++i) {
            v[i][0] = hn::LoadU(d, a + x + i);
            v[i][1] = hn::LoadU(d, b + x + i);
            v[i][2] = hn::LoadU(d, c + x + i);
            apply<sort3>(v[i]);
        }
        constexpr const std::uint8_t* order = sort3.order.places;
        hn::Vec<decltype(d)> last[3];
        last[0] = hn::Max(hn::Max(v[0][order[0]], v[1][order[0]]), v[2][order[0]]);
        last[2] = hn::Min(hn::Min(v[0][order[2]], v[1][order[2]]), v[2][order[2]]);
        hn::Vec<decltype(d)> middle[3] = {v[0][order[1]], v[1][order[1]], v[2][order[1]]};
        apply<sort3>(middle);
        last[1] = middle[order[1]];
        apply<sort3>(last);
        return samplesOf<T>(last[order[1]]);
    });
}

/// Columns are sorted once for all windows that see them, and neighbouring ones merged once for all that see both.
/// The lines are their results: the ranks of a column, then those of a pair.
template <access::Stores stores, class T>
void median5(const KeysOf<T>* const* rows, KeysOf<T>* lines, T* out, std::size_t count) {
    const hn::ScalableTag<KeysOf<T>> d;
    using V = hn::Vec<decltype(d)>;
    const std::size_t lanes = hn::Lanes(d);
    constexpr std::size_t behind = 2 * 64 / sizeof(T);
    constexpr std::size_t stride = 5 * 128 / sizeof(T) + 64 / sizeof(T);
    constexpr std::size_t strip = stride - behind;
    static_assert(15 * stride <= SquareMedian<T>::lineSamples);
    KeysOf<T>* const pairs = lines + 5 * stride;
    for (std::size_t first = 0; first < count;) {
        // The last strip overlaps the one before, so that it has a vector at least; the others end with a line.
        constexpr std::size_t least = SquareMedian<T>::leastCount;
        const std::size_t left = count - first;
        const std::size_t begin = left < least ? count - least : first;
        const std::size_t misfit = access::samplesBeforeLine(out + begin, sizeof(T), least) % least;
        const std::size_t windows = count - begin <= strip ? count - begin : strip - least + misfit;
        const std::size_t columns = windows + 4;
        for (std::size_t x = 0; x < columns;) {
            V v[5];
            HWY_UNROLL(5)
            for (std::size_t i = 0; i < 5; ++i) {
                v[i] = hn::LoadU(d, rows[i] + begin + x);
            }
            apply<sort5>(v);
            HWY_UNROLL(5)
            for (std::size_t i = 0; i < 5; ++i) {
                hn::StoreU(v[sort5.order.places[i]], d, lines + i * stride + x);
            }
            x = x + lanes < columns && x + 2 * lanes > columns ? columns - lanes : x + lanes;
        }
        for (std::size_t x = 0; x < columns - 1;) {
            V v[10];
            HWY_UNROLL(5)
            for (std::size_t i = 0; i < 5; ++i) {
                v[i] = hn::LoadU(d, lines + i * stride + x);
                v[5 + i] = hn::LoadU(d, lines + i * stride + x + 1);
            }
            apply<merge5>(v);
            HWY_UNROLL(10)
            for (std::size_t i = 0; i < 10; ++i) {
                hn::StoreU(v[merge5.order.places[i]], d, pairs + i * stride + x);
            }
            x += lanes;
        }
        forEachVector<stores>(out + begin, windows, [&](std::size_t x) HWY_ATTR {
            V v[20];
            HWY_UNROLL(10)
            for (std::size_t i = 0; i < 10; ++i) {
                v[i] = hn::LoadU(d, pairs + i * stride + x);
                v[10 + i] = hn::LoadU(d, pairs + i * stride + x + 2);
            }
            apply<merge10>(v);
            // Of four columns only the ranks 7 to 12 can be that of index 12 of all five: the smallest of the largest
            // of so many of them and so many of the fifth column that they are 13 with the seven below.
            constexpr const std::uint8_t* order = merge10.order.places;
            V median = v[order[12]];
            HWY_UNROLL(5)
            for (std::size_t i = 0; i < 5; ++i) {
                median = hn::Min(median, hn::Max(v[order[11 - i]], hn::LoadU(d, lines + i * stride + x + 4)));
            }
            return samplesOf<T>(median);
        });
        first = begin + windows;
    }
}

template <class T>
typename SquareMedian<T>::Row rowOf(std::size_t side, access::Stores stores) {
    using access::Stores;
    if (side == 3) {
        return stores == Stores::Streaming ? &median3<Stores::Streaming, T> : &median3<Stores::Cached, T>;
    }
    return stores == Stores::Streaming ? &median5<Stores::Streaming, T> : &median5<Stores::Cached, T>;
}

}  // namespace rix::filtering::rank::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace rix::filtering::rank {

template <class T>
typename SquareMedian<T>::Row squareMedianRow(std::size_t side, access::Stores stores, OptimLevelType level) {
    return RIX_SELECT_KERNELS(level, rowOf<T>(side, stores));
}

FloatKeys floatKeys(OptimLevelType level) {
    return RIX_SELECT_KERNELS(level, keysOfFloats);
}

#define RIX_INSTANTIATE(T) \
    template SquareMedian<T>::Row squareMedianRow<T>(std::size_t, access::Stores, OptimLevelType);
RIX_INSTANTIATE(std::uint8_t)
RIX_INSTANTIATE(std::uint16_t)
RIX_INSTANTIATE(std::uint32_t)
RIX_INSTANTIATE(std::int8_t)
RIX_INSTANTIATE(std::int16_t)
RIX_INSTANTIATE(std::int32_t)
RIX_INSTANTIATE(float)
#undef RIX_INSTANTIATE

}  // namespace rix::filtering::rank
#endif
