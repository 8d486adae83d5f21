#pragma once

#include <cstdint>

#include <rix/access/BorderPolicy.h>
#include <rix/algorithms/Declaration.h>

namespace rix::filtering::rank {

/// Replaces every voxel by the median of a window around it, each volume by itself: of the n values in ascending order
/// that of index floor((n - 1) / 2).
///
/// It is `RankFilter3d` with the rank 0.5, which tells of windows, borders, masks, types, exactness, failures and cost.
class RIX_EXPORT MedianFilter3d : public BaseAlgorithm {
    RIX_ALGORITHM(MedianFilter3d)

    enum WindowShape : int { BOX = 0, BALL };
    static const EnumInfo& getInfoWindowShape();
    /// What lies beyond the edges.
    using BorderPolicy = access::BorderPolicy;
    using enum access::BorderPolicy;

    RIX_INPUT(const ImageModel*, InputImage, inputImage)
    /// Default `BOX`.
    RIX_CHOICE(WindowShape, WindowShape, windowShape, getInfoWindowShape)
    /// Of a `BOX`, in voxels; default 3.
    RIX_INPUT(std::int32_t, KernelSizeX, kernelSizeX)
    /// Of a `BOX`, in voxels; default 3.
    RIX_INPUT(std::int32_t, KernelSizeY, kernelSizeY)
    /// Of a `BOX`, in voxels; default 3.
    RIX_INPUT(std::int32_t, KernelSizeZ, kernelSizeZ)
    /// Of a `BALL`, in voxels; default 1.
    RIX_INPUT(std::int32_t, Radius, radius)
    /// Optional: only voxels where it is not 0 count.
    RIX_INPUT(const ImageModel*, InputMaskImage, inputMaskImage)
    /// Default `MIRROR`.
    RIX_CHOICE(BorderPolicy, BorderPolicy, borderPolicy, access::getInfoBorderPolicy)
    /// Of `FIXED`; default 0.
    RIX_INPUT(double, BorderValue, borderValue)
    RIX_OUTPUT(ImageModel*, OutputImage, outputImage)
};

}  // namespace rix::filtering::rank
