#pragma once

#include <rix/morphology/ElementFilter.h>

namespace rix::morphology {

/// What a closing adds to each volume: the closing of the image less the image. It keeps what is dark and too small for
/// the element.
///
/// The differences of signed integers have the unsigned type of the same width, which holds them all; a binary image
/// stays one.
///
/// Element, border, values and failures: see `ElementFilter3d`. Cost: that of an erosion and a dilation, and a
/// temporary image.
class RIX_EXPORT BlackTopHat3d : public ElementFilter3d {
    RIX_ALGORITHM(BlackTopHat3d)
};

}  // namespace rix::morphology
