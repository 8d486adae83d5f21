#pragma once

#include <cstddef>

#include <rix/algorithms/OptimLevel.h>
#include <rix/image/ImageTypes.h>

namespace rix::access {

/// Converts reals to samples of a type; the rows are different ones.
using RoundingRow = void (*)(const void* reals, void* samples, std::size_t count);

/// Integers are the nearest ones, ties to even, clamped to the type; NaN becomes 0. Reals are rounded by the format.
/// @param from `RIX_FLOAT32` or `RIX_FLOAT64`
/// @param to a real type or an integer
RoundingRow roundingRow(VoxelTypes from, VoxelTypes to, OptimLevelType level);

}  // namespace rix::access
