#pragma once

#include <rix/algorithms/Declaration.h>
#include <rix/algorithms/FilterChoices.h>

namespace rix::segmentation {

/// Takes out the objects of each volume that are smaller than a least size; the others stay as they are.
///
/// The three-dimensional form of `RemoveSmallObjects2d`: every volume, for every sequence and spectral index, by
/// itself. Definition, types, values and failures are shared.
class RIX_EXPORT RemoveSmallObjects3d : public BaseAlgorithm {
    RIX_ALGORITHM(RemoveSmallObjects3d)

    /// In what sizes are measured.
    using LengthUnit = algorithms::LengthUnit;
    using enum algorithms::LengthUnit;
    /// Which voxels of a binary image touch.
    using Neighborhood3DType = algorithms::Neighborhood3DType;
    using enum algorithms::Neighborhood3DType;

    RIX_INPUT(const ImageModel*, InputImage, inputImage)
    /// In voxels, or as a volume in the image's unit; default 64.
    RIX_INPUT(double, MinimumSize, minimumSize)
    /// Default `VOXEL`.
    RIX_CHOICE(LengthUnit, LengthUnit, lengthUnit, algorithms::getInfoLengthUnit)
    /// Default `CONNECTIVITY_26`.
    RIX_CHOICE(Neighborhood3DType, Neighborhood, neighborhood, algorithms::getInfoNeighborhood3DType)
    RIX_OUTPUT(ImageModel*, OutputImage, outputImage)
};

}  // namespace rix::segmentation
