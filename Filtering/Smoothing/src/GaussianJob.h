#pragma once

#include <array>

#include <rix/access/BorderPolicy.h>

namespace rix::filtering::smoothing {

/// What a run computes, all lengths in voxels.
struct GaussianJob {
    std::array<double, 3> deviations{};
    access::BorderPolicy border = access::BorderPolicy::MIRROR;
    double borderValue = 0.0;
};

}  // namespace rix::filtering::smoothing
