#include "GaussianFixedKernels.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "GaussianFixedKernels.cpp"
#include <rix/simd/KernelTargets.h>

#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace rix::filtering::smoothing::HWY_NAMESPACE {

namespace hn = hwy::HWY_NAMESPACE;

// Pairs of 16 bits are multiplied and added by one instruction of x86; elsewhere, plain loops do.
#if HWY_ARCH_X86 && HWY_TARGET != HWY_SCALAR

using D32 = hn::ScalableTag<std::int32_t>;
using D16 = hn::Repartition<std::int16_t, D32>;
using DF = hn::RebindToFloat<D32>;
using V32 = hn::Vec<D32>;

HWY_INLINE hn::Vec<D16> widened(const std::uint8_t* bytes) {
    return hn::PromoteTo(D16(), hn::LoadU(hn::Rebind<std::uint8_t, D16>(), bytes));
}

HWY_INLINE V32 multiplyAdd(V32 sum, hn::Vec<D16> pairs, V32 taps) {
    V32 unused = hn::Zero(D32());  // of x86 the other half of the sum is never used
    return hn::ReorderWidenMulAccumulate(D32(), pairs, hn::BitCast(D16(), taps), sum, unused);
}

void pairRows(const std::uint8_t* upper, const std::uint8_t* lower, std::int32_t* pairs, std::size_t count) {
    const D16 d;
    for (std::size_t x = 0; x < count; x += hn::Lanes(d)) {
        const auto above = widened(upper + x);
        const auto below = widened(lower + x);
        auto* const out = reinterpret_cast<std::int16_t*>(pairs + x);
        hn::Store(hn::InterleaveLower(d, above, below), d, out);
        hn::Store(hn::InterleaveUpper(d, above, below), d, out + hn::Lanes(d));
    }
}

/// @return the nearest integers, of ties the even ones, of magnitudes below 2^22: what is left in the low bits beside a
/// number so large that no fraction fits
HWY_INLINE V32 nearestOf(hn::Vec<DF> values) {
    const DF d;
    const auto large = hn::Set(d, 0x1.8p23F);
    return hn::Sub(hn::BitCast(D32(), hn::Add(values, large)), hn::BitCast(D32(), large));
}

/// @tparam vectors of 16-bit results, each of two sums
template <std::size_t vectors>
HWY_INLINE void sumDownAt(const std::int32_t* const* rows, const std::int32_t* taps, std::size_t pairs,
                          std::int32_t start, float factor, std::int16_t* out, std::size_t x) {
    const D32 d;
    const D16 d16;
    const DF df;
    const std::size_t lanes = hn::Lanes(d);
    V32 sums[2 * vectors];
    HWY_UNROLL(8)
    for (std::size_t v = 0; v < 2 * vectors; ++v) {
        sums[v] = hn::Set(d, start);
    }
    for (std::size_t k = 0; k < pairs; ++k) {
        const V32 tap = hn::Set(d, taps[k]);
        const std::int32_t* const row = rows[k] + x;
        HWY_UNROLL(8)
        for (std::size_t v = 0; v < 2 * vectors; ++v) {
            sums[v] = multiplyAdd(sums[v], hn::BitCast(d16, hn::Load(d, row + v * lanes)), tap);
        }
    }
    const auto scale = hn::Set(df, factor);
    HWY_UNROLL(4)
    for (std::size_t v = 0; v < vectors; ++v) {
        const auto lower = nearestOf(hn::Mul(hn::ConvertTo(df, sums[2 * v]), scale));
        const auto upper = nearestOf(hn::Mul(hn::ConvertTo(df, sums[2 * v + 1]), scale));
        // Within blocks of 128 bits, as they were interleaved.
        hn::Store(hn::ReorderDemote2To(d16, lower, upper), d16, out + x + v * 2 * lanes);
    }
}

void sumDown(const std::int32_t* const* rows, const std::int32_t* taps, std::size_t pairs, std::int32_t start,
             float factor, std::int16_t* out, std::size_t count) {
    const std::size_t lanes = hn::Lanes(D16());
    std::size_t x = 0;
    for (; x + 2 * lanes <= count; x += 2 * lanes) {
        sumDownAt<2>(rows, taps, pairs, start, factor, out, x);
    }
    for (; x < count; x += lanes) {
        sumDownAt<1>(rows, taps, pairs, start, factor, out, x);
    }
}

/// @tparam vectors of 16-bit lanes
template <std::size_t vectors>
HWY_INLINE void sumAlongAt(const std::int16_t* row, const std::int32_t* taps, const std::uint8_t* fills,
                           std::size_t pairs, float factor, std::uint8_t* out, std::size_t x) {
    const D32 d;
    const D16 d16;
    const DF df;
    const hn::Rebind<std::uint8_t, D16> d8;
    const std::size_t lanes = hn::Lanes(d16);
    V32 sums[2 * vectors];  // of even elements and of odd ones
    hn::Vec<DF> totals[2 * vectors];
    HWY_UNROLL(8)
    for (std::size_t v = 0; v < 2 * vectors; ++v) {
        sums[v] = hn::Zero(d);
        totals[v] = hn::Zero(df);
    }
    for (std::size_t k = 0; k < pairs; ++k) {
        const V32 tap = hn::Set(d, taps[k]);
        const std::int16_t* const from = row + x + 2 * k;
        HWY_UNROLL(4)
        for (std::size_t v = 0; v < vectors; ++v) {
            sums[2 * v] = multiplyAdd(sums[2 * v], hn::LoadU(d16, from + v * lanes), tap);
            sums[2 * v + 1] = multiplyAdd(sums[2 * v + 1], hn::LoadU(d16, from + v * lanes + 1), tap);
        }
        if (fills[k] != 0) {
            HWY_UNROLL(8)
            for (std::size_t v = 0; v < 2 * vectors; ++v) {
                totals[v] = hn::Add(totals[v], hn::ConvertTo(df, sums[v]));
                sums[v] = hn::Zero(d);
            }
        }
    }
    const auto scale = hn::Set(df, factor);
    const auto middle = hn::Set(df, 128.0F);
    HWY_UNROLL(4)
    for (std::size_t v = 0; v < vectors; ++v) {
        const auto even = nearestOf(hn::Add(hn::Mul(totals[2 * v], scale), middle));
        const auto odd = nearestOf(hn::Add(hn::Mul(totals[2 * v + 1], scale), middle));
        const auto both = hn::OddEven(hn::BitCast(d16, hn::ShiftLeft<16>(odd)), hn::BitCast(d16, even));
        hn::StoreU(hn::DemoteTo(d8, both), d8, out + x + v * lanes);
    }
}

void sumAlong(const std::int16_t* row, const std::int32_t* taps, const std::uint8_t* fills, std::size_t pairs,
              float factor, std::uint8_t* out, std::size_t count) {
    const std::size_t lanes = hn::Lanes(D16());
    std::size_t x = 0;
    for (; x + 2 * lanes <= count; x += 2 * lanes) {
        sumAlongAt<2>(row, taps, fills, pairs, factor, out, x);
    }
    for (; x + lanes <= count; x += lanes) {
        sumAlongAt<1>(row, taps, fills, pairs, factor, out, x);
    }
    if (x < count && count >= lanes) {
        sumAlongAt<1>(row, taps, fills, pairs, factor, out, count - lanes);  // some of them again
    } else if (x < count) {
        std::uint8_t results[64];
        sumAlongAt<1>(row, taps, fills, pairs, factor, results, 0);
        for (; x < count; ++x) {
            out[x] = results[x];
        }
    }
}

#else

HWY_INLINE std::int32_t lowerOf(std::int32_t both) {
    return static_cast<std::int16_t>(both & 0xFFFF);
}
HWY_INLINE std::int32_t upperOf(std::int32_t both) {
    return both >> 16;
}

/// @return the nearest integer, of ties the even one
HWY_INLINE std::int32_t nearest(float value, std::int32_t lowest, std::int32_t highest) {
    const auto rounded = static_cast<std::int32_t>(hn::GetLane(hn::Round(hn::Set(hn::CappedTag<float, 1>(), value))));
    return rounded < lowest ? lowest : rounded > highest ? highest : rounded;
}

void pairRows(const std::uint8_t* upper, const std::uint8_t* lower, std::int32_t* pairs, std::size_t count) {
    for (std::size_t x = 0; x < count; ++x) {
        pairs[x] = lower[x] * 65536 | upper[x];
    }
}

void sumDown(const std::int32_t* const* rows, const std::int32_t* taps, std::size_t pairs, std::int32_t start,
             float factor, std::int16_t* out, std::size_t count) {
    for (std::size_t x = 0; x < count; ++x) {
        std::int32_t sum = start;
        for (std::size_t k = 0; k < pairs; ++k) {
            sum += lowerOf(rows[k][x]) * lowerOf(taps[k]) + upperOf(rows[k][x]) * upperOf(taps[k]);
        }
        out[x] = static_cast<std::int16_t>(nearest(static_cast<float>(sum) * factor, -32768, 32767));
    }
}

void sumAlong(const std::int16_t* row, const std::int32_t* taps, const std::uint8_t* fills, std::size_t pairs,
              float factor, std::uint8_t* out, std::size_t count) {
    for (std::size_t x = 0; x < count; ++x) {
        float total = 0.0F;
        std::int32_t sum = 0;
        for (std::size_t k = 0; k < pairs; ++k) {
            sum += row[x + 2 * k] * lowerOf(taps[k]) + row[x + 2 * k + 1] * upperOf(taps[k]);
            if (fills[k] != 0) {
                total += static_cast<float>(sum);
                sum = 0;
            }
        }
        out[x] = static_cast<std::uint8_t>(nearest(total * factor + 128.0F, 0, 255));
    }
}

#endif

GaussianFixedKernels fixedKernels() {
    return {&pairRows, &sumDown, &sumAlong};
}

}  // namespace rix::filtering::smoothing::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace rix::filtering::smoothing {

GaussianFixedKernels gaussianFixedKernels(OptimLevelType level) {
    return RIX_SELECT_KERNELS(level, fixedKernels());
}

}  // namespace rix::filtering::smoothing
#endif
