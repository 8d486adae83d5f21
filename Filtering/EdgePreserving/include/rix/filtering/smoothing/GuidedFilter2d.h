#pragma once

#include <cstdint>

#include <rix/access/BorderPolicy.h>
#include <rix/algorithms/Declaration.h>
#include <rix/algorithms/FilterChoices.h>

namespace rix::filtering::smoothing {

/// Smooths each plane and keeps the edges of a guide, which may be the image itself (K. He, J. Sun and X. Tang, 2010):
/// in every square of 2 `kernelRadius` + 1 voxels the result is the linear function of the guide that comes nearest to
/// the image,
///
///     a = cov(guide, in) / (var(guide) + contrast^2),   b = mean(in) - a mean(guide),
///     out(p) = mean(a) guide(p) + mean(b)
///
/// with means over the squares around each voxel. Where the guide differs by much more than `contrast` it is followed,
/// elsewhere the image is smoothed.
///
/// **Input** `inputImage`: any extents on all five axes, scalar elements, any real type (`uint8` to `float64`).
/// **Guide** `inputGuideImage`: optional; an image of the same extents and any real type. Unset, the input.
/// **Output** `outputImage`: takes the input's extents, calibration and colour interpretation; interpretation value;
/// the input's type, or `float32` as `outputType` says. It may be the input image when the type stays; the run then
/// needs a temporary image. It shares no samples with another guide.
///
/// **Border.** Beyond its edges the image is mirrored with the edge voxel repeated (`MIRROR`), goes on with the edge
/// voxel (`CONTINUE`), or has the value `borderValue` (`FIXED`); so has the guide, and squares beyond the edges have
/// means as well.
///
/// **Exactness.** Computed in `float64` in one order and without fused operations: results are the same, bit for bit,
/// on every level of optimisation and for every number of threads. They are within 1e-6 of the range of the input of
/// the exact ones where the guide's values stay below 1e4 times `contrast`; in an integer type they are rounded to the
/// nearest integer, ties to even, and clamped. NaN and infinities make NaN of what lies up to twice the radius away.
///
/// @throws RuleException from `run` for an unset or empty image, a complex or vector image, a guide of other extents, a
///         radius outside [0, 64], a contrast that is not positive and finite, an unknown choice, a `borderValue` of
///         NaN, and an in-place output of another type; ResizeImageError or MemoryError when there is no memory.
/// Cost: four sums over squares, with another guide six, each of three additions down the plane and some more along the
/// row, as many as the logarithm of the radius. Memory: rows of the windows of a tile a thread; see `describe`.
class RIX_EXPORT GuidedFilter2d : public BaseAlgorithm {
    RIX_ALGORITHM(GuidedFilter2d)

    /// What lies beyond the edges.
    using BorderPolicy = access::BorderPolicy;
    using enum access::BorderPolicy;
    /// The type of the result.
    using OutputType = algorithms::OutputType;
    using enum algorithms::OutputType;

    RIX_INPUT(const ImageModel*, InputImage, inputImage)
    /// Optional: whose edges are kept; unset, those of the image.
    RIX_INPUT(const ImageModel*, InputGuideImage, inputGuideImage)
    /// In voxels; default 2.
    RIX_INPUT(std::int32_t, KernelRadius, kernelRadius)
    /// In grey levels of the guide; default 10.
    RIX_INPUT(double, Contrast, contrast)
    /// Default `MIRROR`.
    RIX_CHOICE(BorderPolicy, BorderPolicy, borderPolicy, access::getInfoBorderPolicy)
    /// Of `FIXED`; default 0.
    RIX_INPUT(double, BorderValue, borderValue)
    /// Default `SAME_AS_INPUT`.
    RIX_CHOICE(OutputType, OutputType, outputType, algorithms::getInfoOutputType)
    RIX_OUTPUT(ImageModel*, OutputImage, outputImage)
};

}  // namespace rix::filtering::smoothing
