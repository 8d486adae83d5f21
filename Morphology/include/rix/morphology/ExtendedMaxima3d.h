#pragma once

#include <rix/algorithms/Declaration.h>
#include <rix/algorithms/FilterChoices.h>

namespace rix::morphology {

/// The three-dimensional form of `ExtendedMaxima2d`: every volume, for every sequence and spectral index, by itself.
/// Definition, types, values and failures are shared.
class RIX_EXPORT ExtendedMaxima3d : public BaseAlgorithm {
    RIX_ALGORITHM(ExtendedMaxima3d)

    /// Which voxels are neighbours.
    using Neighborhood3DType = algorithms::Neighborhood3DType;
    using enum algorithms::Neighborhood3DType;

    RIX_INPUT(const ImageModel*, InputImage, inputImage)
    /// Least contrast of what stays; default 1.
    RIX_INPUT(double, Contrast, contrast)
    /// Default `CONNECTIVITY_26`.
    RIX_CHOICE(Neighborhood3DType, Neighborhood, neighborhood, algorithms::getInfoNeighborhood3DType)
    RIX_OUTPUT(ImageModel*, OutputBinaryImage, outputBinaryImage)
};

}  // namespace rix::morphology
