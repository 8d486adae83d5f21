#pragma once

#include <array>
#include <cstddef>

#include <rix/access/Blocks.h>
#include <rix/access/Plan.h>
#include <rix/image/ImageModel.h>

#include "TileTransform.h"

namespace rix::filtering::frequency {

/// How a convolution is cut into tiles: from the extents of image and kernel alone, so that the bits of its results are
/// the same on every machine of a kind.
struct ConvolutionTiles {
    TileExtents kernel{};
    TileExtents tile{};     ///< what is transformed
    TileExtents results{};  ///< of which so many come out right: the others are wrapped around
    access::Plan plan{};    ///< a block for the results of each tile

    std::size_t samples() const { return tile[0] * tile[1] * tile[2]; }
    std::size_t coefficients() const { return (tile[0] / 2 + 1) * tile[1] * tile[2]; }
    /// Too large for a transform by one thread between two looks at a request to cancel. From the extents alone: the
    /// two ways round differently.
    bool areLarge() const { return samples() > std::size_t{1} << 20; }
    /// The voxels that the window of one looks at.
    access::Reach reach() const;
};

/// @param volumes false where planes are images of their own
/// @throws MemoryError when a tile would have more elements than can be counted
ConvolutionTiles tilesOf(const ImageModel& image, const ImageModel& kernel, bool volumes);

}  // namespace rix::filtering::frequency
