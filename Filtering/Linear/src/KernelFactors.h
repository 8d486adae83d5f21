#pragma once

#include <array>
#include <optional>
#include <vector>

#include "LaidKernel.h"

namespace rix::filtering::linear {

/// Lines along columns, rows and planes whose product a kernel is.
struct KernelFactors {
    std::array<std::vector<double>, 3> lines;
};

/// The lines whose product a kernel is, when all minors of two by two of its coefficients are exactly 0: no tolerance
/// decides, so that no coefficient is ever taken for another. The magnitudes of the lines along rows and planes add up
/// to at most 1, so that no sum along them is larger than what is summed. None where the lines would not have finite
/// numbers, and for a kernel of zeros.
std::optional<KernelFactors> factorsOf(const LaidKernel& kernel);

}  // namespace rix::filtering::linear
