#pragma once

#include <rix/algorithms/Declaration.h>
#include <rix/algorithms/FilterChoices.h>

namespace rix::morphology {

/// Finds the regional minima of each plane: plateaus without a neighbour that lies lower, but with one that lies
/// higher.
///
/// The dual of `RegionalMaxima2d`, with which it shares types, values, failures and cost.
class RIX_EXPORT RegionalMinima2d : public BaseAlgorithm {
    RIX_ALGORITHM(RegionalMinima2d)

    /// Which voxels are neighbours.
    using Neighborhood2DType = algorithms::Neighborhood2DType;
    using enum algorithms::Neighborhood2DType;

    RIX_INPUT(const ImageModel*, InputImage, inputImage)
    /// Default `CONNECTIVITY_8`.
    RIX_CHOICE(Neighborhood2DType, Neighborhood, neighborhood, algorithms::getInfoNeighborhood2DType)
    RIX_OUTPUT(ImageModel*, OutputBinaryImage, outputBinaryImage)
};

}  // namespace rix::morphology
