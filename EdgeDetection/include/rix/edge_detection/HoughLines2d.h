#pragma once

#include <cstdint>

#include <rix/algorithms/Declaration.h>
#include <rix/algorithms/FilterChoices.h>
#include <rix/edge_detection/FeaturesMsr.h>
#include <rix/measurement/PropertyMeasurement.h>

namespace rix::edge_detection {

/// Finds straight lines in the edges of planes (R. Duda, P. Hart, "Use of the Hough transformation to detect lines and
/// curves in pictures", 1972).
///
/// Each voxel that is not 0, at (x, y) from the first voxel, has a vote for every line through it: for each of
/// `numberOfAngles` angles a = 0, pi / n, 2 pi / n, ... of normals for the distance x cos(a) + y sin(a), rounded to
/// multiples of `distanceStep` (halves up). A line is a pair of angle and distance with at least `threshold` votes and
/// more than its eight neighbours (of equal ones the first is; beyond the last angle come the first ones with the other
/// sign of the distance); in the order of falling votes, those that differ from one before by less than both
/// `minimumAngle` and `minimumDistance` are left out, and those after the first `maximumNumber`. A negative threshold,
/// as it is unless set, is half of the most votes. Each plane is an image of its own.
///
/// **Input** `inputImage`: any extents on all five axes, scalar elements, any real type (`uint8` to `float64`), such as
/// the edges of `CannyEdgeDetector2d`. NaN has no vote.
/// **Output** `outputAccumulatorImage`, optional: the votes, `uint32`: a column for each angle, a row for each
/// distance, the smallest first; origins and spacings of these axes are the angles in degrees and the distances. It
/// shares no samples with the input.
/// **Output** `outputMeasurement`, optional: a row for each line, those of a plane by falling votes: the point on it
/// that is nearest to the middle of the image, in the world; the votes; the angle of its normal in radians and the
/// distance from the first voxel along it, both from parabolas through neighbouring votes.
///
/// **Lengths.** Distances are in voxels, with `WORLD` in the image's unit, as are x and y and with them the angles.
///
/// Counts are exact: the same on every level of optimisation, for every number of threads and every storage.
///
/// @throws RuleException from `run` for an unset or empty image, a complex or vector image, an image with more than
/// 2^32 - 1 voxels a plane, numbers of angles outside [1, 3600], a `distanceStep` that is not above 0, not finite or so
///         small that there are more than 2^20 distances to either side, a negative or not finite `minimumAngle` or
///         `minimumDistance`, a threshold that is not finite, a negative `maximumNumber`, spacings of 0 or NaN with
///         `WORLD`, an unknown choice, and an output that shares samples with the input; ResizeImageError or
///         MemoryError when there is no memory.
/// Cost: some 2 ns for each vote, angles times edge voxels. Memory: the votes of a plane, and a byte for each of their
/// counters; see `describe`. The lines before they are thinned are held beside.
class RIX_EXPORT HoughLines2d : public BaseAlgorithm {
    RIX_ALGORITHM(HoughLines2d)

    /// In what lengths are given.
    using LengthUnit = algorithms::LengthUnit;
    using enum algorithms::LengthUnit;

    RIX_INPUT(const ImageModel*, InputImage, inputImage)
    /// Default 180; from 1 to 3600.
    RIX_INPUT(std::int32_t, NumberOfAngles, numberOfAngles)
    /// Default 1; above 0.
    RIX_INPUT(double, DistanceStep, distanceStep)
    /// Default -1: half of the most votes of the plane.
    RIX_INPUT(double, Threshold, threshold)
    /// In degrees; default 5.
    RIX_INPUT(double, MinimumAngle, minimumAngle)
    /// Default 10.
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
