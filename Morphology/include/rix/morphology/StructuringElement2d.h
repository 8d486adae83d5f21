#pragma once

#include <rix/math/Vector.h>
#include <rix/morphology/ElementFilter.h>
#include <rix/properties/RarePropertyInstances.h>

namespace rix::morphology {

/// Draws a structuring element as a binary image, to look at it or to give it to others.
///
/// The image is just large enough for the element with its origin at half of each extent, which is where `IMAGE` takes
/// it. With `lengthUnit` `WORLD` the radius is divided by `spacing`.
///
/// **Output** `outputImage`: binary, of spacing `spacing` and origin 0.
/// Element and failures: see `ElementOwner2d`; also a spacing that is not within 1e-9 and 1e9. Cost: one pass.
class RIX_EXPORT StructuringElement2d : public ElementOwner2d {
    RIX_ALGORITHM(StructuringElement2d)

    /// Of columns, rows and planes; default 1.
    RIX_INPUT(math::Vector3<double>, Spacing, spacing)
    RIX_OUTPUT(ImageModel*, OutputImage, outputImage)
};

}  // namespace rix::morphology
