#include "GroupStatistics.h"

#include <algorithm>
#include <atomic>
#include <cmath>
#include <initializer_list>
#include <limits>

#include <rix/access/BlockSize.h>
#include <rix/access/Joins.h>
#include <rix/access/MemoryAccount.h>
#include <rix/access/Steps.h>
#include <rix/access/VoxelTypeLists.h>

#include "Int128.h"
#include "ParticipatingRows.h"
#include "RankSelection.h"
#include "ValueCounts.h"

namespace rix::analysis {

namespace {

constexpr double nanosecondsPerVoxel = 0.5;
constexpr std::size_t classes = 256;
/// Tables that take turns in counting: neighbours are often alike, and a count waits for the one before of its class.
constexpr std::size_t classTables = 4;

using SmallTypes = access::TypeList<std::uint8_t, std::int8_t, std::uint16_t, std::int16_t>;
using Images = std::initializer_list<const ImageModel*>;

struct SummaryLeaf {
    LaneSums sums;
    Summary summary;
};

template <class T>
Summary summarise(access::ExecutionContext& context, OptimLevelType level, const Group& group) {
    const StatisticKernels<T> kernels = statisticKernels<T>(level);
    const auto open = [&](const access::Plan& plan) {
        return [rows = ParticipatingRows<T>(*group.image, group.mask, plan), kernels](
                   SummaryLeaf& leaf, const access::RowSegment& segment, std::size_t first) mutable {
            Summary piece;
            rows.open(segment);
            rows.forEachPiece([&](std::span<const T> samples) {
                kernels.addSums(samples.data(), samples.size(), leaf.sums);
                kernels.findExtremes(samples.data(), samples.size(), piece.minimum, piece.maximum);
            });
            piece.nanCount = rows.nanCount;
            piece.infiniteCount = rows.infiniteCount;
            if (piece.minimum < leaf.summary.minimum) {
                piece.minimumAt = first + rows.find(static_cast<T>(piece.minimum));
            }
            if (piece.maximum > leaf.summary.maximum) {
                piece.maximumAt = first + rows.find(static_cast<T>(piece.maximum));
            }
            leaf.summary.join(piece);
        };
    };
    const auto finish = [](SummaryLeaf leaf) {
        leaf.summary.moments = leaf.sums.moments();
        return leaf.summary;
    };
    const auto join = [](Summary& left, const Summary& right) { left.join(right); };
    return withMask(*group.image, group.mask, [&](Images images) {
        return access::reduceRows<SummaryLeaf>(context, images, nanosecondsPerVoxel, open, finish, join);
    });
}

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

/// How many samples fall into each of the classes of equal width between the extremes.
template <class T>
Counts countsOfClasses(access::ExecutionContext& context, OptimLevelType level, const Group& group, double minimum,
                       double maximum) {
    const double first = minimum / 2;  // halves: twice the largest real is none
    const double scale = classes / (maximum / 2 - first);
    const double finiteScale = std::isfinite(scale) ? scale : 0.0;
    const auto classify = statisticKernels<T>(level).classify;
    const auto add = [&](std::uint64_t* counts, std::span<const T> samples) {
        std::int32_t classOf[ParticipatingRows<T>::pieceSamples];
        classify(samples.data(), samples.size(), first, finiteScale, classOf);
        std::size_t i = 0;
        for (; i + classTables <= samples.size(); i += classTables) {
            for (std::size_t table = 0; table < classTables; ++table) {
                ++counts[table * classes + static_cast<std::size_t>(classOf[i + table])];
            }
        }
        for (; i < samples.size(); ++i) {
            ++counts[static_cast<std::size_t>(classOf[i])];
        }
    };
    Counts counts = countSamples<T>(context, *group.image, group.mask, nanosecondsPerVoxel, classTables * classes, add);
    for (std::size_t i = classes; i < counts.size(); ++i) {
        counts[i % classes] += counts[i];
    }
    counts.resize(classes);
    return counts;
}

/// Entropy and mode of classes: `valueOf(index)` is the value that stands for one.
template <class ValueOf>
void describeClasses(const Counts& counts, double total, const ValueOf& valueOf, GroupStatistics& result) {
    double entropy = 0;
    double rest = 0;
    std::size_t most = 0;
    for (std::size_t i = 0; i < counts.size(); ++i) {
        if (counts[i] > 0) {
            const double share = static_cast<double>(counts[i]) / total;
            addExactly(entropy, rest, -share * std::log(share));
        }
        most = counts[i] > counts[most] ? i : most;
    }
    result.entropy = entropy + rest + 0.0;
    result.mode = valueOf(most);
}

/// The rank at or below the place of a quantile among `count` sorted values, and the next.
struct Bracket {
    std::uint64_t below;
    std::uint64_t above;
    double share;  ///< of the way between them

    Bracket(double quantile, std::uint64_t count) {
        const double place = quantile * static_cast<double>(count - 1);
        below = std::min(static_cast<std::uint64_t>(place), count - 1);
        above = std::min(below + 1, count - 1);
        share = place - static_cast<double>(below);
    }
};

/// `atRank(rank)` is the value of a rank.
template <class AtRank>
void setQuantiles(std::span<const double> quantiles, const AtRank& atRank, GroupStatistics& result) {
    for (const double quantile : quantiles) {
        const Bracket bracket(quantile, static_cast<std::uint64_t>(result.moments.count));
        const double low = atRank(bracket.below);
        const double high = atRank(bracket.above);
        result.quantiles.push_back(bracket.share == 0 || low == high ? low : low + (high - low) * bracket.share);
    }
}

/// Of samples of 8 or 16 bits: all follows from the counts of their values.
template <class T>
void measureCounts(access::ExecutionContext& context, const Group& group, std::span<const double> quantiles,
                   GroupStatistics& result) {
    constexpr int lowest = std::numeric_limits<T>::min();
    constexpr std::size_t values = std::size_t{1} << (8 * sizeof(T));
    const access::Steps steps(context, {1.0, 0.5, 0.5});
    const Counts counts = countsOfValues<T>(context, group);
    const auto valueOf = [](std::size_t index) { return static_cast<double>(index) + lowest; };
    Moments& moments = result.moments;
    Int128 sum = 0;
    for (std::size_t i = 0; i < values; ++i) {
        moments.count += static_cast<double>(counts[i]);
        sum += static_cast<Int128>(counts[i]) * (static_cast<Int128>(i) + lowest);
    }
    moments.sum = static_cast<double>(sum);
    moments.sumRest = static_cast<double>(sum - static_cast<Int128>(moments.sum));
    if (moments.count == 0) {
        return;
    }
    moments.mean = moments.total() / moments.count;
    double rests[3] = {};
    for (std::size_t i = 0; i < values; ++i) {
        const double distance = valueOf(i) - moments.mean;
        const double square = static_cast<double>(counts[i]) * distance * distance;
        addExactly(moments.second, rests[0], square);
        addExactly(moments.third, rests[1], square * distance);
        addExactly(moments.fourth, rests[2], square * distance * distance);
    }
    moments.second += rests[0];
    moments.third += rests[1];
    moments.fourth += rests[2];
    const auto occurs = [](std::uint64_t count) { return count > 0; };
    result.minimum =
        valueOf(static_cast<std::size_t>(std::find_if(counts.begin(), counts.end(), occurs) - counts.begin()));
    result.maximum =
        valueOf(static_cast<std::size_t>(counts.rend() - std::find_if(counts.rbegin(), counts.rend(), occurs)) - 1);
    describeClasses(counts, moments.count, valueOf, result);
    const auto atRank = [&](std::uint64_t rank) {
        std::size_t i = 0;
        while (rank >= counts[i]) {
            rank -= counts[i++];
        }
        return valueOf(i);
    };
    setQuantiles(quantiles, atRank, result);
    result.minimumAt = placeOf<T>(context, group, result.minimum);
    result.maximumAt = placeOf<T>(context, group, result.maximum);
}

void selectQuantiles(access::ExecutionContext& context, const Group& group, std::span<const double> quantiles,
                     GroupStatistics& result) {
    const auto count = static_cast<std::uint64_t>(result.moments.count);
    std::vector<std::uint64_t> ranks;
    for (const double quantile : quantiles) {
        const Bracket bracket(quantile, count);
        ranks.insert(ranks.end(), {bracket.below, bracket.above});
    }
    std::sort(ranks.begin(), ranks.end());
    ranks.erase(std::unique(ranks.begin(), ranks.end()), ranks.end());
    const std::vector<double> values = selectRanks(context, *group.image, group.mask, count, ranks);
    const auto atRank = [&](std::uint64_t rank) {
        return values[static_cast<std::size_t>(std::lower_bound(ranks.begin(), ranks.end(), rank) - ranks.begin())];
    };
    setQuantiles(quantiles, atRank, result);
}

/// Of samples of more than 16 bits, read as `T`.
template <class T>
void measureSums(access::ExecutionContext& context, OptimLevelType level, const Group& group,
                 std::span<const double> quantiles, GroupStatistics& result) {
    const access::Steps steps(context, {1.0, 1.0, quantiles.empty() ? 0.0 : 2.0});
    static_cast<Summary&>(result) = summarise<T>(context, level, group);
    if (result.moments.count == 0) {
        return;
    }
    result.minimum += 0.0;  // of the two zeros, +0
    result.maximum += 0.0;
    const Counts counts = countsOfClasses<T>(context, level, group, result.minimum, result.maximum);
    const auto valueOf = [&](std::size_t index) {
        const double share = (static_cast<double>(index) + 0.5) / classes;
        return result.minimum * (1 - share) + result.maximum * share;
    };
    describeClasses(counts, result.moments.count, valueOf, result);
    if (!quantiles.empty()) {
        selectQuantiles(context, group, quantiles, result);
    }
}

}  // namespace

void Summary::join(const Summary& right) {
    moments.join(right.moments);
    if (right.minimum < minimum) {
        minimum = right.minimum;
        minimumAt = right.minimumAt;
    }
    if (right.maximum > maximum) {
        maximum = right.maximum;
        maximumAt = right.maximumAt;
    }
    nanCount += right.nanCount;
    infiniteCount += right.infiniteCount;
}

GroupStatistics measureGroup(access::ExecutionContext& context, OptimLevelType level, const Group& group,
                             std::span<const double> quantiles) {
    GroupStatistics result;
    const VoxelTypes type = group.image->getVoxelType();
    if (access::contains(SmallTypes{}, type)) {
        access::dispatch(SmallTypes{}, type, [&](auto tag) {
            measureCounts<typename decltype(tag)::type>(context, group, quantiles, result);
        });
    } else if (type == RIX_FLOAT32) {
        measureSums<float>(context, level, group, quantiles, result);
    } else {
        measureSums<double>(context, level, group, quantiles, result);
    }
    if (result.moments.count == 0) {
        constexpr double none = std::numeric_limits<double>::quiet_NaN();
        result.minimum = result.maximum = result.moments.mean = result.entropy = result.mode = none;
        result.quantiles.assign(quantiles.size(), none);
    }
    return result;
}

std::size_t groupMemory(VoxelTypes type, std::size_t voxels, std::size_t threads, bool withQuantiles) {
    // Of a block: its samples as they are where they must be copied, and in double precision.
    const bool isSmall = access::contains(SmallTypes{}, type);
    constexpr std::size_t block = access::usualBlockBytes;
    const std::size_t rows = isSmall ? block : type == RIX_FLOAT64 ? 2 * block : 3 * block;
    std::size_t tables = 0;
    if (isSmall) {
        tables = (sizeof(std::uint64_t) << (8 * helper::getSizeOf(type))) + countingMemory(threads);
    } else {
        tables =
            withQuantiles ? selectionMemory(threads) : (threads + 1) * classTables * classes * sizeof(std::uint64_t);
    }
    return (voxels / access::leafElements + 1) * sizeof(Summary) + threads * (rows + 2 * access::Scratch::granularity) +
           tables;
}

}  // namespace rix::analysis
