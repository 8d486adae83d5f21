#pragma once

#include <cstdint>

#include <rix/access/BorderPolicy.h>
#include <rix/algorithms/Declaration.h>

namespace rix::filtering::smoothing {

/// Tells of every voxel the mean m, the variance or the standard deviation of the n voxels in a rectangle around it, in
/// each plane by itself,
///
///     m = (sum of v) / n,   variance = (sum of (v - m)^2) / n,   standard deviation = its root.
///
/// The window of the voxel (x, y) spans the columns x - kx/2 to x - kx/2 + kx - 1 (integer halves) and the rows
/// likewise, as that of `BoxFilter2d`.
///
/// **Input** `inputImage`: any extents on all five axes, scalar elements, any real type (`uint8` to `float64`).
/// **Output** `outputImage`: the input's extents, calibration and colour interpretation; interpretation value;
/// `float32`, for an input of `float64` `float64`. It may be the input image when that has this type.
///
/// **Border.** Beyond its edges the image is mirrored with the edge voxel repeated (`MIRROR`), goes on with the edge
/// voxel (`CONTINUE`), or has the value `borderValue` (`FIXED`), converted to the input's type.
///
/// **Exactness.** Of integers the sums, and n^2 times the variance, are exact; what follows is rounded: results are
/// within one unit in the last place of `float32`. Reals are summed in double precision by additions alone, as in
/// `BoxFilter2d`, so that nothing is carried along; with e = (kx + ky + 4) 2^-52 a mean is within e times the mean of
/// the magnitudes, and a variance within e times the mean of the squares (of what the voxels are more than
/// `borderValue`, with `FIXED`), before they are rounded to the output's type. A variance below that bound may be
/// nothing but rounding and counts as 0; none is negative. The same bits on every level, for every number of threads
/// and every storage. Means are NaN or infinite where the window holds such a voxel, variances NaN.
///
/// @throws RuleException from `run` for an unset or empty image, a complex or vector image, a kernel size that is not
///         in the range from 1 to 1024, an unknown choice, a `borderValue` that is not finite, and an in-place output
///         of another type; ResizeImageError or MemoryError when there is no memory.
/// Cost: a few additions a voxel for every kernel size. Memory: for integers a few rows a thread; for variances of
/// reals two images of `float64`; see `describe`.
class RIX_EXPORT LocalStatistics2d : public BaseAlgorithm {
    RIX_ALGORITHM(LocalStatistics2d)

    /// What is told of a window.
    enum Statistic : int { MEAN = 0, VARIANCE, STANDARD_DEVIATION };
    static const EnumInfo& getInfoStatistic();
    /// What lies beyond the edges.
    using BorderPolicy = access::BorderPolicy;
    using enum access::BorderPolicy;

    RIX_INPUT(const ImageModel*, InputImage, inputImage)
    /// In voxels; default 3.
    RIX_INPUT(std::int32_t, KernelSizeX, kernelSizeX)
    /// In voxels; default 3.
    RIX_INPUT(std::int32_t, KernelSizeY, kernelSizeY)
    /// Default `MEAN`.
    RIX_CHOICE(Statistic, Statistic, statistic, getInfoStatistic)
    /// Default `MIRROR`.
    RIX_CHOICE(BorderPolicy, BorderPolicy, borderPolicy, access::getInfoBorderPolicy)
    /// Of `FIXED`; default 0.
    RIX_INPUT(double, BorderValue, borderValue)
    RIX_OUTPUT(ImageModel*, OutputImage, outputImage)
};

}  // namespace rix::filtering::smoothing
