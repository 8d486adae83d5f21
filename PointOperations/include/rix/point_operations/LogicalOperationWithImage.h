#pragma once

#include <rix/algorithms/Declaration.h>
#include <rix/point_operations/LogicalOperators.h>

namespace rix::point_operations {

/// Combines two integer images bit by bit: `outputImage = inputImage1 operator inputImage2`.
///
/// **Inputs** `inputImage1`, `inputImage2`: the same extents on all five axes and the same integer type, scalar
/// elements; both binary or neither.
/// **Output** `outputImage`: takes extents, calibration, voxel type, interpretation and colour interpretation of the
/// first input. It may be one of the inputs.
///
/// The operators act on the whole word, complements included: `NAND` of two zeros of `uint8` is 255. The voxels of
/// binary images have one bit: they read as 0 or 1, and so are stored; `NAND` of two zeros is then 1.
///
/// @throws RuleException from `run` for an unset or empty image, other than integer samples, vector elements, inputs
///         that differ in extents or type or in being binary, and an unknown operator.
/// Cost: one pass at memory speed; no extra memory.
class RIX_EXPORT LogicalOperationWithImage : public BaseAlgorithm, public LogicalOperators {
    RIX_ALGORITHM(LogicalOperationWithImage)

    BorderInfluence getBorderInfluence() const { return {}; }

    RIX_INPUT(const ImageModel*, InputImage1, inputImage1)
    RIX_INPUT(const ImageModel*, InputImage2, inputImage2)
    /// Default `AND`.
    RIX_CHOICE(LogicalOperatorType, LogicalOperator, logicalOperator, getInfoLogicalOperatorType)
    RIX_OUTPUT(ImageModel*, OutputImage, outputImage)
};

}  // namespace rix::point_operations
