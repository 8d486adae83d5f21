#pragma once

#include <rix/access/BorderPolicy.h>
#include <rix/algorithms/Declaration.h>
#include <rix/geometry/TransformChoices.h>

namespace rix::geometry {

/// Takes each element of a plane from where a field of displacements points: out(p) = in(p + d(p)).
///
/// **Field** `inputDisplacementImage`: an image of any real type that has, at each of its elements p, the displacement
/// d(p) in the unit of the spacings as its channels: x, then y; further ones are not looked at. In planes that do not
/// lie along x and y of the world, x and y are the coordinates along columns and rows. It has as many planes as the
/// input and as many frames, or one, which counts for all.
///
/// **Output** `outputImage`: the elements of the field, with frames and channels, type and interpretation of the input.
/// It shares no samples with an input.
///
/// **Input** `inputImage`: any extents, scalar elements, any real type. Spacings of axes with neighbours are finite and
/// not 0; an image whose spatial spacings are all 0 counts as spacing 1.
///
/// **Interpolation** and **border**: as those of `AffineTransform2d`, whose exactness the samples have: places in
/// `float64`, samples in `float32` or `float64`, the same bits on every level, for every number of threads and storage.
/// A displacement that is no number points far before the first element, which lies outside.
///
/// @throws RuleException from `run` for an unset or empty image, elements of several samples, complex samples, a field
///         that has less than two channels, or other planes or frames than the input, spacings and directions that
///         span no plane, an interpolation that the meaning of the image does not have, an unknown choice, a
///         `borderValue` of NaN, and an output that shares samples with an input; ResizeImageError or MemoryError when
///         there is no memory.
/// Cost: an element, (degree + 1)^2 multiplications; the field is read once for each channel of the input. Memory: less
/// than a megabyte a thread, and for splines an image of coefficients; see `describe`.
class RIX_EXPORT WarpByDisplacement2d : public BaseAlgorithm {
    RIX_ALGORITHM(WarpByDisplacement2d)

    /// How samples are found.
    using Interpolation = PlaceInterpolation;
    using enum PlaceInterpolation;
    /// What lies beyond the edges.
    using BorderPolicy = access::BorderPolicy;
    using enum access::BorderPolicy;

    RIX_INPUT(const ImageModel*, InputImage, inputImage)
    /// Channels x and y, in the unit of the spacings.
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
