#pragma once

#include <rix/access/BorderPolicy.h>
#include <rix/algorithms/Declaration.h>

namespace rix::filtering::frequency {

/// Convolves each volume with a kernel through the Fourier transform.
///
/// The three-dimensional form of `FourierConvolution2d`, with which it shares formula, types, borders, exactness,
/// method and failures; the kernel is a volume of one frame and one channel. Frames and channels of the image are
/// volumes of their own.
///
/// Cost: the same for every kernel of up to about 30 voxels a side, and for larger ones eight times the elements of the
/// kernel a tile. Memory: the transform of the kernel and two tiles a thread; see `describe`.
class RIX_EXPORT FourierConvolution3d : public BaseAlgorithm {
    RIX_ALGORITHM(FourierConvolution3d)

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
