#pragma once

#include <cstddef>

#include <rix/algorithms/OptimLevel.h>

#include "VoteField.h"

namespace rix::edge_detection {

/// Adds what a token votes for in a row of the field to the entries xx, xy, (xz,) yy, (yz, zz) of the receivers: `sums`
/// are those of the first voxel of the row; whole vectors are added to. Every level computes the same bits.
struct VoteKernels {
    /// @param direction the token's normal (stick) or tangent (plate), of length 1; not used by a ball
    /// @param y,z from the token to the row
    /// @param means used by a plate
    using Vote = void (*)(const VoteRow& row, const float* direction, float y, float z, const float* means,
                          float* const* sums);

    Vote stick;
    Vote ball;
    Vote plate;  ///< in space only
};

VoteKernels voteKernels(std::size_t axes, OptimLevelType level);

}  // namespace rix::edge_detection
