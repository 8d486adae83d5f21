#pragma once

#include <cstddef>

#include <rix/access/Plan.h>
#include <rix/algorithms/OptimLevel.h>
#include <rix/image/ImageTypes.h>

#include "PointRows.h"

namespace rix::point_operations {

/// The kernels of the logical operators, indexed by `LogicalOperators::LogicalOperatorType`. The operators work bit by
/// bit, so that a kernel serves every type of its width.
struct LogicalRows {
    PairRow pair[7];
    ValueRow value[7];
};

/// @param sampleBytes 1, 2 or 4
/// @param isBinary whether operands, images and values, are 0 and 1, as results are then
const LogicalRows& logicalRows(std::size_t sampleBytes, bool isBinary, access::Stores stores, OptimLevelType level);

}  // namespace rix::point_operations
