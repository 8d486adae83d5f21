#pragma once

#include <rix/Export.h>

namespace rix {
class EnumInfo;
}

namespace rix::morphology {

/// Which of dilation, erosion and the image a morphological gradient is the difference of.
enum class MorphologicalGradientType : int {
    BOTH = 0,  ///< dilation - erosion
    INTERNAL,  ///< image - erosion
    EXTERNAL   ///< dilation - image
};
RIX_EXPORT const EnumInfo& getInfoMorphologicalGradientType();

}  // namespace rix::morphology
