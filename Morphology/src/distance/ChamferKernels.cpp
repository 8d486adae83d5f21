#include "distance/ChamferKernels.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "distance/ChamferKernels.cpp"
#include <rix/simd/KernelTargets.h>

#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace rix::morphology::HWY_NAMESPACE {

namespace hn = hwy::HWY_NAMESPACE;

template <class Price>
using Tag = hn::ScalableTag<Price>;
template <class Price>
using Vector = hn::Vec<Tag<Price>>;

/// Never less for being too much for the type.
template <class Price>
HWY_INLINE Vector<Price> sum(Vector<Price> a, Vector<Price> b) {
    if constexpr (sizeof(Price) == 2) {
        return hn::SaturatedAdd(a, b);
    } else {
        return hn::Add(a, b);
    }
}

template <std::size_t count, class Price>
HWY_INLINE Vector<Price> leastOf(const Price* const* from, std::size_t x) {
    const Tag<Price> d;
    auto least = hn::LoadU(d, from[0] + x);
    for (std::size_t i = 1; i < count; ++i) {
        least = hn::Min(least, hn::LoadU(d, from[i] + x));
    }
    return least;
}

/// As many rows as there are steps of a kind.
template <std::size_t steps, class Price>
HWY_INLINE void takeKind(Price* row, const ChamferSteps<Price>& all, std::size_t count) {
    const Tag<Price> d;
    const Price* from[steps];
    for (std::size_t i = 0; i < steps; ++i) {
        from[i] = all.from[i];
    }
    const auto price = hn::Set(d, all.price);
    for (std::size_t x = 0; x < count; x += hn::Lanes(d)) {
        hn::StoreU(hn::Min(hn::LoadU(d, row + x), sum<Price>(leastOf<steps>(from, x), price)), d, row + x);
    }
}

template <class Price>
void takeSteps(Price* row, const ChamferSteps<Price>* steps, std::size_t kinds, std::size_t count) {
    for (std::size_t kind = 0; kind < kinds; ++kind) {
        switch (steps[kind].count) {
            case 1: takeKind<1>(row, steps[kind], count); break;
            case 2: takeKind<2>(row, steps[kind], count); break;
            case 4: takeKind<4>(row, steps[kind], count); break;
            default: takeKind<ChamferSteps<Price>::most>(row, steps[kind], count); break;
        }
    }
}

/// Of so many steps along a row.
template <class Price>
HWY_INLINE Price priceOf(std::size_t steps, Price price) {
    const float all = static_cast<float>(steps) * static_cast<float>(price);
    return all < static_cast<float>(noPrice<Price>) ? static_cast<Price>(all) : noPrice<Price>;
}

#if HWY_TARGET == HWY_SCALAR

template <bool backwards, class Price>
void spreadRow(Price* row, Price price, Price start, std::size_t count) {
    auto least = hn::Set(Tag<Price>(), start);
    const auto step = hn::Set(Tag<Price>(), price);
    for (std::size_t i = 0; i < count; ++i) {
        Price& place = row[backwards ? count - 1 - i : i];
        least = hn::Min(hn::Set(Tag<Price>(), place), sum<Price>(least, step));
        place = hn::GetLane(least);
    }
}

#else

template <class Price>
inline constexpr std::size_t lanes = hn::MaxLanes(Tag<Price>());
/// Vectors are made of blocks of so many lanes, within which these move at once.
template <class Price>
inline constexpr std::size_t blockLanes = HWY_MIN(lanes<Price>, 16 / sizeof(Price));

/// Lowers places to what steps from others of the block leave, in which the least is handed on by 1, 2, 4 ... places.
template <bool backwards, std::size_t shift, class Price>
HWY_INLINE Vector<Price> spreadBlocks(Vector<Price> row, Price price) {
    if constexpr (shift >= blockLanes<Price>) {
        return row;
    } else {
        const Tag<Price> d;
        const auto none = hn::Set(d, noPrice<Price>);
        const auto moved = [&]() HWY_ATTR {
            if constexpr (backwards) {
                return hn::CombineShiftRightLanes<shift>(d, none, row);
            } else {
                return hn::CombineShiftRightLanes<blockLanes<Price> - shift>(d, row, none);
            }
        }();
        return spreadBlocks<backwards, 2 * shift>(hn::Min(row, sum<Price>(moved, hn::Set(d, priceOf(shift, price)))),
                                                  price);
    }
}

/// Ends of blocks are their last lanes, or backwards their first ones.
template <bool backwards, class Price>
class BlockEnds {
public:
    explicit BlockEnds(Price price) : m_none(hn::Set(Tag<Price>(), noPrice<Price>)) {
        const Tag<Price> d;
        constexpr std::size_t blockBytes = blockLanes<Price> * sizeof(Price);
        std::uint8_t bytes[lanes<Price> * sizeof(Price)];
        for (std::size_t i = 0; i < sizeof(bytes); ++i) {
            bytes[i] = static_cast<std::uint8_t>((backwards ? 0 : blockBytes - sizeof(Price)) + i % sizeof(Price));
        }
        m_end = hn::LoadU(Bytes(), bytes);
        for (std::size_t shift = 1; shift < blocks; shift *= 2) {
            std::uint32_t words[wordLanes];
            const std::size_t ahead = backwards ? shift : blocks - shift;
            for (std::size_t i = 0; i < wordLanes; ++i) {
                words[i] = static_cast<std::uint32_t>((i + ahead * (wordLanes / blocks)) % wordLanes);
            }
            const std::size_t beyond = shift * blockLanes<Price>;
            m_isBeyond[m_shifts] = backwards ? hn::Not(hn::FirstN(d, lanes<Price> - beyond)) : hn::FirstN(d, beyond);
            m_prices[m_shifts] = hn::Set(d, priceOf(beyond, price));
            m_words[m_shifts++] = hn::LoadU(Words(), words);
        }
        m_last = hn::Set(Words(), static_cast<std::uint32_t>(backwards ? 0 : wordLanes - 1));
        Price ramp[lanes<Price>];
        for (std::size_t i = 0; i < lanes<Price>; ++i) {
            const std::size_t place = i % blockLanes<Price>;
            ramp[i] = priceOf(backwards ? blockLanes<Price> - place : place + 1, price);
        }
        m_ramp = hn::LoadU(d, ramp);
    }

    /// Lowers a row that was spread within its blocks to what steps from others of the vector leave.
    HWY_INLINE Vector<Price> spread(Vector<Price> row) const {
        if constexpr (blocks == 1) {
            return row;
        } else {
            // Of the blocks that come before each.
            auto least = moved(ends(row), 0);
            for (std::size_t s = 0; s < m_shifts; ++s) {
                least = hn::Min(least, sum<Price>(moved(least, s), m_prices[s]));
            }
            return hn::Min(row, sum<Price>(least, m_ramp));
        }
    }
    /// The end of the vector in all lanes.
    HWY_INLINE Vector<Price> last(Vector<Price> row) const { return lookUp(ends(row), m_last); }

private:
    using Words = hn::ScalableTag<std::uint32_t>;
    using Bytes = hn::ScalableTag<std::uint8_t>;
    static constexpr std::size_t wordLanes = hn::MaxLanes(Words());
    static constexpr std::size_t blocks = lanes<Price> / blockLanes<Price>;
    static constexpr std::size_t mostShifts = 2;

    HWY_INLINE Vector<Price> ends(Vector<Price> row) const {
        return hn::BitCast(Tag<Price>(), hn::TableLookupBytes(hn::BitCast(Bytes(), row), m_end));
    }
    HWY_INLINE Vector<Price> lookUp(Vector<Price> row, hn::Vec<Words> words) const {
        return hn::BitCast(Tag<Price>(),
                           hn::TableLookupLanes(hn::BitCast(Words(), row), hn::IndicesFromVec(Words(), words)));
    }
    HWY_INLINE Vector<Price> moved(Vector<Price> row, std::size_t shift) const {
        return hn::IfThenElse(m_isBeyond[shift], m_none, lookUp(row, m_words[shift]));
    }

    Vector<Price> m_none;
    hn::Vec<Bytes> m_end;
    std::size_t m_shifts = 0;
    hn::Vec<Words> m_words[mostShifts];
    hn::Mask<Tag<Price>> m_isBeyond[mostShifts];
    Vector<Price> m_prices[mostShifts];
    hn::Vec<Words> m_last;
    Vector<Price> m_ramp;
};

template <bool backwards, class Price>
void spreadRow(Price* row, Price price, Price start, std::size_t count) {
    const Tag<Price> d;
    const BlockEnds<backwards, Price> blocks(price);
    Price ramp[lanes<Price>];
    for (std::size_t i = 0; i < lanes<Price>; ++i) {
        ramp[i] = priceOf(backwards ? lanes<Price> - i : i + 1, price);
    }
    const auto rise = hn::LoadU(d, ramp);
    const auto wholeRise = hn::Set(d, priceOf(lanes<Price>, price));
    auto before = hn::Set(d, start);
    for (std::size_t i = 0; i < count; i += lanes<Price>) {
        Price* const at = row + (backwards ? count - lanes<Price> - i : i);
        const auto lowest = blocks.spread(spreadBlocks<backwards, 1, Price>(hn::LoadU(d, at), price));
        hn::StoreU(hn::Min(lowest, sum<Price>(before, rise)), d, at);
        before = hn::Min(blocks.last(lowest), sum<Price>(before, wholeRise));
    }
}

#endif

void toDistances(const float* row, float* distances, std::size_t count) {
    __builtin_memcpy(distances, row, count * sizeof(float));
}

void toDistances(const std::uint16_t* row, float* distances, std::size_t count) {
    const Tag<float> d;
    const hn::Rebind<std::int32_t, decltype(d)> wide;
    const hn::Rebind<std::uint16_t, decltype(d)> narrow;
    const auto most = hn::Set(wide, static_cast<std::int32_t>(noPrice<std::uint16_t>));
    const auto none = hn::Set(d, noPrice<float>);
    const auto distancesAt = [&](std::size_t x) HWY_ATTR {
        const auto price = hn::PromoteTo(wide, hn::LoadU(narrow, row + x));
        return hn::IfThenElse(hn::RebindMask(d, hn::Eq(price, most)), none, hn::ConvertTo(d, price));
    };
    std::size_t x = 0;
    for (; x + hn::Lanes(d) <= count; x += hn::Lanes(d)) {
        hn::StoreU(distancesAt(x), d, distances + x);
    }
    if (x < count) {
        float some[hn::MaxLanes(Tag<float>())];
        hn::StoreU(distancesAt(x), d, some);  // rows are longer than they seem
        __builtin_memcpy(distances + x, some, (count - x) * sizeof(float));
    }
}

template <class Price>
ChamferKernels<Price> kernels() {
    return {&takeSteps<Price>, &spreadRow<false, Price>, &spreadRow<true, Price>, &toDistances};
}

}  // namespace rix::morphology::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace rix::morphology {

template <class Price>
ChamferKernels<Price> chamferKernels(OptimLevelType level) {
    return RIX_SELECT_KERNELS(level, kernels<Price>());
}

template ChamferKernels<float> chamferKernels<float>(OptimLevelType);
template ChamferKernels<std::uint16_t> chamferKernels<std::uint16_t>(OptimLevelType);

}  // namespace rix::morphology
#endif
