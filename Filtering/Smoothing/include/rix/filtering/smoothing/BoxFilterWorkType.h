#pragma once

#include <cstdint>

#include <rix/Export.h>
#include <rix/image/ImageTypes.h>

namespace rix::filtering::smoothing {

/// The type of the sums of windows of `count` voxels: for 8 and 16 bit just wide enough for any such sum. The limits
/// are part of the interface, the differing ones of `uint8` and `int8` included.
///
/// | voxels               | sums                                                                          |
/// |----------------------|-------------------------------------------------------------------------------|
/// | `uint8`              | `uint16` up to 256 voxels, `int32` up to 8388608, `float32` above             |
/// | `int8`               | `int16` up to 256 voxels, `int32` up to 16777216, `float32` above             |
/// | `uint16`             | `int32` up to 32768 voxels, `float32` above                                   |
/// | `int16`              | `int32` up to 65536 voxels, `float32` above                                   |
/// | `float64`            | `float64`                                                                     |
/// | `uint32`, `int32`, `float32` and what is not summed | `float32`                                      |
RIX_EXPORT VoxelTypes computeWorkType(VoxelTypes voxelType, std::uint64_t count);

}  // namespace rix::filtering::smoothing
