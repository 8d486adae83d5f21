#pragma once

#include <rix/access/BorderPolicy.h>
#include <rix/algorithms/Declaration.h>

namespace rix::filtering::smoothing {

/// Sharpens each plane: adds what a Gaussian takes away,
///
///     out = in + amount (in - G in),
///
/// with G the Gaussian of `GaussianFilter2d` with the same deviation on all axes. An amount of 0 leaves the image as it
/// is; a negative one smooths.
///
/// **Input** `inputImage`: any extents on all five axes, scalar elements, any real type (`uint8` to `float64`).
/// **Output** `outputImage`: the input's extents, type, calibration and colour interpretation; interpretation value. It
/// may be the input image. **Border** as that of `GaussianFilter2d`.
///
/// **Exactness.** G is that of `GaussianFilter2d` before it is rounded, the rest is computed in double precision;
/// integers are rounded to nearest, ties to even, and clamped to their type. The same bits on every level, for every
/// number of threads and every storage. NaN spreads to the windows that hold it.
///
/// @throws RuleException from `run` for an unset or empty image, a complex or vector image, a standard deviation that
/// is
///         negative, not finite or above 1000, an amount that is not finite, an unknown border or a `borderValue` of
///         NaN; ResizeImageError or MemoryError when there is no memory.
/// Cost: that of the Gaussian and two passes over the image. Memory: an image of `float32` (`float64` for `float64` and
/// integers of 32 bits); see `describe`.
class RIX_EXPORT UnsharpMask2d : public BaseAlgorithm {
    RIX_ALGORITHM(UnsharpMask2d)

    /// What lies beyond the edges.
    using BorderPolicy = access::BorderPolicy;
    using enum access::BorderPolicy;

    RIX_INPUT(const ImageModel*, InputImage, inputImage)
    /// Of the Gaussian, in voxels; default 1.
    RIX_INPUT(double, StandardDeviation, standardDeviation)
    /// How much of the difference is added; default 1.
    RIX_INPUT(double, Amount, amount)
    /// Default `MIRROR`.
    RIX_CHOICE(BorderPolicy, BorderPolicy, borderPolicy, access::getInfoBorderPolicy)
    /// Of `FIXED`; default 0.
    RIX_INPUT(double, BorderValue, borderValue)
    RIX_OUTPUT(ImageModel*, OutputImage, outputImage)
};

}  // namespace rix::filtering::smoothing
