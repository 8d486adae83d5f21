#pragma once

#include <rix/algorithms/ModuleList.h>

namespace rix::point_operations {

/// The algorithm classes of this module, in the order of the registry.
std::span<const algorithms::AlgoInfoAccessor> moduleAlgorithms();

}  // namespace rix::point_operations
