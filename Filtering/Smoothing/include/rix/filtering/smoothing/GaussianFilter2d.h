#pragma once

#include <rix/access/BorderPolicy.h>
#include <rix/algorithms/Declaration.h>
#include <rix/algorithms/FilterChoices.h>

namespace rix::filtering::smoothing {

/// Smooths each plane with a Gaussian: every voxel becomes the weighted mean of its neighbours,
///
///     out(x, y) = sum over i, j of g_X(i) g_Y(j) in(x + i, y + j),   g_s(i) = exp(-i^2 / (2 s^2)) / sum
///
/// the sampled Gaussian, divided by its sum, over all of the plane. A standard deviation of 0 leaves its axis alone.
///
/// **Method.** One axis after the other. Below a deviation of 3 voxels the tails are cut beyond ceil(5 s), where they
/// are below 4e-6 of the peak. From 3 on the Gaussian is a sum of three damped oscillations, computed by recursions in
/// both directions (after R. Deriche, "Recursively implementing the Gaussian and its derivatives", 1993, with constants
/// fitted here), whose weights are off by 8e-6 of the peak, at a cost that does not grow. A line is smoothed in
/// stretches of at least 2048 voxels that begin at its multiples; each recursion takes in ceil(5 s) voxels before it.
/// Bytes that become bytes are summed in integers below a deviation of 8, where there is a
/// scale at which their taps, rounded to 16 bits, are off by 2.15e-5 at most together: at nearly all deviations below
/// 5, at half of those at 6. Sums down columns are rounded to 1/256.
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
/// **Exactness.** Sums are taken in `float32`, for `float64`, integers of 32 bits and recursions with deviations above
/// 30 voxels in `float64`, without fused operations: results are the same, bit for bit, on every level of optimisation
/// and for every number of threads. Real results are within 2e-5 of the range of the input (for `float32`: of its
/// largest magnitude) of the formula in double precision. In an integer type results are rounded to the nearest
/// integer, ties to even, and clamped to the type: for 8 bits within 1/2 + 2^-7 of the exact value, for 16 bits within
/// 1/2 + 2e-5 of the range. NaN spreads to the windows of ceil(5 s) voxels a side that hold it, infinities likewise;
/// beyond, they are as if they were 0. Where two magnitudes above half of the largest real meet, the result is
/// infinite; recursions take magnitudes above 2^-13 of the largest real as infinite, and below 2^-100 as 0 (`float64`:
/// 2^-900).
///
/// @throws RuleException from `run` for an unset or empty image, a complex or vector image, a standard deviation that
/// is
///         negative, not finite or too large, a spacing of 0 or NaN where it is needed, an unknown choice, a
///         `borderValue` of NaN, and an in-place output of another type; ResizeImageError or MemoryError when there is
///         no memory.
/// Cost: a voxel and axis, 5 s multiplications and twice as many additions, or about 60 operations from s = 3 on; of
/// bytes, half of that where they are summed in integers. Memory: the rows of a window or a bundle of lines a thread;
/// and where more than one pass is needed (from 3 voxels on, each axis is one) an image of `float32` (`float64` where
/// sums are) unless the output is of that type and not the input; see `describe`.
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
