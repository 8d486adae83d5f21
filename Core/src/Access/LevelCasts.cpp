#include <rix/access/LevelCasts.h>

#include "Access/CastKernels.h"

namespace rix::access {

namespace {

const CastKernels& kernelsOf(Stores stores, OptimLevelType level) {
    static const CastKernelsOfLevels cached = castKernelsOfLevels(Stores::Cached);
    static const CastKernelsOfLevels streaming = castKernelsOfLevels(Stores::Streaming);
    const CastKernelsOfLevels& levels = stores == Stores::Streaming ? streaming : cached;
    // The portable kernels are first, those of SSE second, and the best of AVX last.
    const std::size_t last = levels.count - 1;
    return levels.kernels[level == SCALAR ? 0 : level == VEC_SSE && last > 0 ? 1 : last];
}

}  // namespace

CastRow castRowOf(VoxelTypes from, VoxelTypes to, Stores stores, OptimLevelType level) {
    return (*kernelsOf(stores, level).casts)[static_cast<std::size_t>(from)][static_cast<std::size_t>(to)];
}

CastRow truthRowOf(VoxelTypes from, Stores stores, OptimLevelType level) {
    return (*kernelsOf(stores, level).toBinary)[static_cast<std::size_t>(from)];
}

}  // namespace rix::access
