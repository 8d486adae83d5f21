#include "IntensityKernels.h"

#include <cstdint>
#include <type_traits>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "gathering/IntensityKernels.cpp"
#include <rix/simd/KernelTargets.h>

#include <hwy/cache_control.h>
#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace rix::individual_analysis::HWY_NAMESPACE {

namespace hn = hwy::HWY_NAMESPACE;

// Runs are short, so what counts is their ends: the pixels that are left over at the end of a run are taken by a vector
// that ends where the run ends, in which the pixels that were had before, or belong to the run before, are dead.

constexpr std::size_t lanes = 8;

/// Asks for the values that will be wanted soon: the processor's own prefetch stops at the ends of pages.
template <class T>
HWY_INLINE void askAhead(const T* values) {
    hwy::Prefetch(values + 2048 / sizeof(T));
}

/// Sums of integers about 0, from which those about a shift follow exactly: all is exact modulo 2^64.
HWY_INLINE void finish(RunSums& sums, std::uint64_t count, std::int64_t sum, std::uint64_t squares,
                       std::int64_t shift) {
    const auto s = static_cast<std::uint64_t>(shift);
    const auto about = static_cast<std::uint64_t>(sum);
    sums.sum = static_cast<double>(sum - static_cast<std::int64_t>(count) * shift);
    sums.squares = static_cast<double>(squares - 2 * s * about + count * s * s);
}

#if HWY_TARGET == HWY_EMU128 || HWY_TARGET == HWY_SCALAR

// Without vectors: plain loops, with the same sums in the same order.

template <class T>
void sumSmallIntegers(const T* row, const Run* runs, std::size_t count, const double* shifts, RunSums* sums) {
    for (std::size_t i = 0; i < count; ++i) {
        std::int64_t sum = 0;
        std::uint64_t squares = 0;
        T minimum = row[runs[i].begin];
        T maximum = minimum;
        for (std::size_t x = runs[i].begin; x < runs[i].end; ++x) {
            const T value = row[x];
            const auto wide = static_cast<std::int64_t>(value);
            sum += wide;
            squares += static_cast<std::uint64_t>(wide * wide);
            minimum = value < minimum ? value : minimum;
            maximum = value > maximum ? value : maximum;
        }
        finish(sums[i], runs[i].end - runs[i].begin, sum, squares, static_cast<std::int64_t>(shifts[i]));
        sums[i].minimum = static_cast<double>(minimum);
        sums[i].maximum = static_cast<double>(maximum);
    }
}

double addLanes(const double* lane) {
    return ((lane[0] + lane[4]) + (lane[2] + lane[6])) + ((lane[1] + lane[5]) + (lane[3] + lane[7]));
}

template <class T>
void sumReals(const T* row, const Run* runs, std::size_t count, const double* shifts, RunSums* sums) {
    for (std::size_t i = 0; i < count; ++i) {
        double sum[lanes] = {};
        double squares[lanes] = {};
        double minimum = __builtin_inf();
        double maximum = -__builtin_inf();
        const std::size_t end = runs[i].end;
        for (std::size_t x = runs[i].begin; x < end;) {
            for (std::size_t l = end - x >= lanes ? 0 : lanes - (end - x); l < lanes; ++l, ++x) {
                const auto value = static_cast<double>(row[x]);
                const double difference = value - shifts[i];
                sum[l] += difference;
                squares[l] += difference * difference;
                minimum = value < minimum ? value : minimum;
                maximum = value > maximum ? value : maximum;
            }
        }
        sums[i] = {addLanes(sum), addLanes(squares), minimum, maximum};
    }
}

template <class T>
void sumMoments(const T* row, const Run* runs, std::size_t count, double* moments) {
    for (std::size_t i = 0; i < count; ++i) {
        double sum[lanes] = {};
        const std::size_t begin = runs[i].begin;
        const std::size_t end = runs[i].end;
        for (std::size_t x = begin; x < end;) {
            for (std::size_t l = end - x >= lanes ? 0 : lanes - (end - x); l < lanes; ++l, ++x) {
                sum[l] += static_cast<double>(x - begin) * static_cast<double>(row[x]);
            }
        }
        moments[i] = addLanes(sum);
    }
}

#else

/// What is known of the values of a run of bytes; signed bytes are seen as unsigned ones, 128 higher.
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
        const hn::Repartition<std::int16_t, D> d16;
        sum = hn::Add(sum, hn::SumsOf8(zeroed));
        auto unused = hn::Zero(D32());
        const auto lower = hn::BitCast(d16, hn::InterleaveLower(d, zeroed, hn::Zero(d)));
        const auto upper = hn::BitCast(d16, hn::InterleaveUpper(d, zeroed, hn::Zero(d)));
        squares = hn::ReorderWidenMulAccumulate(D32(), lower, lower, squares, unused);
        squares = hn::ReorderWidenMulAccumulate(D32(), upper, upper, squares, unused);
        minimum = hn::Min(minimum, forMinimum);
        maximum = hn::Max(maximum, forMaximum);
    }
    HWY_INLINE void addAll(hn::Vec<D> values) { add(values, values, values); }
    HWY_INLINE void addAlive(hn::Vec<D> values, hn::Mask<D> dead) {
        const auto zeroed = hn::IfThenZeroElse(dead, values);
        add(zeroed, hn::IfThenElse(dead, hn::Set(d, 255), values), zeroed);
    }
    HWY_INLINE void flush() {
        allSquares += static_cast<std::uint64_t>(hn::GetLane(hn::SumOfLanes(D32(), squares)));
        squares = hn::Zero(D32());
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
        sum = hn::ReorderWidenMulAccumulate(D32(), zeroed, hn::Set(d, 1), sum, unused);
        // Two squares have at most 2^31 together: 32 bits without a sign.
        const auto pairs = hn::BitCast(D64(), hn::ReorderWidenMulAccumulate(D32(), zeroed, zeroed, unused, unused));
        squares = hn::Add(squares, hn::Add(hn::And(pairs, hn::Set(D64(), 0xffffffffU)), hn::ShiftRight<32>(pairs)));
        minimum = hn::Min(minimum, forMinimum);
        maximum = hn::Max(maximum, forMaximum);
    }
    HWY_INLINE void addAll(hn::Vec<D> values) { add(values, values, values); }
    HWY_INLINE void addAlive(hn::Vec<D> values, hn::Mask<D> dead) {
        add(hn::IfThenZeroElse(dead, values), hn::IfThenElse(dead, hn::Set(d, 32767), values),
            hn::IfThenElse(dead, hn::Set(d, -32768), values));
    }
    HWY_INLINE void flush() {
        allSum += hn::GetLane(hn::SumOfLanes(D32(), sum));
        sum = hn::Zero(D32());
        allSquares += hn::GetLane(hn::SumOfLanes(D64(), squares));
        squares = hn::Zero(D64());
    }
    HWY_INLINE std::int64_t total() const { return allSum; }
    HWY_INLINE std::int64_t lowest() const { return hn::GetLane(hn::MinOfLanes(d, minimum)); }
    HWY_INLINE std::int64_t highest() const { return hn::GetLane(hn::MaxOfLanes(d, maximum)); }
};

template <class T>
void sumSmallIntegers(const T* row, const Run* runs, std::size_t count, const double* shifts, RunSums* sums) {
    using Sums = std::conditional_t<sizeof(T) == 1, ByteSums, WordSums>;
    const typename Sums::D d;
    const std::size_t width = hn::Lanes(d);
    for (std::size_t i = 0; i < count; ++i) {
        Sums all;
        std::size_t x = runs[i].begin;
        const std::size_t end = runs[i].end;
        while (end - x >= width) {
            std::size_t steps = (end - x) / width;
            steps = steps < Sums::mostSteps ? steps : Sums::mostSteps;
            for (std::size_t step = 0; step < steps; ++step, x += width) {
                askAhead(row + x);
                all.addAll(all.load(row + x));
            }
            all.flush();
        }
        if (x < end) {
            askAhead(row + x);
            const std::size_t rest = end - x;
            const auto dead = hn::FirstN(d, width - rest);
            if (end >= width) {
                all.addAlive(all.load(row + end - width), dead);
            } else {
                HWY_ALIGN T buffer[HWY_MAX_BYTES / sizeof(T)] = {};
                for (std::size_t k = 0; k < rest; ++k) {
                    buffer[width - rest + k] = row[x + k];
                }
                all.addAlive(all.load(buffer), dead);
            }
            all.flush();
        }
        constexpr std::int64_t bias = Sums::bias(T{});
        finish(sums[i], end - runs[i].begin, all.total(), all.allSquares, static_cast<std::int64_t>(shifts[i]) + bias);
        sums[i].minimum = static_cast<double>(all.lowest() - bias);
        sums[i].maximum = static_cast<double>(all.highest() - bias);
    }
}

using D = hn::CappedTag<double, lanes>;
using V = hn::Vec<D>;
/// Vectors that hold the eight partial sums.
constexpr std::size_t parts = lanes / hn::MaxLanes(D());
constexpr std::size_t width = hn::MaxLanes(D());

HWY_INLINE V loadReals(const double* values) {
    return hn::LoadU(D(), values);
}
HWY_INLINE V loadReals(const float* values) {
    return hn::PromoteTo(D(), hn::LoadU(hn::Rebind<float, D>(), values));
}
HWY_INLINE V loadReals(const std::int32_t* values) {
    return hn::PromoteTo(D(), hn::LoadU(hn::Rebind<std::int32_t, D>(), values));
}
HWY_INLINE V loadReals(const std::uint32_t* values) {
    const hn::Rebind<std::int32_t, D> d32;
    const auto lowered = hn::Xor(hn::LoadU(d32, reinterpret_cast<const std::int32_t*>(values)),
                                 hn::Set(d32, static_cast<std::int32_t>(0x80000000U)));
    return hn::Add(hn::PromoteTo(D(), lowered), hn::Set(D(), 2147483648.0));
}
template <class T>
HWY_INLINE V loadReals(const T* values) {
    return hn::PromoteTo(D(), hn::PromoteTo(hn::Rebind<std::int32_t, D>(), hn::LoadU(hn::Rebind<T, D>(), values)));
}

/// One of the eight values that end with the run, as vectors.
template <class T>
struct LastValues {
    V values[parts];
    hn::Mask<D> dead[parts];

    HWY_INLINE LastValues(const T* row, std::size_t end, std::size_t rest) {
        HWY_ALIGN T buffer[lanes];
        const T* from = row + end - lanes;
        if (end < lanes) {
            for (std::size_t k = 0; k < lanes; ++k) {
                buffer[k] = k < lanes - end ? T{} : row[k - (lanes - end)];
            }
            from = buffer;
        }
        const auto firstAlive = hn::Set(D(), static_cast<double>(lanes - rest));
        for (std::size_t p = 0; p < parts; ++p) {
            values[p] = loadReals(from + p * width);
            dead[p] = hn::Lt(hn::Iota(D(), static_cast<double>(p * width)), firstAlive);
        }
    }
};

/// Halves that are `step` vectors apart are joined until one vector is left, then the halves of that.
template <class Join>
HWY_INLINE double joinLanes(V* part, const Join& join) {
    for (std::size_t half = parts / 2; half > 0; half /= 2) {
        for (std::size_t p = 0; p < half; ++p) {
            part[p] = join(D(), part[p], part[p + half]);
        }
    }
    if constexpr (width == 8) {
        const hn::Half<D> d4;
        const hn::Half<decltype(d4)> d2;
        const hn::Half<decltype(d2)> d1;
        const auto four = join(d4, hn::LowerHalf(d4, part[0]), hn::UpperHalf(d4, part[0]));
        const auto two = join(d2, hn::LowerHalf(d2, four), hn::UpperHalf(d2, four));
        return hn::GetLane(join(d1, hn::LowerHalf(d1, two), hn::UpperHalf(d1, two)));
    } else if constexpr (width == 4) {
        const hn::Half<D> d2;
        const hn::Half<decltype(d2)> d1;
        const auto two = join(d2, hn::LowerHalf(d2, part[0]), hn::UpperHalf(d2, part[0]));
        return hn::GetLane(join(d1, hn::LowerHalf(d1, two), hn::UpperHalf(d1, two)));
    } else {
        const hn::Half<D> d1;
        return hn::GetLane(join(d1, hn::LowerHalf(d1, part[0]), hn::UpperHalf(d1, part[0])));
    }
}

struct Plus {
    template <class Tag, class Vector>
    HWY_INLINE Vector operator()(Tag, Vector a, Vector b) const {
        return hn::Add(a, b);
    }
};
/// Extrema pass over NaN: a comparison with it is false.
struct Lower {
    template <class Tag, class Vector>
    HWY_INLINE Vector operator()(Tag, Vector a, Vector b) const {
        return hn::IfThenElse(hn::Lt(b, a), b, a);
    }
};
struct Higher {
    template <class Tag, class Vector>
    HWY_INLINE Vector operator()(Tag, Vector a, Vector b) const {
        return hn::IfThenElse(hn::Gt(b, a), b, a);
    }
};

template <class T>
void sumReals(const T* row, const Run* runs, std::size_t count, const double* shifts, RunSums* sums) {
    const D d;
    const auto infinity = hn::Set(d, __builtin_inf());
    for (std::size_t i = 0; i < count; ++i) {
        const auto shift = hn::Set(d, shifts[i]);
        V sum[parts];
        V squares[parts];
        V minimum[parts];
        V maximum[parts];
        for (std::size_t p = 0; p < parts; ++p) {
            sum[p] = hn::Zero(d);
            squares[p] = hn::Zero(d);
            minimum[p] = infinity;
            maximum[p] = hn::Neg(infinity);
        }
        std::size_t x = runs[i].begin;
        const std::size_t end = runs[i].end;
        for (; x + lanes <= end; x += lanes) {
            askAhead(row + x);
            for (std::size_t p = 0; p < parts; ++p) {
                const auto value = loadReals(row + x + p * width);
                const auto difference = hn::Sub(value, shift);
                sum[p] = hn::Add(sum[p], difference);
                squares[p] = hn::Add(squares[p], hn::Mul(difference, difference));
                minimum[p] = Lower()(d, minimum[p], value);
                maximum[p] = Higher()(d, maximum[p], value);
            }
        }
        if (x < end) {
            const LastValues<T> last(row, end, end - x);
            for (std::size_t p = 0; p < parts; ++p) {
                const auto difference = hn::IfThenZeroElse(last.dead[p], hn::Sub(last.values[p], shift));
                sum[p] = hn::Add(sum[p], difference);
                squares[p] = hn::Add(squares[p], hn::Mul(difference, difference));
                minimum[p] = Lower()(d, minimum[p], hn::IfThenElse(last.dead[p], infinity, last.values[p]));
                maximum[p] = Higher()(d, maximum[p], hn::IfThenElse(last.dead[p], hn::Neg(infinity), last.values[p]));
            }
        }
        sums[i] = {joinLanes(sum, Plus()), joinLanes(squares, Plus()), joinLanes(minimum, Lower()),
                   joinLanes(maximum, Higher())};
    }
}

template <class T>
void sumMoments(const T* row, const Run* runs, std::size_t count, double* moments) {
    const D d;
    const auto eight = hn::Set(d, static_cast<double>(lanes));
    for (std::size_t i = 0; i < count; ++i) {
        V sum[parts];
        V place[parts];
        for (std::size_t p = 0; p < parts; ++p) {
            sum[p] = hn::Zero(d);
            place[p] = hn::Iota(d, static_cast<double>(p * width));
        }
        std::size_t x = runs[i].begin;
        const std::size_t end = runs[i].end;
        for (; x + lanes <= end; x += lanes) {
            for (std::size_t p = 0; p < parts; ++p) {
                sum[p] = hn::Add(sum[p], hn::Mul(place[p], loadReals(row + x + p * width)));
                place[p] = hn::Add(place[p], eight);
            }
        }
        if (x < end) {
            const LastValues<T> last(row, end, end - x);
            const auto back = hn::Set(d, static_cast<double>(lanes - (end - x)));
            for (std::size_t p = 0; p < parts; ++p) {
                const auto product = hn::Mul(hn::Sub(place[p], back), last.values[p]);
                sum[p] = hn::Add(sum[p], hn::IfThenZeroElse(last.dead[p], product));
            }
        }
        moments[i] = joinLanes(sum, Plus());
    }
}

#endif

template <class T>
IntensityKernels<T> kernels() {
    if constexpr (sizeof(T) <= 2) {
        return {&sumSmallIntegers<T>, &sumMoments<T>};
    } else {
        return {&sumReals<T>, &sumMoments<T>};
    }
}

}  // namespace rix::individual_analysis::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace rix::individual_analysis {

template <class T>
IntensityKernels<T> intensityKernels(OptimLevelType level) {
    return RIX_SELECT_KERNELS(level, kernels<T>());
}

template IntensityKernels<std::uint8_t> intensityKernels<std::uint8_t>(OptimLevelType);
template IntensityKernels<std::uint16_t> intensityKernels<std::uint16_t>(OptimLevelType);
template IntensityKernels<std::uint32_t> intensityKernels<std::uint32_t>(OptimLevelType);
template IntensityKernels<std::int8_t> intensityKernels<std::int8_t>(OptimLevelType);
template IntensityKernels<std::int16_t> intensityKernels<std::int16_t>(OptimLevelType);
template IntensityKernels<std::int32_t> intensityKernels<std::int32_t>(OptimLevelType);
template IntensityKernels<float> intensityKernels<float>(OptimLevelType);
template IntensityKernels<double> intensityKernels<double>(OptimLevelType);

}  // namespace rix::individual_analysis
#endif
