#include "LocalStatisticsKernels.h"

#include <cmath>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "LocalStatisticsKernels.cpp"
#include <rix/simd/KernelTargets.h>

#include <hwy/highway.h>

#include <rix/access/Stores-inl.h>

HWY_BEFORE_NAMESPACE();
namespace rix::filtering::smoothing::HWY_NAMESPACE {

template <class Sum>
using TotalRow = void (*)(const Sum* columns, std::size_t count, std::size_t window, const Sum& first, float* out,
                          const LocalResult& result);

/// Holds all differences of two samples.
template <std::size_t bytes>
struct DifferenceOf {
    using Type = std::int32_t;
    using Square = std::uint32_t;
};
template <>
struct DifferenceOf<4> {
    using Type = std::int64_t;
    using Square = std::uint64_t;
};

template <class Sum, class T>
HWY_INLINE void enter(T sample, T origin, Sum& sums) {
    using Difference = DifferenceOf<sizeof(T)>;
    const auto difference =
        static_cast<typename Difference::Type>(sample) - static_cast<typename Difference::Type>(origin);
    const auto bits = static_cast<typename Difference::Square>(difference);
    sums.sum += static_cast<decltype(sums.sum)>(difference);
    sums.squares += static_cast<decltype(sums.squares)>(static_cast<typename Difference::Square>(bits * bits));
}

template <class Sum, class T>
HWY_INLINE void leave(T sample, T origin, Sum& sums) {
    using Difference = DifferenceOf<sizeof(T)>;
    const auto difference =
        static_cast<typename Difference::Type>(sample) - static_cast<typename Difference::Type>(origin);
    const auto bits = static_cast<typename Difference::Square>(difference);
    sums.sum -= static_cast<decltype(sums.sum)>(difference);
    sums.squares -= static_cast<decltype(sums.squares)>(static_cast<typename Difference::Square>(bits * bits));
}

template <class T, class Sum>
void addSamples(const T* in, T origin, Sum* sums, std::size_t count) {
    for (std::size_t i = 0; i < count; ++i) {
        enter(in[i], origin, sums[i]);
    }
}

template <class T, class Sum>
void slideSamples(const T* in, const T* out, T origin, Sum* sums, std::size_t count) {
    for (std::size_t i = 0; i < count; ++i) {
        enter(in[i], origin, sums[i]);
        leave(out[i], origin, sums[i]);
    }
}

template <class Sum>
void addSums(const Sum* in, Sum* sums, std::size_t count) {
    for (std::size_t i = 0; i < count; ++i) {
        sums[i].sum += in[i].sum;
        sums[i].squares += in[i].squares;
    }
}

template <class Sum>
void slideSums(const Sum* in, const Sum* out, Sum* sums, std::size_t count) {
    for (std::size_t i = 0; i < count; ++i) {
        sums[i].sum += in[i].sum - out[i].sum;
        sums[i].squares += in[i].squares - out[i].squares;
    }
}

/// A sum as the number that it is.
HWY_INLINE std::int64_t signedSum(std::uint32_t sum) {
    return static_cast<std::int32_t>(sum);
}
HWY_INLINE std::int64_t signedSum(std::uint64_t sum) {
    return static_cast<std::int64_t>(sum);
}

/// Variances from numerators, which are those times the square of the voxels; in place of the numerators.
HWY_INLINE void finish(const double* numerators, std::size_t count, const LocalResult& result, float* out) {
    const auto voxels = static_cast<double>(result.voxels);
    const double factor = 1.0 / (voxels * voxels);
    if (result.statistic == LocalStatistic::Variance) {
        for (std::size_t i = 0; i < count; ++i) {
            out[i] = static_cast<float>(numerators[i] * factor);
        }
        return;
    }
    for (std::size_t i = 0; i < count; ++i) {
        out[i] = __builtin_sqrtf(static_cast<float>(numerators[i] * factor));
    }
}

template <class Sum>
void total(const Sum* columns, std::size_t count, std::size_t window, const Sum& first, float* out,
           const LocalResult& result) {
    constexpr std::size_t piece = 256;
    double sums[piece];
    double squares[piece];
    const auto voxels = static_cast<double>(result.voxels);
    auto sum = first.sum;
    auto square = first.squares;
    for (std::size_t begin = 0; begin < count; begin += piece) {
        const std::size_t n = begin + piece < count ? piece : count - begin;
        const Sum* const leaving = columns + begin;
        const Sum* const entering = leaving + window;
        // The last sums of the row have nothing behind them.
        const std::size_t steps = begin + n < count ? n : n - 1;
        const auto slide = [&](std::size_t i) HWY_ATTR {
            if (i < steps) {
                sum += entering[i].sum - leaving[i].sum;
                square += entering[i].squares - leaving[i].squares;
            }
        };
        if (result.statistic == LocalStatistic::Mean) {
            for (std::size_t i = 0; i < n; ++i) {
                sums[i] = static_cast<double>(signedSum(sum) + result.origin * result.voxels);
                slide(i);
            }
            for (std::size_t i = 0; i < n; ++i) {
                out[begin + i] = static_cast<float>(sums[i] / voxels);
            }
            continue;
        }
        if (result.isSmall) {
            for (std::size_t i = 0; i < n; ++i) {
                sums[i] = static_cast<double>(signedSum(sum));
                squares[i] = static_cast<double>(static_cast<std::int64_t>(square));
                slide(i);
            }
            for (std::size_t i = 0; i < n; ++i) {
                squares[i] = voxels * squares[i] - sums[i] * sums[i];
            }
        } else {
            for (std::size_t i = 0; i < n; ++i) {
                const WideInteger ofSamples = signedSum(sum);
                squares[i] =
                    static_cast<double>(static_cast<WideInteger>(square) * result.voxels - ofSamples * ofSamples);
                slide(i);
            }
        }
        finish(squares, n, result, out + begin);
    }
}

template <class Sum, access::Stores>
constexpr TotalRow<Sum> totalRow = &total<Sum>;

#if HWY_TARGET != HWY_SCALAR
namespace hn = hwy::HWY_NAMESPACE;

using NarrowSum = TwinSum<std::uint32_t, std::uint32_t>;
using Pairs = hn::ScalableTag<std::uint64_t>;
using PairVector = hn::Vec<Pairs>;

/// Adds both sums of pairs.
HWY_INLINE PairVector addPairs(PairVector a, PairVector b) {
    const hn::Repartition<std::uint32_t, Pairs> halves;
    return hn::BitCast(Pairs(), hn::Add(hn::BitCast(halves, a), hn::BitCast(halves, b)));
}

/// The running sums of the pairs of a vector, by adding those 1, 2, 4 ... further before.
class PairScan {
public:
    HWY_INLINE PairScan() {
        const Pairs d;
        const std::size_t lanes = hn::Lanes(d);
        HWY_ALIGN std::uint64_t from[HWY_LANES(std::uint64_t)];
        for (std::size_t step = 0; step < steps; ++step) {
            for (std::size_t i = 0; i < lanes; ++i) {
                from[i] = i < (std::size_t{1} << step) ? 0 : i - (std::size_t{1} << step);
            }
            m_from[step] = hn::Load(d, from);
            for (std::size_t i = 0; i < lanes; ++i) {
                from[i] = i < (std::size_t{1} << step) ? 0 : ~std::uint64_t{0};
            }
            m_kept[step] = hn::Load(d, from);
        }
        m_last = hn::Set(d, lanes - 1);
    }

    HWY_INLINE PairVector sums(PairVector pairs) const {
        const Pairs d;
        HWY_UNROLL(3)
        for (std::size_t step = 0; step < steps; ++step) {
            const auto before = hn::TableLookupLanes(pairs, hn::IndicesFromVec(d, m_from[step]));
            pairs = addPairs(pairs, hn::And(before, m_kept[step]));
        }
        return pairs;
    }
    HWY_INLINE PairVector last(PairVector pairs) const {
        return hn::TableLookupLanes(pairs, hn::IndicesFromVec(Pairs(), m_last));
    }

private:
    static constexpr std::size_t steps = HWY_LANES(std::uint64_t) == 8 ? 3 : HWY_LANES(std::uint64_t) == 4 ? 2 : 1;

    PairVector m_from[steps];
    PairVector m_kept[steps];
    PairVector m_last;
};

/// Results of a line of the cache.
constexpr std::size_t lineResults = access::lineBytes / sizeof(float);

/// In every lane by how much a window's sums change in so many steps.
HWY_INLINE PairVector sumOfSteps(const std::uint64_t* pairs, std::size_t steps, std::size_t window) {
    const hn::Repartition<std::uint32_t, Pairs> halves;
    auto sum = hn::Zero(halves);
    for (std::size_t i = 0; i < steps; ++i) {
        const auto entering = hn::BitCast(halves, hn::Set(Pairs(), pairs[i + window]));
        sum = hn::Add(sum, hn::Sub(entering, hn::BitCast(halves, hn::Set(Pairs(), pairs[i]))));
    }
    return hn::BitCast(Pairs(), sum);
}

/// `total` for pairs of 32 bits in vectors: every step up to a quotient or a root is exact in both. Of means the
/// numerators fit a float (`hasNarrowMeans`).
template <LocalStatistic statistic, access::Stores stores>
void totalPairs(const NarrowSum* columns, std::size_t count, std::size_t window, const NarrowSum& first, float* out,
                const LocalResult& result) {
    const Pairs d;
    const hn::RebindToFloat<Pairs> ofReals;
    const hn::Rebind<float, Pairs> ofHalf;
    const hn::ScalableTag<float> ofResults;
    const hn::Repartition<std::int32_t, Pairs> ofSums;
    const hn::Repartition<std::uint32_t, Pairs> halves;
    const std::size_t lanes = hn::Lanes(d);
    const auto* const pairs = reinterpret_cast<const std::uint64_t*>(columns);
    const auto number = static_cast<double>(result.voxels);
    const auto voxels = hn::Set(halves, static_cast<std::uint32_t>(result.voxels));
    const auto factor = hn::Set(ofReals, 1.0 / (number * number));
    constexpr double magic = 0x1p52;  // whole numbers below it are the last bits of their sum with it
    const auto whole = hn::Set(ofReals, magic);
    constexpr std::uint64_t half = std::uint64_t{1} << 31;  // makes signed sums positive
    const auto bias = hn::Set(d, half);
    const auto lowHalf = hn::Set(d, 2 * half - 1);
    const auto origin =
        hn::Set(ofReals, magic + static_cast<double>(half) - static_cast<double>(result.origin * result.voxels));
    const auto divisor = hn::Set(ofResults, static_cast<float>(result.voxels));
    const PairScan scan;
    auto carry = hn::Set(d, std::uint64_t{first.squares} << 32 | first.sum);
    // What follows on the sum of the result before: a vector of numerators, or of variances.
    const auto next = [&](std::size_t x) HWY_ATTR {
        const auto leaving = hn::BitCast(halves, hn::LoadU(d, pairs + x - 1));
        const auto entering = hn::BitCast(halves, hn::LoadU(d, pairs + x - 1 + window));
        const auto sums = scan.sums(hn::BitCast(d, hn::Sub(entering, leaving)));
        const auto totals = addPairs(sums, carry);
        carry = addPairs(carry, scan.last(sums));
        if constexpr (statistic == LocalStatistic::Mean) {
            const auto positive = hn::And(hn::Add(totals, bias), lowHalf);
            return hn::DemoteTo(ofHalf, hn::Sub(hn::BitCast(ofReals, hn::Or(positive, hn::BitCast(d, whole))), origin));
        } else {
            const auto ofSamples = hn::BitCast(ofSums, totals);
            const auto squareOfSum = hn::BitCast(d, hn::MulEven(ofSamples, ofSamples));
            const auto squares = hn::MulEven(hn::BitCast(halves, hn::ShiftRight<32>(totals)), voxels);
            const auto numerators = hn::Sub(squares, squareOfSum);
            const auto reals = hn::Sub(hn::BitCast(ofReals, hn::Or(numerators, hn::BitCast(d, whole))), whole);
            return hn::DemoteTo(ofHalf, hn::Mul(reals, factor));
        }
    };
    std::size_t x = 1;
    if constexpr (stores == access::Stores::Streaming) {
        x = access::samplesBeforeLine(out, sizeof(float), count);
        x = x == 0 ? lineResults : x;
    }
    if (x + 2 * lanes > count) {
        total<NarrowSum>(columns, count, window, first, out, result);
        return;
    }
    total<NarrowSum>(columns, x, window, first, out, result);
    carry = addPairs(carry, sumOfSteps(pairs, x - 1, window));
    for (; x + 2 * lanes <= count; x += 2 * lanes) {
        const auto low = next(x);
        const auto both = hn::Combine(ofResults, next(x + lanes), low);
        access::HWY_NAMESPACE::storeTo<stores>(statistic == LocalStatistic::Mean       ? hn::Div(both, divisor)
                                               : statistic == LocalStatistic::Variance ? both
                                                                                       : hn::Sqrt(both),
                                               ofResults, out + x);
    }
    if (x < count) {
        HWY_ALIGN std::uint64_t last[HWY_LANES(std::uint64_t)];
        hn::Store(addPairs(carry, sumOfSteps(pairs + x - 1, 1, window)), d, last);
        total<NarrowSum>(columns + x, count - x, window, *reinterpret_cast<const NarrowSum*>(last), out + x, result);
    }
}

/// Whether sums of 8-bit samples are exact in a float: then their quotient by the voxels is the same as that in
/// doubles, rounded (S. A. Figueroa, When is double rounding innocuous?, 1995).
HWY_INLINE bool hasNarrowMeans(const LocalResult& result) {
    return result.voxels * 255 <= std::int64_t{1} << 24;
}

template <access::Stores stores>
void totalNarrow(const NarrowSum* columns, std::size_t count, std::size_t window, const NarrowSum& first, float* out,
                 const LocalResult& result) {
    if (result.statistic == LocalStatistic::Variance) {
        totalPairs<LocalStatistic::Variance, stores>(columns, count, window, first, out, result);
    } else if (result.statistic == LocalStatistic::StandardDeviation) {
        totalPairs<LocalStatistic::StandardDeviation, stores>(columns, count, window, first, out, result);
    } else if (hasNarrowMeans(result)) {
        totalPairs<LocalStatistic::Mean, stores>(columns, count, window, first, out, result);
    } else {
        total<NarrowSum>(columns, count, window, first, out, result);
    }
}

template <>
constexpr TotalRow<NarrowSum> totalRow<NarrowSum, access::Stores::Cached> = &totalNarrow<access::Stores::Cached>;
template <>
constexpr TotalRow<NarrowSum> totalRow<NarrowSum, access::Stores::Streaming> = &totalNarrow<access::Stores::Streaming>;
#endif

template <class Twin>
LocalStatisticsKernels<Twin> kernels(access::Stores stores) {
    using T = typename Twin::Sample;
    using Sum = typename Twin::Sum;
    using access::Stores;
    return {&addSamples<T, Sum>, &slideSamples<T, Sum>, &addSums<Sum>, &slideSums<Sum>,
            stores == Stores::Streaming ? totalRow<Sum, Stores::Streaming> : totalRow<Sum, Stores::Cached>};
}

}  // namespace rix::filtering::smoothing::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace rix::filtering::smoothing {

template <class Twin>
LocalStatisticsKernels<Twin> localStatisticsKernels(OptimLevelType level, access::Stores stores) {
    return RIX_SELECT_KERNELS(level, kernels<Twin>(stores));
}

#define RIX_INSTANTIATE(...)                                                                                         \
    template LocalStatisticsKernels<TwinOf<__VA_ARGS__>> localStatisticsKernels<TwinOf<__VA_ARGS__>>(OptimLevelType, \
                                                                                                     access::Stores);
RIX_INSTANTIATE(std::uint8_t, true)
RIX_INSTANTIATE(std::int8_t, true)
RIX_INSTANTIATE(std::uint8_t, false)
RIX_INSTANTIATE(std::int8_t, false)
RIX_INSTANTIATE(std::uint16_t, false)
RIX_INSTANTIATE(std::int16_t, false)
RIX_INSTANTIATE(std::uint32_t, false)
RIX_INSTANTIATE(std::int32_t, false)
#undef RIX_INSTANTIATE

}  // namespace rix::filtering::smoothing
#endif
