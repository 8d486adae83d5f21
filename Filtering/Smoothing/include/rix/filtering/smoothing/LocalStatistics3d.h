#pragma once

#include <cstdint>

#include <rix/access/BorderPolicy.h>
#include <rix/algorithms/Declaration.h>

namespace rix::filtering::smoothing {

/// Tells of every voxel the mean, the variance or the standard deviation of the voxels in a box around it.
///
/// The three-dimensional form of `LocalStatistics2d`, with which it shares formulas, types, borders, exactness (with
/// kx + ky + kz in place of kx + ky) and failures; windows span planes as they span rows and columns. Frames and
/// channels are volumes of their own.
///
/// Memory: for integers less than a plane of sums a thread; for variances of reals two images of `float64` and planes
/// of sums as those of `BoxFilter3d`; see `describe`.
class RIX_EXPORT LocalStatistics3d : public BaseAlgorithm {
    RIX_ALGORITHM(LocalStatistics3d)

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
    /// In voxels; default 3.
    RIX_INPUT(std::int32_t, KernelSizeZ, kernelSizeZ)
    /// Default `MEAN`.
    RIX_CHOICE(Statistic, Statistic, statistic, getInfoStatistic)
    /// Default `MIRROR`.
    RIX_CHOICE(BorderPolicy, BorderPolicy, borderPolicy, access::getInfoBorderPolicy)
    /// Of `FIXED`; default 0.
    RIX_INPUT(double, BorderValue, borderValue)
    RIX_OUTPUT(ImageModel*, OutputImage, outputImage)
};

}  // namespace rix::filtering::smoothing
