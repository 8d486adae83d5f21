#pragma once

#include <cstdint>

#include <rix/algorithms/Declaration.h>
#include <rix/algorithms/FilterChoices.h>
#include <rix/segmentation/PeaksMsr.h>

namespace rix::segmentation {

/// Finds bright blobs of each volume with their sizes: maxima, over places and scales, of the Laplacian of a Gaussian.
///
/// The three-dimensional form of `BlobDetector2d`: every volume, for every sequence and spectral index, by itself.
/// Definition, types, values and failures are shared.
class RIX_EXPORT BlobDetector3d : public BaseAlgorithm {
    RIX_ALGORITHM(BlobDetector3d)

    /// In what scales are measured.
    using LengthUnit = algorithms::LengthUnit;
    using enum algorithms::LengthUnit;

    RIX_INPUT(const ImageModel*, InputImage, inputImage)
    /// Default 10.
    RIX_INPUT(double, Threshold, threshold)
    /// Default 1.
    RIX_INPUT(double, MinimumScale, minimumScale)
    /// Default 10.
    RIX_INPUT(double, MaximumScale, maximumScale)
    /// Default 10.
    RIX_INPUT(std::int32_t, NumberOfScales, numberOfScales)
    /// Default `VOXEL`.
    RIX_CHOICE(LengthUnit, LengthUnit, lengthUnit, algorithms::getInfoLengthUnit)
    /// Unless one was set, null before the first run.
    RIX_RESULT(PeaksMsr, OutputMeasurement, outputMeasurement)
};

}  // namespace rix::segmentation
