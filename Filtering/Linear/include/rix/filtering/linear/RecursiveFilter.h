#pragma once

#include <rix/algorithms/Declaration.h>
#include <rix/properties/RarePropertyInstances.h>

namespace rix::filtering::linear {

/// Filters each line along an axis recursively: a pass from either end, whose results are added,
///
///     out[i] = p[i] + q[i]
///     p[i] = sum over k >= 0 of causal[k] in[i - k] - sum over k >= 1 of feedback[k - 1] p[i - k]
///     q[i] = sum over k >= 1 of anticausal[k - 1] in[i + k] - sum over k >= 1 of feedback[k - 1] q[i + k]
///
/// (see `kernel::RecursiveKernel1D`). Beyond its ends a line goes on with its end voxel, and the passes begin as if it
/// had always been there: in the state p = in[0] (sum of causal) / (1 + sum of feedback), q likewise; in 0 where that
/// divisor is 0. A kernel whose response does not die away is not refused; what comes of it may be infinite.
///
/// **Input** `inputImage`: any extents on all five axes, scalar elements, any real type (`uint8` to `float64`).
/// **Output** `outputImage`: the input's extents, calibration and colour interpretation; interpretation value;
/// `float32`, for an input of `float64` `float64`. It may be the input image when that has this type.
///
/// **Exactness.** All in double precision, product after product in the order of the formulas, without fused
/// operations; coefficients of 0 take no part. The same bits on every level of optimisation, for every number of
/// threads and every storage. NaN and infinities reach all voxels behind them in the direction of each pass that has
/// coefficients.
///
/// @throws RuleException from `run` for an unset or empty image, a complex or vector image, a kernel without causal and
///         anticausal coefficients, with ones that are not finite or with more than 1024 in a list, an unknown axis and
///         an output that overlaps the input otherwise; ResizeImageError or MemoryError when there is no memory.
/// Cost: a multiplication and an addition a coefficient. Memory: twice a bundle of neighbouring lines a thread; see
/// `describe`.
class RIX_EXPORT RecursiveFilter : public BaseAlgorithm {
    RIX_ALGORITHM(RecursiveFilter)

    /// The axis of the lines.
    enum Axis : int { COLUMNS = 0, ROWS, PLANS };
    static const EnumInfo& getInfoAxis();

    RIX_INPUT(const ImageModel*, InputImage, inputImage)
    /// Default: the mean with weights that halve from voxel to voxel, causal 1/3, anticausal 1/6, feedback -1/2.
    RIX_INPUT(kernel::RecursiveKernel1D, Kernel, kernel)
    /// Default `COLUMNS`.
    RIX_CHOICE(Axis, Axis, axis, getInfoAxis)
    RIX_OUTPUT(ImageModel*, OutputImage, outputImage)
};

}  // namespace rix::filtering::linear
