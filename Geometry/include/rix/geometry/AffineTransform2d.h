#pragma once

#include <array>

#include <rix/access/BorderPolicy.h>
#include <rix/algorithms/Declaration.h>
#include <rix/geometry/TransformChoices.h>

namespace rix::geometry {

/// Moves, turns, scales and shears what is in each plane, in the coordinates x and y of the world.
///
/// **Transform.** A point p goes to p' = c + R S (p - c) + t: scaled along x and y (S), turned by `angle` degrees from
/// x to y (R) about the centre c, then moved by the translation t. With `matrix` "a,b,tx;c,d,ty" it goes to (a x + b y
/// + tx, c x + d y + ty) of the world's origin, and the other properties count for nothing. `direction` `FORWARD` moves
/// things so; `BACKWARD` tells for each point of the output where it is taken from. In planes that do not lie along x
/// and y of the world, x and y are the coordinates along columns and rows.
///
/// **Elements of the output**, `grid`: those of the input; those of `inputReferenceImage`, with frames and channels of
/// the input; or with `FIT` elements of the input's size and directions, as many as the moved image takes, about its
/// middle.
///
/// **Interpolation** at the places of these in the input: `NEAREST`; `LINEAR`; splines of the degrees 2 to 5 through
/// the elements of the mirrored image (see `BSplineCoefficients2d`), which reproduce polynomials of their degree;
/// `AUTOMATIC` is `LINEAR`, for labels and binary images `NEAREST`, the only one for these. Nothing is smoothed before
/// an image shrinks: see `Rescale2d`.
///
/// **Input** `inputImage`: any extents on all five axes, scalar elements, any real type (`uint8` to `float64`).
/// Spacings of axes with neighbours are finite and not 0; an image whose spatial spacings are all 0 counts as spacing
/// 1, and the output has it.
/// **Output** `outputImage`: the input's type and interpretations. It shares no samples with an input.
///
/// **Border.** With `FIXED` the value `borderValue` (rounded to the type) lies outside, and places up to half an
/// element outside take linearly more and more of it. With `CONTINUE` they are those of the nearest place inside; with
/// `MIRROR` the image is reflected with the edge element repeated.
///
/// **Exactness.** Each place is computed in `float64` from its indices, without tables of fractions. Samples are
/// computed in `float32`, for `float64` and integers of 32 bits in `float64`, without fused operations: the same bits
/// on every level of optimisation, for every number of threads, blocks and storages. Integers are rounded to nearest,
/// ties to even, and clamped to the type: for 8 and 16 bits linear results are within 1/2 + 1e-6 of the range of the
/// exact ones, splines within 1/2 + 1e-5. NaN spreads to what is made of it, with splines along its lines.
///
/// @throws RuleException from `run` for an unset or empty image, elements of several samples, complex samples, spacings
///         and directions that span no plane, a text that is no matrix, a transform that is not finite or has no
///         inverse, places too far to count, a missing reference, an output that no memory holds, an interpolation that
///         the meaning of the image does not have, an unknown choice, a `borderValue` of NaN, and an output that shares
///         samples with an input; ResizeImageError or MemoryError when there is no memory.
/// Cost: an element, (degree + 1)^2 multiplications. Memory: half a megabyte a thread, and for splines an image of
/// coefficients; see `describe`.
class RIX_EXPORT AffineTransform2d : public BaseAlgorithm {
    RIX_ALGORITHM(AffineTransform2d)

    /// What the transform tells.
    using Direction = TransformDirection;
    using enum TransformDirection;
    /// What stays where it is.
    using Center = TransformCenter;
    using enum TransformCenter;
    /// The elements of the output.
    using Grid = TransformGrid;
    using enum TransformGrid;
    /// How samples are found.
    using Interpolation = PlaceInterpolation;
    using enum PlaceInterpolation;
    /// What lies beyond the edges.
    using BorderPolicy = access::BorderPolicy;
    using enum access::BorderPolicy;

    RIX_INPUT(const ImageModel*, InputImage, inputImage)
    /// "a,b,tx;c,d,ty"; default empty, for the properties below.
    RIX_INPUT(String, Matrix, matrix)
    /// The same by its rows.
    void setMatrix(const std::array<double, 6>& rows);
    /// Default `FORWARD`.
    RIX_CHOICE(Direction, Direction, direction, getInfoTransformDirection)
    /// In the unit of the spacings; default 0.
    RIX_INPUT(double, TranslationX, translationX)
    RIX_INPUT(double, TranslationY, translationY)
    /// In degrees, from x to y; default 0.
    RIX_INPUT(double, Angle, angle)
    /// Not 0; default 1.
    RIX_INPUT(double, ScaleX, scaleX)
    RIX_INPUT(double, ScaleY, scaleY)
    /// Default `IMAGE`.
    RIX_CHOICE(Center, Center, center, getInfoTransformCenter)
    /// Default `INPUT`.
    RIX_CHOICE(Grid, Grid, grid, getInfoTransformGrid)
    /// Of `REFERENCE`, where it has as many planes as the input; default: unset.
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
