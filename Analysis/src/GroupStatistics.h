#pragma once

#include <cstdint>
#include <limits>
#include <span>
#include <vector>

#include <rix/access/ExecutionContext.h>
#include <rix/algorithms/OptimLevel.h>
#include <rix/analysis/ImageStatisticsMsr.h>
#include <rix/image/ImageModel.h>

#include "Moments.h"

namespace rix::analysis {

/// A group of voxels: an image, or a part of one as an image, with the mask that belongs to it.
struct Group {
    const ImageModel* image;
    const ImageModel* mask;  ///< null for all voxels
};

/// What one pass over samples tells; what stretches tell joins to what all do.
struct Summary {
    Moments moments;
    double minimum = std::numeric_limits<double>::infinity();
    double maximum = -std::numeric_limits<double>::infinity();
    std::uint64_t minimumAt = 0;  ///< the place of the first in storage order
    std::uint64_t maximumAt = 0;
    std::uint64_t nanCount = 0;
    std::uint64_t infiniteCount = 0;

    /// Adds what `right` tells, which comes behind.
    void join(const Summary& right);
};

/// What is asked of groups.
struct StatisticRequest {
    StatisticSet measures;
    std::span<const double> quantiles;  ///< from 0 to 1

    /// The highest power of distances to the mean that is needed, at least: 0, 2 or 4.
    int powers() const;
    /// The sum or a power.
    bool needsSums() const { return powers() > 0 || measures.hasAny(Statistic::Sum, Statistic::Mean); }
    bool needsClasses() const { return measures.hasAny(Statistic::Entropy, Statistic::Mode); }
    bool needsPositions() const { return measures.hasAny(Statistic::MinimumPosition, Statistic::MaximumPosition); }
    bool needsExtremes() const { return needsPositions() || measures.hasAny(Statistic::Minimum, Statistic::Maximum); }
};

/// What `ImageStatistics` tells of a group of voxels. What was not asked for is anything.
struct GroupStatistics : Summary {
    double entropy = 0;
    double mode = 0;
    std::vector<double> quantiles;
};

GroupStatistics measureGroup(access::ExecutionContext& context, OptimLevelType level, const Group& group,
                             const StatisticRequest& request);

/// Peak bytes of working memory for groups of at most `voxels` voxels.
std::size_t groupMemory(VoxelTypes type, std::size_t voxels, std::size_t threads, bool withQuantiles);

}  // namespace rix::analysis
