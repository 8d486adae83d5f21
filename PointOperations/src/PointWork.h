#pragma once

#include <cstddef>

#include <rix/access/Pieces.h>
#include <rix/image/ImageModel.h>

namespace rix::point_operations {

/// Rough cost of a voxel in a pass at memory speed, from the bytes that it touches, for deciding whether threads pay.
inline constexpr double nanosecondsPerByte = 0.035;

/// Whether an image is set and its voxels count as 0 and 1.
inline bool isBinary(const ImageModel* image) {
    return image != nullptr && image->getInterpretation() == RIX_BINARY;
}

/// Peak bytes of a pass beyond its images.
template <class Algorithm>
std::size_t passMemory(const Algorithm& algorithm) {
    return access::pieceMemory(algorithm.getMaximumThreads());
}

}  // namespace rix::point_operations
