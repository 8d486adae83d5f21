#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <initializer_list>
#include <optional>

#include <rix/access/BlockSize.h>
#include <rix/image/ImageModel.h>

// What the cutters have in common.

namespace rix::access {

/// No block works longer than this, so that a cancellation is seen soon.
inline constexpr double longestBlockNanoseconds = 2.0e7;

/// Rows are cut on columns only into pieces at least this long: shorter ones defeat the prefetcher.
inline std::size_t shortestPiece() {
    return scaledToBlocks(4096);
}

constexpr std::size_t ceilDivide(std::size_t a, std::size_t b) {
    return a / b + (a % b != 0 ? 1 : 0);
}

/// Whether so much work is too little to pay for threads.
inline bool isSmallWork(std::size_t voxels, double nanosecondsPerVoxel) {
    return static_cast<double>(voxels) * nanosecondsPerVoxel < smallWorkNanoseconds();
}

/// The product of the extents. @throws UnexpectedError when it does not fit 64 bits
std::size_t checkedVoxels(const std::array<std::size_t, RIX_COMPONENTS_SIZE>& extents);

/// The block in which the images are best accessed: the largest of those that they prefer; none where they don't care.
std::optional<std::array<std::size_t, RIX_COMPONENTS_SIZE>> preferredBlock(
    std::initializer_list<const ImageModel*> images);

/// The bytes of one element of all images together.
/// @throws UnexpectedError when an image has other extents than `first`
std::size_t elementBytes(std::initializer_list<const ImageModel*> images, const ImageModel& first);

}  // namespace rix::access
