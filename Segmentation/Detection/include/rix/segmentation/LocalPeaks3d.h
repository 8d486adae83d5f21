#pragma once

#include <rix/algorithms/Declaration.h>
#include <rix/algorithms/FilterChoices.h>
#include <rix/segmentation/PeaksMsr.h>

namespace rix::segmentation {

/// Finds the peaks of each volume: regional maxima above a threshold, no two of them closer than a distance.
///
/// The three-dimensional form of `LocalPeaks2d`, with 26 neighbours: every volume, for every sequence and spectral
/// index, by itself. Definition, types, values and failures are shared.
class RIX_EXPORT LocalPeaks3d : public BaseAlgorithm {
    RIX_ALGORITHM(LocalPeaks3d)

    /// In what distances are measured.
    using LengthUnit = algorithms::LengthUnit;
    using enum algorithms::LengthUnit;

    RIX_INPUT(const ImageModel*, InputImage, inputImage)
    /// Default 0.
    RIX_INPUT(double, Threshold, threshold)
    /// Default 1; 0 leaves none out.
    RIX_INPUT(double, MinimumDistance, minimumDistance)
    /// Default `VOXEL`.
    RIX_CHOICE(LengthUnit, LengthUnit, lengthUnit, algorithms::getInfoLengthUnit)
    /// Unless one was set, null before the first run.
    RIX_RESULT(PeaksMsr, OutputMeasurement, outputMeasurement)
};

}  // namespace rix::segmentation
