#pragma once

#include <cstddef>

#include <rix/algorithms/OptimLevel.h>

namespace rix::filtering::smoothing {

/// Loops over rows of a guided filter; every level computes the same bits.
struct GuidedKernels {
    /// out = a b.
    void (*multiply)(const double* a, const double* b, double* out, std::size_t count);
    /// out[i] = the sum of `window`, an odd number, of values from i on: in steps of 2, 4, 8, ..., the same for each i.
    /// @param scratch room for count + window values, as many as `values` has
    void (*sumAlong)(const double* values, std::size_t window, double* scratch, double* out, std::size_t count);
    /// a += b.
    void (*add)(double* a, const double* b, std::size_t count);
    /// Takes the next row of a section: running += values, kept = values, and sums = running + suffix, or running alone
    /// where that is null; where `sums` is null none are asked for.
    void (*advance)(const double* values, double* running, double* kept, const double* suffix, double* sums,
                    std::size_t count);
    /// The coefficients from sums over windows of 1 / `share` voxels. The results may stand where sums do.
    void (*fit)(const double* guide, const double* in, const double* square, const double* product, double* a,
                double* b, std::size_t count, double share, double noise);
    /// out = (a guide + b) share.
    void (*apply)(const double* a, const double* b, const double* guide, double* out, std::size_t count, double share);
};

GuidedKernels guidedKernels(OptimLevelType level);

}  // namespace rix::filtering::smoothing
