#include <algorithm>

#include <rix/access/Plan.h>
#include <rix/image/ImageModel.h>
#include <rix/image/SampleMemory.h>

#include "Access/Cutting.h"

namespace rix::access {

namespace {

/// Columns are cut at multiples of this: between lines of the cache, so that no two blocks write the same one and loads
/// and stores stay within one.
constexpr std::size_t columnGroup = 64;

}  // namespace

Plan cutLines(std::initializer_list<const ImageModel*> images, double nanosecondsPerVoxel) {
    return cutLines(images, nanosecondsPerVoxel, partitionModeOfSettings());
}

Plan cutLines(std::initializer_list<const ImageModel*> images, double nanosecondsPerVoxel, PartitionMode mode) {
    const ImageModel& first = **images.begin();
    const std::size_t bytesPerVoxel = elementBytes(images, first);
    const bool joined = std::all_of(images.begin(), images.end(), [](const ImageModel* image) {
        return helper::contiguousSamples(*image) != nullptr;
    });
    Plan plan(helper::getExtents(first), joined ? JoinedAxes::All : JoinedAxes::Lines);
    const std::size_t voxels = plan.voxelCount();
    if (voxels == 0) {
        return plan;
    }
    const std::size_t columns = plan.gridExtents()[COLUMNS];
    const double cost = std::max(nanosecondsPerVoxel, 1e-3);
    plan.setSmall(isSmallWork(voxels, cost));
    const auto blockVoxels = static_cast<std::size_t>(std::clamp(
        std::min(static_cast<double>(blockBytes()) / static_cast<double>(std::max<std::size_t>(bytesPerVoxel, 1)),
                 longestBlockNanoseconds / cost),
        1.0, 1e9));
    const std::size_t blocks = ceilDivide(voxels, blockVoxels);
    std::size_t columnParts = 1;
    std::size_t lineParts = 1;
    if (mode == RIX_PARTITION_ONLY_COLUMNS) {
        columnParts = std::min(blocks, ceilDivide(columns, shortestPiece()));
    } else {
        const bool cutsColumns = mode != RIX_PARTITION_ONLY_ROWS || joined;
        columnParts =
            cutsColumns && columns > blockVoxels ? ceilDivide(columns, std::max(blockVoxels, shortestPiece())) : 1;
        lineParts = std::min(plan.gridExtents()[ROWS], ceilDivide(blocks, columnParts));
    }
    plan.cut(COLUMNS, {std::min(columnParts, ceilDivide(columns, columnGroup)), 0, columnGroup});
    plan.cut(ROWS, {lineParts, 0, 1});
    return plan;
}

}  // namespace rix::access
