#pragma once

#include <cstddef>

#include <rix/access/Plan.h>
#include <rix/algorithms/OptimLevel.h>
#include <rix/image/ImageTypes.h>

namespace rix::geometry {

/// A piece of an image and what it is transposed into.
struct TransposeJob {
    const ConstRawData* from;  ///< `width` rows of `height` elements
    const RawData* to;         ///< `height` rows of `width` elements
    std::size_t width;
    std::size_t height;
    bool isBinary;  ///< whatever differs from 0 becomes 1
    VoxelTypes voxelType;
};

/// How elements get to their places, which need not be aligned for their type.
struct GatherKernels {
    void (*copy)(RawData to, ConstRawData from, std::size_t bytes);
    /// to[i] = from[count - 1 - i], in elements
    void (*reverse)(RawData to, ConstRawData from, std::size_t count);
    void (*transpose)(const TransposeJob& job);
};

/// @param elementSize 1, 2, 4, 8 or 16
GatherKernels gatherKernels(std::size_t elementSize, access::Stores stores, OptimLevelType level);

/// Elements that are a line of the cache: the side of the squares that are transposed at a time.
constexpr std::size_t elementsOfLine(std::size_t elementSize) {
    return 64 / elementSize;
}

}  // namespace rix::geometry
