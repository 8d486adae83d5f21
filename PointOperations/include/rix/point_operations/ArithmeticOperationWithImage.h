#pragma once

#include <rix/algorithms/Declaration.h>
#include <rix/point_operations/ArithmeticOperators.h>

namespace rix::point_operations {

/// Combines two images voxel by voxel: `outputImage = inputImage1 operator inputImage2`.
///
/// **Inputs** `inputImage1`, `inputImage2`: the same extents on all five axes, scalar elements; every voxel type, for
/// `MINIMUM` and `MAXIMUM` every real one. A binary image counts as 0 and 1, whatever it holds beside 0.
/// **Output** `outputImage`: takes extents, calibration and colour interpretation of the first input, interpretation
/// value, and the voxel type T that `getPromotedType` tells of the inputs' types: `uint8` and `uint8` add to `int16`
/// and multiply to `uint16`. It may be an input whose type is T.
///
/// Both inputs are converted to T as `ConvertImage` converts (integers keep their low bits), then combined in T:
/// - Integers wrap; nothing saturates. Division truncates toward zero; by 0 it gives 0; the most negative integer
///   divided by -1 gives itself.
/// - Reals are the IEEE results, bit for bit on every level of optimisation; a zero divisor gives 0, a NaN divisor NaN.
///   Each part of a complex product or quotient is within two units in the last place; a divisor of (0, 0) gives 0.
/// - `MINIMUM` is the second operand unless the first is strictly smaller, `MAXIMUM` the second unless the first is
///   strictly greater: so a NaN in the second stays and one in the first does not.
///
/// @throws RuleException from `run` for an unset or empty image, vector elements, different extents, an unknown
///         operator ("The provided arithmeticOperator is unknow (value=...)."), a minimum or maximum of complex images
///         and an output that is an input of another type than T.
/// Cost: one pass at memory speed, complex products and quotients aside; no extra memory.
class RIX_EXPORT ArithmeticOperationWithImage : public BaseAlgorithm, public ArithmeticOperators {
    RIX_ALGORITHM(ArithmeticOperationWithImage)

    BorderInfluence getBorderInfluence() const { return {}; }

    RIX_INPUT(const ImageModel*, InputImage1, inputImage1)
    RIX_INPUT(const ImageModel*, InputImage2, inputImage2)
    /// Default `ADD`.
    RIX_CHOICE(ArithmeticOperatorType, ArithmeticOperator, arithmeticOperator, getInfoArithmeticOperatorType)
    RIX_OUTPUT(ImageModel*, OutputImage, outputImage)
};

}  // namespace rix::point_operations
