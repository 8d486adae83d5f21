#pragma once

#include <rix/algorithms/Declaration.h>
#include <rix/point_operations/LogicalOperators.h>

namespace rix::point_operations {

/// Combines every voxel of an integer image with one value bit by bit: `outputImage = inputImage operator value`.
///
/// **Input** `inputImage`: any extents on all five axes, scalar elements of an integer type.
/// **Input** `value`: as many of its low bits count as a voxel has; with a binary image, whether it differs from 0.
/// **Output** `outputImage`: takes extents, calibration, voxel type, interpretation and colour interpretation of the
/// input. It may be the input.
///
/// The operators act on the whole word, complements included. The voxels of a binary image have one bit: they read as 0
/// or 1, as does the value, and 0 or 1 is stored.
///
/// @throws RuleException from `run` for an unset or empty image, other than integer samples, vector elements and an
///         unknown operator.
/// Cost: one pass at memory speed; no extra memory.
class RIX_EXPORT LogicalOperationWithValue : public BaseAlgorithm, public LogicalOperators {
    RIX_ALGORITHM(LogicalOperationWithValue)

    BorderInfluence getBorderInfluence() const { return {}; }

    RIX_INPUT(const ImageModel*, InputImage, inputImage)
    /// Default 0.
    RIX_INPUT(long, Value, value)
    /// Default `AND`.
    RIX_CHOICE(LogicalOperatorType, LogicalOperator, logicalOperator, getInfoLogicalOperatorType)
    RIX_OUTPUT(ImageModel*, OutputImage, outputImage)
};

}  // namespace rix::point_operations
