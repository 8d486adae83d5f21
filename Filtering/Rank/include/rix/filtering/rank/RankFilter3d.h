#pragma once

#include <cstdint>

#include <rix/access/BorderPolicy.h>
#include <rix/algorithms/Declaration.h>

namespace rix::filtering::rank {

/// Replaces every voxel by a value of given rank among those of a window around it, each volume by itself: of the n
/// values in ascending order that of index floor(rank * (n - 1) + 1e-9).
///
/// The three-dimensional form of `RankFilter2d`, with which it shares types, borders, masks, exactness and failures.
/// Frames and channels are volumes of their own.
///
/// **Window.** A box of `kernelSizeX` by `kernelSizeY` by `kernelSizeZ` voxels, with one voxel more before than after
/// where an extent is even; or the ball of all voxels whose distance from the middle is at most `radius`. At most 1023
/// voxels along an axis (a radius of 511), and 2^20 in all.
///
/// Cost: small windows are sorted with networks, as those of planes. For large boxes two numbers a plane of the window
/// and voxel are counted, for balls two a row of the window. Memory: a tile a thread; see `describe`.
class RIX_EXPORT RankFilter3d : public BaseAlgorithm {
    RIX_ALGORITHM(RankFilter3d)

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
    /// From 0, the smallest, to 1, the largest; default 0.5.
    RIX_INPUT(double, Rank, rank)
    /// Optional: only voxels where it is not 0 count.
    RIX_INPUT(const ImageModel*, InputMaskImage, inputMaskImage)
    /// Default `MIRROR`.
    RIX_CHOICE(BorderPolicy, BorderPolicy, borderPolicy, access::getInfoBorderPolicy)
    /// Of `FIXED`; default 0.
    RIX_INPUT(double, BorderValue, borderValue)
    RIX_OUTPUT(ImageModel*, OutputImage, outputImage)
};

}  // namespace rix::filtering::rank
