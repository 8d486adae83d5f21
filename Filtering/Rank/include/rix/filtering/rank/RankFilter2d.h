#pragma once

#include <cstdint>

#include <rix/access/BorderPolicy.h>
#include <rix/algorithms/Declaration.h>

namespace rix::filtering::rank {

/// Replaces every voxel by a value of given rank among those of a window around it, each plane by itself: of the n
/// values in ascending order that of index
///
///     floor(rank * (n - 1) + 1e-9),
///
/// so that 0 gives the smallest, 1 the largest and 0.5 the median, of an even number the lower of the two in the
/// middle. The summand makes up for ranks that are not exact in binary, as 0.1.
///
/// **Window.** A rectangle of `kernelSizeX` by `kernelSizeY` voxels, with one voxel more before than after where an
/// extent is even; or the disc of all voxels whose distance from the middle is at most `radius`. At most 1023 voxels
/// along an axis (a radius of 511), and 2^20 in all.
///
/// **Border.** Beyond its edges the image is mirrored with the edge voxel repeated (`MIRROR`), goes on with the edge
/// voxel (`CONTINUE`), or has the value `borderValue` (`FIXED`; of a binary image 1 unless that is 0).
///
/// **Mask** `inputMaskImage`: optional; a `uint8` image of the same extents. Voxels where it is 0 don't count, in the
/// window of whichever voxel; n is the number of those that do. Where a window has none, the input's voxel is kept.
/// With `FIXED` what lies beyond the edges counts.
///
/// **Input** `inputImage`: any extents on all five axes, scalar elements, any real type. -0 comes before +0, NaN after
/// everything; a result that is NaN is the quiet one without a sign.
/// **Output** `outputImage`: takes the input's extents, type, calibration and meaning. It may be the input image; the
/// run then needs a temporary image.
///
/// Results are exact: the same, bit for bit, on every level of optimisation and for every number of threads.
///
/// @throws RuleException from `run` for an unset or empty image, a complex or vector image, a window without extent or
///         too large, a rank outside [0, 1], a mask of another type or other extents, an unknown choice and a
///         `borderValue` of NaN; ResizeImageError or MemoryError when there is no memory.
/// Cost: small windows are sorted with networks of minima and maxima, whole vectors at a time. Large ones are counted
/// in histograms of columns; that costs nearly the same for every size of a rectangle, in proportion to the radius for
/// discs. Samples of more than 8 bits are replaced by their ranks within a tile for it. Memory: a tile a thread; see
/// `describe`.
class RIX_EXPORT RankFilter2d : public BaseAlgorithm {
    RIX_ALGORITHM(RankFilter2d)

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
