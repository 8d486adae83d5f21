#pragma once

#include <rix/morphology/ElementFilter.h>

namespace rix::morphology {

/// What a closing adds to each plane: the closing of the image less the image. It keeps what is dark and too small for
/// the element.
///
/// The differences of signed integers have the unsigned type of the same width, which holds them all; a binary image
/// stays one.
///
/// Element, border, values and failures: see `ElementFilter2d`. Cost: that of an erosion and a dilation, and a
/// temporary image.
class RIX_EXPORT BlackTopHat2d : public ElementFilter2d {
    RIX_ALGORITHM(BlackTopHat2d)
};

}  // namespace rix::morphology
