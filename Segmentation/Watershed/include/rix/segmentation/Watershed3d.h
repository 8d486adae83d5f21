#pragma once

#include <rix/algorithms/Declaration.h>
#include <rix/algorithms/FilterChoices.h>
#include <rix/segmentation/WatershedLinesType.h>

namespace rix::segmentation {

/// Divides each volume of a grey image into the catchment basins of its minima.
///
/// The three-dimensional form of `Watershed2d`: every volume, for every sequence and spectral index, by itself.
/// Definition, types, values and failures are shared.
class RIX_EXPORT Watershed3d : public BaseAlgorithm {
    RIX_ALGORITHM(Watershed3d)

    /// Which voxels are neighbours.
    using Neighborhood3DType = algorithms::Neighborhood3DType;
    using enum algorithms::Neighborhood3DType;
    /// What lies between basins.
    using WatershedLinesType = segmentation::WatershedLinesType;
    using enum segmentation::WatershedLinesType;

    RIX_INPUT(const ImageModel*, InputGrayImage, inputGrayImage)
    /// Optional.
    RIX_INPUT(const ImageModel*, InputMaskImage, inputMaskImage)
    /// In grey values; default 0.
    RIX_INPUT(double, MinimumDepth, minimumDepth)
    /// In voxels; default 0.
    RIX_INPUT(double, MinimumArea, minimumArea)
    /// Default `CONNECTIVITY_26`.
    RIX_CHOICE(Neighborhood3DType, Neighborhood, neighborhood, algorithms::getInfoNeighborhood3DType)
    /// Default `NONE`.
    RIX_CHOICE(WatershedLinesType, WatershedLines, watershedLines, getInfoWatershedLinesType)
    RIX_OUTPUT(ImageModel*, OutputLabelImage, outputLabelImage)
};

}  // namespace rix::segmentation
