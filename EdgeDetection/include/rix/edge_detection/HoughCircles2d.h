#pragma once

#include <cstdint>

#include <rix/algorithms/Declaration.h>
#include <rix/algorithms/FilterChoices.h>
#include <rix/edge_detection/FeaturesMsr.h>
#include <rix/measurement/PropertyMeasurement.h>

namespace rix::edge_detection {

/// Finds circles in the edges of planes (after R. Duda, P. Hart, "Use of the Hough transformation to detect lines and
/// curves in pictures", 1972, with all voxels of a circle as votes).
///
/// A circle of the radius r around a voxel is the voxels whose distances from it are at least r - h / 2 and below
/// r + h / 2, where h is 1, with `WORLD` the smaller spacing. Its strength is the share of them that is not 0; those
/// beyond the image's edges are 0. Radii go from `minimumRadius` in steps of `radiusStep` up to `maximumRadius`. A
/// circle is found where the strength is above 0, at least `threshold`, and greater than those of the 26 neighbours in
/// place and radius (of equal ones the first is: the smallest radius, then the first row); in the order of falling
/// strength, those whose centres are closer to that of one before than `minimumDistance` are left out, and those after
/// the first `maximumNumber`. Each plane is an image of its own.
///
/// **Input** `inputImage`: any extents, one channel, scalar elements, any real type (`uint8` to `float64`), such as the
/// edges of `CannyEdgeDetector2d`. NaN counts as 0.
/// **Output** `outputAccumulatorImage`, optional: the strengths, `float32`; the input's extents and calibration, and a
/// channel for each radius. It shares no samples with the input.
/// **Output** `outputMeasurement`, optional: a row for each circle, those of a plane by falling strength: the centre in
/// the world and the radius, both from parabolas through neighbouring strengths, and the strength.
///
/// **Lengths** are in voxels, with `WORLD` in the image's unit: circles are then round in the world.
///
/// Votes are counted exactly: the same on every level of optimisation, for every number of threads and every storage.
///
/// @throws RuleException from `run` for an unset or empty image, a complex or vector image, several channels, a radius
/// that is not above 0, not finite or above 1000 voxels along an axis, a maximum below the minimum, a `radiusStep` that
///         is not above 0, not finite or gives more than 4096 radii, a threshold outside [0, 1], a `minimumDistance`
///         that is negative or not finite, a negative `maximumNumber`, spacings of 0 or NaN with `WORLD`, an unknown
///         choice, and an output that shares samples with the input; ResizeImageError or MemoryError when there is no
///         memory.
/// Cost: for each radius the voxels of a circle times those of the image, in bytes a vector at a time, whatever the
/// edges. Memory: fourteen bytes a voxel of a plane and its surroundings; see `describe`. The
/// circles of a plane before they are thinned are held beside.
class RIX_EXPORT HoughCircles2d : public BaseAlgorithm {
    RIX_ALGORITHM(HoughCircles2d)

    /// In what lengths are given.
    using LengthUnit = algorithms::LengthUnit;
    using enum algorithms::LengthUnit;

    RIX_INPUT(const ImageModel*, InputImage, inputImage)
    /// Default 5; above 0 and at most 1000 voxels along each axis.
    RIX_INPUT(double, MinimumRadius, minimumRadius)
    /// Default 15; above 0 and at most 1000 voxels along each axis.
    RIX_INPUT(double, MaximumRadius, maximumRadius)
    /// Default 1; above 0.
    RIX_INPUT(double, RadiusStep, radiusStep)
    /// Default 0.5; from 0 to 1.
    RIX_INPUT(double, Threshold, threshold)
    /// Default 5; at least 0.
    RIX_INPUT(double, MinimumDistance, minimumDistance)
    /// Default 0: all.
    RIX_INPUT(std::int32_t, MaximumNumber, maximumNumber)
    /// Default `VOXEL`.
    RIX_CHOICE(LengthUnit, LengthUnit, lengthUnit, algorithms::getInfoLengthUnit)
    /// Optional.
    RIX_OUTPUT(ImageModel*, OutputAccumulatorImage, outputAccumulatorImage)
    /// Optional.
    RIX_RESULT(FeaturesMsr, OutputMeasurement, outputMeasurement)
};

}  // namespace rix::edge_detection
