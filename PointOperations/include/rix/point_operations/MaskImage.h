#pragma once

#include <rix/algorithms/Declaration.h>

namespace rix::point_operations {

/// Keeps the voxels of an image where a mask is not 0 and writes 0 elsewhere.
///
/// **Input** `inputImage`: any extents on all five axes, scalar elements, any real type (`uint8` to `float64`). A
/// binary image counts as 0 and 1, whatever it holds beside 0.
/// **Input** `inputBinaryImage`: the mask; the same extents, scalar elements of `uint8`, `int8`, `uint16` or `int16`.
/// Everything but 0 keeps the voxel.
/// **Output** `outputImage`: takes extents, calibration, voxel type, interpretation and colour interpretation of the
/// input. It may be the input, and the mask when both have one type.
///
/// @throws RuleException from `run` for an unset or empty image, vector elements, a complex input, a mask of another
///         type or of other extents, and an output that is a mask of another type than the input.
/// Cost: one pass at memory speed; no extra memory.
class RIX_EXPORT MaskImage : public BaseAlgorithm {
    RIX_ALGORITHM(MaskImage)

    BorderInfluence getBorderInfluence() const { return {}; }

    RIX_INPUT(const ImageModel*, InputImage, inputImage)
    RIX_INPUT(const ImageModel*, InputBinaryImage, inputBinaryImage)
    RIX_OUTPUT(ImageModel*, OutputImage, outputImage)
};

}  // namespace rix::point_operations
