#pragma once

#include <vector>

#include <rix/algorithms/OptimLevel.h>

namespace rix::test {

/// The levels whose kernels this processor can run, from scalar up.
std::vector<OptimLevelType> runnableLevels();

}  // namespace rix::test
