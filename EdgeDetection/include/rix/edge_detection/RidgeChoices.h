#pragma once

#include <rix/Export.h>

namespace rix {
class EnumInfo;
}

namespace rix::edge_detection {

/// What tells that something is a line.
enum class RidgeFilterMethod : int {
    FRANGI = 0,  ///< of Frangi et al., 1998
    SATO         ///< of Sato et al., 1998
};
RIX_EXPORT const EnumInfo& getInfoRidgeFilterMethod();

/// Which lines are wanted.
enum class RidgeBrightness : int {
    BRIGHT = 0,  ///< brighter than what is around them
    DARK
};
RIX_EXPORT const EnumInfo& getInfoRidgeBrightness();

}  // namespace rix::edge_detection
