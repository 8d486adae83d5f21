#pragma once

#include <rix/access/BorderPolicy.h>
#include <rix/algorithms/Declaration.h>
#include <rix/algorithms/FilterChoices.h>

namespace rix::filtering::smoothing {

/// Smooths each plane with a Gaussian: every voxel becomes the weighted mean of its neighbours,
///
///     out(x, y) = sum over i, j of g_X(i) g_Y(j) in(x + i, y + j),   g_s(i) = exp(-i^2 / (2 s^2)) / sum
///
/// with i from -ceil(5 s) to ceil(5 s): the sampled Gaussian, divided by its sum, cut where it is below 4e-6 of its
/// peak. A standard deviation of 0 leaves its axis alone.
///
/// **Input** `inputImage`: any extents on all five axes, scalar elements, any real type (`uint8` to `float64`).
/// **Output** `outputImage`: takes the input's extents, calibration and colour interpretation; interpretation value;
/// the input's type, or `float32` as `outputType` says. It may be the input image when the type stays; the run then
/// needs a temporary image.
///
/// **Units.** With `lengthUnit` `WORLD` the standard deviations are lengths in the unit of the image's spacings, so
/// that the filter is round in the world, not in the grid. They may be up to 1000 voxels.
///
/// **Border.** Beyond its edges the image is mirrored with the edge voxel repeated (`MIRROR`), goes on with the edge
/// voxel (`CONTINUE`), or has the value `borderValue` (`FIXED`).
///
/// **Exactness.** Sums are taken in `float32`, for `float64` and integers of 32 bits in `float64`, one axis after the
/// other, from the ends of the kernel to its middle, without fused operations: results are the same, bit for bit, on
/// every level of optimisation and for every number of threads. Real results are within 2e-5 of the range of the input
/// of the formula in double precision. In an integer type results are rounded to the nearest integer, ties to even, and
/// clamped to the type (for 8 bits: within 1/2 + 2^-7 of the exact value). NaN spreads to all windows that hold it;
/// where two magnitudes above half of the largest real meet, the result is infinite.
///
/// @throws RuleException from `run` for an unset or empty image, a complex or vector image, a standard deviation that
/// is
///         negative, not finite or too large, a spacing of 0 or NaN where it is needed, an unknown choice, a
///         `borderValue` of NaN, and an in-place output of another type; ResizeImageError or MemoryError when there is
///         no memory.
/// Cost: 5 (s_X + s_Y) multiplications and twice as many additions a voxel. Memory: the rows of a window a thread; see
/// `describe`.
class RIX_EXPORT GaussianFilter2d : public BaseAlgorithm {
    RIX_ALGORITHM(GaussianFilter2d)

    /// In what the standard deviations are given.
    using LengthUnit = algorithms::LengthUnit;
    using enum algorithms::LengthUnit;
    /// What lies beyond the edges.
    using BorderPolicy = access::BorderPolicy;
    using enum access::BorderPolicy;
    /// The type of the result.
    using OutputType = algorithms::OutputType;
    using enum algorithms::OutputType;

    RIX_INPUT(const ImageModel*, InputImage, inputImage)
    /// Default 1; 0 leaves the axis alone.
    RIX_INPUT(double, StandardDeviationX, standardDeviationX)
    /// Default 1; 0 leaves the axis alone.
    RIX_INPUT(double, StandardDeviationY, standardDeviationY)
    /// Default `VOXEL`.
    RIX_CHOICE(LengthUnit, LengthUnit, lengthUnit, algorithms::getInfoLengthUnit)
    /// Default `MIRROR`.
    RIX_CHOICE(BorderPolicy, BorderPolicy, borderPolicy, access::getInfoBorderPolicy)
    /// Of `FIXED`; default 0.
    RIX_INPUT(double, BorderValue, borderValue)
    /// Default `SAME_AS_INPUT`.
    RIX_CHOICE(OutputType, OutputType, outputType, algorithms::getInfoOutputType)
    RIX_OUTPUT(ImageModel*, OutputImage, outputImage)
};

}  // namespace rix::filtering::smoothing
