#pragma once

#include <cstddef>

#include <rix/access/Pieces.h>
#include <rix/algorithms/InputMeaning.h>
#include <rix/image/ImageModel.h>

namespace rix::point_operations {

/// Rough cost of a voxel in a pass at memory speed, from the bytes that it touches, for deciding whether threads pay.
inline constexpr double nanosecondsPerByte = 0.035;

using algorithms::isBinary;

/// Peak bytes of a pass beyond its images.
template <class Algorithm>
std::size_t passMemory(const Algorithm& algorithm) {
    return access::pieceMemory(algorithm.getMaximumThreads());
}

}  // namespace rix::point_operations
