#pragma once

#include <cstddef>

#include <rix/access/Plan.h>
#include <rix/algorithms/OptimLevel.h>

#include "PointRows.h"

namespace rix::point_operations {

/// Keeps samples of `sampleBytes` bytes (1, 2, 4 or 8) where the mask sample of `maskBytes` bytes (1 or 2) is not 0. A
/// zero is the same bits in every type, so that the widths are all that matters.
PairRow maskRow(std::size_t sampleBytes, std::size_t maskBytes, access::Stores stores, OptimLevelType level);

}  // namespace rix::point_operations
