#pragma once

#include <rix/synthesis/ImageGenerator.h>

namespace rix::synthesis {

/// Makes an image whose values go evenly from one value to another along an axis: element i of n has
/// first + (last - first) i / (n - 1), the only element of an axis the first value.
///
/// Extents, spacing, type and failures: see `ImageGenerator`. Cost: one pass; no extra memory.
class RIX_EXPORT GradientImage : public ImageGenerator {
    RIX_ALGORITHM(GradientImage)

    using Axis = synthesis::Axis;
    using enum synthesis::Axis;

    /// Default `COLUMNS`.
    RIX_CHOICE(Axis, Axis, axis, getInfoAxis)
    /// Default 0.
    RIX_INPUT(double, FirstValue, firstValue)
    /// Default 255.
    RIX_INPUT(double, LastValue, lastValue)
};

}  // namespace rix::synthesis
