#include <rix/filtering/smoothing/BoxFilterWorkType.h>

namespace rix::filtering::smoothing {

namespace {

/// A row of the table: up to `narrowLimit` voxels `narrow`, up to `wideLimit` `RIX_INT32`, else `RIX_FLOAT32`.
struct WorkTypeRow {
    VoxelTypes voxelType;
    VoxelTypes narrow;
    std::uint64_t narrowLimit;
    std::uint64_t wideLimit;
};

constexpr WorkTypeRow workTypes[] = {
    {RIX_UINT8, RIX_UINT16, 256, 8388608},
    {RIX_INT8, RIX_INT16, 256, 16777216},
    {RIX_UINT16, RIX_INT32, 0, 32768},
    {RIX_INT16, RIX_INT32, 0, 65536},
};

}  // namespace

VoxelTypes computeWorkType(VoxelTypes voxelType, std::uint64_t count) {
    for (const WorkTypeRow& row : workTypes) {
        if (row.voxelType == voxelType) {
            return count <= row.narrowLimit ? row.narrow : count <= row.wideLimit ? RIX_INT32 : RIX_FLOAT32;
        }
    }
    return voxelType == RIX_FLOAT64 ? RIX_FLOAT64 : RIX_FLOAT32;
}

}  // namespace rix::filtering::smoothing
