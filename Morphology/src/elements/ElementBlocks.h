#pragma once

#include <array>
#include <cstddef>

#include <rix/access/Plan.h>
#include <rix/image/ImageModel.h>

#include "Element.h"

namespace rix::morphology {

/// The memory of a block: its voxels with all that their windows see, some times.
struct ElementBlock {
    std::array<std::size_t, 3> extents{};  ///< of the windows
    std::size_t pitch = 0;                 ///< elements from row to row
    std::size_t tables = 1;                ///< minima of 1, 2, 4 ... voxels

    std::size_t tableLength() const { return pitch * extents[1] * extents[2]; }
};

/// How images are cut for an element, from their extents and the size of a key alone.
access::Plan planElement(const ImageModel& image, const Element& element, std::size_t keyBytes);

/// Of a block of so many voxels.
ElementBlock blockOf(const std::array<std::size_t, 3>& voxels, const Element& element, std::size_t keyBytes);

}  // namespace rix::morphology
