#pragma once

#include <rix/algorithms/Declaration.h>
#include <rix/algorithms/FilterChoices.h>

namespace rix::filtering::smoothing {

/// Takes an uneven background out of each plane: what a ball that rolls below the grey values does not reach, or what
/// the light fell short of.
///
/// **`ROLLING_BALL`** (Sternberg, Biomedical Image Processing, IEEE Computer 16, 1983). The background is the opening
/// of the image by the upper half of a ball: with the offsets d of a disc, |d| <= r, and the surface b(d) = h sqrt(1 -
/// |d|^2 / r^2),
///
///     e(x) = min of in(x + d) - b(d),   B(x) = min(in(x), max of e(x - d) + b(d)),   out = in - B,
///
/// so that B is what the ball touches when it is pressed against the image from below everywhere. r is `radius`; the
/// height h, in grey values, is `height`, or the number given as `radius` where that is 0. With `background=BRIGHT` the
/// ball rolls above instead: B = -opening(-in) and out = B - in, so that what is dark comes out bright. What lies
/// beyond the edges takes no part.
///
/// **`FLAT_FIELD`.** out = in m / B, with m the mean of B over the plane and 0 where B is 0. B is
/// `inputBackgroundImage`, the picture of an empty field; unless it is set, B is the image smoothed with a Gaussian
/// whose standard deviation is `radius` (border mirrored). `background` and `height` count with the ball only,
/// `inputBackgroundImage` only here.
///
/// **Input** `inputImage`: any extents on all five axes, scalar elements, any real type (`uint8` to `float64`).
/// `inputBackgroundImage`: optional; the same extents, any real type. **Output** `outputImage`: the input's extents,
/// type, calibration and colour interpretation; interpretation value. It may be the input image.
/// `outputBackgroundImage`: optional; B, `float32`, for inputs of `float64` or 32-bit integers `float64`.
///
/// **Exactness.** All is computed in the type of `outputBackgroundImage`; integers are rounded to nearest, ties to
/// even, and clamped to their type. The same bits on every level, for every number of threads and every storage. With
/// the ball NaN takes no part and stays NaN; where the image is infinite the result may be NaN. A flat field of which a
/// voxel is NaN makes its plane NaN (integers 0).
///
/// @throws RuleException from `run` for an unset or empty image, a complex or vector image, a background of other
///         extents, a radius that is negative, not finite or above 500 voxels, a height that is negative or not finite,
///         a spacing of 0 or NaN where it is needed, an unknown choice, an output that is the background;
///         ResizeImageError or MemoryError when there is no memory.
/// Cost: of the ball, two passes that compare a voxel with at most every voxel of the disc, and with those only that
/// the ball could touch beside what is known already: few where the image varies by less than the height. Of the flat
/// field, that of the Gaussian and two passes over the image. Memory: two images (of the flat field one, or none) of
/// the type of B; see `describe`.
class RIX_EXPORT BackgroundCorrection2d : public BaseAlgorithm {
    RIX_ALGORITHM(BackgroundCorrection2d)

    /// How the background is found and taken out.
    enum Method : int { ROLLING_BALL = 0, FLAT_FIELD };
    static const EnumInfo& getInfoMethod();
    /// Whether the background is darker than what lies before it.
    enum Background : int { DARK = 0, BRIGHT };
    static const EnumInfo& getInfoBackground();
    /// In what the radius is given.
    using LengthUnit = algorithms::LengthUnit;
    using enum algorithms::LengthUnit;

    RIX_INPUT(const ImageModel*, InputImage, inputImage)
    /// Default `ROLLING_BALL`.
    RIX_CHOICE(Method, Method, method, getInfoMethod)
    /// Default `DARK`.
    RIX_CHOICE(Background, Background, background, getInfoBackground)
    /// Of the ball, or the standard deviation of the Gaussian; default 50.
    RIX_INPUT(double, Radius, radius)
    /// Default `VOXEL`.
    RIX_CHOICE(LengthUnit, LengthUnit, lengthUnit, algorithms::getInfoLengthUnit)
    /// Of the ball, in grey values; default 0: as many as the radius.
    RIX_INPUT(double, Height, height)
    /// Optional: the flat field.
    RIX_INPUT(const ImageModel*, InputBackgroundImage, inputBackgroundImage)
    RIX_OUTPUT(ImageModel*, OutputImage, outputImage)
    /// Optional: the background that was found.
    RIX_OUTPUT(ImageModel*, OutputBackgroundImage, outputBackgroundImage)
};

}  // namespace rix::filtering::smoothing
