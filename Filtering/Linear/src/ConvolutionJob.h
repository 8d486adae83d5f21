#pragma once

#include <cstddef>
#include <optional>
#include <vector>

#include <rix/access/BorderPolicy.h>
#include <rix/image/ImageTypes.h>

#include "KernelFactors.h"
#include "LaidKernel.h"

namespace rix::filtering::linear {

/// Weights that take part in sums.
std::size_t nonZeros(const std::vector<double>& weights);

/// What a run computes.
struct ConvolutionJob {
    /// Divides the coefficients by their sum where that is asked for, and finds how they are applied.
    ConvolutionJob(LaidKernel laid, KernelScaling scaling);

    LaidKernel kernel;
    std::optional<KernelFactors> factors;  ///< when the kernel is applied as these
    std::size_t products = 0;              ///< a voxel
    bool fitsFloat = false;                ///< all magnitudes are far from the ends of `float`
    access::BorderPolicy border = access::BorderPolicy::MIRROR;
    double borderValue = 0.0;

    /// In what the sums are taken.
    VoxelTypes workType(VoxelTypes input) const;
    /// Whether lines along planes are summed in a pass of their own, when the input has been read.
    bool hasPassAlongPlanes() const { return factors.has_value() && factors->lines[2].size() > 1; }
};

}  // namespace rix::filtering::linear
