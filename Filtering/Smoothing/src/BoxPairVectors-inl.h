// The vectors of pairs: what is written for each instruction set. Included once a pass by BoxPairKernels.cpp.

#if defined(RIX_BOX_PAIR_VECTORS) == defined(HWY_TARGET_TOGGLE)
#ifdef RIX_BOX_PAIR_VECTORS
#undef RIX_BOX_PAIR_VECTORS
#else
#define RIX_BOX_PAIR_VECTORS
#endif

#include <cstddef>
#include <cstdint>
#include <cstring>

#include <hwy/highway.h>

#if HWY_TARGET != HWY_SCALAR
HWY_BEFORE_NAMESPACE();
namespace rix::filtering::smoothing::HWY_NAMESPACE {

namespace hn = hwy::HWY_NAMESPACE;
using U16 = hn::ScalableTag<std::uint16_t>;
using U8 = hn::Repartition<std::uint8_t, U16>;
using V = hn::Vec<U16>;
constexpr std::size_t lanes = HWY_MAX_BYTES / 2;
/// Samples of a vector of pairs.
constexpr std::size_t samples = 2 * lanes;

/// Lane j belongs to the samples 2 * j and 2 * j + 1.
struct Pair {
    V even;
    V odd;
};

HWY_INLINE V load(const std::uint16_t* from) {
    return hn::LoadU(U16(), from);
}
HWY_INLINE void store(V value, std::uint16_t* to) {
    hn::StoreU(value, U16(), to);
}

HWY_INLINE V lowBytes(V v) {
    return hn::And(v, hn::Set(U16(), 0xFF));
}

HWY_INLINE V loadBytes(const std::uint8_t* from) {
    return hn::BitCast(U16(), hn::LoadU(U8(), from));
}

/// The first `count` bytes of less than a vector; the others are 0.
HWY_INLINE V loadBytes(const std::uint8_t* from, std::size_t count) {
#if HWY_TARGET == HWY_AVX3
    return V{_mm512_maskz_loadu_epi8((std::uint64_t{1} << count) - 1, from)};
#else
    alignas(HWY_MAX_BYTES) std::uint8_t bytes[samples] = {};
    std::memcpy(bytes, from, count);
    return loadBytes(bytes);
#endif
}

/// Calls `step(i, load)` for the vectors of a row of samples; `load(row)` gives those of a row, 0 behind its end.
template <class Step>
HWY_INLINE void forSamples(std::size_t count, const Step& step) {
    std::size_t i = 0;
    for (; i + samples <= count; i += samples) {
        step(i, [i](const std::uint8_t* row) HWY_ATTR { return loadBytes(row + i); });
    }
    if (const std::size_t left = count - i; left > 0) {
        step(i, [i, left](const std::uint8_t* row) HWY_ATTR { return loadBytes(row + i, left); });
    }
}

/// Each lane plus all lanes below it. @param all the sum of all lanes, in every lane
HWY_INLINE V scan(V v, V& all) {
#if HWY_TARGET == HWY_AVX3
    auto sum = _mm512_add_epi16(v.raw, _mm512_bslli_epi128(v.raw, 2));
    sum = _mm512_add_epi16(sum, _mm512_bslli_epi128(sum, 4));
    sum = _mm512_add_epi16(sum, _mm512_bslli_epi128(sum, 8));
    // The sum of each block of eight lanes, in all of them, goes to the blocks behind it.
    const auto blocks = _mm512_shuffle_epi8(sum, _mm512_set1_epi16(0x0F0E));
    const auto one = _mm512_maskz_shuffle_i64x2(0xFC, blocks, blocks, 0x90);
    const auto two = _mm512_add_epi16(one, _mm512_maskz_shuffle_i64x2(0xFC, one, one, 0x90));
    const auto below = _mm512_add_epi16(two, _mm512_maskz_shuffle_i64x2(0xC0, two, two, 0x40));
    const auto upTo = _mm512_add_epi16(below, blocks);
    all = V{_mm512_shuffle_i64x2(upTo, upTo, 0xFF)};
    return V{_mm512_add_epi16(sum, below)};
#elif HWY_TARGET == HWY_AVX2
    auto sum = _mm256_add_epi16(v.raw, _mm256_slli_si256(v.raw, 2));
    sum = _mm256_add_epi16(sum, _mm256_slli_si256(sum, 4));
    sum = _mm256_add_epi16(sum, _mm256_slli_si256(sum, 8));
    const auto blocks = _mm256_shuffle_epi8(sum, _mm256_set1_epi16(0x0F0E));
    const auto below = _mm256_permute2x128_si256(blocks, blocks, 0x08);
    all = V{_mm256_permute2x128_si256(_mm256_add_epi16(blocks, below), blocks, 0x11)};
    return V{_mm256_add_epi16(sum, below)};
#else
    auto sum = _mm_add_epi16(v.raw, _mm_slli_si128(v.raw, 2));
    sum = _mm_add_epi16(sum, _mm_slli_si128(sum, 4));
    sum = _mm_add_epi16(sum, _mm_slli_si128(sum, 8));
    all = V{_mm_shuffle_epi8(sum, _mm_set1_epi16(0x0F0E))};
    return V{sum};
#endif
}

/// e0 o0 e1 o1 ...
HWY_INLINE void interleave(const Pair& pair, V& low, V& high) {
    const U16 d;
    const V lower = hn::InterleaveLower(d, pair.even, pair.odd);
    const V upper = hn::InterleaveUpper(d, pair.even, pair.odd);
#if HWY_TARGET == HWY_AVX3
    const auto lowIndices = _mm512_setr_epi64(0, 1, 8, 9, 2, 3, 10, 11);
    const auto highIndices = _mm512_setr_epi64(4, 5, 12, 13, 6, 7, 14, 15);
    low = V{_mm512_permutex2var_epi64(lower.raw, lowIndices, upper.raw)};
    high = V{_mm512_permutex2var_epi64(lower.raw, highIndices, upper.raw)};
#elif HWY_TARGET == HWY_AVX2
    low = hn::ConcatLowerLower(d, upper, lower);
    high = hn::ConcatUpperUpper(d, upper, lower);
#else
    low = lower;
    high = upper;
#endif
}

/// Totals as they are.
struct Sum {
    using Out = std::uint16_t;
    explicit Sum(const BoxPairDivider& /*divider*/) {}
    HWY_INLINE void operator()(const Pair& totals, Out* out) const {
        V low;
        V high;
        interleave(totals, low, high);
        store(low, out);
        store(high, out + lanes);
    }
};

struct Mean {
    using Out = std::uint8_t;
    explicit Mean(const BoxPairDivider& divider)
        : multiplier(hn::Set(U16(), divider.multiplier)), shift(divider.shift), shiftUp(8 - divider.shift) {}
    HWY_INLINE void operator()(const Pair& totals, Out* out) const {
        const V even = hn::ShiftRightSame(hn::MulHigh(totals.even, multiplier), shift);
        const V odd = hn::ShiftLeftSame(hn::MulHigh(totals.odd, multiplier), shiftUp);
        const V both = hn::OrAnd(even, odd, hn::Set(U16(), 0xFF00));
        hn::StoreU(hn::BitCast(U8(), both), U8(), out);
    }
    V multiplier;
    int shift;
    int shiftUp;
};

/// Totals of a few columns, added up.
template <std::size_t window>
class ShortTotals {
public:
    ShortTotals(const BoxPairs& columns, std::size_t /*window*/, std::uint16_t /*first*/, std::uint16_t bias)
        : m_columns(columns), m_bias(hn::Set(U16(), bias)) {}
    HWY_INLINE Pair at(std::size_t x) {
        V middle = m_bias;
        for (std::size_t i = 1; i < window; ++i) {
            middle = hn::Add(middle, element(x, i));
        }
        return {hn::Add(element(x, 0), middle), hn::Add(middle, element(x, window))};
    }

private:
    /// Element i of the windows of even outputs, and element i - 1 of those of odd ones.
    HWY_INLINE V element(std::size_t x, std::size_t i) const { return load(m_columns.lane[i % 2] + x / 2 + i / 2); }

    BoxPairs m_columns;
    V m_bias;
};

/// Totals of any number of columns. Their change along the row has to be summed up: first inside a lane, then over the
/// lanes, then from vector to vector, where one addition is all that waits for the vector before.
class LongTotals {
public:
    LongTotals(const BoxPairs& columns, std::size_t window, std::uint16_t first, std::uint16_t bias)
        : m_leaving(columns),
          m_entering(columns.from(window)),
          m_carry(hn::Set(U16(), static_cast<std::uint16_t>(first + bias))) {}
    HWY_INLINE Pair at(std::size_t x) {
        const V changeEven = hn::Sub(load(m_entering.lane[0] + x / 2), load(m_leaving.lane[0] + x / 2));
        const V changeOdd = hn::Sub(load(m_entering.lane[1] + x / 2), load(m_leaving.lane[1] + x / 2));
        const V inLane = hn::Add(changeEven, changeOdd);
        V all;
        const V upToLane = scan(inLane, all);
        const V even = hn::Add(hn::Sub(upToLane, inLane), m_carry);
        m_carry = hn::Add(m_carry, all);
        return {even, hn::Add(even, changeEven)};
    }

private:
    BoxPairs m_leaving;
    BoxPairs m_entering;
    V m_carry;
};

}  // namespace rix::filtering::smoothing::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();
#endif

#endif
