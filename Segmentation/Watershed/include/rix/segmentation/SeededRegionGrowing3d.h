#pragma once

#include <rix/algorithms/Declaration.h>
#include <rix/algorithms/FilterChoices.h>

namespace rix::segmentation {

/// Lets labelled regions grow to their neighbours, those first whose grey value is nearest to the mean of the region,
/// in each volume.
///
/// The three-dimensional form of `SeededRegionGrowing2d`: every volume, for every sequence and spectral index, by
/// itself. Definition, types, values and failures are shared.
class RIX_EXPORT SeededRegionGrowing3d : public BaseAlgorithm {
    RIX_ALGORITHM(SeededRegionGrowing3d)

    /// Which voxels are neighbours.
    using Neighborhood3DType = algorithms::Neighborhood3DType;
    using enum algorithms::Neighborhood3DType;

    RIX_INPUT(const ImageModel*, InputGrayImage, inputGrayImage)
    RIX_INPUT(const ImageModel*, InputMarkerImage, inputMarkerImage)
    /// Optional.
    RIX_INPUT(const ImageModel*, InputMaskImage, inputMaskImage)
    /// Default `CONNECTIVITY_26`.
    RIX_CHOICE(Neighborhood3DType, Neighborhood, neighborhood, algorithms::getInfoNeighborhood3DType)
    RIX_OUTPUT(ImageModel*, OutputLabelImage, outputLabelImage)
};

}  // namespace rix::segmentation
