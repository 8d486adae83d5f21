#pragma once

#include <cstdint>

#include <rix/access/BorderPolicy.h>
#include <rix/algorithms/Declaration.h>

namespace rix::filtering::rank {

/// Replaces every voxel by the median of a window around it, each plane by itself: of the n values in ascending order
/// that of index floor((n - 1) / 2), so of an even number the lower of the two in the middle. The median takes away
/// single wrong voxels and keeps straight edges.
///
/// It is `RankFilter2d` with the rank 0.5, which tells of windows, borders, masks, types, exactness, failures and cost.
class RIX_EXPORT MedianFilter2d : public BaseAlgorithm {
    RIX_ALGORITHM(MedianFilter2d)

    enum WindowShape : int { RECTANGLE = 0, DISK };
    static const EnumInfo& getInfoWindowShape();
    /// What lies beyond the edges.
    using BorderPolicy = access::BorderPolicy;
    using enum access::BorderPolicy;

    RIX_INPUT(const ImageModel*, InputImage, inputImage)
    /// Default `RECTANGLE`.
    RIX_CHOICE(WindowShape, WindowShape, windowShape, getInfoWindowShape)
    /// Of a `RECTANGLE`, in voxels; default 3.
    RIX_INPUT(std::int32_t, KernelSizeX, kernelSizeX)
    /// Of a `RECTANGLE`, in voxels; default 3.
    RIX_INPUT(std::int32_t, KernelSizeY, kernelSizeY)
    /// Of a `DISK`, in voxels; default 1.
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
