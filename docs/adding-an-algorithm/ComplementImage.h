#pragma once

#include <rix/algorithms/Declaration.h>

namespace rix::point_operations {

/// Replaces every voxel v by its complement, M - v, where M is the largest value of the type; in a binary image, 1.
///
/// **Input** `inputImage`: any extents on all five axes, scalar elements, `uint8`, `uint16` or `uint32`.
/// **Output** `outputImage`: takes the input's extents, type, calibration and meaning; it may be the input image.
///
/// @throws RuleException from `run` for an unset or empty image and for another type.
/// Cost: one pass at memory speed; no extra memory.
class RIX_EXPORT ComplementImage : public BaseAlgorithm {
    RIX_ALGORITHM(ComplementImage)

    RIX_INPUT(const ImageModel*, InputImage, inputImage)
    RIX_OUTPUT(ImageModel*, OutputImage, outputImage)
};

}  // namespace rix::point_operations
