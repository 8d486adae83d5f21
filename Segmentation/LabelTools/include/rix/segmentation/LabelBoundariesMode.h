#pragma once

#include <rix/Export.h>

namespace rix {
class EnumInfo;
}

namespace rix::segmentation {

/// Which voxels are boundaries of labels.
enum class LabelBoundariesMode : int {
    INNER = 0,  ///< of an object, beside another value
    OUTER,      ///< of the background, beside an object
    BETWEEN     ///< of an object, beside another object
};
RIX_EXPORT const EnumInfo& getInfoLabelBoundariesMode();

}  // namespace rix::segmentation
