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

/// Sums along z that are taken before, and the images that windows then look at.
template <class T>
class FieldImages {
public:
    /// One step of the run for each image that is summed along z.
    FieldImages(access::ExecutionContext& context, const std::vector<const ImageModel*>& sources, const FieldJob& job,
                const FieldPlan<T>& plan, OptimLevelType level);
    const std::vector<FieldSource<T>>& sources() const { return m_sources; }

private:
    std::vector<access::TemporaryImage> m_temporaries;
    std::vector<FieldSource<T>> m_sources;
};

/// Computes the components of a job for every voxel, and lets `row(components, outs, segment)` make rows of results of
/// them.
/// @param sources the filter's images, of the same extents
template <class T>
void computeField(access::ExecutionContext& context, const std::vector<const ImageModel*>& sources, const FieldJob& job,
                  const std::vector<FieldOutput>& outputs, OptimLevelType level,
                  access::FunctionRef<void(const T* const*, T* const*, const access::RowSegment&)> row);

/// The needs of the cut into blocks.
template <class T>
access::BoxNeeds fieldNeeds(const FieldPlan<T>& plan);

/// The most columns of a part of a block, whose rows the caches hold.
template <class T>
std::size_t tileColumns(const FieldPlan<T>& plan);

/// Calls `use` for the parts of a block of an image that windows look at.
template <class T, class Use>
void forEachTile(const FieldPlan<T>& plan, const ImageModel& image, const access::Block& block, const Use& use) {
    const access::WindowSpans spans = access::spansOf(image, access::voxelTypeOf<T>, block, fieldNeeds(plan).reach);
    const std::size_t columns = tileColumns(plan);
    for (std::size_t i = 0; i < spans.count; ++i) {
        access::Block tile = spans.parts[i];
        const access::Interval all = tile.columns();
        for (std::size_t begin = all.begin; begin < all.end; begin += columns) {
            tile.axes[COLUMNS] = {begin, std::min(begin + columns, all.end)};
            use(tile);
        }
    }
}

/// Most bytes that this takes beside its images. @param outputs how many rows of results there are at a time
std::size_t fieldBytes(const ImageModel& input, const FieldJob& job, VoxelTypes workType, std::size_t outputs,
                       std::size_t threads);
/// How far the components look.
access::Reach fieldReach(const FieldJob& job);

}  // namespace rix::edge_detection
