#pragma once

#include <cstdint>

#include <rix/algorithms/Declaration.h>

namespace rix::geometry {

/// Turns each plane into the coefficients c of the spline through its elements:
///
///     in(x, y) = sum over i, j of c(i, j) b(x - i) b(y - j),   b the centred B-spline of the degree
///
/// which is the image between its elements, too. The image is mirrored at its edges with the edge element repeated, and
/// so are the coefficients: c(-1 - i) = c(i), c(n + i) = c(n - 1 - i).
///
/// **Method.** The samples of b have few zeros, each of which is divided out by a recursion in both directions (M.
/// Unser, A. Aldroubi and M. Eden, "B-spline signal processing", 1993). Where these begin, the sum over the mirrored
/// line is exact: over one period and its repetitions for short lines, to the last bit for long ones.
///
/// **Input** `inputImage`: any extents on all five axes, scalar elements, any real type (`uint8` to
/// `float64`). Spacings of axes with neighbours are finite and not 0; an image whose spatial spacings are all 0 counts
/// as spacing 1, and the output has it.
/// **Output** `outputImage`: the input's extents, calibration and colour interpretation; interpretation value;
/// `float32`, and `float64` for `float64`. It shares no samples with the input.
///
/// **Exactness.** In the output's type, without fused operations: the same bits on every level of optimisation, for
/// every number of threads and every storage. The spline gives the elements back within 4e-6 of their range in
/// `float32`, 1e-14 in `float64`. NaN and infinities spread along their lines. States of the recursions below 2^-80
/// (`float64`: 2^-900) count as 0.
///
/// @throws RuleException from `run` for an unset or empty image, elements of several samples, complex samples, spacings
///         that are none, a degree that is none of 2, 3, 4 and 5, and an output that shares samples with the input;
///         ResizeImageError or MemoryError when there is no memory.
/// Cost: an element and axis, four operations for degrees 2 and 3, eight for 4 and 5. Memory: a bundle of lines a
/// thread; see `describe`.
class RIX_EXPORT BSplineCoefficients2d : public BaseAlgorithm {
    RIX_ALGORITHM(BSplineCoefficients2d)

    RIX_INPUT(const ImageModel*, InputImage, inputImage)
    /// Of the polynomials between elements, 2 to 5; default 3.
    RIX_INPUT(std::int32_t, Degree, degree)
    RIX_OUTPUT(ImageModel*, OutputImage, outputImage)
};

}  // namespace rix::geometry
