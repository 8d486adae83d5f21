#pragma once

#include <rix/algorithms/Declaration.h>
#include <rix/algorithms/FilterChoices.h>

namespace rix::morphology {

/// Fills the holes of objects in each volume: cavities that are not connected to the faces of the volume.
///
/// The three-dimensional form of `FillHoles2d`, with which it shares definition, types, NaN and failures. Every volume,
/// for every sequence and spectral index, is filled on its own. Background has 6 neighbours when objects have 18 or 26,
/// and 26 when they have 6. A volume of one or two planes has no inside, and stays as it is.
class RIX_EXPORT FillHoles3d : public BaseAlgorithm {
    RIX_ALGORITHM(FillHoles3d)

    /// Which voxels of an object are neighbours.
    using Neighborhood3DType = algorithms::Neighborhood3DType;
    using enum algorithms::Neighborhood3DType;

    RIX_INPUT(const ImageModel*, InputImage, inputImage)
    /// Of the objects; default `CONNECTIVITY_26`.
    RIX_CHOICE(Neighborhood3DType, Neighborhood, neighborhood, algorithms::getInfoNeighborhood3DType)
    RIX_OUTPUT(ImageModel*, OutputImage, outputImage)
};

}  // namespace rix::morphology
