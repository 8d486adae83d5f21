#pragma once

#include <rix/algorithms/Declaration.h>

namespace rix::segmentation {

/// Compares every voxel with one value and writes a binary image: 1 where the comparison holds, 0 elsewhere.
///
/// **Input** `inputGrayImage`: any extents on all five axes, scalar elements, any real type (`uint8` to `float64`).
/// **Output** `outputBinaryImage`: takes the input's extents and calibration; `uint8`, interpretation binary. It may be
/// the input image when that is `uint8`.
///
/// The comparison is exact, not made in the input's type: the value's smallest containing type
/// (`Scalar::smallestContainingType`) and the input's type meet in `helper::lesserCommonType`, and voxels are
/// converted to that type. So -1 on a `uint8` image compares as `int16`, 0.5 as `float32`. One meeting is not lossless:
/// a `uint32` image compared with a negative integer meets it in `int32`, where voxels from 2^31 on are negative. A
/// value outside the common type is compared in double precision. A NaN voxel fulfils `NOT_EQUAL_TO` only, and so does
/// every voxel when the value is NaN.
///
/// @throws RuleException from `run` for an unset or empty image, a complex or vector image, an unknown criterion and an
///         in-place output of another type.
/// Cost: one pass at memory speed; no extra memory.
class RIX_EXPORT ThresholdingByCriterion : public BaseAlgorithm {
    RIX_ALGORITHM(ThresholdingByCriterion)

    /// How a voxel is compared with the value: "voxel `LESS_THAN` value".
    enum CriterionType : int {
        LESS_THAN = 0,
        LESS_THAN_OR_EQUAL_TO,
        EQUAL_TO,
        GREATER_THAN_OR_EQUAL_TO,
        GREATER_THAN,
        NOT_EQUAL_TO
    };
    static const EnumInfo& getInfoCriterionType();

    RIX_INPUT(const ImageModel*, InputGrayImage, inputGrayImage)
    /// Default `LESS_THAN`.
    RIX_CHOICE(CriterionType, ComparisonCriterion, comparisonCriterion, getInfoCriterionType)
    /// Default 0.
    RIX_INPUT(double, ComparisonValue, comparisonValue)
    RIX_OUTPUT(ImageModel*, OutputBinaryImage, outputBinaryImage)
};

}  // namespace rix::segmentation
