#pragma once

#include <rix/access/BorderPolicy.h>
#include <rix/algorithms/Declaration.h>
#include <rix/algorithms/FilterChoices.h>
#include <rix/geometry/ProfileMsr.h>
#include <rix/geometry/TransformChoices.h>

namespace rix::geometry {

/// The values of an image along a line.
///
/// **Line** from (`x1`, `y1`, `z1`) to (`x2`, `y2`, `z2`): indices of elements, or points of the world with
/// `lengthUnit` `WORLD`. In an image of one plane the third coordinate counts for nothing: the line lies in the plane.
///
/// **Samples.** One a voxel and both ends: a line that is L elements long has ceil(L) + 1, evenly spaced.
///
/// **Width** `width`, in the unit of the line: each value is the mean over so wide a strip across the line. In an image
/// of one plane it is that of k = max(1, round(width / voxel)) samples across, width / k apart, in the plane; in
/// volumes that of those of k x k such samples, along two directions across, which lie within the disc of that
/// diameter. With `WORLD` what is across is so in the world.
///
/// **Interpolation**, **border** and **exactness** as those of `AffineTransform3d`, but values are not rounded. The
/// value of `FIXED` lies outside. Means are sums in `float64`, in order.
///
/// **Input** `inputImage`: any extents on all five axes, scalar elements, any real type. Spacings of axes with
/// neighbours are finite and not 0; an image whose spatial spacings are all 0 counts as spacing 1. Of a label image,
/// with a `width` over one voxel, means of labels mean nothing.
/// **Output** `outputMeasurement`: a row for each sample from the first end on, its distance from it in the unit of the
/// line and its value, for each frame of each channel.
///
/// @throws RuleException from `run` for an unset or empty image, elements of several samples, complex samples, labels
///         of planes, directions that do not span space, numbers that are not finite, a negative `width`, more than
///         2^28 samples, an interpolation that the meaning of the image does not have, and an unknown choice;
///         MemoryError when there is no memory.
/// Cost: a sample, (degree + 1)^3 multiplications; splines make an image of coefficients first. Memory: 32 bytes a
/// sample and half a megabyte a thread; see `describe`.
class RIX_EXPORT ProfileAlongLine : public BaseAlgorithm {
    RIX_ALGORITHM(ProfileAlongLine)

    /// What the line is told in.
    using LengthUnit = algorithms::LengthUnit;
    using enum algorithms::LengthUnit;
    /// How samples are found.
    using Interpolation = PlaceInterpolation;
    using enum PlaceInterpolation;
    /// What lies beyond the edges.
    using BorderPolicy = access::BorderPolicy;
    using enum access::BorderPolicy;

    RIX_INPUT(const ImageModel*, InputImage, inputImage)
    /// Default 0.
    RIX_INPUT(double, X1, x1)
    RIX_INPUT(double, Y1, y1)
    RIX_INPUT(double, Z1, z1)
    RIX_INPUT(double, X2, x2)
    RIX_INPUT(double, Y2, y2)
    RIX_INPUT(double, Z2, z2)
    /// Default `VOXEL`.
    RIX_CHOICE(LengthUnit, LengthUnit, lengthUnit, algorithms::getInfoLengthUnit)
    /// Default 1.
    RIX_INPUT(double, Width, width)
    /// Default `AUTOMATIC`.
    RIX_CHOICE(Interpolation, Interpolation, interpolation, getInfoPlaceInterpolation)
    /// Default `FIXED`.
    RIX_CHOICE(BorderPolicy, BorderPolicy, borderPolicy, access::getInfoBorderPolicy)
    /// Of `FIXED`; default 0.
    RIX_INPUT(double, BorderValue, borderValue)
    RIX_RESULT(ProfileMsr, OutputMeasurement, outputMeasurement)
};

}  // namespace rix::geometry
