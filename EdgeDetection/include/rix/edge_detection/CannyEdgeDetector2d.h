#pragma once

#include <rix/access/BorderPolicy.h>
#include <rix/algorithms/Declaration.h>
#include <rix/algorithms/FilterChoices.h>
#include <rix/edge_detection/EdgesMsr.h>
#include <rix/edge_detection/ThresholdMode.h>
#include <rix/measurement/PropertyMeasurement.h>

namespace rix::edge_detection {

/// Finds the edges of planes: thin lines of voxels where the gradient is greatest along its own direction (J. Canny, "A
/// computational approach to edge detection", 1986).
///
/// - **Gradient.** The image is smoothed with a Gaussian (sampled up to ceil(5 s), divided by its sum; 0: not) and
/// derived by
///   the weights of Sobel, which are divided by their sum: in units a voxel, with `WORLD` a unit of the image's
///   spacings.
/// - **Suppression.** A voxel stays where the length m of its gradient is above that one step against the gradient, and
/// not
///   below that one step along it. The step is a voxel, with `WORLD` the smallest spacing, in the direction of the
///   gradient in the world; lengths between voxels are interpolated linearly along each axis. Beyond the image's edges
///   they are 0.
/// - **Hysteresis.** Voxels that stay and have m >= `upperThreshold` are edges; and those with m >= `lowerThreshold`, m
/// > 0,
///   that are connected with them by such voxels, across corners as well.
///
/// **Thresholds.** `ABSOLUTE`: lengths of gradients. `QUANTILE`: numbers from 0 to 1, of which the element at the place
/// floor((n - 1) q) of the n sorted lengths in the image is taken. Either is 0.1 or 0.2 of the greatest length in the
/// image where it is negative, as it is unless set. Each plane is an image of its own.
///
/// **Input** `inputGrayImage`: any extents on all five axes, scalar elements, any real type (`uint8` to `float64`).
/// **Output** `outputBinaryImage`: `uint8`, binary, of the input's extents and calibration; it shares no samples with
/// the input. **Output** `outputMeasurement`, optional: a row for each edge voxel (see `EdgesMsr`): the place where a
/// parabola through the three compared lengths is greatest, at most half a step away, in the world; length and angle in
/// radians of the gradient.
///
/// **Border.** Beyond its edges the image is mirrored with the edge voxel repeated (`MIRROR`), goes on with the edge
/// voxel (`CONTINUE`), or has the value `borderValue` (`FIXED`).
///
/// **Exactness.** All is computed in `float32`, for `float64` and integers of 32 bits in `float64`, without fused
/// operations: the same edges on every level of optimisation, for every number of threads and every storage. NaN
/// spreads to the windows that hold it, where there are no edges.
///
/// @throws RuleException from `run` for an unset or empty image, a complex or vector image, a standard deviation that
/// is
///         negative, not finite or above 100 voxels, spacings of 0 or NaN with `WORLD`, an upper threshold below the
///         lower one, quantiles above 1, an unknown choice, a `borderValue` of NaN, and an output that shares samples
///         with the input; ResizeImageError or MemoryError when there is no memory.
/// Cost: four sums of 10 s + 3 products a voxel and some 40 operations; once more for thresholds that follow from the
/// image, and for the table. Memory: three bits a voxel, rows of a tile a thread, and for quantiles an image of
/// `float32` (`float64` where sums are); see `describe`.
class RIX_EXPORT CannyEdgeDetector2d : public BaseAlgorithm {
    RIX_ALGORITHM(CannyEdgeDetector2d)

    /// In what lengths are given, and by what derivatives are divided.
    using LengthUnit = algorithms::LengthUnit;
    using enum algorithms::LengthUnit;
    /// What thresholds are.
    using ThresholdMode = edge_detection::ThresholdMode;
    using enum edge_detection::ThresholdMode;
    /// What lies beyond the edges.
    using BorderPolicy = access::BorderPolicy;
    using enum access::BorderPolicy;

    RIX_INPUT(const ImageModel*, InputGrayImage, inputGrayImage)
    /// Default 1.4; at most 100 voxels along each axis; 0: not smoothed.
    RIX_INPUT(double, StandardDeviation, standardDeviation)
    /// Default `VOXEL`.
    RIX_CHOICE(LengthUnit, LengthUnit, lengthUnit, algorithms::getInfoLengthUnit)
    /// Default `ABSOLUTE`.
    RIX_CHOICE(ThresholdMode, ThresholdMode, thresholdMode, getInfoThresholdMode)
    /// Default -1: 0.1 of the greatest gradient.
    RIX_INPUT(double, LowerThreshold, lowerThreshold)
    /// Default -1: 0.2 of the greatest gradient.
    RIX_INPUT(double, UpperThreshold, upperThreshold)
    /// Default `MIRROR`.
    RIX_CHOICE(BorderPolicy, BorderPolicy, borderPolicy, access::getInfoBorderPolicy)
    /// Of `FIXED`; default 0.
    RIX_INPUT(double, BorderValue, borderValue)
    RIX_OUTPUT(ImageModel*, OutputBinaryImage, outputBinaryImage)
    /// Optional.
    RIX_RESULT(EdgesMsr, OutputMeasurement, outputMeasurement)
};

}  // namespace rix::edge_detection
