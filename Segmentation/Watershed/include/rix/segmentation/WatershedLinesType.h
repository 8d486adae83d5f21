#pragma once

#include <rix/Export.h>

namespace rix {
class EnumInfo;
}

namespace rix::segmentation {

/// Whether basins touch, or lines of voxels that belong to none of them lie between.
enum class WatershedLinesType : int { NONE = 0, LINES };
RIX_EXPORT const EnumInfo& getInfoWatershedLinesType();

}  // namespace rix::segmentation
