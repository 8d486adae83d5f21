#pragma once

#include <array>
#include <vector>

#include <rix/access/BorderPolicy.h>
#include <rix/algorithms/Declaration.h>
#include <rix/geometry/PointValuesMsr.h>
#include <rix/geometry/TransformChoices.h>

namespace rix::geometry {

/// The values of an image at points of the world.
///
/// **Points** `points`: their coordinates, "x,y,z;x,y,z", or "x,y" with z = 0. An image of one plane is sampled in its
/// plane: a point above or below is taken along the direction of planes. An empty text makes a table without rows.
///
/// **Interpolation**, **border** and **exactness** as those of `AffineTransform3d`, but interpolated values are not
/// rounded: they are those of `float32`, for `float64` and integers of 32 bits of `float64`. The value of `FIXED` lies
/// outside.
///
/// **Input** `inputImage`: any extents on all five axes, scalar elements, any real type. Spacings of axes with
/// neighbours are finite and not 0; an image whose spatial spacings are all 0 counts as spacing 1.
/// **Output** `outputMeasurement`: a row for each point, in their order, for each frame of each channel.
///
/// @throws RuleException from `run` for an unset or empty image, elements of several samples, complex samples, labels
///         of planes, directions that do not span space, a text that is no points, an interpolation that the meaning of
///         the image does not have, an unknown choice, and a `borderValue` of NaN; MemoryError when there is no memory.
/// Cost: a point, (degree + 1)^3 multiplications; splines make an image of coefficients first. Memory: 32 bytes a point
/// and half a megabyte a thread; see `describe`.
class RIX_EXPORT SampleAtPoints : public BaseAlgorithm {
    RIX_ALGORITHM(SampleAtPoints)

    /// How samples are found.
    using Interpolation = PlaceInterpolation;
    using enum PlaceInterpolation;
    /// What lies beyond the edges.
    using BorderPolicy = access::BorderPolicy;
    using enum access::BorderPolicy;

    RIX_INPUT(const ImageModel*, InputImage, inputImage)
    /// "x,y,z;x,y,z"; default "0,0,0".
    RIX_INPUT(String, Points, points)
    /// The same as numbers.
    void setPoints(const std::vector<std::array<double, 3>>& points);
    /// Default `AUTOMATIC`.
    RIX_CHOICE(Interpolation, Interpolation, interpolation, getInfoPlaceInterpolation)
    /// Default `FIXED`.
    RIX_CHOICE(BorderPolicy, BorderPolicy, borderPolicy, access::getInfoBorderPolicy)
    /// Of `FIXED`; default 0.
    RIX_INPUT(double, BorderValue, borderValue)
    RIX_RESULT(PointValuesMsr, OutputMeasurement, outputMeasurement)
};

}  // namespace rix::geometry
