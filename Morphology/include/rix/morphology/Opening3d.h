#pragma once

#include <rix/morphology/ElementFilter.h>

namespace rix::morphology {

/// Opens each volume: an erosion, then a dilation with the same element. What is bright and does not hold the element
/// goes; the result never exceeds the image, and opening it again changes nothing.
///
/// Element, border, values and failures: see `ElementFilter3d`. Cost: that of an erosion and a dilation, and a
/// temporary image.
class RIX_EXPORT Opening3d : public ElementFilter3d {
    RIX_ALGORITHM(Opening3d)
};

}  // namespace rix::morphology
