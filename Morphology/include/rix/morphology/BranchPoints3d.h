#pragma once

#include <rix/algorithms/Declaration.h>

namespace rix::morphology {

/// Marks where the lines of a skeleton branch, in each volume: its voxels with three or more of 26 neighbours in it.
///
/// The three-dimensional form of `BranchPoints2d`: every volume, for every sequence and spectral index, by itself.
/// Types, values, cost and failures are shared.
class RIX_EXPORT BranchPoints3d : public BaseAlgorithm {
    RIX_ALGORITHM(BranchPoints3d)

    RIX_INPUT(const ImageModel*, InputObjectImage, inputObjectImage)
    RIX_OUTPUT(ImageModel*, OutputBinaryImage, outputBinaryImage)
};

}  // namespace rix::morphology
