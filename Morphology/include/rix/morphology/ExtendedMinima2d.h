#pragma once

#include <rix/algorithms/Declaration.h>
#include <rix/algorithms/FilterChoices.h>

namespace rix::morphology {

/// Finds the minima of enough contrast in each plane: the regional minima of what `HMinima2d` leaves.
///
/// **Input** `inputImage`: as that of `HMinima2d`.
/// **Output** `outputBinaryImage`: binary `uint8`, 1 on the minima; takes the input's extents and calibration. It may
/// be the input image where that has the type.
///
/// Values and failures: see `HMinima2d` and `RegionalMinima2d`. Memory: a temporary image more than `HMinima2d`.
class RIX_EXPORT ExtendedMinima2d : public BaseAlgorithm {
    RIX_ALGORITHM(ExtendedMinima2d)

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
