#pragma once

#include <rix/algorithms/Declaration.h>
#include <rix/algorithms/FilterChoices.h>

namespace rix::segmentation {

/// Finds what is bright, and what is less bright if it is connected with it, in each volume.
///
/// The three-dimensional form of `HysteresisThresholding2d`: every volume, for every sequence and spectral index, by
/// itself. Definition, types, values and failures are shared.
class RIX_EXPORT HysteresisThresholding3d : public BaseAlgorithm {
    RIX_ALGORITHM(HysteresisThresholding3d)

    /// Which voxels are neighbours.
    using Neighborhood3DType = algorithms::Neighborhood3DType;
    using enum algorithms::Neighborhood3DType;

    RIX_INPUT(const ImageModel*, InputGrayImage, inputGrayImage)
    /// Default 85.
    RIX_INPUT(double, LowerThreshold, lowerThreshold)
    /// Default 170.
    RIX_INPUT(double, UpperThreshold, upperThreshold)
    /// Default `CONNECTIVITY_26`.
    RIX_CHOICE(Neighborhood3DType, Neighborhood, neighborhood, algorithms::getInfoNeighborhood3DType)
    RIX_OUTPUT(ImageModel*, OutputBinaryImage, outputBinaryImage)
};

}  // namespace rix::segmentation
