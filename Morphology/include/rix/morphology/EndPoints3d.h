#pragma once

#include <rix/algorithms/Declaration.h>

namespace rix::morphology {

/// Marks where the lines of a skeleton end, in each volume: its voxels with at most one of 26 neighbours in it.
///
/// The three-dimensional form of `EndPoints2d`: every volume, for every sequence and spectral index, by itself. Types,
/// values, cost and failures are shared.
class RIX_EXPORT EndPoints3d : public BaseAlgorithm {
    RIX_ALGORITHM(EndPoints3d)

    RIX_INPUT(const ImageModel*, InputObjectImage, inputObjectImage)
    RIX_OUTPUT(ImageModel*, OutputBinaryImage, outputBinaryImage)
};

}  // namespace rix::morphology
