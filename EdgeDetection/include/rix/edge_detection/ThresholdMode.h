#pragma once

#include <rix/Export.h>

namespace rix {
class EnumInfo;
}

namespace rix::edge_detection {

/// What the thresholds of an edge detector are.
enum class ThresholdMode : int {
    ABSOLUTE = 0,  ///< lengths of gradients
    QUANTILE       ///< shares of voxels with smaller ones
};
RIX_EXPORT const EnumInfo& getInfoThresholdMode();

}  // namespace rix::edge_detection
