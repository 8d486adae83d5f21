#pragma once

#include <rix/algorithms/Declaration.h>

namespace rix::manipulation {

/// Brings every voxel into a range: below `minimum` it becomes the minimum, above `maximum` the maximum; within it
/// stays what it is, bit for bit.
///
/// **Input** `inputImage`: any extents on all five axes, scalar elements, any real type (`uint8` to `float64`). A
/// binary image counts as 0 and 1, whatever it holds beside 0.
/// **Inputs** `minimum` and `maximum`: rounded to the type of the image: in integer types to the nearest integer, ties
/// to even, that the type has.
/// **Output** `outputImage`: takes the input's extents, type, calibration and colour interpretation; interpretation
/// value. It may be the input image.
///
/// NaN stays NaN.
///
/// @throws RuleException from `run` for an unset or empty image, a complex or vector image, a bound of NaN and a
///         minimum above the maximum.
/// Cost: one pass at memory speed; no extra memory.
class RIX_EXPORT ClampIntensity : public BaseAlgorithm {
    RIX_ALGORITHM(ClampIntensity)

    RIX_INPUT(const ImageModel*, InputImage, inputImage)
    /// Default 0.
    RIX_INPUT(double, Minimum, minimum)
    /// Default 255.
    RIX_INPUT(double, Maximum, maximum)
    RIX_OUTPUT(ImageModel*, OutputImage, outputImage)
};

}  // namespace rix::manipulation
