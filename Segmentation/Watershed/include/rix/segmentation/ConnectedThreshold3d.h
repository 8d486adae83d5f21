#pragma once

#include <rix/algorithms/Declaration.h>
#include <rix/algorithms/FilterChoices.h>

namespace rix::segmentation {

/// Finds the voxels of a range of grey values that are connected, through voxels of this range, with a marker, in each
/// volume.
///
/// The three-dimensional form of `ConnectedThreshold2d`: every volume, for every sequence and spectral index, by
/// itself. Definition, types, values and failures are shared.
class RIX_EXPORT ConnectedThreshold3d : public BaseAlgorithm {
    RIX_ALGORITHM(ConnectedThreshold3d)

    /// Which voxels are neighbours.
    using Neighborhood3DType = algorithms::Neighborhood3DType;
    using enum algorithms::Neighborhood3DType;

    RIX_INPUT(const ImageModel*, InputGrayImage, inputGrayImage)
    RIX_INPUT(const ImageModel*, InputMarkerImage, inputMarkerImage)
    /// Default 0.
    RIX_INPUT(double, LowerThreshold, lowerThreshold)
    /// Default 255.
    RIX_INPUT(double, UpperThreshold, upperThreshold)
    /// Default `CONNECTIVITY_26`.
    RIX_CHOICE(Neighborhood3DType, Neighborhood, neighborhood, algorithms::getInfoNeighborhood3DType)
    RIX_OUTPUT(ImageModel*, OutputBinaryImage, outputBinaryImage)
};

}  // namespace rix::segmentation
