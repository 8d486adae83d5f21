#pragma once

#include <rix/algorithms/Declaration.h>
#include <rix/algorithms/FilterChoices.h>

namespace rix::morphology {

/// Fills what is dark and of a small area in each plane, whatever its shape, and leaves the rest as it is.
///
/// The dual of `AreaOpening2d`: a voxel p gets the lowest level at which it lies in a connected set of enough voxels,
///
///     J(p) = min { t : p lies in a connected set of voxels with I <= t, of a size of at least `minimumSize` }.
///
/// Where even all that is connected with p is too small, its highest value stays; in a binary image background that is
/// too small becomes object. Types, sizes, values, failures, method and cost are those of `AreaOpening2d`.
class RIX_EXPORT AreaClosing2d : public BaseAlgorithm {
    RIX_ALGORITHM(AreaClosing2d)

    /// In what `minimumSize` is given.
    using LengthUnit = algorithms::LengthUnit;
    using enum algorithms::LengthUnit;
    /// Which voxels are neighbours.
    using Neighborhood2DType = algorithms::Neighborhood2DType;
    using enum algorithms::Neighborhood2DType;

    RIX_INPUT(const ImageModel*, InputImage, inputImage)
    /// Default 64.
    RIX_INPUT(double, MinimumSize, minimumSize)
    /// Default `VOXEL`.
    RIX_CHOICE(LengthUnit, LengthUnit, lengthUnit, algorithms::getInfoLengthUnit)
    /// Default `CONNECTIVITY_8`.
    RIX_CHOICE(Neighborhood2DType, Neighborhood, neighborhood, algorithms::getInfoNeighborhood2DType)
    RIX_OUTPUT(ImageModel*, OutputImage, outputImage)
};

}  // namespace rix::morphology
