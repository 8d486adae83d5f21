#pragma once

#include <cstdint>

#include <rix/access/BorderPolicy.h>
#include <rix/algorithms/Declaration.h>
#include <rix/geometry/TransformChoices.h>

namespace rix::geometry {

/// A plane through volumes, in any direction.
///
/// **Plane.** Element (i, j) of the output lies at `origin` + i s u + j s v of the world, with the directions u
/// (`directionX1`, `directionY1`, `directionZ1`) and v (`directionX2`, ...), which are brought to length 1, and
/// `spacing` s; 0 is the smallest spacing of the input. `columns` and `rows` that are 0 lead as far as the outermost
/// element of the volume, seen along the plane's normal; at least one.
///
/// **Interpolation**, **border** and **exactness** as those of `AffineTransform3d`; the value of `FIXED` lies outside.
///
/// **Input** `inputImage`: volumes of any extents, frames and channels, scalar elements, any real type. Spacings of
/// axes with neighbours are finite and not 0; an image whose spatial spacings are all 0 counts as spacing 1.
/// **Output** `outputImage`: one plane, frames and channels of the input, its type and interpretations, with the
/// directions u, v and that of their normal u x v. It shares no samples with the input.
///
/// @throws RuleException from `run` for an unset or empty image, elements of several samples, complex samples, labels
///         of planes, directions that span no plane, negative sizes, an output that no memory holds, a plane too far to
///         count, an interpolation that the meaning of the image does not have, an unknown choice, numbers that are not
///         finite, and an output that shares samples with the input; ResizeImageError or MemoryError when there is no
///         memory.
/// Cost: an element, (degree + 1)^3 multiplications. Memory: half a megabyte a thread, and for splines an image of
/// coefficients; see `describe`.
class RIX_EXPORT Reslice3d : public BaseAlgorithm {
    RIX_ALGORITHM(Reslice3d)

    /// How samples are found.
    using Interpolation = PlaceInterpolation;
    using enum PlaceInterpolation;
    /// What lies beyond the edges.
    using BorderPolicy = access::BorderPolicy;
    using enum access::BorderPolicy;

    RIX_INPUT(const ImageModel*, InputImage, inputImage)
    /// Where the first element lies in the world; default 0.
    RIX_INPUT(double, OriginX, originX)
    RIX_INPUT(double, OriginY, originY)
    RIX_INPUT(double, OriginZ, originZ)
    /// Of columns; default (1, 0, 0).
    RIX_INPUT(double, DirectionX1, directionX1)
    RIX_INPUT(double, DirectionY1, directionY1)
    RIX_INPUT(double, DirectionZ1, directionZ1)
    /// Of rows; default (0, 1, 0).
    RIX_INPUT(double, DirectionX2, directionX2)
    RIX_INPUT(double, DirectionY2, directionY2)
    RIX_INPUT(double, DirectionZ2, directionZ2)
    /// In the unit of the image; default 0, its smallest spacing.
    RIX_INPUT(double, Spacing, spacing)
    /// Default 0, to the end.
    RIX_INPUT(std::int64_t, Columns, columns)
    RIX_INPUT(std::int64_t, Rows, rows)
    /// Default `AUTOMATIC`.
    RIX_CHOICE(Interpolation, Interpolation, interpolation, getInfoPlaceInterpolation)
    /// Default `FIXED`.
    RIX_CHOICE(BorderPolicy, BorderPolicy, borderPolicy, access::getInfoBorderPolicy)
    /// Of `FIXED`; default 0.
    RIX_INPUT(double, BorderValue, borderValue)
    RIX_OUTPUT(ImageModel*, OutputImage, outputImage)
};

}  // namespace rix::geometry
