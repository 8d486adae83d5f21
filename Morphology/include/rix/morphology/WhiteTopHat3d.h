#pragma once

#include <rix/morphology/ElementFilter.h>

namespace rix::morphology {

/// What an opening takes away from each volume: the image less its opening. It keeps what is bright and too small for
/// the element, and takes out a background that varies slowly.
///
/// The differences of signed integers have the unsigned type of the same width, which holds them all; a binary image
/// stays one.
///
/// Element, border, values and failures: see `ElementFilter3d`. Cost: that of an erosion and a dilation, and a
/// temporary image.
class RIX_EXPORT WhiteTopHat3d : public ElementFilter3d {
    RIX_ALGORITHM(WhiteTopHat3d)
};

}  // namespace rix::morphology
