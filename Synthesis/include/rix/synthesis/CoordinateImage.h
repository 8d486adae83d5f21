#pragma once

#include <rix/synthesis/ImageGenerator.h>

namespace rix::synthesis {

/// Makes an image whose voxels tell where they are: the world coordinate of each along an axis, its index times the
/// spacing.
///
/// Extents, spacing, type and failures: see `ImageGenerator`. Cost: one pass; no extra memory.
class RIX_EXPORT CoordinateImage : public ImageGenerator {
    RIX_ALGORITHM(CoordinateImage)

    using Axis = synthesis::Axis;
    using enum synthesis::Axis;

    /// Default `COLUMNS`.
    RIX_CHOICE(Axis, Axis, axis, getInfoAxis)
};

}  // namespace rix::synthesis
