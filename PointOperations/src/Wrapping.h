#pragma once

#include <cstdint>

#include <rix/access/ExecutionContext.h>
#include <rix/image/ImageModel.h>
#include <rix/point_operations/ArithmeticOperators.h>

namespace rix::point_operations {

// How many voxels of a result wrap: their exact values, fractions cut off, are no values of the result's type. Results
// of a real or complex type never do. Nothing is read where the types alone tell that.

/// Of the operands combined in a type.
std::uint64_t countWrapped(access::ExecutionContext& context, const ImageModel& first, const ImageModel& second,
                           ArithmeticOperators::ArithmeticOperatorType op, VoxelTypes type);

/// Of an image and a value. Beside an integer type values are whole.
std::uint64_t countWrapped(access::ExecutionContext& context, const ImageModel& image, double value,
                           ArithmeticOperators::ArithmeticOperatorType op, VoxelTypes type);

/// Of an image converted to a type; NaN is no value of an integer.
std::uint64_t countWrappedCasts(access::ExecutionContext& context, const ImageModel& image, VoxelTypes type);

}  // namespace rix::point_operations
