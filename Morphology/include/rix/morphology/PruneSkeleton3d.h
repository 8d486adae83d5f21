#pragma once

#include <rix/algorithms/Declaration.h>
#include <rix/algorithms/FilterChoices.h>

namespace rix::morphology {

/// Takes short branches off the skeletons of each volume.
///
/// The three-dimensional form of `PruneSkeleton2d`: every volume, for every sequence and spectral index, by itself,
/// with 26 neighbours; what is left is thinned as by `Skeleton3d`. Definition, types and failures are shared.
class RIX_EXPORT PruneSkeleton3d : public BaseAlgorithm {
    RIX_ALGORITHM(PruneSkeleton3d)

    /// In what lengths are measured.
    using LengthUnit = algorithms::LengthUnit;
    using enum algorithms::LengthUnit;

    RIX_INPUT(const ImageModel*, InputObjectImage, inputObjectImage)
    /// Default 10.
    RIX_INPUT(double, MinimumLength, minimumLength)
    /// Default `VOXEL`.
    RIX_CHOICE(LengthUnit, LengthUnit, lengthUnit, algorithms::getInfoLengthUnit)
    RIX_OUTPUT(ImageModel*, OutputBinaryImage, outputBinaryImage)
};

}  // namespace rix::morphology
