#pragma once

#include <rix/algorithms/ModuleList.h>

namespace rix::individual_analysis {

/// The algorithm classes of this module, in the order of the registry.
std::span<const algorithms::AlgoInfoAccessor> moduleAlgorithms();

/// The classes of result objects of this module.
std::span<const algorithms::ObjectInfoAccessor> moduleObjects();

}  // namespace rix::individual_analysis
