#pragma once

#include <vector>

#include <rix/Export.h>

namespace rix::kernel {

/// The coefficients of a recursive filter along a line: a pass from either end, whose results are added.
///
/// The pass upwards is p[i] = sum over k >= 0 of causal[k] * x[i - k] - sum over k >= 1 of feedback[k - 1] * p[i - k];
/// the pass downwards is q[i] = sum over k >= 1 of anticausal[k - 1] * x[i + k] - sum over k >= 1 of
/// feedback[k - 1] * q[i + k]. The element i itself is counted once, in the pass upwards.
struct RIX_EXPORT RecursiveKernel1D {
    std::vector<double> causal;
    std::vector<double> anticausal;
    std::vector<double> feedback;

    bool operator==(const RecursiveKernel1D&) const = default;
};

}  // namespace rix::kernel
