#pragma once

#include <cstdint>

#include <rix/Export.h>

namespace rix {
class EnumInfo;
}

/// Choices of `PolarTransform2d`, which makes them names of its own.
namespace rix::geometry {

/// Which way an image is transformed.
enum class PolarDirection : int {
    TO_POLAR = 0,  ///< columns become radii, rows angles
    FROM_POLAR     ///< and back
};
RIX_EXPORT const EnumInfo& getInfoPolarDirection();

/// What columns of a polar image count.
enum class RadialScale : int {
    LINEAR = 0,  ///< the radius
    LOGARITHMIC  ///< its natural logarithm: what is scaled is shifted
};
RIX_EXPORT const EnumInfo& getInfoRadialScale();

}  // namespace rix::geometry
