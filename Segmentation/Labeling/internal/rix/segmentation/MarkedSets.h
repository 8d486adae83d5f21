#pragma once

#include <cstddef>
#include <cstdint>

#include <rix/access/ExecutionContext.h>
#include <rix/algorithms/OptimLevel.h>
#include <rix/image/ImageModel.h>

namespace rix::segmentation {

/// Which connected sets of a binary image are taken.
struct MarkedSetsTask {
    const ImageModel& image;  ///< binary
    /// What the sets are made of. Results are complemented with the image: where sets of zeros are taken, there are
    /// zeros, and ones elsewhere.
    bool ofZeros = false;
    /// Binary, with the image's extents; its own ones, or zeros, mark the sets that they meet. Null: what lies on the
    /// edges of planes, or on the faces of volumes, is marked.
    const ImageModel* marker = nullptr;
    bool takesMarked = true;  ///< else those that are not
    std::size_t axes = 2;     ///< 3: of volumes
    int farthest = 1;         ///< along how many axes at once neighbours may differ
};

/// Writes where the sets are. The image, the marker and the output may be one. Runs of voxels are the nodes of a union,
/// as when objects are numbered. Four steps of the run.
void takeMarkedSets(access::ExecutionContext& context, const MarkedSetsTask& task, ImageModel& output,
                    OptimLevelType level);

/// An upper bound of the bytes that it takes: they depend on the number of runs.
std::size_t markedSetsMemory(const MarkedSetsTask& task, std::size_t threads);

/// The same for the sets of at least so many voxels, whatever marks the task has.
void takeLargeSets(access::ExecutionContext& context, const MarkedSetsTask& task, std::size_t least, ImageModel& output,
                   OptimLevelType level);
std::size_t largeSetsMemory(const MarkedSetsTask& task, std::size_t threads);

}  // namespace rix::segmentation
