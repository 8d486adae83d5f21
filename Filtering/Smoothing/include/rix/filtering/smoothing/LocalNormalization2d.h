#pragma once

#include <rix/access/BorderPolicy.h>
#include <rix/algorithms/Declaration.h>

namespace rix::filtering::smoothing {

/// Brings each plane to the same mean and contrast everywhere, against uneven light:
///
///     out = (in - m) / d,   m = G in,   d^2 = G in^2 - m^2,
///
/// with G the Gaussian of `GaussianFilter2d` with the same deviation on all axes: m is the mean and d the deviation of
/// the voxels around, weighted by the Gaussian. Where d is 0 the result is 0.
///
/// **Input** `inputImage`: any extents on all five axes, scalar elements, any real type (`uint8` to `float64`).
/// **Output** `outputImage`: the input's extents, calibration and colour interpretation; interpretation value;
/// `float32`, for an input of `float64` `float64`. It may be the input image when that has this type. **Border** as
/// that of `GaussianFilter2d`.
///
/// **Exactness.** All in double precision; a d^2 up to 1e-12 of G in^2 counts as 0, because it may be nothing but
/// rounding. From a deviation of 4 on, G is off as that of `GaussianFilter2d`, and so are m and d^2, by 2e-5 of the
/// range of the image and of its square. The same bits on every level, for every number of threads and every storage.
/// NaN spreads to the windows that hold it.
///
/// @throws RuleException from `run` for an unset or empty image, a complex or vector image, a standard deviation that
/// is
///         negative, not finite or above 1000, an unknown border or a `borderValue` of NaN; ResizeImageError or
///         MemoryError when there is no memory.
/// Cost: twice that of the Gaussian in double precision and three passes over the image. Memory: two images of
/// `float64`; see `describe`.
class RIX_EXPORT LocalNormalization2d : public BaseAlgorithm {
    RIX_ALGORITHM(LocalNormalization2d)

    /// What lies beyond the edges.
    using BorderPolicy = access::BorderPolicy;
    using enum access::BorderPolicy;

    RIX_INPUT(const ImageModel*, InputImage, inputImage)
    /// Of the Gaussian, in voxels; default 2.
    RIX_INPUT(double, StandardDeviation, standardDeviation)
    /// Default `MIRROR`.
    RIX_CHOICE(BorderPolicy, BorderPolicy, borderPolicy, access::getInfoBorderPolicy)
    /// Of `FIXED`; default 0.
    RIX_INPUT(double, BorderValue, borderValue)
    RIX_OUTPUT(ImageModel*, OutputImage, outputImage)
};

}  // namespace rix::filtering::smoothing
