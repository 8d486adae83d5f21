#pragma once

#include <rix/algorithms/Declaration.h>
#include <rix/algorithms/FilterChoices.h>

namespace rix::morphology {

/// Fills what is dark and of a small volume in each volume, whatever its shape, and leaves the rest as it is.
///
/// The three-dimensional form of `AreaClosing2d`: every volume, for every sequence and spectral index, by itself; with
/// `WORLD` sizes are volumes. Definition, types, values and failures are shared.
class RIX_EXPORT AreaClosing3d : public BaseAlgorithm {
    RIX_ALGORITHM(AreaClosing3d)

    /// In what `minimumSize` is given.
    using LengthUnit = algorithms::LengthUnit;
    using enum algorithms::LengthUnit;
    /// Which voxels are neighbours.
    using Neighborhood3DType = algorithms::Neighborhood3DType;
    using enum algorithms::Neighborhood3DType;

    RIX_INPUT(const ImageModel*, InputImage, inputImage)
    /// Default 64.
    RIX_INPUT(double, MinimumSize, minimumSize)
    /// Default `VOXEL`.
    RIX_CHOICE(LengthUnit, LengthUnit, lengthUnit, algorithms::getInfoLengthUnit)
    /// Default `CONNECTIVITY_26`.
    RIX_CHOICE(Neighborhood3DType, Neighborhood, neighborhood, algorithms::getInfoNeighborhood3DType)
    RIX_OUTPUT(ImageModel*, OutputImage, outputImage)
};

}  // namespace rix::morphology
