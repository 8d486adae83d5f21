#pragma once

#include <rix/access/BorderPolicy.h>
#include <rix/algorithms/Declaration.h>
#include <rix/algorithms/FilterChoices.h>
#include <rix/filtering/linear/ConvolutionChoices.h>
#include <rix/properties/RarePropertyInstances.h>

namespace rix::filtering::linear {

/// Replaces every voxel of each plane by the sum of its neighbours, weighted by the coefficients of a kernel,
///
///     CONVOLUTION: out(x, y) = sum over i, j of kernel(i, j) in(x + floor(m / 2) - i, y + floor(n / 2) - j)
///     CORRELATION: out(x, y) = sum over i, j of kernel(i, j) in(x - floor(m / 2) + i, y - floor(n / 2) + j)
///
/// over all i < m, j < n: the origin of the kernel is its element (floor(m / 2), floor(n / 2)), as with
/// `scipy.ndimage.convolve` and `correlate`. A convolution turns the kernel over, a correlation does not. With
/// `autoScale` `YES` the coefficients are divided by their sum, unless that is 0.
///
/// **Input** `inputImage`: any extents on all five axes, scalar elements, any real type (`uint8` to `float64`). The
/// coefficients are those of `kernel`, or the voxels of `inputKernelImage`: one plane, one frame, one channel, scalar,
/// of any real type. An image of them takes the place of the kernel; there are 1 to 2^18 finite coefficients. The
/// kernel may be larger than the image.
/// **Output** `outputImage`: the input's extents, calibration and colour interpretation; interpretation value;
/// `float32`, or with `outputType` `SAME_AS_INPUT` the input's type. It may be the input image when the type stays; the
/// run may then need a temporary image.
///
/// **Border.** Beyond its edges the image is mirrored with the edge voxel repeated (`MIRROR`), goes on with the edge
/// voxel (`CONTINUE`), or has the value `borderValue` (`FIXED`).
///
/// **Method.** Coefficients of 0 take no part. A kernel that is the product of a row and a column, with all its minors
/// exactly 0, is applied as these, one after the other, where that takes fewer products. Where more than 180 products a
/// voxel are left (as with 14 x 14 coefficients), and image, border and results allow it, the sum goes through the
/// Fourier transform as in `FourierConvolution2d`: the image is finite, and the result is no integer of 32 bits.
///
/// **Exactness.** Sums are taken in `float32`, for `float64`, integers of 32 bits, and coefficients of magnitudes
/// outside 2^-100 to 2^100 in `float64`, product after product, without fused operations: within (p + 4) 2^-24
/// (`float64`: 2^-53) of the sum of the magnitudes of all products, with p the number of products. Through the Fourier
/// transform results are off as those of `FourierConvolution2d`. In an integer type they are rounded to the nearest
/// integer, ties to even, and clamped to the type; NaN, of infinite borders, becomes 0. The same bits on every level of
/// optimisation, for every number of threads and every storage; through the Fourier transform they may depend on the
/// processor. NaN and infinities reach the windows that hold them, where the coefficient is not 0.
///
/// @throws RuleException from `run` for an unset or empty image, a complex or vector image, a kernel that has no
///         coefficients, is not finite, too large, of several planes, frames or channels, an unknown choice, a
///         `borderValue` of NaN, an in-place output of another type, and an output that is the kernel image;
///         ResizeImageError or MemoryError when there is no memory.
/// Cost: a multiplication and an addition a product; at most that of `FourierConvolution2d` in images that are finite.
/// Memory: the rows of a window and the coefficients a thread; see `describe`.
class RIX_EXPORT Convolution2d : public BaseAlgorithm {
    RIX_ALGORITHM(Convolution2d)

    /// Whether the kernel is turned over.
    using Mode = ConvolutionMode;
    using enum ConvolutionMode;
    /// Whether the coefficients are divided by their sum.
    using AutoScale = KernelScaling;
    using enum KernelScaling;
    /// What lies beyond the edges.
    using BorderPolicy = access::BorderPolicy;
    using enum access::BorderPolicy;
    /// The type of the result.
    using OutputType = algorithms::OutputType;
    using enum algorithms::OutputType;

    RIX_INPUT(const ImageModel*, InputImage, inputImage)
    /// Default: binomial coefficients, 3 x 3, with the sum 1.
    RIX_INPUT(kernel::Kernel2D, Kernel, kernel)
    RIX_INPUT(const ImageModel*, InputKernelImage, inputKernelImage)
    /// Default `CONVOLUTION`.
    RIX_CHOICE(Mode, Mode, mode, getInfoConvolutionMode)
    /// Default `NO`.
    RIX_CHOICE(AutoScale, AutoScale, autoScale, getInfoKernelScaling)
    /// Default `MIRROR`.
    RIX_CHOICE(BorderPolicy, BorderPolicy, borderPolicy, access::getInfoBorderPolicy)
    /// Of `FIXED`; default 0.
    RIX_INPUT(double, BorderValue, borderValue)
    /// Default `FLOAT_32_BIT`.
    RIX_CHOICE(OutputType, OutputType, outputType, algorithms::getInfoOutputType)
    RIX_OUTPUT(ImageModel*, OutputImage, outputImage)
};

}  // namespace rix::filtering::linear
