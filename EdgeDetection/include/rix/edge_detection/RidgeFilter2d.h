#pragma once

#include <rix/algorithms/Declaration.h>
#include <rix/algorithms/FilterChoices.h>
#include <rix/edge_detection/RidgeChoices.h>

namespace rix::edge_detection {

/// Makes lines of planes stand out, whatever their width: the greatest measure of several scales s.
///
/// At each scale the image is smoothed with a Gaussian of the deviation s; the measure follows from the eigenvalues a
/// and b, |a| <= |b|, of its Hessian (see `HessianAnalysis2d`), multiplied by s^2 so that lines of all widths count
/// alike. Signs are those of bright lines; for `DARK` they are turned.
///
/// - `FRANGI`: exp(-(a / b)^2 / (2 beta^2)) (1 - exp(-(a^2 + b^2) / (2 gamma^2))) where b < 0, else 0 (A. Frangi et
/// al.,
///   "Multiscale vessel enhancement filtering", 1998); from 0 to 1.
/// - `SATO`: the magnitude of the lower of a and b where it is negative, else 0 (after Y. Sato et al.,
/// "Three-dimensional
///   multi-scale line filter", 1998).
///
/// The scales go evenly from `minimumScale` to `maximumScale`, in voxels, with `WORLD` in the unit of the image's
/// spacings; one scale is `minimumScale`. A line of the width 2 w answers most at s = w / sqrt(3) or more. Beyond its
/// edges the image is mirrored.
///
/// **Input** `inputImage`: any extents on all five axes, scalar elements, any real type (`uint8` to `float64`). Frames
/// and channels are images of their own.
/// **Output** `outputImage`: `float32`, for a `float64` input `float64`; the input's extents and calibration. It shares
/// no samples with the input.
///
/// **Exactness.** Derivatives are summed in `float32`, for `float64` and integers of 32 bits in `float64`, measures
/// computed in `float64`: the same bits on every level of optimisation, for every number of threads and every storage.
/// NaN spreads to the windows that hold it.
///
/// @throws RuleException from `run` for an unset or empty image, a complex or vector image, a scale that is not above
/// 0, not
///         finite or above 100 voxels, weights that are not above 0 or not finite, no scales, spacings of 0 or NaN with
///         `WORLD`, an unknown choice, and an output that shares samples with the input; ResizeImageError or
///         MemoryError when there is no memory.
/// Cost: that of `HessianAnalysis2d` for each scale. Memory: the rows of a window a thread; see `describe`.
class RIX_EXPORT RidgeFilter2d : public BaseAlgorithm {
    RIX_ALGORITHM(RidgeFilter2d)

    /// What tells that something is a line.
    using Method = RidgeFilterMethod;
    using enum RidgeFilterMethod;
    /// Which lines are wanted.
    using Ridges = RidgeBrightness;
    using enum RidgeBrightness;
    /// In what lengths are given, and by what derivatives are divided.
    using LengthUnit = algorithms::LengthUnit;
    using enum algorithms::LengthUnit;

    RIX_INPUT(const ImageModel*, InputImage, inputImage)
    /// Default `FRANGI`.
    RIX_CHOICE(Method, Method, method, getInfoRidgeFilterMethod)
    /// Default `BRIGHT`.
    RIX_CHOICE(Ridges, Ridges, ridges, getInfoRidgeBrightness)
    /// Default 1; above 0 and at most 100 voxels along each axis.
    RIX_INPUT(double, MinimumScale, minimumScale)
    /// Default 5; above 0 and at most 100 voxels along each axis.
    RIX_INPUT(double, MaximumScale, maximumScale)
    /// Default 5; from 1 to 1000.
    RIX_INPUT(std::int32_t, NumberOfScales, numberOfScales)
    /// Default 0.5; above 0.
    RIX_INPUT(double, Alpha, alpha)
    /// Default 0.5; above 0.
    RIX_INPUT(double, Beta, beta)
    /// Default 15; above 0.
    RIX_INPUT(double, Gamma, gamma)
    /// Default `VOXEL`.
    RIX_CHOICE(LengthUnit, LengthUnit, lengthUnit, algorithms::getInfoLengthUnit)
    RIX_OUTPUT(ImageModel*, OutputImage, outputImage)
};

}  // namespace rix::edge_detection
