#include "GroupStatistics.h"

#include <algorithm>
#include <cmath>
#include <initializer_list>
#include <limits>
#include <vector>

#include <rix/access/BlockSize.h>
#include <rix/access/Joins.h>
#include <rix/access/MemoryAccount.h>
#include <rix/access/Steps.h>
#include <rix/access/VoxelTypeLists.h>

#include "ClassStatistics.h"
#include "ParticipatingRows.h"
#include "RankSelection.h"
#include "SmallIntegerStatistics.h"
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
Summary summarise(access::ExecutionContext& context, OptimLevelType level, const Group& group,
                  const StatisticRequest& request) {
    const StatisticKernels<T> kernels = statisticKernels<T>(level);
    const auto addSums = kernels.addSums[request.powers()];
    const bool needsSums = request.needsSums();
    const bool needsExtremes = request.needsExtremes() || request.needsClasses();
    const bool needsPositions = request.needsPositions();
    const auto open = [&](const access::Plan& plan) {
        return [=, rows = ParticipatingRows<T>(*group.image, group.mask, plan)](
                   SummaryLeaf& leaf, const access::RowSegment& segment, std::size_t first) mutable {
            Summary piece;
            std::size_t lowFrom = 0;  // where the pieces with the extremes begin
            std::size_t highFrom = 0;
            rows.open(segment);
            const auto look = [&](std::span<const T> samples) { return kernels.look(samples.data(), samples.size()); };
            rows.forEachPieceSeen(look, [&](std::span<const T> samples, const Magnitudes& seen, std::size_t begin) {
                if (needsSums) {
                    addSums(samples.data(), samples.size(), seen, leaf.sums);
                } else {
                    leaf.sums.count += samples.size();
                }
                if (needsExtremes) {
                    const Summary before = piece;
                    kernels.findExtremes(samples.data(), samples.size(), piece.minimum, piece.maximum);
                    lowFrom = piece.minimum < before.minimum ? begin : lowFrom;
                    highFrom = piece.maximum > before.maximum ? begin : highFrom;
                }
            });
            piece.nanCount = rows.nanCount;
            piece.infiniteCount = rows.infiniteCount;
            if (needsPositions && piece.minimum < leaf.summary.minimum) {
                piece.minimumAt = first + rows.find(static_cast<T>(piece.minimum), lowFrom);
            }
            if (needsPositions && piece.maximum > leaf.summary.maximum) {
                piece.maximumAt = first + rows.find(static_cast<T>(piece.maximum), highFrom);
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
void measureReals(access::ExecutionContext& context, OptimLevelType level, const Group& group,
                  const StatisticRequest& request, GroupStatistics& result) {
    const access::Steps steps(context,
                              {1.0, request.needsClasses() ? 1.0 : 0.0, request.quantiles.empty() ? 0.0 : 2.0});
    static_cast<Summary&>(result) = summarise<T>(context, level, group, request);
    if (result.moments.count == 0) {
        return;
    }
    result.minimum += 0.0;  // of the two zeros, +0
    result.maximum += 0.0;
    if (request.needsClasses()) {
        const Counts counts = countsOfClasses<T>(context, level, group, result.minimum, result.maximum);
        const auto valueOf = [&](std::size_t index) {
            const double share = (static_cast<double>(index) + 0.5) / classes;
            return result.minimum * (1 - share) + result.maximum * share;
        };
        describeClasses(counts, result.moments.count, valueOf, result);
    }
    if (!request.quantiles.empty()) {
        selectQuantiles(context, group, request.quantiles, result);
    }
}

}  // namespace

int StatisticRequest::powers() const {
    if (measures.hasAny(Statistic::Skewness, Statistic::Kurtosis)) {
        return 4;
    }
    return measures.hasAny(Statistic::Variance, Statistic::StandardDeviation) ? 2 : 0;
}

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
                             const StatisticRequest& request) {
    GroupStatistics result;
    const VoxelTypes type = group.image->getVoxelType();
    if (access::contains(SmallTypes{}, type)) {
        access::dispatch(SmallTypes{}, type, [&](auto tag) {
            measureSmallIntegers<typename decltype(tag)::type>(context, level, group, request, result);
        });
    } else if (type == RIX_FLOAT32) {
        measureReals<float>(context, level, group, request, result);
    } else {
        measureReals<double>(context, level, group, request, result);
    }
    if (result.moments.count == 0) {
        constexpr double none = std::numeric_limits<double>::quiet_NaN();
        result.minimum = result.maximum = result.moments.mean = result.entropy = result.mode = none;
        result.quantiles.assign(request.quantiles.size(), none);
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
