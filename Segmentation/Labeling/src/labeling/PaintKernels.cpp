#include "labeling/PaintKernels.h"

#include <cstring>

#include "labeling/LabelRanks.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "labeling/PaintKernels.cpp"
#include <rix/simd/KernelTargets.h>

#include <hwy/highway.h>

#include <rix/access/Stores-inl.h>

HWY_BEFORE_NAMESPACE();
namespace rix::segmentation::HWY_NAMESPACE {

namespace hn = hwy::HWY_NAMESPACE;
using access::Stores;
using Word = std::uint64_t;

#if HWY_TARGET == HWY_SCALAR

template <Stores stores, class T>
void paintWord(Word pixels, Word starts, const T* before, T* out) {
    for (unsigned i = 0; i < 64; ++i) {
        before += (starts >> i) & 1;
        out[i] = ((pixels >> i) & 1) != 0 ? *before : T{0};
    }
}

static inline std::size_t bitCount(Word word) {
    word -= (word >> 1) & 0x5555555555555555U;
    word = (word & 0x3333333333333333U) + ((word >> 2) & 0x3333333333333333U);
    word = (word + (word >> 4)) & 0x0F0F0F0F0F0F0F0FU;
    return static_cast<std::size_t>((word * 0x0101010101010101U) >> 56);
}

#else

static inline std::size_t bitCount(Word word) {
    return static_cast<std::size_t>(__builtin_popcountll(word));
}

// The labels of the pixels of one vector are consecutive: one load from the label of the node that goes on from before
// the vector (at most half as many nodes begin in it as it has lanes), put in place by the counts of first bits.

#if HWY_TARGET == HWY_AVX3

/// 16 pixels.
template <Stores stores, class T, HWY_IF_LANE_SIZE(T, 4)>
HWY_INLINE void paintWord(Word pixels, Word starts, const T* before, T* out) {
    const hn::ScalableTag<T> d;
    const hn::CappedTag<std::uint8_t, 16> d8;
    const hn::Half<decltype(d8)> half;
    for (std::size_t i = 0; i < 64; i += 16) {
        const std::size_t passed = bitCount(starts & ((Word{1} << i) - 1));
        const auto labels = hn::LoadU(d, before + passed);
        const Word firstByte = (starts >> i) & 0xFF;
        const auto inFirst = hn::Set(half, labelRanks.upTo[firstByte][7]);
        const auto low = hn::LoadU(half, labelRanks.upTo[firstByte]);
        const auto high = hn::Add(hn::LoadU(half, labelRanks.upTo[(starts >> (i + 8)) & 0xFF]), inFirst);
        const auto ranks = hn::PromoteTo(d, hn::Combine(d8, high, low));
        const auto placed = hn::TableLookupLanes(labels, hn::IndicesFromVec(d, ranks));
        const auto part = static_cast<std::uint16_t>((pixels >> i) & 0xFFFF);
        std::uint8_t bits[8];
        std::memcpy(bits, &part, 2);
        access::HWY_NAMESPACE::storeTo<stores>(hn::IfThenElseZero(hn::LoadMaskBits(d, bits), placed), d, out + i);
    }
}

#else

/// 8 pixels, or 4 where vectors are short.
template <Stores stores, class T, HWY_IF_LANE_SIZE(T, 4)>
HWY_INLINE void paintWord(Word pixels, Word starts, const T* before, T* out) {
    const hn::CappedTag<T, 8> d;
    const hn::Rebind<std::uint8_t, decltype(d)> d8;
    const std::size_t lanes = hn::Lanes(d);
    const Word chunk = (Word{1} << lanes) - 1;
    for (std::size_t i = 0; i < 64; i += lanes) {
        const std::size_t passed = bitCount(starts & ((Word{1} << i) - 1));
        const auto labels = hn::LoadU(d, before + passed);
        const auto ranks = hn::PromoteTo(d, hn::LoadU(d8, labelRanks.upTo[(starts >> i) & chunk]));
        const auto placed = hn::TableLookupLanes(labels, hn::IndicesFromVec(d, ranks));
        const auto bits = static_cast<std::uint8_t>((pixels >> i) & chunk);
        access::HWY_NAMESPACE::storeTo<stores>(hn::IfThenElseZero(hn::LoadMaskBits(d, &bits), placed), d, out + i);
    }
}

#endif

/// 8 pixels; the two bytes of a label move together.
template <Stores stores, class T, HWY_IF_LANE_SIZE(T, 2)>
HWY_INLINE void paintWord(Word pixels, Word starts, const T* before, T* out) {
    const hn::CappedTag<T, 8> d;
    const hn::Rebind<std::uint8_t, decltype(d)> d8;
    const hn::Repartition<std::uint8_t, decltype(d)> dBytes;
    const auto twice = hn::Set(d, T{0x0202});
    const auto upper = hn::Set(d, T{0x0100});
    for (std::size_t i = 0; i < 64; i += 8) {
        const std::size_t passed = bitCount(starts & ((Word{1} << i) - 1));
        const auto labels = hn::LoadU(d, before + passed);
        const auto ranks = hn::PromoteTo(d, hn::LoadU(d8, labelRanks.upTo[(starts >> i) & 0xFF]));
        const auto bytes = hn::BitCast(dBytes, hn::Add(hn::Mul(ranks, twice), upper));
        const auto placed = hn::BitCast(d, hn::TableLookupBytes(hn::BitCast(dBytes, labels), bytes));
        const auto bits = static_cast<std::uint8_t>((pixels >> i) & 0xFF);
        access::HWY_NAMESPACE::storeTo<stores>(hn::IfThenElseZero(hn::LoadMaskBits(d, &bits), placed), d, out + i);
    }
}

/// 16 pixels.
template <Stores stores, class T, HWY_IF_LANE_SIZE(T, 1)>
HWY_INLINE void paintWord(Word pixels, Word starts, const T* before, T* out) {
    const hn::CappedTag<T, 16> d;
    const hn::Half<decltype(d)> half;
    for (std::size_t i = 0; i < 64; i += 16) {
        const std::size_t passed = bitCount(starts & ((Word{1} << i) - 1));
        const auto labels = hn::LoadU(d, before + passed);
        const Word firstByte = (starts >> i) & 0xFF;
        const auto inFirst = hn::Set(half, static_cast<T>(bitCount(firstByte)));
        const auto low = hn::LoadU(half, labelRanks.upTo[firstByte]);
        const auto high = hn::Add(hn::LoadU(half, labelRanks.upTo[(starts >> (i + 8)) & 0xFF]), inFirst);
        const auto placed = hn::TableLookupBytes(labels, hn::Combine(d, high, low));
        const auto part = static_cast<std::uint16_t>((pixels >> i) & 0xFFFF);
        std::uint8_t bits[8] = {};
        std::memcpy(bits, &part, 2);
        access::HWY_NAMESPACE::storeTo<stores>(hn::IfThenElseZero(hn::LoadMaskBits(d, bits), placed), d, out + i);
    }
}

#endif

/// 64 pixels of one label.
template <Stores stores, class T>
HWY_INLINE void fillWord(T label, T* out) {
#if HWY_TARGET == HWY_SCALAR
    for (std::size_t i = 0; i < 64; ++i) {
        out[i] = label;
    }
#else
    const hn::ScalableTag<T> d;
    const auto value = hn::Set(d, label);
    for (std::size_t i = 0; i < 64; i += hn::Lanes(d)) {
        access::HWY_NAMESPACE::storeTo<stores>(value, d, out + i);
    }
#endif
}

template <Stores stores, class T>
HWY_INLINE void paintWords(const PaintedRow& row, const T* labels, T* out, std::size_t columns) {
    const T* before = labels - 1;  // the label of the node that goes on
    Word last = 0;
    const auto paintOne = [&](std::size_t i, T* target) HWY_ATTR {
        const Word pixels = row.pixels[i];
        const Word covered = row.top[i] | row.bottom[i];
        const Word starts = covered & ~(covered << 1 | last);
        last = covered >> 63;
        if (pixels == 0) {
            fillWord<stores>(T{0}, target);
        } else if (pixels == ~Word{0}) {
            fillWord<stores>(before[starts & 1], target);  // one node, which began before or begins here
        } else {
            paintWord<stores>(pixels, starts, before, target);
        }
        before += bitCount(starts);
    };
    const std::size_t full = columns / 64;
    for (std::size_t i = 0; i < full; ++i) {
        paintOne(i, out + 64 * i);
    }
    if (columns % 64 != 0) {
        alignas(64) T rest[64];
        paintOne(full, rest);
        std::memcpy(out + 64 * full, rest, (columns % 64) * sizeof(T));
    }
}

template <class T>
void paint(const PaintedRow& row, const T* labels, T* out, std::size_t columns) {
    paintWords<Stores::Cached>(row, labels, out, columns);
}

template <class T>
void paintStreaming(const PaintedRow& row, const T* labels, T* out, std::size_t columns) {
    constexpr std::uintptr_t alignment = 64;
    if (reinterpret_cast<std::uintptr_t>(out) % alignment == 0) {
        paintWords<Stores::Streaming>(row, labels, out, columns);
    } else {
        paintWords<Stores::Cached>(row, labels, out, columns);
    }
}

template <class T>
PaintRow<T> kernel(Stores stores) {
    return stores == Stores::Streaming ? &paintStreaming<T> : &paint<T>;
}

}  // namespace rix::segmentation::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace rix::segmentation {

template <class T>
PaintRow<T> paintRow(OptimLevelType level, access::Stores stores) {
    return RIX_SELECT_KERNELS(level, kernel<T>(stores));
}

template PaintRow<std::uint8_t> paintRow<std::uint8_t>(OptimLevelType, access::Stores);
template PaintRow<std::uint16_t> paintRow<std::uint16_t>(OptimLevelType, access::Stores);
template PaintRow<std::uint32_t> paintRow<std::uint32_t>(OptimLevelType, access::Stores);

}  // namespace rix::segmentation
#endif
