#pragma once

#include <cstddef>

#include <rix/algorithms/OptimLevel.h>

namespace rix::filtering::smoothing {

/// Loops over rows of a guided filter; every level computes the same bits.
struct GuidedKernels {
    /// out = a b.
    void (*multiply)(const double* a, const double* b, double* out, std::size_t count);
    /// The coefficients from sums over windows of 1 / `share` voxels. The results may stand where sums do.
    void (*fit)(const double* guide, const double* in, const double* square, const double* product, double* a,
                double* b, std::size_t count, double share, double noise);
    /// out = (a guide + b) share.
    void (*apply)(const double* a, const double* b, const double* guide, double* out, std::size_t count, double share);
};

GuidedKernels guidedKernels(OptimLevelType level);

}  // namespace rix::filtering::smoothing
