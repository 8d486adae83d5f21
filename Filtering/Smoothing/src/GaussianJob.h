#pragma once

#include <array>

#include <rix/access/BorderPolicy.h>
#include <rix/image/ImageTypes.h>

namespace rix::filtering::smoothing {

/// What a run computes, all lengths in voxels.
struct GaussianJob {
    std::array<double, 3> deviations{};
    access::BorderPolicy border = access::BorderPolicy::MIRROR;
    double borderValue = 0.0;
    bool inDoubles = false;  ///< all sums, whatever the input
};

/// In what finite sums are taken: 32-bit integers and doubles hold more than a float.
inline VoxelTypes gaussianWorkType(VoxelTypes input, const GaussianJob& job) {
    return job.inDoubles || input == RIX_FLOAT64 || input == RIX_INT32 || input == RIX_UINT32 ? RIX_FLOAT64
                                                                                              : RIX_FLOAT32;
}

}  // namespace rix::filtering::smoothing
