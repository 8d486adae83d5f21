#pragma once

#include <rix/algorithms/Declaration.h>
#include <rix/algorithms/FilterChoices.h>

namespace rix::segmentation {

/// Merges neighbouring labels of each volume whose mean grey values are near each other.
///
/// The three-dimensional form of `RegionMerging2d`, with which it shares the method, types, exactness and failures.
/// Frames and channels are volumes of their own.
class RIX_EXPORT RegionMerging3d : public BaseAlgorithm {
    RIX_ALGORITHM(RegionMerging3d)

    using Neighborhood3DType = algorithms::Neighborhood3DType;
    using enum algorithms::Neighborhood3DType;

    RIX_INPUT(const ImageModel*, InputLabelImage, inputLabelImage)
    RIX_INPUT(const ImageModel*, InputGrayImage, inputGrayImage)
    /// In the image's grey levels; default 10.
    RIX_INPUT(double, Threshold, threshold)
    /// Default `CONNECTIVITY_26`.
    RIX_CHOICE(Neighborhood3DType, Neighborhood, neighborhood, algorithms::getInfoNeighborhood3DType)
    RIX_OUTPUT(ImageModel*, OutputLabelImage, outputLabelImage)
};

}  // namespace rix::segmentation
