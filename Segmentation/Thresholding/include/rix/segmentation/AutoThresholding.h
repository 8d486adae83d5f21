#pragma once

#include <rix/Export.h>
#include <rix/algorithms/BaseAlgorithm.h>
#include <rix/analysis/AutoThresholdingMsr.h>
#include <rix/analysis/ThresholdChoices.h>
#include <rix/image/ImageModel.h>
#include <rix/math/Vector.h>

namespace rix::segmentation {

/// What `AutoThresholdingBright` and `AutoThresholdingDark` share: they choose a threshold from the histogram of an
/// image and write the voxels of one side of it as a binary image.
///
/// **Input** `inputGrayImage`: any extents on all five axes, scalar elements, any real type (`uint8` to `float64`).
/// **Output** `outputBinaryImage`: takes the input's extents and calibration; `uint8`, interpretation binary. It must
/// not be the input image.
/// **Output** `outputMeasurement`: the thresholds. An image with several frames has one for each, but the first is
/// applied to the whole image; with iteration on the sequence axis enabled, each frame is parted by its own threshold.
///
/// The threshold is chosen by `analysis::AutoThresholdingValue`, which describes the choices, the treatment of special
/// values and the failures, and applied by `ThresholdingByCriterion`. Both run as children.
///
/// @throws what these two throw; RuleException also for an output that is the input image.
/// Cost: that of both, so an image of 8 or 16 bits is read twice and written once.
class RIX_EXPORT AutoThresholding : public BaseAlgorithm, public analysis::ThresholdChoices {
public:
    AlgorithmDescription describe() const override;

    void setInputGrayImage(const ImageModel* image) { input<const ImageModel*>(0) = image; }
    const ImageModel* getInputGrayImage() const { return input<const ImageModel*>(0); }
    /// Default `MIN_MAX`.
    void setRangeMode(RangeModeType mode) { input<int>(1) = mode; }
    RangeModeType getRangeMode() const { return static_cast<RangeModeType>(input<int>(1).get()); }
    /// (minimum, maximum), used with `OTHER` only. Default (0, 255).
    void setIntensityInputRange(const math::Vector2<double>& range) { input<math::Vector2<double>>(2) = range; }
    math::Vector2<double> getIntensityInputRange() const { return input<math::Vector2<double>>(2); }
    /// Default `ENTROPY`.
    void setThresholdCriterion(ThresholdCriterionType criterion) { input<int>(3) = criterion; }
    ThresholdCriterionType getThresholdCriterion() const {
        return static_cast<ThresholdCriterionType>(input<int>(3).get());
    }
    void setOutputBinaryImage(ImageModel* image) { output<ImageModel*>(0) = image; }
    ImageModel* getOutputBinaryImage() const { return output<ImageModel*>(0); }
    void setOutputMeasurement(analysis::AutoThresholdingMsr* measurement) {
        output<analysis::AutoThresholdingMsr*>(1) = measurement;
    }
    analysis::AutoThresholdingMsr* getOutputMeasurement() const { return output<analysis::AutoThresholdingMsr*>(1); }

protected:
    explicit AutoThresholding(algorithms::AbstractPrivateImplementation* implementation);

    /// The side that is kept, for the summary: "bright" or "dark".
    virtual const char* sideName() const = 0;
};

}  // namespace rix::segmentation
