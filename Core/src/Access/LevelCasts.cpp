#include <rix/access/LevelCasts.h>

#include "Access/CastKernels.h"

namespace rix::access {

namespace {

const CastKernels& kernelsOf(OptimLevelType level) {
    static const CastKernelsOfLevels levels = castKernelsOfLevels();
    // The portable kernels are first, those of SSE second, and the best of AVX last.
    const std::size_t last = levels.count - 1;
    return levels.kernels[level == SCALAR ? 0 : level == VEC_SSE && last > 0 ? 1 : last];
}

}  // namespace

CastRow castRowOf(VoxelTypes from, VoxelTypes to, OptimLevelType level) {
    return (*kernelsOf(level).casts)[static_cast<std::size_t>(from)][static_cast<std::size_t>(to)];
}

CastRow truthRowOf(VoxelTypes from, OptimLevelType level) {
    return (*kernelsOf(level).toBinary)[static_cast<std::size_t>(from)];
}

}  // namespace rix::access
