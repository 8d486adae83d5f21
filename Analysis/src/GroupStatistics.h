#pragma once

#include <cstdint>
#include <limits>
#include <span>
#include <vector>

#include <rix/access/ExecutionContext.h>
#include <rix/algorithms/OptimLevel.h>
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

/// What `ImageStatistics` tells of a group of voxels.
struct GroupStatistics : Summary {
    double entropy = 0;
    double mode = 0;
    std::vector<double> quantiles;
};

/// @param quantiles from 0 to 1
GroupStatistics measureGroup(access::ExecutionContext& context, OptimLevelType level, const Group& group,
                             std::span<const double> quantiles);

/// Peak bytes of working memory for groups of at most `voxels` voxels.
std::size_t groupMemory(VoxelTypes type, std::size_t voxels, std::size_t threads, bool withQuantiles);

}  // namespace rix::analysis
