#pragma once

#include <memory>

#include <rix/segmentation/AutoThresholding.h>

namespace rix::segmentation {

/// Keeps the dark side of an image: 1 where a voxel is less than the threshold that is chosen from the image's
/// histogram, 0 elsewhere. Inputs, outputs, failures and cost are those of `AutoThresholding`.
///
/// The output is the complement of that of `AutoThresholdingBright`, NaN voxels aside, which lie on neither side.
class RIX_EXPORT AutoThresholdingDark : public AutoThresholding {
public:
    static std::shared_ptr<AutoThresholdingDark> New();
    static AlgoInfo& getInfo();

    explicit AutoThresholdingDark(algorithms::AbstractPrivateImplementation* implementation = nullptr);
    AlgoInfo& getClassInfo() const override;

protected:
    const char* sideName() const override;
};

}  // namespace rix::segmentation
