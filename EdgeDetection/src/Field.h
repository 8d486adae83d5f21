#pragma once

#include <algorithm>
#include <cstddef>
#include <vector>

#include <rix/access/Blocks.h>
#include <rix/access/ExecutionContext.h>
#include <rix/access/FunctionRef.h>
#include <rix/access/TemporaryImage.h>
#include <rix/access/VoxelTypeLists.h>
#include <rix/algorithms/OptimLevel.h>
#include <rix/image/ImageModel.h>

#include "FieldRows.h"

namespace rix::edge_detection {

/// A channel of an image that results go to; the first voxel of a row of the input's channel c to channel `channel` +
/// c.
struct FieldOutput {
    ImageModel* image;
    std::size_t channel = 0;
};

/// In what sums are taken: 32-bit integers and doubles hold more than a float.
VoxelTypes fieldWorkType(VoxelTypes input);
/// Of derivatives.
VoxelTypes derivativeType(VoxelTypes input);

/// Computes the components of a job for every voxel, and lets `row(components, outs, segment)` make rows of results of
/// them.
/// @param sources the filter's images, of the same extents
template <class T>
void computeField(access::ExecutionContext& context, const std::vector<const ImageModel*>& sources, const FieldJob& job,
                  const std::vector<FieldOutput>& outputs, OptimLevelType level,
                  access::FunctionRef<void(const T* const*, T* const*, const access::RowSegment&)> row);

/// The cut into blocks: high, and of volumes deep, against what their windows look at around them.
template <class T>
access::Plan cutField(const ImageModel& image, const FieldPlan<T>& plan);

/// Into how many parts of at most `most` an axis is cut; they are nearly equal.
inline std::size_t partsOf(std::size_t length, std::size_t most) {
    return std::max<std::size_t>(1, (length + most - 1) / most);
}

/// Calls `use` for the parts of a block that are worked on one after the other.
template <class T, class Use>
void forEachTile(const FieldPlan<T>& plan, const access::Block& block, const Use& use) {
    const TileSize size = tileSize(plan);
    const auto partOf = [](const access::Interval& axis, std::size_t parts, std::size_t index) {
        const access::Interval part = access::partOf(axis.length(), parts, index);
        return access::Interval{axis.begin + part.begin, axis.begin + part.end};
    };
    const std::size_t columnParts = partsOf(block.columns().length(), size.columns);
    const std::size_t rowParts = partsOf(block.rows().length(), size.rows);
    for (std::size_t column = 0; column < columnParts; ++column) {
        for (std::size_t row = 0; row < rowParts; ++row) {
            access::Block tile = block;
            tile.axes[COLUMNS] = partOf(block.columns(), columnParts, column);
            tile.axes[ROWS] = partOf(block.rows(), rowParts, row);
            use(tile);
        }
    }
}

/// The largest tile of a cut.
template <class T>
TileSize largestTile(const FieldPlan<T>& plan, const access::Plan& blocks) {
    const TileSize size = tileSize(plan);
    const auto largest = [](std::size_t length, std::size_t most) {
        return access::partOf(length, partsOf(length, most), 0).length();
    };
    return {largest(blocks.largestPart(COLUMNS), size.columns), largest(blocks.largestPart(ROWS), size.rows)};
}

/// Most bytes that this takes beside its images. @param outputs how many rows of results there are at a time
std::size_t fieldBytes(const ImageModel& input, const FieldJob& job, VoxelTypes workType, std::size_t outputs,
                       std::size_t threads);
/// How far the components look.
access::Reach fieldReach(const FieldJob& job);

}  // namespace rix::edge_detection
