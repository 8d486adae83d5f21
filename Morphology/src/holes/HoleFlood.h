#pragma once

#include <array>
#include <cstddef>

#include <rix/access/ExecutionContext.h>
#include <rix/image/ImageTypes.h>

namespace rix::morphology {

/// Where floods spread.
struct FloodSpace {
    std::size_t axes;  ///< 2: in each plane by itself; 3: in each volume
    bool corners;      ///< to all neighbours (8 or 26), else across edges or faces only (4 or 6)
};

/// Reconstruction by erosion from the edges of planes or volumes: `level` becomes the smallest image above `ground`
/// that is `ground` on the edges and has no other regional minimum. Two steps of the run.
template <class T>
void floodHoles(access::ExecutionContext& context, const T* ground, T* level,
                const std::array<std::size_t, RIX_COMPONENTS_SIZE>& extents, const FloodSpace& space);

/// Most bytes of queues that a run needs.
std::size_t floodWorkingBytes(const std::array<std::size_t, RIX_COMPONENTS_SIZE>& extents, std::size_t sampleBytes,
                              const FloodSpace& space, std::size_t threads);

}  // namespace rix::morphology
