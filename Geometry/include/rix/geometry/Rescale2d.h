#pragma once

#include <cstdint>

#include <rix/access/BorderPolicy.h>
#include <rix/algorithms/Declaration.h>
#include <rix/geometry/RescaleChoices.h>

namespace rix::geometry {

/// Gives each plane other extents. The outer borders of the image stay where they are in the world, so that an axis of
/// n elements that becomes m long has elements of n / m the size: element i of the result lies at the place
/// p = (i + 1/2) n / m - 1/2 of the input's axis, counted in elements from the centre of the first.
///
/// **Extents.** `EXTENTS` takes them as they are (0 keeps an axis), `FACTORS` makes max(1, round(n f)) of n, `SPACING`
/// max(1, round(n s / s')) of the spacing s (0 keeps an axis). The resulting spacing is n / m times the old one, so
/// that of a `SPACING` that does not divide the image it is the nearest possible one.
///
/// **Interpolation**, along one axis after the other:
/// `NEAREST` the element whose stretch holds p, exactly;
/// `LINEAR` between the two elements about p;
/// `CUBIC_BSPLINE` the cubic spline through all elements (M. Unser, "Splines: a perfect fit for signal and image
/// processing", 1999) of the mirrored image;
/// `LANCZOS` sinc(x) sinc(x / 3) over the six elements about p, divided by the sum of its weights (C. E. Duchon,
/// "Lanczos filtering in one and two dimensions", 1979);
/// `AREA` the mean over the stretch that the new element covers, parts of elements counted as such;
/// `AUTOMATIC` per axis `AREA` where it shrinks to half or less, else `LINEAR`, and `NEAREST` for labels and binary
/// images;
/// `LABEL_MAJORITY` of labels and binary images the one with the largest share of the area that the new element covers,
/// of equal shares the smallest: no new label ever appears. An axis that keeps its extent is not interpolated.
///
/// With `antiAliasing` an axis that shrinks is smoothed by a Gaussian of the standard deviation (n / m - 1) / 2
/// elements, cut off at four times that, before `LINEAR`, `CUBIC_BSPLINE` and `LANCZOS` take their elements.
///
/// **Input** `inputImage`: any extents on all five axes below 2^31, scalar elements, any real type (`uint8` to
/// `float64`). Spacings of axes with neighbours are finite and not 0; an image whose spatial spacings are all 0 counts
/// as spacing 1, and the output has it.
/// **Output** `outputImage`: the input's type, interpretations and calibration, but for extents, origin and spacing. It
/// shares no samples with the input.
///
/// **Border.** Beyond its edges the image is mirrored with the edge element repeated (`MIRROR`), goes on with that
/// element (`CONTINUE`), or has the value `borderValue` (`FIXED`). A spline is always that of the mirrored image;
/// places beyond the outermost elements take the spline there (`CONTINUE`), or linearly to half an element out more and
/// more of the value (`FIXED`).
///
/// **Exactness.** Places are quotients of integers, without tables of fractions. Sums are taken in `float32`, for
/// `float64`, integers of 32 bits, and means of integers that `float32` cannot hold, in `float64`, without fused
/// operations: the same bits on every level of optimisation, for every number of threads and every storage. Integers
/// are rounded once at the end, to nearest, ties to even, and clamped to the type; the mean of `AREA` on both axes is
/// so the exact one, rounded, others within 1/2 + 2e-6 of the range. NaN spreads to what is made of it, with
/// `CUBIC_BSPLINE` along its lines.
///
/// @throws RuleException from `run` for an unset or empty image, elements of several samples, complex samples, spacings
///         that are none, extents that are negative or that no memory holds, factors and spacings that are none, an
///         interpolation that the meaning of the image does not have, an unknown choice, a `borderValue` of NaN, and an
///         output that shares samples with the input; ResizeImageError or MemoryError when there is no memory.
/// Cost: an element and axis, as many multiplications as elements are looked at (2, 4, 6; with smoothing 8 deviations
/// more). Memory: some rows a thread, with `CUBIC_BSPLINE` an image of the input's extents; see `describe`.
class RIX_EXPORT Rescale2d : public BaseAlgorithm {
    RIX_ALGORITHM(Rescale2d)

    /// What tells the extents.
    using Mode = ScalingMode;
    using enum ScalingMode;
    /// How elements are made.
    using Interpolation = ScalingInterpolation;
    using enum ScalingInterpolation;
    /// Whether there is smoothing.
    using AntiAliasing = geometry::AntiAliasing;
    using enum geometry::AntiAliasing;
    /// What lies beyond the edges.
    using BorderPolicy = access::BorderPolicy;
    using enum access::BorderPolicy;

    RIX_INPUT(const ImageModel*, InputImage, inputImage)
    /// Default `EXTENTS`.
    RIX_CHOICE(Mode, Mode, mode, getInfoScalingMode)
    /// Of `EXTENTS`; default 0, which keeps the axis.
    RIX_INPUT(std::int64_t, SizeX, sizeX)
    RIX_INPUT(std::int64_t, SizeY, sizeY)
    /// Of `FACTORS`; default 1.
    RIX_INPUT(double, FactorX, factorX)
    RIX_INPUT(double, FactorY, factorY)
    /// Of `SPACING`; default 0, which keeps the axis.
    RIX_INPUT(double, SpacingX, spacingX)
    RIX_INPUT(double, SpacingY, spacingY)
    /// Default `AUTOMATIC`.
    RIX_CHOICE(Interpolation, Interpolation, interpolation, getInfoScalingInterpolation)
    /// Default `YES`.
    RIX_CHOICE(AntiAliasing, AntiAliasing, antiAliasing, getInfoAntiAliasing)
    /// Default `MIRROR`.
    RIX_CHOICE(BorderPolicy, BorderPolicy, borderPolicy, access::getInfoBorderPolicy)
    /// Of `FIXED`; default 0.
    RIX_INPUT(double, BorderValue, borderValue)
    RIX_OUTPUT(ImageModel*, OutputImage, outputImage)
};

}  // namespace rix::geometry
