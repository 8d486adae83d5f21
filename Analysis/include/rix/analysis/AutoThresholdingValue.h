#pragma once

#include <rix/algorithms/Declaration.h>
#include <rix/analysis/AutoThresholdingMsr.h>
#include <rix/analysis/ThresholdChoices.h>
#include <rix/math/Vector.h>
#include <rix/properties/RarePropertyInstances.h>

namespace rix::analysis {

/// Chooses a threshold that parts the dark voxels of an image from the bright ones, from the histogram of its grey
/// levels. One threshold is computed for the volume of each frame (index of the sequence axis), over the first channel.
///
/// **Input** `inputGrayImage`: any extents on all five axes, scalar elements, any real type (`uint8` to `float64`).
/// **Output** `outputMeasurement`: the thresholds, one a frame, in the image's grey levels.
///
/// The histogram covers, in all frames alike, the range of the finite values of the whole image, channels included
/// (`MIN_MAX`), or `intensityInputRange` (`OTHER`; given the wrong way round, it is turned). For integer types the
/// range is widened by 1 at its end and has a class for each integer, at most 65535 classes; for floating types it has
/// 65535. Voxels outside the range are not counted, nor are NaN and infinite ones.
///
/// The criteria and their sources are described in `ThresholdCriteria.h`. A threshold belongs to the bright side:
/// voxels below it are dark. Thresholds of integer images are the same on every machine, level and number of threads;
/// so are those of floating images, for which `ISODATA` sums values rounded to 2^-50 of the greatest absolute value.
///
/// @throws RuleException from `run` for an unset or empty image, a complex or vector image, an unknown choice, a range
///         that is not finite and an unset measurement
/// @throws ProcessingException from `run` for a floating image without a finite value under `MIN_MAX`
/// @throws InvalidCall from `run` where no class follows the chosen one: `ENTROPY`, `FACTORISATION` and `ISODATA` can't
///         part a constant integer image. Constant floating images give the constant, with `ISODATA` half of it.
/// Cost: images of 8 and 16 bits with one channel are read once; others once for the range, once for the histogram and
/// with `ISODATA` once more an iteration. Extra memory: tables of 0.5 MiB a thread, of 1 MiB in all, and of at most
/// 32 MiB for the frames of a sequence.
class RIX_EXPORT AutoThresholdingValue : public BaseAlgorithm, public ThresholdChoices {
    RIX_ALGORITHM(AutoThresholdingValue)

    RIX_INPUT(const ImageModel*, InputGrayImage, inputGrayImage)
    /// Default `MIN_MAX`.
    RIX_CHOICE(RangeModeType, RangeMode, rangeMode, getInfoRangeModeType)
    /// (minimum, maximum), used with `OTHER` only. Default (0, 0).
    RIX_INPUT(math::Vector2<double>, IntensityInputRange, intensityInputRange)
    /// Default `ENTROPY`.
    RIX_CHOICE(ThresholdCriterionType, ThresholdCriterion, thresholdCriterion, getInfoThresholdCriterionType)
    RIX_RESULT(AutoThresholdingMsr, OutputMeasurement, outputMeasurement)
};

}  // namespace rix::analysis
