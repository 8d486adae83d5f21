#pragma once

#include <rix/algorithms/Declaration.h>
#include <rix/algorithms/FilterChoices.h>

namespace rix::manipulation {

/// Computes a formula of up to four images, voxel by voxel: "(a - b) / (a + b)".
///
/// **Inputs** `inputImage1` to `inputImage4`, which the formula calls a, b, c and d; all but the first are optional.
/// Any extents on all five axes, the same for all; scalar elements, any real type (`uint8` to `float64`). A binary
/// image counts as 0 and 1, whatever it holds beside 0.
/// **Input** `formula`: from the loosest to the tightest, `or`; `and`; `not`; one of < <= > >= == != between two sums;
/// + -; * /; signs; ^ (-a^b is -(a^b), a^b^c is a^(b^c)); parentheses and the functions sqrt, cbrt, abs, min, max, exp,
/// log, log10, sin, cos, tan, asin, acos, atan, atan2; decimal numbers and pi. The same language as that of formulas of
/// measures.
/// **Output** `outputImage`: takes extents, calibration and colour interpretation of `inputImage1`. A formula whose
/// outermost operation is a comparison, `and`, `or` or `not` gives a binary `uint8` image; every other one gives
/// interpretation value and `float32`, or the type of `inputImage1`, as `outputType` says. It may be an input of its
/// type.
///
/// - It is computed in single precision, in double precision when the formula names an image of 32-bit integers or
///   `float64` or the output has one of these types. What is made of numbers alone is computed in double precision.
/// - Add, subtract, multiply, divide, comparison and sqrt are the IEEE results: x / 0 is infinite, 0 / 0 NaN. Functions
///   and powers are within 2 units in the last place, atan2 within 4; the same bits on every level.
/// - Comparisons and logic give 1 or 0 and may be computed with: "(a > 3) * b". No comparison but != holds with NaN.
///   What differs from 0 is true, NaN as well. min and max give their first operand when it is NaN, or equal.
/// - In an integer type results are rounded to the nearest integer, ties to even, and clamped; NaN becomes 0.
///
/// The formula is checked before any pixel is read.
///
/// @throws RuleException from `run` for a first image that is unset or empty, a complex or vector image, images of
/// other
///         extents, a text that is no formula, a name that is no image or one that is not set, more than 64
///         intermediate results at a time, and an output that is an input of another type.
/// Cost: one pass; simple formulas at memory speed. Extra memory: a few KiB a thread and intermediate result.
class RIX_EXPORT ImageFormula : public BaseAlgorithm {
    RIX_ALGORITHM(ImageFormula)

    /// The type of the result.
    using OutputType = algorithms::OutputType;
    using enum algorithms::OutputType;

    RIX_INPUT(const ImageModel*, InputImage1, inputImage1)
    RIX_INPUT(const ImageModel*, InputImage2, inputImage2)
    RIX_INPUT(const ImageModel*, InputImage3, inputImage3)
    RIX_INPUT(const ImageModel*, InputImage4, inputImage4)
    /// Default "a".
    RIX_INPUT(String, Formula, formula)
    /// Default `FLOAT_32_BIT`.
    RIX_CHOICE(OutputType, OutputType, outputType, algorithms::getInfoOutputType)
    RIX_OUTPUT(ImageModel*, OutputImage, outputImage)
};

}  // namespace rix::manipulation
