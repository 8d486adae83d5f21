#pragma once

#include <rix/access/BorderPolicy.h>
#include <rix/algorithms/Declaration.h>

namespace rix::filtering::frequency {

/// Convolves each plane with a kernel through the Fourier transform,
///
///     out(x, y) = sum over i, j of kernel(i, j) in(x + floor(columns / 2) - i, y + floor(rows / 2) - j),
///
/// with i and j over all columns and rows of the kernel: a true convolution, the kernel's origin at index
/// floor(extent / 2) (as that of `scipy.ndimage.convolve`).
///
/// **Input** `inputImage`: any extents on all five axes, scalar elements, any real type (`uint8` to `float64`).
/// `inputKernelImage`: one plane, one frame, one channel, scalar, of any real type, at least one element; it may be
/// larger than the image.
/// **Output** `outputImage`: the input's extents, calibration and colour interpretation; interpretation value;
/// `float32`, for an input of `float64` `float64`. It may be the input image when the type stays; the run then needs a
/// temporary image.
///
/// **Border.** Beyond its edges the image is mirrored with the edge voxel repeated (`MIRROR`), goes on with the edge
/// voxel (`CONTINUE`), or has the value `borderValue` (`FIXED`).
///
/// **Exactness.** Within 3e-7 (`float32`) or 1e-15 (`float64` and integers of 32 bits, which are computed as `float64`)
/// times log2 of the elements of a tile, times the largest magnitude of the image, times the sum of the kernel's
/// magnitudes, of the definition. The same bits on every level of optimisation, for every number of threads and every
/// storage; with oneMKL they may depend on the processor, without it they do not: see
/// `frequency::getFourierEngine`. Where a window holds a voxel that is not finite the result is NaN, and nowhere else;
/// a kernel that is not finite makes all results NaN. Sums whose magnitude comes near the largest of the type may
/// spoil results of the same tile.
///
/// **Method.** Overlap and save: the image is cut into tiles of extents 2^a 3^b 5^c, which follow from the extents of
/// image and kernel alone; each is transformed, multiplied with the transform of the kernel, and transformed back.
///
/// @throws RuleException from `run` for an unset or empty image, a complex or vector image, a kernel of several planes,
///         frames or channels, an unknown border or a `borderValue` of NaN, and an output that is the kernel;
///         MemoryError when there is no memory.
/// Cost: the same for every kernel of up to about 250 x 250, and for larger ones four times the elements of the kernel
/// a tile. Memory: the transform of the kernel and two tiles a thread; see `describe`.
class RIX_EXPORT FourierConvolution2d : public BaseAlgorithm {
    RIX_ALGORITHM(FourierConvolution2d)

    /// What lies beyond the edges.
    using BorderPolicy = access::BorderPolicy;
    using enum access::BorderPolicy;

    RIX_INPUT(const ImageModel*, InputImage, inputImage)
    RIX_INPUT(const ImageModel*, InputKernelImage, inputKernelImage)
    /// Default `MIRROR`.
    RIX_CHOICE(BorderPolicy, BorderPolicy, borderPolicy, access::getInfoBorderPolicy)
    /// Of `FIXED`; default 0.
    RIX_INPUT(double, BorderValue, borderValue)
    RIX_OUTPUT(ImageModel*, OutputImage, outputImage)
};

}  // namespace rix::filtering::frequency
