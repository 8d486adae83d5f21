#pragma once

#include <rix/synthesis/ImageGenerator.h>

namespace rix::synthesis {

/// Makes an image whose voxels all have one value.
///
/// Extents, spacing, type and failures: see `ImageGenerator`. Cost: one pass at memory speed; no extra memory.
class RIX_EXPORT ConstantImage : public ImageGenerator {
    RIX_ALGORITHM(ConstantImage)

    /// Default 0.
    RIX_INPUT(double, Value, value)
};

}  // namespace rix::synthesis
