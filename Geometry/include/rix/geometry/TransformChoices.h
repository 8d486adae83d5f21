#pragma once

#include <cstdint>

#include <rix/Export.h>

namespace rix {
class EnumInfo;
}

/// Choices of the operations that take samples at places of an image, which make them names of their own.
namespace rix::geometry {

/// What a transform tells.
enum class TransformDirection : int {
    FORWARD = 0,  ///< where what is at a place goes
    BACKWARD      ///< where what is at a place of the output comes from
};
RIX_EXPORT const EnumInfo& getInfoTransformDirection();

/// The point that rotations and scales leave where it is.
enum class TransformCenter : int {
    IMAGE = 0,  ///< the middle of the image
    ORIGIN      ///< the origin of the world
};
RIX_EXPORT const EnumInfo& getInfoTransformCenter();

/// The elements of the output.
enum class TransformGrid : int {
    INPUT = 0,  ///< where those of the input are
    REFERENCE,  ///< where those of a reference image are
    FIT         ///< as large as those of the input, as many as the moved image takes
};
RIX_EXPORT const EnumInfo& getInfoTransformGrid();

/// How samples between elements are found.
enum class PlaceInterpolation : int {
    AUTOMATIC = 0,  ///< `NEAREST` for labels and binary images, else `LINEAR`
    NEAREST,        ///< the nearest element
    LINEAR,         ///< linear between neighbours on each axis
    QUADRATIC_BSPLINE,
    CUBIC_BSPLINE,
    QUARTIC_BSPLINE,
    QUINTIC_BSPLINE
};
RIX_EXPORT const EnumInfo& getInfoPlaceInterpolation();

}  // namespace rix::geometry
