#pragma once

#include <rix/algorithms/Declaration.h>
#include <cstdint>

namespace rix::filtering::smoothing {

/// Replaces every voxel by the sum or the mean of the voxels in a rectangle around it, in each plane by itself.
///
/// The window of the voxel (x, y) spans the columns x - kx/2 to x - kx/2 + kx - 1 (integer halves) and the rows
/// likewise: windows of odd size are centred, those of even size reach one voxel further to the lower side.
///
/// **Input** `inputImage`: any extents on all five axes, scalar elements, any real type (`uint8` to `float64`).
/// **Output** `outputImage`: takes the input's extents, calibration and colour interpretation; interpretation value.
/// With `autoScale` `YES` it holds means in the input's type, with `NO` sums in the type of `computeWorkType` for
/// kx * ky voxels. It may be the input image when the type stays; the run then needs a temporary image.
///
/// Beyond its edges the image is mirrored, the edge voxel repeated; only sums of a binary image count 0 there.
///
/// **Integers.** A mean is the exact sum divided by the number of voxels, truncated toward zero: 17 over 4 voxels gives
/// 4, -17 gives -4. Sums are exact; where the table gives `float32` the exact sum is rounded once.
///
/// **Reals** are summed in double precision by additions alone, in an order that follows from the sizes of the image
/// and the window: a result depends on nothing outside its window, so NaN and infinities reach only the windows that
/// hold them, and no error is carried along. The sum differs from the exact one by at most (kx + ky) * 2^-53 times the
/// sum of the magnitudes in the window, before it is divided and rounded to the output's type.
///
/// Results are the same, bit for bit, on every level of optimisation and for every number of threads.
///
/// @throws RuleException from `run` for an unset or empty image, a complex or vector image, a kernel size that is not
///         strictly positive, an unknown `autoScale` and an in-place output of another type; ResizeImageError when the
///         temporary image of a run in place cannot be had.
/// Cost: a few additions a voxel for every kernel size, also for windows much larger than the image. Memory: a few rows
/// a thread, and for reals also kernelSizeY / 8 rows of `float64`; see `describe`.
class RIX_EXPORT BoxFilter2d : public BaseAlgorithm {
    RIX_ALGORITHM(BoxFilter2d)

    /// Whether a sum is divided by the number of voxels of the window.
    enum AutoScaleType : int { NO = 0, YES };
    static const EnumInfo& getInfoAutoScaleType();

    RIX_INPUT(const ImageModel*, InputImage, inputImage)
    /// In voxels; default 0, which is refused.
    RIX_INPUT(std::int32_t, KernelSizeX, kernelSizeX)
    /// In voxels; default 0, which is refused.
    RIX_INPUT(std::int32_t, KernelSizeY, kernelSizeY)
    /// Default `NO`.
    RIX_CHOICE(AutoScaleType, AutoScale, autoScale, getInfoAutoScaleType)
    RIX_OUTPUT(ImageModel*, OutputImage, outputImage)
};

}  // namespace rix::filtering::smoothing
