#pragma once

#include <rix/algorithms/FilterChoices.h>
#include <rix/morphology/ElementFilter.h>

namespace rix::morphology {

/// The three-dimensional form of `ClosingByReconstruction2d`: every volume, for every sequence and spectral index, by
/// itself. Definition, types, values and failures are shared.
class RIX_EXPORT ClosingByReconstruction3d : public ElementOwner3d {
    RIX_ALGORITHM(ClosingByReconstruction3d)

    /// Which voxels are neighbours.
    using Neighborhood3DType = algorithms::Neighborhood3DType;
    using enum algorithms::Neighborhood3DType;

    RIX_INPUT(const ImageModel*, InputImage, inputImage)
    /// Default `CONNECTIVITY_26`.
    RIX_CHOICE(Neighborhood3DType, Neighborhood, neighborhood, algorithms::getInfoNeighborhood3DType)
    RIX_OUTPUT(ImageModel*, OutputImage, outputImage)
};

}  // namespace rix::morphology
