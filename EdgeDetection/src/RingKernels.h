#pragma once

#include <cstddef>
#include <cstdint>

#include <rix/algorithms/OptimLevel.h>

namespace rix::edge_detection {

/// out[x] = the share of the voxels edges[x + offsets[i]] that are 1, of 0 and 1, for i below `n`, at most 65535. Every
/// level computes the same bits.
using ShareOfRing = void (*)(const std::uint8_t* edges, const std::ptrdiff_t* offsets, std::size_t n, float* out,
                             std::size_t count);

ShareOfRing shareOfRing(OptimLevelType level);

}  // namespace rix::edge_detection
