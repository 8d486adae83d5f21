#pragma once

#include <rix/algorithms/Declaration.h>
#include <rix/algorithms/FilterChoices.h>

namespace rix::morphology {

/// Finds the maxima of enough contrast in each plane: the regional maxima of what `HMaxima2d` leaves.
///
/// **Input** `inputImage`: as that of `HMaxima2d`.
/// **Output** `outputBinaryImage`: binary `uint8`, 1 on the maxima; takes the input's extents and calibration. It may
/// be the input image where that has the type.
///
/// Values and failures: see `HMaxima2d` and `RegionalMaxima2d`. Memory: a temporary image more than `HMaxima2d`.
class RIX_EXPORT ExtendedMaxima2d : public BaseAlgorithm {
    RIX_ALGORITHM(ExtendedMaxima2d)

    /// Which voxels are neighbours.
    using Neighborhood2DType = algorithms::Neighborhood2DType;
    using enum algorithms::Neighborhood2DType;

    RIX_INPUT(const ImageModel*, InputImage, inputImage)
    /// Least contrast of what stays; default 1.
    RIX_INPUT(double, Contrast, contrast)
    /// Default `CONNECTIVITY_8`.
    RIX_CHOICE(Neighborhood2DType, Neighborhood, neighborhood, algorithms::getInfoNeighborhood2DType)
    RIX_OUTPUT(ImageModel*, OutputBinaryImage, outputBinaryImage)
};

}  // namespace rix::morphology
