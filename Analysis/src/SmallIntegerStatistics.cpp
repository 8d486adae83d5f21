// Groups of samples of 8 and 16 bits: what is asked of them follows from counts of their values, or from exact sums.

#include "SmallIntegerStatistics.h"

#include <algorithm>
#include <atomic>
#include <initializer_list>
#include <limits>
#include <memory>

#include <rix/access/Joins.h>
#include <rix/access/Steps.h>

#include "ClassStatistics.h"
#include "Int128.h"
#include "IntegerSumKernels.h"
#include "ParticipatingRows.h"
#include "ValueCounts.h"

namespace rix::analysis {

namespace {

constexpr double nanosecondsPerVoxel = 0.5;
constexpr double nanosecondsPerSum = 0.05;

using Images = std::initializer_list<const ImageModel*>;

/// Lowers `first` to `place`.
void lower(std::atomic<std::uint64_t>& first, std::uint64_t place) {
    std::uint64_t known = first.load(std::memory_order_relaxed);
    while (place < known && !first.compare_exchange_weak(known, place, std::memory_order_relaxed)) {
    }
}

/// The first place of a value that occurs. Blocks behind a place where it was found don't search.
template <class T>
std::uint64_t placeOf(access::ExecutionContext& context, const Group& group, double value) {
    struct Nothing {};
    std::atomic<std::uint64_t> found{std::numeric_limits<std::uint64_t>::max()};
    const auto open = [&](const access::Plan& plan) {
        return [rows = ParticipatingRows<T>(*group.image, group.mask, plan), wanted = static_cast<T>(value), &found](
                   Nothing&, const access::RowSegment& segment, std::size_t first) mutable {
            if (first >= found.load(std::memory_order_relaxed)) {
                return;
            }
            rows.open(segment);
            if (const std::size_t at = rows.find(wanted); at < segment.count) {
                lower(found, first + at);
            }
        };
    };
    withMask(*group.image, group.mask, [&](Images images) {
        access::reduceRows<Nothing>(
            context, images, nanosecondsPerVoxel, open, [](Nothing nothing) { return nothing; },
            [](Nothing&, const Nothing&) {});
    });
    return found;
}

/// How often each value of an image of 8 or 16 bits occurs where the mask is not 0.
template <class T>
Counts countsOfValues(access::ExecutionContext& context, const Group& group) {
    constexpr std::size_t values = std::size_t{1} << (8 * sizeof(T));
    if (group.mask == nullptr && hasCountableRange(*group.image)) {
        return std::move(countValues(context, *group.image).counts);
    }
    const auto add = [](std::uint64_t* counts, std::span<const T> samples) {
        constexpr int lowest = std::numeric_limits<T>::min();
        for (const T sample : samples) {
            ++counts[static_cast<int>(sample) - lowest];
        }
    };
    return countSamples<T>(context, *group.image, group.mask, nanosecondsPerVoxel, values, add);
}

/// The sum in two parts, the mean, and the sum of the squared distances to it: from exact sums, so that they have the
/// same bits whatever else is asked for.
void setSums(std::uint64_t count, Int128 sum, Int128 squares, Moments& moments) {
    moments.sum = static_cast<double>(sum);
    moments.sumRest = static_cast<double>(sum - static_cast<Int128>(moments.sum));
    moments.mean = moments.total() / moments.count;
    moments.second = static_cast<double>(static_cast<Int128>(count) * squares - sum * sum) / moments.count;
}

/// Of samples of 8 or 16 bits: all follows from the counts of their values.
template <class T>
void measureCounts(access::ExecutionContext& context, const Group& group, const StatisticRequest& request,
                   GroupStatistics& result) {
    constexpr int lowest = std::numeric_limits<T>::min();
    constexpr std::size_t values = std::size_t{1} << (8 * sizeof(T));
    const Counts counts = countsOfValues<T>(context, group);
    const auto valueOf = [](std::size_t index) { return static_cast<double>(index) + lowest; };
    Moments& moments = result.moments;
    std::uint64_t count = 0;
    Int128 sum = 0;
    Int128 squares = 0;
    for (std::size_t i = 0; i < values; ++i) {
        const Int128 value = static_cast<Int128>(i) + lowest;
        count += counts[i];
        sum += static_cast<Int128>(counts[i]) * value;
        squares += static_cast<Int128>(counts[i]) * value * value;
    }
    moments.count = static_cast<double>(count);
    if (count == 0) {
        return;
    }
    setSums(count, sum, squares, moments);
    double rests[2] = {};
    for (std::size_t i = 0; i < values; ++i) {
        const double distance = valueOf(i) - moments.mean;
        const double cube = static_cast<double>(counts[i]) * distance * distance * distance;
        addExactly(moments.third, rests[0], cube);
        addExactly(moments.fourth, rests[1], cube * distance);
    }
    moments.third += rests[0];
    moments.fourth += rests[1];
    const auto occurs = [](std::uint64_t times) { return times > 0; };
    result.minimum =
        valueOf(static_cast<std::size_t>(std::find_if(counts.begin(), counts.end(), occurs) - counts.begin()));
    result.maximum =
        valueOf(static_cast<std::size_t>(counts.rend() - std::find_if(counts.rbegin(), counts.rend(), occurs)) - 1);
    if (request.needsClasses()) {
        describeClasses(counts, moments.count, valueOf, result);
    }
    const auto atRank = [&](std::uint64_t rank) {
        std::size_t i = 0;
        while (rank >= counts[i]) {
            rank -= counts[i++];
        }
        return valueOf(i);
    };
    setQuantiles(request.quantiles, atRank, result);
}

/// What integers sum up to, wherever they are.
struct ExactSums {
    std::uint64_t count = 0;
    Int128 sum = 0;
    Int128 squares = 0;
    IntegerSums extremes;

    void join(const ExactSums& other) {
        count += other.count;
        sum += other.sum;
        squares += other.squares;
        extremes.lowest = std::min(extremes.lowest, other.extremes.lowest);
        extremes.highest = std::max(extremes.highest, other.extremes.highest);
    }
};

/// Count, sum, variance and extremes, in one pass at the speed of memory.
template <class T>
void measureSums(access::ExecutionContext& context, OptimLevelType level, const Group& group,
                 const StatisticRequest& request, GroupStatistics& result) {
    const AddIntegers<T> addTo = addIntegers<T>(level, request.powers() > 0, request.needsExtremes());
    ExactSums all;
    const auto open = [&](const access::Plan& plan) {
        return [rows = ParticipatingRows<T>(*group.image, group.mask, plan), addTo](
                   ExactSums& sums, const access::RowSegment& segment) mutable {
            rows.open(segment);
            rows.forEachStretch([&](std::span<const T> samples) {
                ExactSums piece;
                piece.count = samples.size();
                addTo(samples.data(), samples.size(), piece.extremes);
                piece.sum = piece.extremes.sum;
                piece.squares = piece.extremes.squares;
                sums.join(piece);
            });
        };
    };
    withMask(*group.image, group.mask, [&](Images images) {
        access::accumulateRows<ExactSums>(
            context, images, nanosecondsPerSum, [] { return std::make_unique<ExactSums>(); }, open,
            [&](const ExactSums& sums) { all.join(sums); });
    });
    Moments& moments = result.moments;
    moments.count = static_cast<double>(all.count);
    if (all.count == 0) {
        return;
    }
    setSums(all.count, all.sum, all.squares, moments);
    result.minimum = static_cast<double>(all.extremes.lowest);
    result.maximum = static_cast<double>(all.extremes.highest);
}

}  // namespace

template <class T>
void measureSmallIntegers(access::ExecutionContext& context, OptimLevelType level, const Group& group,
                          const StatisticRequest& request, GroupStatistics& result) {
    const bool findsMinimum = request.measures.has(Statistic::MinimumPosition);
    const bool findsMaximum = request.measures.has(Statistic::MaximumPosition);
    const access::Steps steps(context, {1.0, findsMinimum ? 0.5 : 0.0, findsMaximum ? 0.5 : 0.0});
    if (request.powers() > 2 || request.needsClasses() || !request.quantiles.empty()) {
        measureCounts<T>(context, group, request, result);
    } else {
        measureSums<T>(context, level, group, request, result);
    }
    if (findsMinimum && result.moments.count > 0) {
        result.minimumAt = placeOf<T>(context, group, result.minimum);
    }
    if (findsMaximum && result.moments.count > 0) {
        result.maximumAt = placeOf<T>(context, group, result.maximum);
    }
}

template void measureSmallIntegers<std::uint8_t>(access::ExecutionContext&, OptimLevelType, const Group&,
                                                 const StatisticRequest&, GroupStatistics&);
template void measureSmallIntegers<std::int8_t>(access::ExecutionContext&, OptimLevelType, const Group&,
                                                const StatisticRequest&, GroupStatistics&);
template void measureSmallIntegers<std::uint16_t>(access::ExecutionContext&, OptimLevelType, const Group&,
                                                  const StatisticRequest&, GroupStatistics&);
template void measureSmallIntegers<std::int16_t>(access::ExecutionContext&, OptimLevelType, const Group&,
                                                 const StatisticRequest&, GroupStatistics&);

}  // namespace rix::analysis
