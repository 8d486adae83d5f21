#pragma once

#include <array>
#include <cstddef>

#include <rix/access/Plan.h>
#include <rix/image/ImageTypes.h>

namespace rix::access {

/// Converts the samples of a row; the buffers do not overlap.
using CastKernel = void (*)(ConstRawData from, RawData to, std::size_t count);

/// Indexed by the codes of the voxel types.
inline constexpr std::size_t voxelTypeCodes = 12;
template <class Entry>
using PerVoxelType = std::array<Entry, voxelTypeCodes>;

/// The conversions from each voxel type (first index) to each (second index); null at unassigned codes.
using CastTable = PerVoxelType<PerVoxelType<CastKernel>>;
/// The conversions from each voxel type to 0 and 1 in bytes.
using BinaryTable = PerVoxelType<CastKernel>;

struct CastKernels {
    const CastTable* casts;
    const BinaryTable* toBinary;
};

/// The kernels of the best level of this processor, which store through the caches. Conversion gives the same bits on
/// every level, so that the level of an algorithm has no say in it.
const CastKernels& castKernels();

/// The kernels of every level that this processor has, the portable one first.
struct CastKernelsOfLevels {
    std::array<CastKernels, 4> kernels;
    std::size_t count;
};
CastKernelsOfLevels castKernelsOfLevels(Stores stores);

}  // namespace rix::access
