#pragma once

#include <rix/algorithms/ModuleList.h>

namespace rix::morphology {

/// The algorithm classes of this module, in the order of the registry.
std::span<const algorithms::AlgoInfoAccessor> moduleAlgorithms();

}  // namespace rix::morphology
