#pragma once

#include <rix/algorithms/Declaration.h>
#include <rix/algorithms/FilterChoices.h>

namespace rix::morphology {

/// Gives the voxels of objects in each volume the diameter of the largest ball within the object that covers them.
///
/// The three-dimensional form of `LocalThickness2d`: every volume, for every sequence and spectral index, by itself.
/// Definition, types, values and failures are shared. Cost: a distance map, and for each ball that is left its rows.
class RIX_EXPORT LocalThickness3d : public BaseAlgorithm {
    RIX_ALGORITHM(LocalThickness3d)

    /// In what lengths are measured.
    using LengthUnit = algorithms::LengthUnit;
    using enum algorithms::LengthUnit;

    RIX_INPUT(const ImageModel*, InputObjectImage, inputObjectImage)
    /// Default `VOXEL`.
    RIX_CHOICE(LengthUnit, LengthUnit, lengthUnit, algorithms::getInfoLengthUnit)
    RIX_OUTPUT(ImageModel*, OutputImage, outputImage)
};

}  // namespace rix::morphology
