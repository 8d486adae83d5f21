#pragma once

#include <rix/algorithms/ModuleList.h>

namespace rix::segmentation {

/// The algorithm classes of this module, in the order of the registry.
std::span<const algorithms::AlgoInfoAccessor> moduleAlgorithms();

}  // namespace rix::segmentation
