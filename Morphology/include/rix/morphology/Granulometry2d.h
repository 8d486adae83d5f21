#pragma once

#include <rix/algorithms/Declaration.h>
#include <rix/algorithms/FilterChoices.h>
#include <rix/morphology/GranulometryMsr.h>

namespace rix::morphology {

/// Tells how much of an image is of which size: the sums of its openings with growing discs (G. Matheron, Random Sets
/// and Integral Geometry, 1975),
///
///     S(r) = sum over all voxels of the opening of I with a disc of radius r,   share(r) = (S(r) - S(r + 1)) / S(0).
///
/// In a binary image S is the area that discs of that radius fill, and the shares are how much of the objects is as
/// wide as that and no wider.
///
/// **Input** `inputImage`: any extents on all five axes, scalar elements, any real type (`uint8` to `float64`), or
/// binary. Every plane is opened by itself; all voxels are summed, NaN not.
/// **Input** `maximumRadius`: of the last opening, from 1 to 1000 steps.
/// **Choice** `lengthUnit`: a step is a voxel (`VOXEL`), or the smallest spacing of the image (`WORLD`), in whose unit
/// radii are then given and discs are round.
/// **Output** `outputMeasurement`: the table, a row for each radius 0, 1, 2, ... steps up to the largest. Shares are
/// NaN where the sum at radius 0 is 0.
///
/// @throws RuleException from `run` for an unset or empty image, a complex or vector image, a radius out of range, and
/// for
///         `WORLD` a spacing of 0 or not finite; MemoryError when there is no memory.
/// Cost: an opening for each radius (see `Opening2d`). Memory: that of an opening, and an image.
class RIX_EXPORT Granulometry2d : public BaseAlgorithm {
    RIX_ALGORITHM(Granulometry2d)

    /// In what radii are given.
    using LengthUnit = algorithms::LengthUnit;
    using enum algorithms::LengthUnit;

    RIX_INPUT(const ImageModel*, InputImage, inputImage)
    /// Default 10.
    RIX_INPUT(double, MaximumRadius, maximumRadius)
    /// Default `VOXEL`.
    RIX_CHOICE(LengthUnit, LengthUnit, lengthUnit, algorithms::getInfoLengthUnit)
    /// Made by the algorithm when unset.
    RIX_RESULT(GranulometryMsr, OutputMeasurement, outputMeasurement)
};

}  // namespace rix::morphology
