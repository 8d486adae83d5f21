#pragma once

#include <rix/morphology/ElementFilter.h>

namespace rix::morphology {

/// Opens each plane: an erosion, then a dilation with the same element. What is bright and does not hold the element
/// goes; the result never exceeds the image, and opening it again changes nothing.
///
/// Element, border, values and failures: see `ElementFilter2d`. Cost: that of an erosion and a dilation, and a
/// temporary image.
class RIX_EXPORT Opening2d : public ElementFilter2d {
    RIX_ALGORITHM(Opening2d)
};

}  // namespace rix::morphology
