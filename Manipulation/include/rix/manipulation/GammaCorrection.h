#pragma once

#include <rix/algorithms/Declaration.h>

namespace rix::manipulation {

/// Bends grey values by a power: every voxel v becomes
///
///     M (v / M)^gamma
///
/// where M is the largest value of an integer type, and 1 for real ones. A gamma below 1 brightens dark parts, one
/// above 1 darkens them. Negative values are bent as positive ones: the sign stays.
///
/// **Input** `inputImage`: any extents on all five axes, scalar elements, any real type (`uint8` to `float64`). A
/// binary image counts as 0 and 1, whatever it holds beside 0.
/// **Output** `outputImage`: takes the input's extents, type, calibration and colour interpretation; interpretation
/// value. It may be the input image.
///
/// Results are computed in double precision, within 3 units in the last place, and the same bits on every level; in
/// integer types they are rounded to the nearest integer, ties to even, and clamped. NaN stays NaN.
///
/// @throws RuleException from `run` for an unset or empty image, a complex or vector image, and a gamma that is not
///         positive and finite.
/// Cost: a look-up a voxel for 8 and 16 bits, a power for others. Extra memory: the table.
class RIX_EXPORT GammaCorrection : public BaseAlgorithm {
    RIX_ALGORITHM(GammaCorrection)

    RIX_INPUT(const ImageModel*, InputImage, inputImage)
    /// Default 1.
    RIX_INPUT(double, Gamma, gamma)
    RIX_OUTPUT(ImageModel*, OutputImage, outputImage)
};

}  // namespace rix::manipulation
