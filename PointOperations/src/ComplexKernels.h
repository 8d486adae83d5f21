#pragma once

#include "ArithmeticKernels.h"

namespace rix::point_operations {

/// The kernels of complex samples; a complex image and a value are two rows of which the second is constant, so there
/// are kernels of pairs only.
const ArithmeticRows& complexRows(VoxelTypes type, access::Stores stores, OptimLevelType level);

}  // namespace rix::point_operations
