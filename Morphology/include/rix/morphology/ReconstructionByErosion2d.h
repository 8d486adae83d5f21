#pragma once

#include <rix/algorithms/Declaration.h>
#include <rix/algorithms/FilterChoices.h>

namespace rix::morphology {

/// Lowers markers in each plane as far as a mask lets them: the reconstruction by erosion of the mask I from the marker
/// M, the fixed point of J <- max(erosion(J), I) that starts at max(M, I),
///
///     J(p) = min over all paths from any q to p, of the largest of M(q) and all values of I on the path.
///
/// The dual of `ReconstructionByDilation2d`, with which it shares types, method, failures and cost. What no marker
/// reaches for walls of NaN is +infinity.
class RIX_EXPORT ReconstructionByErosion2d : public BaseAlgorithm {
    RIX_ALGORITHM(ReconstructionByErosion2d)

    /// Which voxels are neighbours.
    using Neighborhood2DType = algorithms::Neighborhood2DType;
    using enum algorithms::Neighborhood2DType;

    RIX_INPUT(const ImageModel*, InputMarkerImage, inputMarkerImage)
    /// The mask.
    RIX_INPUT(const ImageModel*, InputImage, inputImage)
    /// Default `CONNECTIVITY_8`.
    RIX_CHOICE(Neighborhood2DType, Neighborhood, neighborhood, algorithms::getInfoNeighborhood2DType)
    RIX_OUTPUT(ImageModel*, OutputImage, outputImage)
};

}  // namespace rix::morphology
