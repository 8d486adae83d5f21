#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace rix::segmentation {

/// Divides counted classes into neighbouring groups with the largest between-group variance.
/// @param counts of at most 256 classes of equal width
/// @param groups 1 or more; fewer are made when fewer classes have voxels
/// @return for every group but the last, its last class that has voxels
std::vector<std::size_t> divideClasses(std::span<const std::uint64_t> counts, std::size_t groups);

}  // namespace rix::segmentation
