#pragma once

#include <cstdint>

#include <rix/access/BorderPolicy.h>
#include <rix/algorithms/Declaration.h>
#include <rix/geometry/PolarChoices.h>
#include <rix/geometry/TransformChoices.h>

namespace rix::geometry {

/// Brings planes into polar coordinates, or back: radii along columns, angles along rows.
///
/// **Polar image.** Its calibration tells what it holds: x = `origin` + i `spacing` of column i is the radius in the
/// world's unit, or with `LOGARITHMIC` its natural logarithm; y of row j is the angle in degrees, from x to y. What
/// turns about the centre is shifted along rows, what is scaled about it is, with `LOGARITHMIC`, shifted along columns.
///
/// **To polar.** Radii go up to `radius` R; 0 is the distance of the farthest corner of the plane. There are `sizeX`
/// columns, 0: ceil(R / s) with the smaller spacing s, and `sizeY` rows, 0: 360, which go round once. Column i has the
/// radius R i / columns, or with `LOGARITHMIC` s (R / s)^(i / columns). The centre is the middle of the plane, moved by
/// `offsetX`, `offsetY` in the unit of the spacings.
///
/// **From polar.** The elements of the output are those of `inputReferenceImage`, about whose middle (moved by the
/// offsets) the circle lies; without one, `sizeX` by `sizeY` elements, 0: 2 ceil(R / s), that hold the circle of the
/// outermost radius R, with the centre at the offsets; s is the spacing of radii, or with `LOGARITHMIC` the smallest
/// radius. Where rows go round once, the first is next to the last.
///
/// **Interpolation**, **border** and **exactness** as those of `AffineTransform2d`; what lies within half a column
/// beyond the polar image counts as its border does there.
///
/// **Input** `inputImage`: any extents on all five axes, scalar elements, any real type. Spacings of axes with
/// neighbours are finite and not 0; an image whose spatial spacings are all 0 counts as spacing 1. **Output**
/// `outputImage`: its type and interpretation, frames, channels and planes. It shares no samples with an input.
///
/// @throws RuleException from `run` for an unset or empty image, elements of several samples, complex samples, spacings
///         and directions that span no plane, numbers that are not finite, negative sizes and radii, a `radius` that is
///         not above the smallest with `LOGARITHMIC`, radii beyond counting, a reference with other planes, an output
///         that no memory holds, an interpolation that the meaning of the image does not have, an unknown choice, and
///         an output that shares samples with an input; ResizeImageError or MemoryError when there is no memory.
/// Cost: an element, (degree + 1)^2 multiplications and, from polar, an angle. Memory: less than a megabyte a thread,
/// from polar a copy of the input, and for splines an image of coefficients; see `describe`.
class RIX_EXPORT PolarTransform2d : public BaseAlgorithm {
    RIX_ALGORITHM(PolarTransform2d)

    /// Which way it goes.
    using Direction = PolarDirection;
    using enum PolarDirection;
    /// What columns count; its `LINEAR` is also that of the interpolation.
    using Radial = RadialScale;
    /// How samples are found.
    using Interpolation = PlaceInterpolation;
    /// What lies beyond the edges.
    using BorderPolicy = access::BorderPolicy;
    using enum access::BorderPolicy;

    RIX_INPUT(const ImageModel*, InputImage, inputImage)
    /// Default `TO_POLAR`.
    RIX_CHOICE(Direction, Direction, direction, getInfoPolarDirection)
    /// Default `LINEAR`.
    RIX_CHOICE(Radial, RadialScale, radialScale, getInfoRadialScale)
    /// Of `TO_POLAR`, in the unit of the spacings; default 0, to the farthest corner.
    RIX_INPUT(double, Radius, radius)
    /// Of the centre, in the unit of the spacings; default 0.
    RIX_INPUT(double, OffsetX, offsetX)
    RIX_INPUT(double, OffsetY, offsetY)
    /// Columns of the output; default 0, as many as the input's resolution asks for.
    RIX_INPUT(std::int64_t, SizeX, sizeX)
    /// Rows of the output; default 0, 360 or as many as there are columns.
    RIX_INPUT(std::int64_t, SizeY, sizeY)
    /// Of `FROM_POLAR`, with as many planes as the input; default: unset.
    RIX_INPUT(const ImageModel*, InputReferenceImage, inputReferenceImage)
    /// Default `AUTOMATIC`.
    RIX_CHOICE(Interpolation, Interpolation, interpolation, getInfoPlaceInterpolation)
    /// Default `FIXED`.
    RIX_CHOICE(BorderPolicy, BorderPolicy, borderPolicy, access::getInfoBorderPolicy)
    /// Of `FIXED`; default 0.
    RIX_INPUT(double, BorderValue, borderValue)
    RIX_OUTPUT(ImageModel*, OutputImage, outputImage)
};

}  // namespace rix::geometry
