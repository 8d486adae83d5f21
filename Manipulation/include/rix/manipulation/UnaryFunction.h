#pragma once

#include <rix/algorithms/Declaration.h>

namespace rix {
class EnumInfo;
}

namespace rix::manipulation {

/// Replaces every voxel by a function of it.
///
/// **Input** `inputImage`: any extents on all five axes, scalar elements, any real type (`uint8` to `float64`). A
/// binary image counts as 0 and 1, whatever it holds beside 0.
/// **Output** `outputImage`: takes the input's extents, calibration and colour interpretation; interpretation value.
/// Magnitude, sign and rounding keep the input's type (the magnitude of the most negative integer is the largest);
/// all others give `float32`, and `float64` of a `float64` image. It may be the input image when the type stays.
///
/// Roots, squares, reciprocals, magnitudes and integers are rounded once. All others are within 2 units in the last
/// place in `float64` and within 1 in `float32`, over the whole range of the type; the same bits on every level and
/// with every number of threads. NaN stays NaN, and zeros keep their sign where the function is odd.
///
/// @throws RuleException from `run` for an unset or empty image, a complex or vector image, an unknown function and an
///         output that is the input although the type changes.
/// Cost: one pass; functions take 1 to 10 ns a voxel where the type is not one of 8 or 16 bits, which go through a
/// table.
class RIX_EXPORT UnaryFunction : public BaseAlgorithm {
    RIX_ALGORITHM(UnaryFunction)

    enum Function : int {
        ABSOLUTE = 0,  ///< |v|
        SQUARE_ROOT,   ///< NaN below 0
        EXPONENTIAL,   ///< e^v
        LOGARITHM,     ///< the natural one; -infinity at 0, NaN below
        SINE,          ///< of radians, as are the others
        COSINE,
        TANGENT,
        ARC_SINE,    ///< NaN outside [-1, 1]
        ARC_COSINE,  ///< NaN outside [-1, 1]
        ARC_TANGENT,
        LOGARITHM_2,
        LOGARITHM_10,
        CUBE_ROOT,
        SQUARE,
        RECIPROCAL,  ///< 1 / v
        SIGN,        ///< -1, 0 or 1
        FLOOR,
        CEILING,
        ROUND,    ///< to the nearest integer, ties to even
        TRUNCATE  ///< toward 0
    };
    static const EnumInfo& getInfoFunction();

    RIX_INPUT(const ImageModel*, InputImage, inputImage)
    /// Default `ABSOLUTE`.
    RIX_CHOICE(Function, Function, function, getInfoFunction)
    RIX_OUTPUT(ImageModel*, OutputImage, outputImage)
};

}  // namespace rix::manipulation
