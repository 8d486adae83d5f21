#pragma once

#include <rix/segmentation/AutoThresholding.h>

namespace rix::segmentation {

/// Keeps the bright side of an image: 1 where a voxel is greater than or equal to the threshold that is chosen from the
/// image's histogram, 0 elsewhere. Inputs, outputs, failures and cost are those of `AutoThresholding`.
///
/// The output is the complement of that of `AutoThresholdingDark`, NaN voxels aside, which lie on neither side.
class RIX_EXPORT AutoThresholdingBright : public AutoThresholding {
    RIX_ALGORITHM(AutoThresholdingBright)
};

}  // namespace rix::segmentation
