#pragma once

#include <rix/access/BorderPolicy.h>
#include <rix/algorithms/Declaration.h>
#include <rix/geometry/TransformChoices.h>

namespace rix::geometry {

/// Takes each element of a volume from where a field of displacements points: out(p) = in(p + d(p)). As
/// `WarpByDisplacement2d`, with displacements of three channels (or more, of which these count), x, y and z, in the
/// coordinates of the world; the field's planes, like its columns and rows, are those of the output.
///
/// @throws as `WarpByDisplacement2d`, and RuleException for labels of planes.
/// Cost: an element, (degree + 1)^3 multiplications. Memory: about a megabyte a thread, and for splines an image of
/// coefficients; see `describe`.
class RIX_EXPORT WarpByDisplacement3d : public BaseAlgorithm {
    RIX_ALGORITHM(WarpByDisplacement3d)

    /// How samples are found.
    using Interpolation = PlaceInterpolation;
    using enum PlaceInterpolation;
    /// What lies beyond the edges.
    using BorderPolicy = access::BorderPolicy;
    using enum access::BorderPolicy;

    RIX_INPUT(const ImageModel*, InputImage, inputImage)
    /// Channels x, y and z, in the unit of the spacings.
    RIX_INPUT(const ImageModel*, InputDisplacementImage, inputDisplacementImage)
    /// Default `AUTOMATIC`.
    RIX_CHOICE(Interpolation, Interpolation, interpolation, getInfoPlaceInterpolation)
    /// Default `FIXED`.
    RIX_CHOICE(BorderPolicy, BorderPolicy, borderPolicy, access::getInfoBorderPolicy)
    /// Of `FIXED`; default 0.
    RIX_INPUT(double, BorderValue, borderValue)
    RIX_OUTPUT(ImageModel*, OutputImage, outputImage)
};

}  // namespace rix::geometry
