#pragma once

#include <rix/algorithms/Declaration.h>

namespace rix::manipulation {

/// Raises the contrast of volumes locally, with a limit (contrast-limited adaptive histogram equalisation, S. M. Pizer
/// and others, 1987; K. Zuiderveld, Graphics Gems IV, 1994).
///
/// Each volume, by itself, is divided into tiles of `kernelSizeX` by `kernelSizeY` by `kernelSizeZ` voxels from its
/// first voxel on; the last ones may be smaller. The finite voxels of a tile, n of them, are counted in 256 classes: of
/// 8-bit types its values, of others classes of equal width between the extreme values of the volume. Counts h(k) above
/// a limit are cut, and what is cut is dealt to all classes:
///
///     g(k) = min(h(k), L) + E / 256,   L = max(1, clipLimit n),   E = sum max(0, h(k) - L)
///
/// A tile turns a voxel of value v into its share T(v) = sum g(j) / n over the classes j up to that of v, in which it
/// grows linearly unless they are values. The result is a + (b - a) T(v), with T interpolated linearly along each axis
/// between the centres of the nearest tiles; outside the outermost centres it is that of the nearest tile. In types of
/// 8 and 16 bits a and b are the ends of the type's range, in wider ones the extreme values of the volume.
///
/// **Input** `inputImage`: any extents on all five axes, scalar elements, any real type (`uint8` to `float64`). A
/// binary image counts as 0 and 1, whatever it holds beside 0.
/// **Output** `outputImage`: takes the input's extents, type, calibration and colour interpretation; interpretation
/// value. It may be the input image.
///
/// Shares are kept in `float32`, so that results are within 1e-6 (b - a) of the formula; in integer types they are
/// rounded to the nearest integer, ties to even. The bits are the same on every level and with every number of threads.
/// NaN stays NaN; infinite voxels are not counted and get what the nearer extreme value gets.
///
/// @throws RuleException from `run` for an unset or empty image, a complex or vector image, a tile of less than 8
///         columns or rows or less than one plane, and a limit that is not above 0 and at most 1.
/// Cost: a pass to count and one with eight look-ups a voxel. Extra memory: 1 KiB a tile of a volume, and some rows a
/// thread.
class RIX_EXPORT ContrastLimitedEqualization3d : public BaseAlgorithm {
    RIX_ALGORITHM(ContrastLimitedEqualization3d)

    RIX_INPUT(const ImageModel*, InputImage, inputImage)
    /// Columns of a tile; default 64.
    RIX_INPUT(std::int32_t, KernelSizeX, kernelSizeX)
    /// Rows of a tile; default 64.
    RIX_INPUT(std::int32_t, KernelSizeY, kernelSizeY)
    /// Planes of a tile; default 64.
    RIX_INPUT(std::int32_t, KernelSizeZ, kernelSizeZ)
    /// The largest share of a tile's voxels that a class keeps: 1 cuts nothing, less gives less contrast; default 0.01.
    RIX_INPUT(double, ClipLimit, clipLimit)
    RIX_OUTPUT(ImageModel*, OutputImage, outputImage)
};

}  // namespace rix::manipulation
