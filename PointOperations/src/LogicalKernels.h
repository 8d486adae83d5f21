#pragma once

#include <rix/algorithms/OptimLevel.h>
#include <rix/image/ImageTypes.h>

#include "PointRows.h"

namespace rix::point_operations {

/// The kernels of the logical operators, indexed by `LogicalOperators::LogicalOperatorType`. The operators work bit by
/// bit, so that a kernel serves every type of its width, and those of pairs serve every type: `count` is in bytes
/// there.
struct LogicalRows {
    PairRow pairOfBytes[7];
    ValueRow value8[7];
    ValueRow value16[7];
    ValueRow value32[7];
    /// Keeps the lowest bit of each sample: what is stored in a binary image.
    SingleRow lowestBit8;
    SingleRow lowestBit16;
    SingleRow lowestBit32;
};

const LogicalRows& logicalRows(OptimLevelType level);

}  // namespace rix::point_operations
