#pragma once

#include <rix/algorithms/Declaration.h>
#include <rix/algorithms/FilterChoices.h>

namespace rix {
class EnumInfo;
}

namespace rix::manipulation {

/// Stretches a range of grey values to another one: every voxel v becomes
///
///     a + (b - a) (min(max(v, l), h) - l) / (h - l)
///
/// with the input's range from l to h and the output's from a to b, which may fall. Where the input's range is empty,
/// voxels above it become b, the others a.
///
/// **Input** `inputImage`: any extents on all five axes, scalar elements, any real type (`uint8` to `float64`). A
/// binary image counts as 0 and 1, whatever it holds beside 0.
/// **Choice** `rangeMode`: where the input's range comes from. `MIN_MAX`: the extreme values of the whole image.
/// `QUANTILES`: the quantiles `inputMinimum` and `inputMaximum` of the whole image, from 0 to 1, as `ImageStatistics`
/// computes them. `OTHER`: the values `inputMinimum` and `inputMaximum`. Only finite voxels have a part.
/// **Output** `outputImage`: takes the input's extents, calibration and colour interpretation; interpretation value,
/// and the type that `outputType` names. It may be the input image when the type stays.
///
/// The ends of the ranges meet exactly, and larger voxels never give less. Results are computed in double precision, of
/// `float32` images in single precision unless the output is of 32-bit integers or `float64`; within 3 units in the
/// last place of the larger of |a| and |b|. In an integer type they are rounded to the nearest integer, ties to even,
/// and clamped to the type. NaN stays NaN, and is 0 in integer types.
///
/// @throws RuleException from `run` for an unset or empty image, a complex or vector image, bounds that are not finite,
/// a
///         minimum that is not below the maximum with `OTHER`, quantiles that are not from 0 to 1 or fall, and an
///         output that is the input although the type changes.
/// Cost: one pass at memory speed, and one or more for the range (see `ImageStatistics`). Extra memory: for quantiles
/// as `ImageStatistics`.
class RIX_EXPORT IntensityRescale : public BaseAlgorithm {
    RIX_ALGORITHM(IntensityRescale)

    /// Where the input's range comes from.
    enum RangeMode : int { MIN_MAX = 0, QUANTILES, OTHER };
    static const EnumInfo& getInfoRangeMode();

    /// The type of the result.
    using OutputType = algorithms::RealOutputType;
    using enum algorithms::RealOutputType;

    RIX_INPUT(const ImageModel*, InputImage, inputImage)
    /// A quantile or a value, as `rangeMode` says; default 0.
    RIX_INPUT(double, InputMinimum, inputMinimum)
    /// Default 1.
    RIX_INPUT(double, InputMaximum, inputMaximum)
    /// Default `MIN_MAX`.
    RIX_CHOICE(RangeMode, RangeMode, rangeMode, getInfoRangeMode)
    /// Default 0.
    RIX_INPUT(double, OutputMinimum, outputMinimum)
    /// Default 255.
    RIX_INPUT(double, OutputMaximum, outputMaximum)
    /// Default `UNSIGNED_INTEGER_8_BIT`.
    RIX_CHOICE(OutputType, OutputType, outputType, algorithms::getInfoRealOutputType)
    RIX_OUTPUT(ImageModel*, OutputImage, outputImage)
};

}  // namespace rix::manipulation
