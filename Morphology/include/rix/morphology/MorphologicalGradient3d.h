#pragma once

#include <rix/morphology/ElementFilter.h>
#include <rix/morphology/MorphologicalGradientType.h>

namespace rix::morphology {

/// How much the values of each volume differ under the structuring element: the dilation less the erosion (`BOTH`), the
/// image less its erosion (`INTERNAL`: the inner edge of bright objects) or the dilation less the image (`EXTERNAL`).
///
/// The differences of signed integers have the unsigned type of the same width, which holds them all; a binary image
/// stays one. Where an element without its origin makes a difference negative, integers get 0.
///
/// Element, border, values and failures: see `ElementFilter3d`. Cost: that of an erosion, of a dilation or of both,
/// which then need a temporary image.
class RIX_EXPORT MorphologicalGradient3d : public ElementFilter3d {
    RIX_ALGORITHM(MorphologicalGradient3d)

    using Gradient = MorphologicalGradientType;
    using enum MorphologicalGradientType;

    /// Default `BOTH`.
    RIX_CHOICE(Gradient, Gradient, gradient, getInfoMorphologicalGradientType)
};

}  // namespace rix::morphology
