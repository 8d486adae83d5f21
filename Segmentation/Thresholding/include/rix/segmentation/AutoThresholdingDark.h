#pragma once

#include <rix/segmentation/AutoThresholding.h>

namespace rix::segmentation {

/// Keeps the dark side of an image: 1 where a voxel is less than the threshold that is chosen from the image's
/// histogram, 0 elsewhere. Inputs, outputs, failures and cost are those of `AutoThresholding`.
///
/// The output is the complement of that of `AutoThresholdingBright`, NaN voxels aside, which lie on neither side.
class RIX_EXPORT AutoThresholdingDark : public AutoThresholding {
    RIX_ALGORITHM(AutoThresholdingDark)
};

}  // namespace rix::segmentation
