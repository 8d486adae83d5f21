#pragma once

#include <cstddef>
#include <cstdint>

#include <rix/algorithms/OptimLevel.h>

#include "HistogramKernels.h"

namespace rix::filtering::rank {

/// The voxels of a tile in ascending order, and where each of them is.
struct RankedVoxels {
    std::size_t count = 0;
    std::size_t classSize = 0;  ///< class c begins at c * classSize
    const std::uint16_t* columns = nullptr;
    const std::uint16_t* rows = nullptr;
    const std::uint16_t* planes = nullptr;  ///< null: all in one
};

/// Where the windows of a row lie in the tile, for `resolve`.
struct RowWindows {
    std::size_t row = 0;  ///< of the first voxel of the window of voxel 0
    std::size_t plane = 0;
    std::size_t columns = 1;
    std::size_t rows = 1;
    std::size_t planes = 1;
    bool isRound = false;
    std::size_t radius = 0;
};

/// Of what was found among ranks, the voxels themselves: their places in the order.
using ResolveKernel = void (*)(const RankedVoxels& voxels, const RowWindows& windows, std::size_t count,
                               const Found& found, std::uint32_t* places);
ResolveKernel resolveKernel(OptimLevelType level);

}  // namespace rix::filtering::rank
