#pragma once

#include <rix/synthesis/ImageGenerator.h>

namespace rix::synthesis {

/// Makes a board of squares (cubes) of two values in turn. The first square, of the first value, begins at the first
/// voxel.
///
/// Extents, spacing, type and failures: see `ImageGenerator`; a square below one voxel is refused. Cost: one pass; no
/// extra memory.
class RIX_EXPORT CheckerboardImage : public ImageGenerator {
    RIX_ALGORITHM(CheckerboardImage)

    /// Voxels of a side, on all spatial axes; default 16.
    RIX_INPUT(std::int64_t, SquareSize, squareSize)
    /// Default 0.
    RIX_INPUT(double, FirstValue, firstValue)
    /// Default 255.
    RIX_INPUT(double, LastValue, lastValue)
};

}  // namespace rix::synthesis
