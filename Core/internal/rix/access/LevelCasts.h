#pragma once

#include <cstddef>

#include <rix/access/Plan.h>
#include <rix/algorithms/OptimLevel.h>
#include <rix/image/ImageTypes.h>

/// The conversions of `castSamples` by level of optimisation, for algorithms whose runners promise a level. All levels
/// give the same bits.
namespace rix::access {

/// Converts the samples of a row; the buffers do not overlap.
using CastRow = void (*)(ConstRawData from, RawData to, std::size_t count);

/// The conversion from one voxel type to another with the instructions of a level that the processor has.
CastRow castRowOf(VoxelTypes from, VoxelTypes to, Stores stores, OptimLevelType level);

/// The conversion to `RIX_UINT8` with 1 for every sample that is not zero (in either part, where it is complex).
CastRow truthRowOf(VoxelTypes from, Stores stores, OptimLevelType level);

}  // namespace rix::access
