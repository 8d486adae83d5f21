#pragma once

#include <rix/access/Plan.h>
#include <rix/algorithms/OptimLevel.h>
#include <rix/image/ImageTypes.h>

#include "PointRows.h"

namespace rix::point_operations {

/// The kernels of one combination of types, indexed by `ArithmeticOperators::ArithmeticOperatorType`; null where the
/// promotion tables never ask for the combination.
struct ArithmeticRows {
    PairRow pair[6] = {};
    ValueRow value[6] = {};
};

/// Operands and result of one type, real or complex.
const ArithmeticRows& arithmeticRows(VoxelTypes type, access::Stores stores, OptimLevelType level);

/// Operands of a narrower type (both images, or the image beside a value), widened in registers; null where there is
/// no kernel of that kind: the operands are then to be converted first.
const ArithmeticRows* wideningArithmeticRows(VoxelTypes operand, VoxelTypes result, access::Stores stores,
                                             OptimLevelType level);

}  // namespace rix::point_operations
