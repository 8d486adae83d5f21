#pragma once

#include <cstddef>
#include <cstdint>

#include <rix/algorithms/OptimLevel.h>

namespace rix::segmentation {

/// A piece of a row, and a centre that may be the nearest one of its voxels.
struct SlicPiece {
    const float* values;        ///< of the first channel at the first voxel
    std::size_t channelStride;  ///< from a channel's value to the next one's
    std::size_t channels;
    std::size_t count;
    float* distances;        ///< the least so far
    std::uint32_t* numbers;  ///< of the centres that they belong to
};
struct SlicCenter {
    const float* values;  ///< of the channels
    float column;         ///< less the first voxel's
    float apart;          ///< weight times the squared distance across the row
    float weight;         ///< of squared distances in the grid
    std::uint32_t number;
};

struct SlicKernels {
    /// Takes the centre for the voxels that are nearer to it than to any before.
    void (*approach)(const SlicPiece& piece, const SlicCenter& center);
    /// The sum of values that are integers.
    double (*sum)(const float* values, std::size_t count);
};

SlicKernels slicKernels(OptimLevelType level);

}  // namespace rix::segmentation
