#pragma once

#include <cstdint>

#include <rix/access/BorderPolicy.h>
#include <rix/algorithms/Declaration.h>
#include <rix/geometry/RescaleChoices.h>

namespace rix::geometry {

/// Gives each volume other extents: what `Rescale2d` does with planes, on columns, rows and planes.
///
/// `LABEL_MAJORITY` takes the label with the largest share of the volume that the new element covers. Labels that count
/// plane by plane are refused where the planes change: another plane's labels are other objects.
/// The sums of `float32` are those of the planes first; `AREA` on all three axes gives integers the exact mean,
/// rounded.
///
/// Everything else, and what is thrown, is as for `Rescale2d`.
/// Cost: an element and axis, as many multiplications as elements are looked at. Memory: some rows a thread, with
/// `CUBIC_BSPLINE` an image of the input's extents; see `describe`.
class RIX_EXPORT Rescale3d : public BaseAlgorithm {
    RIX_ALGORITHM(Rescale3d)

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
    RIX_INPUT(std::int64_t, SizeZ, sizeZ)
    /// Of `FACTORS`; default 1.
    RIX_INPUT(double, FactorX, factorX)
    RIX_INPUT(double, FactorY, factorY)
    RIX_INPUT(double, FactorZ, factorZ)
    /// Of `SPACING`; default 0, which keeps the axis.
    RIX_INPUT(double, SpacingX, spacingX)
    RIX_INPUT(double, SpacingY, spacingY)
    RIX_INPUT(double, SpacingZ, spacingZ)
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
