#pragma once

#include <rix/algorithms/Declaration.h>
#include <rix/algorithms/FilterChoices.h>

namespace rix::morphology {

/// Fills minima of little contrast in each plane: reconstructs it by erosion from the image plus `contrast`. The dual
/// of `HMaxima2d`, with which it shares types, values, failures and cost.
class RIX_EXPORT HMinima2d : public BaseAlgorithm {
    RIX_ALGORITHM(HMinima2d)

    /// Which voxels are neighbours.
    using Neighborhood2DType = algorithms::Neighborhood2DType;
    using enum algorithms::Neighborhood2DType;

    RIX_INPUT(const ImageModel*, InputImage, inputImage)
    /// Least contrast of what stays; default 1.
    RIX_INPUT(double, Contrast, contrast)
    /// Default `CONNECTIVITY_8`.
    RIX_CHOICE(Neighborhood2DType, Neighborhood, neighborhood, algorithms::getInfoNeighborhood2DType)
    RIX_OUTPUT(ImageModel*, OutputImage, outputImage)
};

}  // namespace rix::morphology
