#pragma once

#include <rix/Export.h>

namespace rix {
class EnumInfo;
}

namespace rix::segmentation {

/// What the threshold of a voxel follows from; see `LocalThresholding2d`.
enum class LocalThresholdingMethod : int { MEAN = 0, MEDIAN, GAUSSIAN, NIBLACK, SAUVOLA, PHANSALKAR, BERNSEN };
RIX_EXPORT const EnumInfo& getInfoLocalThresholdingMethod();

/// What is kept: what is brighter than its threshold, or all the rest.
enum class ThresholdingSide : int { BRIGHT = 0, DARK };
RIX_EXPORT const EnumInfo& getInfoThresholdingSide();

}  // namespace rix::segmentation
