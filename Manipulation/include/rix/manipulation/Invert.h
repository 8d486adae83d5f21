#pragma once

#include <rix/algorithms/Declaration.h>

namespace rix::manipulation {

/// Turns bright to dark: every voxel v becomes M - v, where M is the largest value of the type, in unsigned types; in
/// signed and real types it becomes -v.
///
/// **Input** `inputImage`: any extents on all five axes, scalar elements, any real type (`uint8` to `float64`).
/// **Output** `outputImage`: takes the input's extents, type, calibration and colour interpretation; interpretation
/// value. A binary image stays one: 0 becomes 1, everything else 0. It may be the input image.
///
/// The negative of the most negative integer is the largest. NaN stays NaN.
///
/// @throws RuleException from `run` for an unset or empty image and for a complex or vector image.
/// Cost: one pass at memory speed; no extra memory.
class RIX_EXPORT Invert : public BaseAlgorithm {
    RIX_ALGORITHM(Invert)

    RIX_INPUT(const ImageModel*, InputImage, inputImage)
    RIX_OUTPUT(ImageModel*, OutputImage, outputImage)
};

}  // namespace rix::manipulation
