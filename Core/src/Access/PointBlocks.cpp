#include <rix/access/PointBlocks.h>

#include <algorithm>
#include <cstdint>
#include <string>

#include <rix/access/BlockScheduler.h>
#include <rix/exceptions/Exception.h>
#include <rix/properties/EnumInfo.h>
#include <rix/settings/Settings.h>

#include "Access/BlockCut.h"

namespace rix::access {

namespace {

/// Columns are cut at multiples of this.
constexpr std::size_t columnGroup = 64;

}  // namespace

PartitionMode partitionModeOfSettings() {
    const String text = globalSettings().getValue("RIX_PARTITIONER_MODE");
    const EnumInfo& info = getInfoPartitionMode();
    if (info.exists(text)) {
        return static_cast<PartitionMode>(info.getValueFromLabel(text));
    }
    const int value = globalSettings().getValueAsInt32("RIX_PARTITIONER_MODE", RIX_PARTITION_DEFAULT);
    return info.exists(value) ? static_cast<PartitionMode>(value) : RIX_PARTITION_DEFAULT;
}

const EnumInfo& getInfoPartitionMode() {
    static const EnumInfo info("PartitionMode",
                               "RIX_PARTITION_DEFAULT = 0, RIX_PARTITION_FULL_ROW_COL_ALTERNATE, "
                               "RIX_PARTITION_ONLY_COLUMNS, RIX_PARTITION_ONLY_ROWS");
    return info;
}

Interval partOf(std::size_t extent, std::size_t parts, std::size_t index) {
    // The first `extent % parts` parts have one element more; no product that could overflow.
    const std::size_t size = extent / parts;
    const std::size_t longer = extent % parts;
    const std::size_t begin = index * size + std::min(index, longer);
    return {begin, begin + size + (index < longer ? 1 : 0)};
}

PointPlan::PointPlan(std::initializer_list<const ImageModel*> images, double nanosecondsPerVoxel)
    : PointPlan(images, nanosecondsPerVoxel, partitionModeOfSettings()) {}

PointPlan::PointPlan(std::initializer_list<const ImageModel*> images, double nanosecondsPerVoxel, PartitionMode mode) {
    m_extents = helper::getExtents(**images.begin());
    std::size_t voxels = 0;
    if (!helper::getElementCount(**images.begin(), voxels)) {
        throw UnexpectedError("The image is too large: its number of elements does not fit 64 bits.");
    }
    std::size_t bytesPerVoxel = 0;
    m_joined = voxels > 0;
    for (const ImageModel* image : images) {
        if (helper::getExtents(*image) != m_extents) {
            throw UnexpectedError(
                "The images of a point operation have different sizes: " + helper::describeImage(**images.begin()) +
                " and " + helper::describeImage(*image) + '.');
        }
        bytesPerVoxel += helper::getElementSize(*image);
        m_joined = m_joined && image->getImageBuffer() != nullptr;
    }
    if (voxels == 0) {
        return;
    }

    m_columns = m_joined ? voxels : m_extents[COLUMNS];
    m_lines = voxels / m_columns;
    const double cost = std::max(nanosecondsPerVoxel, 1e-3);
    m_small = static_cast<double>(voxels) * cost < smallWorkNanoseconds();

    const auto blockVoxels = static_cast<std::size_t>(std::clamp(
        std::min(static_cast<double>(blockBytes()) / static_cast<double>(std::max<std::size_t>(bytesPerVoxel, 1)),
                 longestBlockNanoseconds / cost),
        1.0, 1e9));
    const std::size_t shortest = std::max(shortestPiece(), columnGroup);  // no piece is less than a group
    const bool cutsColumns = mode != RIX_PARTITION_ONLY_ROWS || m_joined;
    const bool cutsLines = mode != RIX_PARTITION_ONLY_COLUMNS;
    const std::size_t blocks = ceilDivide(voxels, blockVoxels);
    if (!cutsLines) {
        m_lineParts = 1;
        m_columnParts = std::min(blocks, ceilDivide(m_columns, shortest));
    } else {
        m_columnParts =
            cutsColumns && m_columns > blockVoxels ? ceilDivide(m_columns, std::max(blockVoxels, shortest)) : 1;
        m_lineParts = std::min(m_lines, ceilDivide(blocks, m_columnParts));
    }
}

PointBlock PointPlan::block(std::size_t index) const {
    const Interval lines = partOf(m_lines, m_lineParts, index / m_columnParts);
    // Cut between lines of the cache, so that no two blocks write the same one and loads and stores stay within one.
    const Interval groups = partOf(ceilDivide(m_columns, columnGroup), m_columnParts, index % m_columnParts);
    return {lines.begin, lines.end, groups.begin * columnGroup, std::min(groups.end * columnGroup, m_columns)};
}

RowSegment PointPlan::segmentOf(std::size_t line, const PointBlock& block) const {
    RowSegment segment;
    segment.column = block.firstColumn;
    segment.count = block.lastColumn - block.firstColumn;
    if (!m_joined) {
        segment.row = line % m_extents[ROWS];
        line /= m_extents[ROWS];
        segment.plane = line % m_extents[PLANS];
        line /= m_extents[PLANS];
        segment.sequence = line % m_extents[SEQUENCE];
        segment.spectral = line / m_extents[SEQUENCE];
    }
    return segment;
}

void runBlocks(ExecutionContext& context, const BlockRun& run, FunctionRef<double(std::size_t)> block) {
    const auto runBlock = [&](std::size_t index) {
        context.throwIfCancelled();
        context.blockDone(block(index));
    };
    context.startStep(run.work);
    if (run.small) {
        for (std::size_t i = 0; i < run.blockCount; ++i) {
            runBlock(i);
        }
    } else {
        context.scheduler().forEach(run.blockCount, runBlock);
    }
    context.throwIfCancelled();
}

void forEachBlock(ExecutionContext& context, const PointPlan& plan, FunctionRef<void(const PointBlock&)> body) {
    const BlockRun run{plan.blockCount(), static_cast<double>(plan.voxelCount()), plan.isSmall()};
    runBlocks(context, run, [&](std::size_t index) {
        const PointBlock block = plan.block(index);
        body(block);
        return static_cast<double>(block.lastLine - block.firstLine) *
               static_cast<double>(block.lastColumn - block.firstColumn);
    });
}

}  // namespace rix::access
