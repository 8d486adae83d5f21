#pragma once

#include <rix/algorithms/Declaration.h>

namespace rix::morphology {

/// Marks where the lines of a skeleton end, in each plane: its voxels with at most one of 8 neighbours in it.
///
/// **Input** `inputObjectImage`: what is not 0 (NaN also) is the skeleton. Any extents on all five axes, scalar
/// elements, any real type (`uint8` to `float64`). Beyond the edges lies nothing. Every plane, for every sequence and
/// spectral index, by itself.
/// **Output** `outputBinaryImage`: binary, `uint8`, of the input's extents and calibration. It may be the input image
/// where that is `uint8`.
///
/// @throws RuleException from `run` for an unset or empty image, or a complex or vector image; MemoryError when there
/// is
///         no memory.
/// Cost: a pass. Memory: two bits a voxel, of rows in multiples of 256 voxels.
class RIX_EXPORT EndPoints2d : public BaseAlgorithm {
    RIX_ALGORITHM(EndPoints2d)

    RIX_INPUT(const ImageModel*, InputObjectImage, inputObjectImage)
    RIX_OUTPUT(ImageModel*, OutputBinaryImage, outputBinaryImage)
};

}  // namespace rix::morphology
