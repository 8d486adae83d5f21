#pragma once

#include <rix/morphology/ElementFilter.h>

namespace rix::morphology {

/// Closes each plane: a dilation, then an erosion with the same element. What is dark and does not hold the reflected
/// element is filled; the result is never below the image, and closing it again changes nothing.
///
/// Element, border, values and failures: see `ElementFilter2d`. Cost: that of a dilation and an erosion, and a
/// temporary image.
class RIX_EXPORT Closing2d : public ElementFilter2d {
    RIX_ALGORITHM(Closing2d)
};

}  // namespace rix::morphology
