#pragma once

#include <rix/algorithms/Declaration.h>
#include <rix/algorithms/FilterChoices.h>

namespace rix::morphology {

/// Gives the voxels of a mask the length of the shortest way from a marker that stays within the mask, in each volume.
///
/// The three-dimensional form of `GeodesicDistanceMap2d`: every volume, for every sequence and spectral index, by
/// itself; steps lead across faces, edges and corners, as `neighborhood` says. Definition, types, values and failures
/// are shared.
class RIX_EXPORT GeodesicDistanceMap3d : public BaseAlgorithm {
    RIX_ALGORITHM(GeodesicDistanceMap3d)

    /// In what lengths are measured.
    using LengthUnit = algorithms::LengthUnit;
    using enum algorithms::LengthUnit;
    /// Which voxels are neighbours.
    using Neighborhood3DType = algorithms::Neighborhood3DType;
    using enum algorithms::Neighborhood3DType;

    RIX_INPUT(const ImageModel*, InputMarkerImage, inputMarkerImage)
    RIX_INPUT(const ImageModel*, InputMaskImage, inputMaskImage)
    /// Default `VOXEL`.
    RIX_CHOICE(LengthUnit, LengthUnit, lengthUnit, algorithms::getInfoLengthUnit)
    /// Default `CONNECTIVITY_26`.
    RIX_CHOICE(Neighborhood3DType, Neighborhood, neighborhood, algorithms::getInfoNeighborhood3DType)
    RIX_OUTPUT(ImageModel*, OutputDistanceImage, outputDistanceImage)
};

}  // namespace rix::morphology
