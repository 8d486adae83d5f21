#pragma once

#include <rix/access/BorderPolicy.h>
#include <rix/algorithms/Declaration.h>
#include <rix/algorithms/FilterChoices.h>
#include <rix/edge_detection/FeaturesMsr.h>
#include <rix/measurement/PropertyMeasurement.h>

namespace rix {
class EnumInfo;
}

namespace rix::edge_detection {

/// What tells that something is a corner.
enum class CornerMethod : int { HARRIS = 0, SHI_TOMASI };

RIX_EXPORT const EnumInfo& getInfoCornerMethod();

/// Finds the corners of planes: where the image varies in every direction.
///
/// The measure follows from the structure tensor (see `StructureTensor2d`), whose eigenvalues are a and b:
///
/// - `HARRIS`: a b - `sensitivity` (a + b)^2 (C. Harris, M. Stephens, "A combined corner and edge detector", 1988).
/// - `SHI_TOMASI`: the smaller of a and b (J. Shi, C. Tomasi, "Good features to track", 1994).
///
/// A corner is a voxel whose measure is above 0, at least `threshold`, and greater than those of its eight neighbours
/// (of equal ones the first is); in the order of falling measures, those closer to one before than `minimumDistance`
/// are left out. A negative threshold, as it is unless set, is 0.01 of the greatest measure. Each plane is an image of
/// its own.
///
/// **Input** `inputImage`: any extents on all five axes, scalar elements, any real type (`uint8` to `float64`).
/// **Output** `outputResponseImage`, optional: the measure; `float32`, for a `float64` input `float64`, the input's
/// extents and calibration. It shares no samples with the input.
/// **Output** `outputMeasurement`, optional: a row for each corner, those of a plane by falling measure: the place in
/// the world where parabolas through the measures along both axes are greatest, at most half a voxel from the corner's
/// voxel; the measure; and the angle in radians of the gradient of the image smoothed by both Gaussians, which points
/// to the brighter side (0 where there is no gradient).
///
/// **Border.** Beyond its edges the image is mirrored with the edge voxel repeated (`MIRROR`), goes on with the edge
/// voxel (`CONTINUE`), or has the value `borderValue` (`FIXED`).
///
/// **Exactness.** All is summed in `float32`, for `float64` and integers of 32 bits in `float64`, without fused
/// operations: the same corners on every level of optimisation, for every number of threads and every storage. NaN
/// spreads to the windows that hold it; there and beside are no corners.
///
/// @throws RuleException from `run` for an unset or empty image, a complex or vector image, a standard deviation that
/// is negative, not finite or above 100 voxels, a `sensitivity` outside [0, 0.25], a threshold that is not finite, a
///         `minimumDistance` that is negative or not finite, spacings of 0 or NaN with `WORLD`, an unknown choice, a
///         `borderValue` of NaN, and an output that shares samples with the input; ResizeImageError or MemoryError when
///         there is no memory.
/// Cost: that of `StructureTensor2d`, and of two derivatives for the table. Memory: four images of `float32`
/// (`float64` where sums are) and a byte a voxel of a plane; see `describe`. The corners before they are thinned are
/// held beside.
class RIX_EXPORT CornerDetector2d : public BaseAlgorithm {
    RIX_ALGORITHM(CornerDetector2d)

    /// What tells that something is a corner.
    using Method = CornerMethod;
    using enum CornerMethod;
    /// In what lengths are given, and by what derivatives are divided.
    using LengthUnit = algorithms::LengthUnit;
    using enum algorithms::LengthUnit;
    /// What lies beyond the edges.
    using BorderPolicy = access::BorderPolicy;
    using enum access::BorderPolicy;

    RIX_INPUT(const ImageModel*, InputImage, inputImage)
    /// Default `HARRIS`.
    RIX_CHOICE(Method, Method, method, getInfoCornerMethod)
    /// Default 1; at most 100 voxels along each axis.
    RIX_INPUT(double, InnerStandardDeviation, innerStandardDeviation)
    /// Default 2; at most 100 voxels along each axis.
    RIX_INPUT(double, OuterStandardDeviation, outerStandardDeviation)
    /// Of `HARRIS`; default 0.05; from 0 to 0.25.
    RIX_INPUT(double, Sensitivity, sensitivity)
    /// Default -1: 0.01 of the greatest measure of the plane.
    RIX_INPUT(double, Threshold, threshold)
    /// Default 1; at least 0.
    RIX_INPUT(double, MinimumDistance, minimumDistance)
    /// Default `VOXEL`.
    RIX_CHOICE(LengthUnit, LengthUnit, lengthUnit, algorithms::getInfoLengthUnit)
    /// Default `MIRROR`.
    RIX_CHOICE(BorderPolicy, BorderPolicy, borderPolicy, access::getInfoBorderPolicy)
    /// Of `FIXED`; default 0.
    RIX_INPUT(double, BorderValue, borderValue)
    /// Optional.
    RIX_OUTPUT(ImageModel*, OutputResponseImage, outputResponseImage)
    /// Optional.
    RIX_RESULT(FeaturesMsr, OutputMeasurement, outputMeasurement)
};

}  // namespace rix::edge_detection
