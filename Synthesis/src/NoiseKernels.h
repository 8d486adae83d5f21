#pragma once

#include <cstddef>
#include <cstdint>

#include <rix/algorithms/OptimLevel.h>

#include "Philox.h"

namespace rix::synthesis {

/// Voxels along a row that share their blocks of four words: voxel 16 j + i of group g takes word j of block 16 g + i,
/// so that vectors of every width up to 16 lanes store what they computed side by side.
inline constexpr std::size_t groupVoxels = 64;

/// The random words of a row of an image: its key, and the last three words of its counters.
struct NoiseRow {
    std::uint32_t key0;
    std::uint32_t key1;
    std::uint32_t row;
    std::uint32_t plane;
    std::uint32_t frame;
};

/// Deviates of whole groups of a row, the same bits at every level.
struct NoiseKernels {
    /// A word a voxel.
    void (*words)(const NoiseRow& row, std::uint32_t firstGroup, std::size_t groups, std::uint32_t* out);
    /// mean + deviation * n, for normal deviates n by the method of G. E. P. Box and M. E. Muller, 1958: of each block
    /// two words make two of them. n is within 2e-6 of what the words stand for, and at most 6.67.
    void (*gaussians)(const NoiseRow& row, std::uint32_t firstGroup, std::size_t groups, float mean, float deviation,
                      float* out);
};

NoiseKernels noiseKernels(OptimLevelType level);

}  // namespace rix::synthesis
