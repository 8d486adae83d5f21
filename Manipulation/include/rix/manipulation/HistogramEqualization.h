#pragma once

#include <rix/algorithms/Declaration.h>

namespace rix::manipulation {

/// Spreads the grey values of an image so that all are about equally frequent.
///
/// **Input** `inputImage`: any extents on all five axes, scalar elements, any real type (`uint8` to `float64`). A
/// binary image counts as 0 and 1, whatever it holds beside 0.
/// **Output** `outputImage`: takes the input's extents, type, calibration and colour interpretation; interpretation
/// value. It may be the input image.
///
/// In types of 8 and 16 bits a value v becomes
///
///     a + (b - a) (C(v) - C(m)) / (N - C(m))
///
/// where C(v) is the number of voxels with values up to v, N that of all, m the smallest value that occurs, and a and b
/// are the ends of the type's range; rounded to the nearest integer, ties to even. In wider types voxels are counted in
/// `numberOfClasses` classes of equal width between the extreme values a and b of the image, and v becomes
/// a + (b - a) C(v) / N, where C grows linearly within a class. Infinite voxels get the value of the nearer end and are
/// not counted, NaN stays NaN. An image with one value, and one without a finite voxel, stays what it is.
///
/// @throws RuleException from `run` for an unset or empty image, a complex or vector image, and a number of classes
/// that
///         is not from 1 to 65535.
/// Cost: a pass to count (two in wider types) and one to look up. Extra memory: the counts and the table.
class RIX_EXPORT HistogramEqualization : public BaseAlgorithm {
    RIX_ALGORITHM(HistogramEqualization)

    RIX_INPUT(const ImageModel*, InputImage, inputImage)
    /// Of types of more than 16 bits; default 256.
    RIX_INPUT(std::int32_t, NumberOfClasses, numberOfClasses)
    RIX_OUTPUT(ImageModel*, OutputImage, outputImage)
};

}  // namespace rix::manipulation
