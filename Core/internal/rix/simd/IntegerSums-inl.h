// Exact sums of integers of 8 and 16 bits, in vectors. Included once a pass by files of kernels; not in the pass
// without vectors.

#if defined(RIX_SIMD_INTEGER_SUMS) == defined(HWY_TARGET_TOGGLE)
#ifdef RIX_SIMD_INTEGER_SUMS
#undef RIX_SIMD_INTEGER_SUMS
#else
#define RIX_SIMD_INTEGER_SUMS
#endif

#include <cstddef>
#include <cstdint>
#include <type_traits>

#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace rix::simd::HWY_NAMESPACE {

#if HWY_TARGET != HWY_EMU128 && HWY_TARGET != HWY_SCALAR

namespace hn = hwy::HWY_NAMESPACE;

/// Sum, sum of squares and extremes of bytes; signed bytes are seen as unsigned ones, 128 higher.
template <bool withSum, bool withSquares, bool withExtremes>
struct ByteSums {
    using D = hn::ScalableTag<std::uint8_t>;
    using D32 = hn::Repartition<std::int32_t, D>;
    static constexpr std::int64_t bias(std::int8_t) { return 128; }
    static constexpr std::int64_t bias(std::uint8_t) { return 0; }
    /// So many squares, a pair in each of up to 16 lanes at a step, fit 31 bits together.
    static constexpr std::size_t mostSteps = 512;

    D d;
    hn::Vec<hn::Repartition<std::uint64_t, D>> sum;
    hn::Vec<D32> squares;
    hn::Vec<D> minimum;
    hn::Vec<D> maximum;
    std::uint64_t allSquares = 0;

    // Written out: what the compiler makes by itself is not of the pass's instruction set.
    HWY_INLINE ByteSums()
        : sum(hn::Zero(hn::Repartition<std::uint64_t, D>())),
          squares(hn::Zero(D32())),
          minimum(hn::Set(d, 255)),
          maximum(hn::Zero(d)) {}
    HWY_INLINE hn::Vec<D> load(const std::uint8_t* values) const { return hn::LoadU(d, values); }
    HWY_INLINE hn::Vec<D> load(const std::int8_t* values) const {
        return hn::Xor(hn::LoadU(d, reinterpret_cast<const std::uint8_t*>(values)), hn::Set(d, 128));
    }
    /// @param zeroed the values, 0 where they are dead
    HWY_INLINE void add(hn::Vec<D> zeroed, hn::Vec<D> forMinimum, hn::Vec<D> forMaximum) {
        if constexpr (withSum) {
            sum = hn::Add(sum, hn::SumsOf8(zeroed));
        }
        if constexpr (withSquares) {
            const hn::Repartition<std::int16_t, D> d16;
            auto unused = hn::Zero(D32());
            const auto lower = hn::BitCast(d16, hn::InterleaveLower(d, zeroed, hn::Zero(d)));
            const auto upper = hn::BitCast(d16, hn::InterleaveUpper(d, zeroed, hn::Zero(d)));
            squares = hn::ReorderWidenMulAccumulate(D32(), lower, lower, squares, unused);
            squares = hn::ReorderWidenMulAccumulate(D32(), upper, upper, squares, unused);
        }
        if constexpr (withExtremes) {
            minimum = hn::Min(minimum, forMinimum);
            maximum = hn::Max(maximum, forMaximum);
        }
    }
    HWY_INLINE void addAll(hn::Vec<D> values) { add(values, values, values); }
    HWY_INLINE void addAlive(hn::Vec<D> values, hn::Mask<D> dead) {
        const auto zeroed = hn::IfThenZeroElse(dead, values);
        add(zeroed, hn::IfThenElse(dead, hn::Set(d, 255), values), zeroed);
    }
    HWY_INLINE void flush() {
        if constexpr (withSquares) {
            allSquares += static_cast<std::uint64_t>(hn::GetLane(hn::SumOfLanes(D32(), squares)));
            squares = hn::Zero(D32());
        }
    }
    HWY_INLINE std::int64_t total() const {
        const hn::Repartition<std::uint64_t, D> d64;
        return static_cast<std::int64_t>(hn::GetLane(hn::SumOfLanes(d64, sum)));
    }
    HWY_INLINE std::int64_t lowest() const {
        const hn::Repartition<std::uint16_t, D> d16;
        const auto pairs = hn::BitCast(d16, minimum);
        const auto smaller = hn::Min(hn::And(pairs, hn::Set(d16, 255)), hn::ShiftRight<8>(pairs));
        return hn::GetLane(hn::MinOfLanes(d16, smaller));
    }
    HWY_INLINE std::int64_t highest() const {
        const hn::Repartition<std::uint16_t, D> d16;
        const auto pairs = hn::BitCast(d16, maximum);
        const auto larger = hn::Max(hn::And(pairs, hn::Set(d16, 255)), hn::ShiftRight<8>(pairs));
        return hn::GetLane(hn::MaxOfLanes(d16, larger));
    }
};

/// The same for 16 bits; unsigned values are seen as signed ones, 32768 lower.
template <bool withSum, bool withSquares, bool withExtremes>
struct WordSums {
    using D = hn::ScalableTag<std::int16_t>;
    using D32 = hn::Repartition<std::int32_t, D>;
    using D64 = hn::Repartition<std::uint64_t, D>;
    static constexpr std::int64_t bias(std::int16_t) { return 0; }
    static constexpr std::int64_t bias(std::uint16_t) { return -32768; }
    /// A pair of values in each of up to 16 lanes at a step stays in 31 bits.
    static constexpr std::size_t mostSteps = 512;

    D d;
    hn::Vec<D32> sum;
    hn::Vec<D64> squares;
    hn::Vec<D> minimum;
    hn::Vec<D> maximum;
    std::int64_t allSum = 0;
    std::uint64_t allSquares = 0;

    HWY_INLINE WordSums()
        : sum(hn::Zero(D32())), squares(hn::Zero(D64())), minimum(hn::Set(d, 32767)), maximum(hn::Set(d, -32768)) {}
    HWY_INLINE hn::Vec<D> load(const std::int16_t* values) const { return hn::LoadU(d, values); }
    HWY_INLINE hn::Vec<D> load(const std::uint16_t* values) const {
        return hn::Xor(hn::LoadU(d, reinterpret_cast<const std::int16_t*>(values)), hn::Set(d, -32768));
    }
    HWY_INLINE void add(hn::Vec<D> zeroed, hn::Vec<D> forMinimum, hn::Vec<D> forMaximum) {
        auto unused = hn::Zero(D32());
        if constexpr (withSum) {
            sum = hn::ReorderWidenMulAccumulate(D32(), zeroed, hn::Set(d, 1), sum, unused);
        }
        if constexpr (withSquares) {
            // Two squares have at most 2^31 together: 32 bits without a sign.
            const auto pairs = hn::BitCast(D64(), hn::ReorderWidenMulAccumulate(D32(), zeroed, zeroed, unused, unused));
            squares = hn::Add(squares, hn::Add(hn::And(pairs, hn::Set(D64(), 0xffffffffU)), hn::ShiftRight<32>(pairs)));
        }
        if constexpr (withExtremes) {
            minimum = hn::Min(minimum, forMinimum);
            maximum = hn::Max(maximum, forMaximum);
        }
    }
    HWY_INLINE void addAll(hn::Vec<D> values) { add(values, values, values); }
    HWY_INLINE void addAlive(hn::Vec<D> values, hn::Mask<D> dead) {
        add(hn::IfThenZeroElse(dead, values), hn::IfThenElse(dead, hn::Set(d, 32767), values),
            hn::IfThenElse(dead, hn::Set(d, -32768), values));
    }
    HWY_INLINE void flush() {
        if constexpr (withSum) {
            allSum += hn::GetLane(hn::SumOfLanes(D32(), sum));
            sum = hn::Zero(D32());
        }
        if constexpr (withSquares) {
            allSquares += hn::GetLane(hn::SumOfLanes(D64(), squares));
            squares = hn::Zero(D64());
        }
    }
    HWY_INLINE std::int64_t total() const { return allSum; }
    HWY_INLINE std::int64_t lowest() const { return hn::GetLane(hn::MinOfLanes(d, minimum)); }
    HWY_INLINE std::int64_t highest() const { return hn::GetLane(hn::MaxOfLanes(d, maximum)); }
};

/// Of the two the one for a type.
template <class T, bool... with>
using SmallSums = std::conditional_t<sizeof(T) == 1, ByteSums<with...>, WordSums<with...>>;

#endif

}  // namespace rix::simd::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif
