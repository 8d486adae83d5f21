#pragma once

#include <rix/algorithms/Declaration.h>

namespace rix::manipulation {

/// Gives an image the distribution of the grey values of another one.
///
/// **Input** `inputImage`: any extents on all five axes, scalar elements, any real type (`uint8` to `float64`).
/// **Input** `inputReferenceImage`: any extents and any real type.
/// **Output** `outputImage`: takes the input's extents, type, calibration and colour interpretation; interpretation
/// value. It may be the input image.
///
/// A voxel of value v becomes the value of the reference up to which there is the same share of voxels: R(F(v)), where
/// F(v) is the share of the input's voxels with values up to v. The function R is linear between the values that occur
/// in the reference, at their shares, and the smallest of them below. Types of 8 and 16 bits are counted by values;
/// wider ones in 65535 classes of equal width between the extreme values, within which shares grow linearly. Only
/// finite voxels count; infinite ones get the value of the nearer end.
///
/// In integer types results are rounded to the nearest integer, ties to even, and clamped. NaN stays NaN. When no voxel
/// of either image is finite, the input stays what it is. Binary images count as 0 and 1, whatever they hold beside 0.
///
/// @throws RuleException from `run` for an unset or empty image and for a complex or vector image.
/// Cost: a pass over each image to count (two in wider types) and one to look up. Extra memory: counts and tables.
class RIX_EXPORT HistogramMatching : public BaseAlgorithm {
    RIX_ALGORITHM(HistogramMatching)

    RIX_INPUT(const ImageModel*, InputImage, inputImage)
    RIX_INPUT(const ImageModel*, InputReferenceImage, inputReferenceImage)
    RIX_OUTPUT(ImageModel*, OutputImage, outputImage)
};

}  // namespace rix::manipulation
