#include "resampling/LineKernels.h"

#include <rix/simd/Loops.h>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "resampling/LineKernels.cpp"
#include <rix/simd/KernelTargets.h>

#include <hwy/highway.h>

#include <rix/access/Stores-inl.h>

HWY_BEFORE_NAMESPACE();
namespace rix::geometry::HWY_NAMESPACE {

namespace hn = hwy::HWY_NAMESPACE;

using access::Stores;

template <class T>
using Tag = hn::ScalableTag<T>;

template <class T>
using Index = hwy::SignedFromSize<sizeof(T)>;

#if HWY_TARGET == HWY_SCALAR || HWY_TARGET == HWY_EMU128

template <class T>
void place(const RowTaps<T>& /*taps*/, std::size_t /*count*/, std::size_t /*length*/, std::int32_t* /*at*/) {}

template <class T>
bool findPeriod(const RowTaps<T>& /*taps*/, RowPeriod<T>& /*period*/) {
    return false;
}

template <class T>
void along(const T* row, std::size_t /*length*/, const RowTaps<T>& taps, std::size_t count, T* out) {
    const T* const origin = row - taps.first;
    for (std::size_t i = 0; i < count; ++i) {
        T sum = taps.weights[i] * origin[taps.indices[i]];
        for (std::size_t k = 1; k < taps.taps; ++k) {
            sum += taps.weights[k * taps.stride + i] * origin[taps.indices[k * taps.stride + i]];
        }
        out[i] = taps.constants != nullptr ? sum + taps.constants[i] : sum;
    }
}

#else

/// The indices of a vector as integers of the samples' size.
HWY_INLINE hn::Vec<Tag<std::int32_t>> loadIndices(Tag<float> /*d*/, const std::int32_t* from) {
    return hn::LoadU(Tag<std::int32_t>(), from);
}
HWY_INLINE hn::Vec<Tag<std::int64_t>> loadIndices(Tag<double> /*d*/, const std::int32_t* from) {
    const Tag<std::int64_t> wide;
    return hn::PromoteTo(wide, hn::LoadU(hn::Rebind<std::int32_t, decltype(wide)>(), from));
}

/// Twice as much fits 31 bits.
constexpr std::int32_t farthestVector = std::int32_t{1} << 30;

template <class T>
void place(const RowTaps<T>& taps, std::size_t count, std::size_t length, std::int32_t* at) {
    const std::size_t lanes = hn::Lanes(Tag<T>());
    for (std::size_t i = 0; i < count; i += lanes) {
        for (std::size_t k = 0; k < taps.taps; ++k, ++at) {
            const std::int32_t* const indices = taps.indices + k * taps.stride + i;
            std::int32_t least = indices[0];
            std::int32_t most = indices[0];
            // Those behind the last result may be any: what they read is nobody's.
            const std::size_t used = HWY_MIN(lanes, count - i);
            for (std::size_t lane = 1; lane < used; ++lane) {
                least = HWY_MIN(least, indices[lane]);
                most = HWY_MAX(most, indices[lane]);
            }
            const auto one = static_cast<std::int32_t>(lanes);
            const std::int32_t last = static_cast<std::int32_t>(length) - 2 * one;
            const std::int32_t begin = HWY_MIN(least - taps.first, last);
            const std::int32_t reach = most - taps.first - begin;
            const bool isNear = begin >= 0 && begin < farthestVector && reach < 2 * one;
            *at = isNear ? 2 * begin + (reach < one ? 0 : 1) : -1;
        }
    }
}

template <class T>
HWY_INLINE hn::Vec<Tag<T>> elements(const T* row, const std::int32_t* indices, std::int32_t first, std::int32_t at,
                                    const T* gathered) {
    const Tag<T> d;
    const hn::RebindToSigned<Tag<T>> di;
    const std::size_t lanes = hn::Lanes(d);
    if (at < 0) {
        return hn::Load(d, gathered);
    }
    const std::int32_t begin = at / 2;
    const auto within = hn::Sub(loadIndices(d, indices), hn::Set(di, static_cast<Index<T>>(first + begin)));
    const auto lane = hn::IndicesFromVec(d, hn::And(within, hn::Set(di, static_cast<Index<T>>(lanes - 1))));
    const auto low = hn::TableLookupLanes(hn::LoadU(d, row + begin), lane);
    if (at % 2 == 0) {
        return low;
    }
    const auto high = hn::TableLookupLanes(hn::LoadU(d, row + begin + lanes), lane);
    const auto isHigh = hn::Gt(within, hn::Set(di, static_cast<Index<T>>(lanes - 1)));
    return hn::IfThenElse(hn::RebindMask(d, isHigh), high, low);
}

/// Some results, by the weights and indices of `count` results from `begin` on.
template <class T>
HWY_INLINE void alongSome(const T* row, const RowTaps<T>& taps, std::size_t begin, std::size_t count, T* out) {
    const Tag<T> d;
    const std::size_t lanes = hn::Lanes(d);
    HWY_ALIGN T gathered[HWY_MAX_BYTES / sizeof(T)] = {};
    const std::int32_t* at = taps.at + begin / lanes * taps.taps;
    for (std::size_t i = 0; i < count; i += lanes) {
        auto sum = hn::Zero(d);
        for (std::size_t k = 0; k < taps.taps; ++k, ++at) {
            const std::size_t tap = k * taps.stride + begin + i;
            if (*at < 0) {
                const std::size_t used = HWY_MIN(lanes, count - i);
                for (std::size_t lane = 0; lane < used; ++lane) {
                    gathered[lane] = row[taps.indices[tap + lane] - taps.first];
                }
            }
            const auto product =
                hn::Mul(hn::LoadU(d, taps.weights + tap), elements(row, taps.indices + tap, taps.first, *at, gathered));
            sum = k == 0 ? product : hn::Add(sum, product);
        }
        if (taps.constants != nullptr) {
            sum = hn::Add(sum, hn::LoadU(d, taps.constants + begin + i));
        }
        hn::StoreU(sum, d, out + i);
    }
}

template <class T>
bool findPeriod(const RowTaps<T>& taps, RowPeriod<T>& period) {
    const std::size_t lanes = hn::Lanes(Tag<T>());
    std::size_t entry = 0;
    for (std::size_t i = 0; i < period.period; i += lanes) {
        std::int32_t begin = taps.indices[i];
        for (std::size_t k = 0; k < taps.taps * lanes; ++k) {
            begin = HWY_MIN(begin, taps.indices[k / lanes * taps.stride + i + k % lanes]);
        }
        period.begins[i / lanes] = begin;
        period.reach = HWY_MAX(period.reach, static_cast<std::size_t>(begin) + lanes);
        for (std::size_t k = 0; k < taps.taps; ++k) {
            for (std::size_t lane = 0; lane < lanes; ++lane, ++entry) {
                const std::size_t tap = k * taps.stride + i + lane;
                period.weights[entry] = taps.weights[tap];
                period.lanes[entry] = taps.indices[tap] - begin;
                if (period.lanes[entry] >= static_cast<Index<T>>(lanes)) {
                    return false;
                }
            }
        }
    }
    return taps.taps == 2 || taps.taps == 4 || taps.taps == 6;
}

template <std::size_t taps, class T>
HWY_INLINE void alongPeriod(const T* row, const RowPeriod<T>& period, T* out) {
    const Tag<T> d;
    const hn::RebindToSigned<Tag<T>> di;
    const std::size_t lanes = hn::Lanes(d);
    const T* weights = period.weights;
    const auto* within = period.lanes;
    const std::int32_t* begin = period.begins;
    for (std::size_t i = 0; i < period.period; i += lanes, ++begin) {
        const auto elements = hn::LoadU(d, row + *begin);
        auto sum = hn::Zero(d);
        HWY_UNROLL(6)
        for (std::size_t k = 0; k < taps; ++k, within += lanes, weights += lanes) {
            const auto found = hn::TableLookupLanes(elements, hn::IndicesFromVec(d, hn::LoadU(di, within)));
            const auto product = hn::Mul(hn::LoadU(d, weights), found);
            sum = k == 0 ? product : hn::Add(sum, product);
        }
        hn::StoreU(sum, d, out + i);
    }
}

/// Returns the results that are behind those of whole periods whose vectors lie within the row.
template <std::size_t taps, class T>
HWY_INLINE std::size_t alongPeriods(const T* row, std::size_t length, const RowTaps<T>& of, T* out) {
    const RowPeriod<T>& period = *of.period;
    std::size_t i = of.begin;
    const auto first = static_cast<std::size_t>(of.first);
    for (std::size_t moved = of.moved; i + period.period <= of.end && period.reach + moved <= first + length;
         moved += period.shift, i += period.period) {
        // Of unsigned numbers: what is before the row is so only until the first element that is read is added.
        alongPeriod<taps>(row + static_cast<std::ptrdiff_t>(moved - first), period, out + i);
    }
    return i;
}

template <class T>
void along(const T* row, std::size_t length, const RowTaps<T>& taps, std::size_t count, T* out) {
    std::size_t i = 0;
    if (taps.period != nullptr) {
        alongSome(row, taps, 0, taps.begin, out);
        i = taps.taps == 2   ? alongPeriods<2>(row, length, taps, out)
            : taps.taps == 4 ? alongPeriods<4>(row, length, taps, out)
                             : alongPeriods<6>(row, length, taps, out);
    }
    alongSome(row, taps, i, count - i, out + i);
}

#endif

/// The sums of `vectors` vectors from x on, kept in registers through all taps.
template <std::size_t vectors, Stores stores, class D, class T>
HWY_INLINE void acrossAt(D d, const T* const* rows, const T* weights, std::size_t taps, const T* constant, T* out,
                         std::size_t x) {
    const std::size_t lanes = hn::Lanes(d);
    hn::Vec<D> sums[vectors];
    const auto first = hn::Set(d, weights[0]);
    HWY_UNROLL(4)
    for (std::size_t v = 0; v < vectors; ++v) {
        sums[v] = hn::Mul(first, hn::LoadU(d, rows[0] + x + v * lanes));
    }
    for (std::size_t k = 1; k < taps; ++k) {
        const auto weight = hn::Set(d, weights[k]);
        const T* const row = rows[k] + x;
        HWY_UNROLL(4)
        for (std::size_t v = 0; v < vectors; ++v) {
            sums[v] = hn::Add(sums[v], hn::Mul(weight, hn::LoadU(d, row + v * lanes)));
        }
    }
    HWY_UNROLL(4)
    for (std::size_t v = 0; v < vectors; ++v) {
        access::HWY_NAMESPACE::storeTo<stores>(constant != nullptr ? hn::Add(sums[v], hn::Set(d, *constant)) : sums[v],
                                               d, out + x + v * lanes);
    }
}

template <class T, Stores stores>
void across(const T* const* rows, const T* weights, std::size_t taps, const T* constant, T* out, std::size_t count) {
    const Tag<T> d;
    const hn::CappedTag<T, 1> one;
    const std::size_t lanes = hn::Lanes(d);
    std::size_t x = 0;
    const std::size_t head = stores == Stores::Streaming ? access::samplesBeforeLine(out, sizeof(T), count) : 0;
    for (; x < head; ++x) {
        acrossAt<1, Stores::Cached>(one, rows, weights, taps, constant, out, x);
    }
    for (; x + 4 * lanes <= count; x += 4 * lanes) {
        acrossAt<4, stores>(d, rows, weights, taps, constant, out, x);
    }
    for (; x + lanes <= count; x += lanes) {
        acrossAt<1, Stores::Cached>(d, rows, weights, taps, constant, out, x);
    }
    for (; x < count; ++x) {
        acrossAt<1, Stores::Cached>(one, rows, weights, taps, constant, out, x);
    }
}

HWY_INLINE std::uint32_t roundedBits(float value, float lowest, float highest) {
    const float number = value == value ? value : 0.0F;
    const float above = number < lowest ? lowest : number;
    const float within = above > highest ? highest : above;
    return __builtin_bit_cast(std::uint32_t, within + 0x1.8p23F);
}

template <class Bits>
void acrossToIntegers(const float* const* rows, const float* weights, std::size_t taps, const float* constant,
                      float lowest, float highest, void* out, std::size_t count) {
    auto* const to = static_cast<Bits*>(out);
    std::size_t x = 0;
#if HWY_TARGET != HWY_SCALAR && HWY_TARGET != HWY_EMU128
    const Tag<float> d;
    const hn::RebindToUnsigned<decltype(d)> d32;
    const hn::Rebind<Bits, decltype(d)> narrow;
    const auto least = hn::Set(d, lowest);
    const auto most = hn::Set(d, highest);
    const auto shift = hn::Set(d, 0x1.8p23F);
    const auto added = hn::Set(d, constant != nullptr ? *constant : 0.0F);
    for (; x + hn::Lanes(d) <= count; x += hn::Lanes(d)) {
        auto sum = hn::Mul(hn::Set(d, weights[0]), hn::LoadU(d, rows[0] + x));
        for (std::size_t k = 1; k < taps; ++k) {
            sum = hn::Add(sum, hn::Mul(hn::Set(d, weights[k]), hn::LoadU(d, rows[k] + x)));
        }
        sum = hn::Add(sum, added);
        const auto number = hn::IfThenElseZero(hn::Eq(sum, sum), sum);
        const auto within = hn::Min(hn::Max(number, least), most);
        hn::StoreU(hn::TruncateTo(narrow, hn::BitCast(d32, hn::Add(within, shift))), narrow, to + x);
    }
#endif
    for (; x < count; ++x) {
        float sum = weights[0] * rows[0][x];
        for (std::size_t k = 1; k < taps; ++k) {
            sum += weights[k] * rows[k][x];
        }
        to[x] = static_cast<Bits>(roundedBits(constant != nullptr ? sum + *constant : sum, lowest, highest));
    }
}

template <class T>
void divide(T* row, T divisor, std::size_t count) {
    const T inverse = T(1) / divisor;
    if (__builtin_bit_cast(hwy::UnsignedFromSize<sizeof(T)>, inverse) << (sizeof(T) == 4 ? 9 : 12) == 0) {
        // A power of two, by which a product is the same as a quotient.
        RIX_INDEPENDENT_ITERATIONS
        for (std::size_t i = 0; i < count; ++i) {
            row[i] = row[i] * inverse;
        }
        return;
    }
    RIX_INDEPENDENT_ITERATIONS
    for (std::size_t i = 0; i < count; ++i) {
        row[i] = row[i] / divisor;
    }
}

template <class T>
LineKernels<T> kernels() {
    return {&place<T>, &findPeriod<T>, &along<T>, &across<T, Stores::Cached>, &across<T, Stores::Streaming>,
            &divide<T>};
}

AcrossRounded acrossTo(std::size_t bytes) {
    return bytes == 1 ? &acrossToIntegers<std::uint8_t> : &acrossToIntegers<std::uint16_t>;
}

}  // namespace rix::geometry::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace rix::geometry {

template <class T>
LineKernels<T> lineKernels(OptimLevelType level) {
    return RIX_SELECT_KERNELS(level, kernels<T>());
}

template LineKernels<float> lineKernels<float>(OptimLevelType);
template LineKernels<double> lineKernels<double>(OptimLevelType);

AcrossRounded acrossRounded(std::size_t bytes, OptimLevelType level) {
    return RIX_SELECT_KERNELS(level, acrossTo(bytes));
}

}  // namespace rix::geometry
#endif
