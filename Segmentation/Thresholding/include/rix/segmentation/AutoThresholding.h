#pragma once

#include <rix/algorithms/Declaration.h>
#include <rix/analysis/AutoThresholdingMsr.h>
#include <rix/analysis/ThresholdChoices.h>
#include <rix/math/Vector.h>
#include <rix/properties/RarePropertyInstances.h>

namespace rix::segmentation {

/// What `AutoThresholdingBright` and `AutoThresholdingDark` share: they choose a threshold from the histogram of an
/// image and write the voxels of one side of it as a binary image.
///
/// **Input** `inputGrayImage`: any extents on all five axes, scalar elements, any real type (`uint8` to `float64`).
/// **Output** `outputBinaryImage`: takes the input's extents and calibration; `uint8`, interpretation binary. It must
/// not be the input image.
/// **Output** `outputMeasurement`: the thresholds. An image with several frames has one for each, but the first frame's
/// is applied to the whole image; with iteration on the sequence axis enabled, each frame is parted by its own.
///
/// The threshold is chosen by `analysis::AutoThresholdingValue`, which describes the choices, the treatment of special
/// values and the failures, and applied by `ThresholdingByCriterion`. Both run as children.
///
/// @throws what these two throw; RuleException also for an output that is the input image.
/// Cost: that of both, so an image of 8 or 16 bits is read twice and written once.
class RIX_EXPORT AutoThresholding : public BaseAlgorithm, public analysis::ThresholdChoices {
public:
    RIX_INPUT(const ImageModel*, InputGrayImage, inputGrayImage)
    /// Default `MIN_MAX`.
    RIX_CHOICE(RangeModeType, RangeMode, rangeMode, getInfoRangeModeType)
    /// (minimum, maximum), used with `OTHER` only. Default (0, 255).
    RIX_INPUT(math::Vector2<double>, IntensityInputRange, intensityInputRange)
    /// Default `ENTROPY`.
    RIX_CHOICE(ThresholdCriterionType, ThresholdCriterion, thresholdCriterion, getInfoThresholdCriterionType)
    RIX_OUTPUT(ImageModel*, OutputBinaryImage, outputBinaryImage)
    RIX_RESULT(analysis::AutoThresholdingMsr, OutputMeasurement, outputMeasurement)

protected:
    using BaseAlgorithm::BaseAlgorithm;
};

}  // namespace rix::segmentation
