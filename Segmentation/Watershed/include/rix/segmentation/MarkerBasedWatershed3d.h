#pragma once

#include <rix/algorithms/Declaration.h>
#include <rix/algorithms/FilterChoices.h>
#include <rix/segmentation/WatershedLinesType.h>

namespace rix::segmentation {

/// Floods a grey image from labelled markers: each voxel gets the label of the marker whose flood reaches it first,
/// when all floods rise together, in each volume.
///
/// The three-dimensional form of `MarkerBasedWatershed2d`: every volume, for every sequence and spectral index, by
/// itself. Definition, types, values and failures are shared.
class RIX_EXPORT MarkerBasedWatershed3d : public BaseAlgorithm {
    RIX_ALGORITHM(MarkerBasedWatershed3d)

    /// Which voxels are neighbours.
    using Neighborhood3DType = algorithms::Neighborhood3DType;
    using enum algorithms::Neighborhood3DType;
    /// What lies between basins.
    using WatershedLinesType = segmentation::WatershedLinesType;
    using enum segmentation::WatershedLinesType;

    RIX_INPUT(const ImageModel*, InputGrayImage, inputGrayImage)
    RIX_INPUT(const ImageModel*, InputMarkerImage, inputMarkerImage)
    /// Optional.
    RIX_INPUT(const ImageModel*, InputMaskImage, inputMaskImage)
    /// Default `CONNECTIVITY_26`.
    RIX_CHOICE(Neighborhood3DType, Neighborhood, neighborhood, algorithms::getInfoNeighborhood3DType)
    /// Default `NONE`.
    RIX_CHOICE(WatershedLinesType, WatershedLines, watershedLines, getInfoWatershedLinesType)
    RIX_OUTPUT(ImageModel*, OutputLabelImage, outputLabelImage)
};

}  // namespace rix::segmentation
