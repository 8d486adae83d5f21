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

using Extents = std::array<std::size_t, RIX_COMPONENTS_SIZE>;

/// Blocks are chunks, several side by side where they are small and parts of them where they take long: each is in the
/// hands of one thread and is not fetched twice.
Plan cutAlong(const Extents& chunk, const ImageModel& image, std::size_t blockVoxels, double cost) {
    Plan plan(helper::getExtents(image), JoinedAxes::None);
    if (plan.voxelCount() == 0) {
        return plan;
    }
    plan.setSmall(isSmallWork(plan.voxelCount(), cost));
    const auto& n = plan.gridExtents();
    Extents step{};
    double voxels = 1.0;
    for (std::size_t axis = 0; axis < n.size(); ++axis) {
        step[axis] = std::min(chunk[axis], n[axis]);
        voxels *= static_cast<double>(step[axis]);
    }
    for (const Components axis : {COLUMNS, ROWS, PLANS}) {
        const auto more = static_cast<std::size_t>(std::max(1.0, static_cast<double>(blockVoxels) / voxels));
        const std::size_t chunks = std::min(more, ceilDivide(n[axis], step[axis]));
        voxels *= static_cast<double>(chunks);
        step[axis] = std::min(chunks * step[axis], n[axis]);
    }
    for (const Components axis : {SPECTRAL_SERIES, SEQUENCE, PLANS, ROWS}) {
        while (voxels * cost > longestBlockNanoseconds && step[axis] > 1) {
            voxels *= static_cast<double>(ceilDivide(step[axis], 2)) / static_cast<double>(step[axis]);
            step[axis] = ceilDivide(step[axis], 2);
        }
    }
    for (const Components axis : {COLUMNS, ROWS, PLANS, SEQUENCE, SPECTRAL_SERIES}) {
        plan.cut(axis, {1, step[axis]});
    }
    return plan;
}

}  // namespace

Plan cutLines(std::initializer_list<const ImageModel*> images, double nanosecondsPerVoxel) {
    return cutLines(images, nanosecondsPerVoxel, partitionModeOfSettings());
}

Plan cutLines(std::initializer_list<const ImageModel*> images, double nanosecondsPerVoxel, PartitionMode mode) {
    const ImageModel& first = **images.begin();
    const std::size_t bytesPerVoxel = elementBytes(images, first);
    const double cost = std::max(nanosecondsPerVoxel, 1e-3);
    const auto blockVoxels = static_cast<std::size_t>(std::clamp(
        std::min(static_cast<double>(blockBytes()) / static_cast<double>(std::max<std::size_t>(bytesPerVoxel, 1)),
                 longestBlockNanoseconds / cost),
        1.0, 1e9));
    if (const auto chunk = preferredBlock(images); chunk && mode == RIX_PARTITION_DEFAULT) {
        return cutAlong(*chunk, first, blockVoxels, cost);
    }
    const bool joined = std::all_of(images.begin(), images.end(), [](const ImageModel* image) {
        return helper::contiguousSamples(*image) != nullptr;
    });
    Plan plan(helper::getExtents(first), joined ? JoinedAxes::All : JoinedAxes::Lines);
    const std::size_t voxels = plan.voxelCount();
    if (voxels == 0) {
        return plan;
    }
    const std::size_t columns = plan.gridExtents()[COLUMNS];
    plan.setSmall(isSmallWork(voxels, cost));
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
