#pragma once

#include <rix/algorithms/Declaration.h>
#include <rix/algorithms/FilterChoices.h>

namespace rix::segmentation {

/// Grows the labels of each volume by a distance, without letting them run together.
///
/// The three-dimensional form of `ExpandLabels2d`: every volume, for every sequence and spectral index, by
/// itself. Definition, types, values and failures are shared.
class RIX_EXPORT ExpandLabels3d : public BaseAlgorithm {
    RIX_ALGORITHM(ExpandLabels3d)

    /// In what lengths are measured.
    using LengthUnit = algorithms::LengthUnit;
    using enum algorithms::LengthUnit;

    RIX_INPUT(const ImageModel*, InputLabelImage, inputLabelImage)
    /// Default 1.
    RIX_INPUT(double, Distance, distance)
    /// Default `VOXEL`.
    RIX_CHOICE(LengthUnit, LengthUnit, lengthUnit, algorithms::getInfoLengthUnit)
    RIX_OUTPUT(ImageModel*, OutputLabelImage, outputLabelImage)
};

}  // namespace rix::segmentation
