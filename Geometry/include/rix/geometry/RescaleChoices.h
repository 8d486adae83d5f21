#pragma once

#include <cstdint>

#include <rix/Export.h>

namespace rix {
class EnumInfo;
}

/// Choices of the operations that give images other extents, which make them names of their own.
namespace rix::geometry {

/// What tells the extents of the result.
enum class ScalingMode : int { EXTENTS = 0, FACTORS, SPACING };
RIX_EXPORT const EnumInfo& getInfoScalingMode();

/// How elements of the result are made.
enum class ScalingInterpolation : int {
    AUTOMATIC = 0,  ///< an axis that shrinks to half or less `AREA`, else `LINEAR`; labels and binary images `NEAREST`
    NEAREST,        ///< the element at the place
    LINEAR,         ///< linear between two elements
    CUBIC_BSPLINE,  ///< the cubic spline through the elements
    LANCZOS,        ///< the sinc, windowed to three lobes
    AREA,           ///< the mean over the stretch of the new element
    LABEL_MAJORITY  ///< of labels and binary images that with the largest share
};
RIX_EXPORT const EnumInfo& getInfoScalingInterpolation();

/// Whether an image is smoothed before its axes become shorter.
enum class AntiAliasing : int { NO = 0, YES };
RIX_EXPORT const EnumInfo& getInfoAntiAliasing();

}  // namespace rix::geometry
