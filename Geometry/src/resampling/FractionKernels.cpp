#include "resampling/FractionKernels.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "resampling/FractionKernels.cpp"
#include <rix/simd/KernelTargets.h>

#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace rix::geometry::HWY_NAMESPACE {

namespace hn = hwy::HWY_NAMESPACE;

HWY_INLINE std::size_t within(std::int64_t element, std::size_t length) {
    const auto last = static_cast<std::int64_t>(length) - 1;
    return static_cast<std::size_t>(element < 0 ? 0 : element > last ? last : element);
}

/// Results one by one: all of them, or those near the ends.
HWY_INLINE void alongOneByOne(const std::uint8_t* row, std::size_t length, const FractionTaps& taps, std::size_t begin,
                              std::size_t end, std::uint16_t* out) {
    std::size_t r = begin % taps.period;
    auto base = static_cast<std::int64_t>(begin / taps.period * taps.advance);
    for (std::size_t i = begin; i < end; ++i) {
        const std::int64_t element = base + taps.offsets[r];
        const std::uint32_t second = taps.seconds[r];
        out[i] = static_cast<std::uint16_t>((taps.denominator - second) * row[within(element, length)] +
                                            second * row[within(element + 1, length)]);
        if (++r == taps.period) {
            r = 0;
            base += static_cast<std::int64_t>(taps.advance);
        }
    }
}

HWY_INLINE std::uint8_t quotientOf(std::uint32_t sum, const FractionQuotient& by) {
    const std::uint32_t n = sum + by.half;
    const std::uint32_t quotient = n / by.divisor;
    return static_cast<std::uint8_t>(quotient - (quotient * by.divisor == n ? by.even & quotient : 0));
}

#if HWY_TARGET != HWY_SCALAR && HWY_TARGET != HWY_EMU128

/// The elements of as many groups as a vector has parts of 16 bytes.
template <class D>
HWY_INLINE hn::Vec<D> elementsOf(D d, const std::uint8_t* row, const std::int32_t* begins) {
    if constexpr (hn::MaxLanes(D()) == fractionReach) {
        return hn::LoadU(d, row + begins[0]);
    } else {
        const hn::Half<D> half;
        constexpr std::size_t parts = hn::MaxLanes(D()) / fractionReach / 2;
        return hn::Combine(d, elementsOf(half, row, begins + parts), elementsOf(half, row, begins));
    }
}

void along(const std::uint8_t* row, std::size_t length, const FractionTaps& taps, std::size_t count,
           std::uint16_t* out) {
    const hn::ScalableTag<std::uint8_t> bytes;
    const hn::RepartitionToWide<decltype(bytes)> words;
    constexpr std::size_t groups = hn::MaxLanes(hn::ScalableTag<std::uint8_t>()) / fractionReach;
    static_assert(groups <= fractionGroupsBehind + 1);
    constexpr std::size_t results = groups * fractionGroup;
    std::size_t i = 0;
    std::size_t j = 0;
    if (taps.begins[0] < 0) {
        // The first place lies before the row.
        i = HWY_MIN(fractionGroup, count);
        alongOneByOne(row, length, taps, 0, i, out);
        j = 1;
    }
    std::size_t base = 0;
    for (; i + results <= count; i += results) {
        const auto last = static_cast<std::int64_t>(base) + taps.begins[j + groups - 1];
        if (last + static_cast<std::int64_t>(fractionReach) > static_cast<std::int64_t>(length)) {
            break;
        }
        const auto elements = elementsOf(bytes, row + base, taps.begins + j);
        const std::size_t at = j * fractionGroup;
        const auto first = hn::BitCast(words, hn::TableLookupBytes(elements, hn::LoadU(bytes, taps.firsts + 2 * at)));
        const auto next = hn::BitCast(words, hn::TableLookupBytes(elements, hn::LoadU(bytes, taps.nexts + 2 * at)));
        hn::StoreU(hn::Add(hn::Mul(first, hn::LoadU(words, taps.firstWeights + at)),
                           hn::Mul(next, hn::LoadU(words, taps.nextWeights + at))),
                   words, out + i);
        for (j += groups; j >= taps.period; j -= taps.period) {
            base += fractionGroup * taps.advance;
        }
    }
    if (i < count) {
        alongOneByOne(row, length, taps, i, count, out);
    }
}

#else

void along(const std::uint8_t* row, std::size_t length, const FractionTaps& taps, std::size_t count,
           std::uint16_t* out) {
    alongOneByOne(row, length, taps, 0, count, out);
}

#endif

void across(const std::uint16_t* first, const std::uint16_t* second, std::uint16_t firstWeight,
            std::uint16_t secondWeight, const FractionQuotient& by, std::uint8_t* out, std::size_t count) {
    std::size_t x = 0;
#if HWY_TARGET != HWY_SCALAR && HWY_TARGET != HWY_EMU128
    const hn::ScalableTag<std::uint16_t> d;
    const hn::Rebind<std::uint8_t, decltype(d)> narrow;
    const auto a = hn::Set(d, firstWeight);
    const auto b = hn::Set(d, secondWeight);
    const auto divisor = hn::Set(d, by.divisor);
    const auto half = hn::Set(d, by.half);
    const auto even = hn::Set(d, by.even);
    const auto reciprocal = hn::Set(d, by.reciprocal);
    for (; x + hn::Lanes(d) <= count; x += hn::Lanes(d)) {
        const auto sum = hn::Add(hn::Mul(a, hn::LoadU(d, first + x)), hn::Mul(b, hn::LoadU(d, second + x)));
        const auto n = hn::Add(sum, half);
        const auto quotient = hn::ShiftRightSame(hn::MulHigh(n, reciprocal), by.shift);
        const auto isTie = hn::Eq(hn::Mul(quotient, divisor), n);
        const auto rounded = hn::Sub(quotient, hn::IfThenElseZero(isTie, hn::And(quotient, even)));
        hn::StoreU(hn::TruncateTo(narrow, rounded), narrow, out + x);
    }
#endif
    for (; x < count; ++x) {
        out[x] = quotientOf(std::uint32_t{firstWeight} * first[x] + std::uint32_t{secondWeight} * second[x], by);
    }
}

FractionKernels kernels() {
    return {&along, &across};
}

}  // namespace rix::geometry::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace rix::geometry {

FractionKernels fractionKernels(OptimLevelType level) {
    return RIX_SELECT_KERNELS(level, kernels());
}

}  // namespace rix::geometry
#endif
