#pragma once

#include <rix/Export.h>

namespace rix {
class EnumInfo;
}

namespace rix::morphology {

/// How long the way between two voxels is that lie (dx, dy, dz) apart.
enum class DistanceMetric : int {
    EUCLIDEAN = 0,  ///< sqrt(dx^2 + dy^2 + dz^2)
    CITY_BLOCK,     ///< |dx| + |dy| + |dz|
    CHESSBOARD,     ///< max(|dx|, |dy|, |dz|)
    CHAMFER         ///< the cheapest chain of steps to neighbours, each at the price of its kind
};
RIX_EXPORT const EnumInfo& getInfoDistanceMetric();

/// Which voxels get a distance.
enum class DistanceSide : int {
    INSIDE = 0,  ///< those of objects
    OUTSIDE,     ///< those of the background
    SIGNED       ///< both; distances of the background are negative
};
RIX_EXPORT const EnumInfo& getInfoDistanceSide();

/// Whether what lies beyond the edges of the image counts as background.
enum class BorderBackground : int { NO = 0, YES };
RIX_EXPORT const EnumInfo& getInfoBorderBackground();

}  // namespace rix::morphology
