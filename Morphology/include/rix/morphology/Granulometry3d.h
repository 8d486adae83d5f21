#pragma once

#include <rix/algorithms/Declaration.h>
#include <rix/algorithms/FilterChoices.h>
#include <rix/morphology/GranulometryMsr.h>

namespace rix::morphology {

/// Tells how much of an image is of which size: the sums of its openings with growing balls.
///
/// The three-dimensional form of `Granulometry2d`: every volume is opened by itself, with radii up to 250 steps.
/// Definition, types and failures are shared.
class RIX_EXPORT Granulometry3d : public BaseAlgorithm {
    RIX_ALGORITHM(Granulometry3d)

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
