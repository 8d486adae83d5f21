#pragma once

#include <rix/algorithms/Declaration.h>
#include <rix/algorithms/FilterChoices.h>

namespace rix::segmentation {

/// Cuts objects that touch at their necks, in each volume, and numbers what is left.
///
/// The three-dimensional form of `SplitTouchingObjects2d`: every volume, for every sequence and spectral index, by
/// itself. Definition, types, values and failures are shared.
class RIX_EXPORT SplitTouchingObjects3d : public BaseAlgorithm {
    RIX_ALGORITHM(SplitTouchingObjects3d)

    /// In what lengths are measured.
    using LengthUnit = algorithms::LengthUnit;
    using enum algorithms::LengthUnit;
    /// Which voxels are neighbours.
    using Neighborhood3DType = algorithms::Neighborhood3DType;
    using enum algorithms::Neighborhood3DType;

    RIX_INPUT(const ImageModel*, InputObjectImage, inputObjectImage)
    /// A length; default 1.
    RIX_INPUT(double, Contrast, contrast)
    /// Default `VOXEL`.
    RIX_CHOICE(LengthUnit, LengthUnit, lengthUnit, algorithms::getInfoLengthUnit)
    /// Default `CONNECTIVITY_26`.
    RIX_CHOICE(Neighborhood3DType, Neighborhood, neighborhood, algorithms::getInfoNeighborhood3DType)
    RIX_OUTPUT(ImageModel*, OutputLabelImage, outputLabelImage)
};

}  // namespace rix::segmentation
