#pragma once

#include <rix/algorithms/Declaration.h>
#include <rix/point_operations/ArithmeticOperators.h>

namespace rix::point_operations {

/// Combines every voxel of an image with one value: `outputImage = inputImage operator value`.
///
/// **Input** `inputImage`: any extents on all five axes, scalar elements; every voxel type, for `MINIMUM` and `MAXIMUM`
/// every real one. A binary image counts as 0 and 1, whatever it holds beside 0.
/// **Input** `value`: counts as the type that `rules::classifyValue` tells; 3 counts as `int16`.
/// **Output** `outputImage`: takes extents, calibration and colour interpretation of the input, interpretation value,
/// and the voxel type T that `getPromotedType` tells of the input and the value: `uint8` plus 3 gives `int16`, `int16`
/// plus 0.5 gives `float64`. It may be the input when that has the type T.
///
/// Image and value are converted to T as `ConvertImage` converts, then combined in T as `ArithmeticOperationWithImage`
/// combines two images.
///
/// @throws RuleException from `run` for an unset or empty image, vector elements, an unknown operator ("The provided
///         arithmeticOperator is unknow (value=...)."), a minimum or maximum of a complex image and an output that is
///         the input although T is another type.
/// Cost: one pass at memory speed, complex products and quotients aside; no extra memory.
class RIX_EXPORT ArithmeticOperationWithValue : public BaseAlgorithm, public ArithmeticOperators {
    RIX_ALGORITHM(ArithmeticOperationWithValue)

    BorderInfluence getBorderInfluence() const { return {}; }

    RIX_INPUT(const ImageModel*, InputImage, inputImage)
    /// Default 0.
    RIX_INPUT(double, Value, value)
    /// Default `ADD`.
    RIX_CHOICE(ArithmeticOperatorType, ArithmeticOperator, arithmeticOperator, getInfoArithmeticOperatorType)
    RIX_OUTPUT(ImageModel*, OutputImage, outputImage)
};

}  // namespace rix::point_operations
