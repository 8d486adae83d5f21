#pragma once

#include <rix/access/BorderPolicy.h>
#include <rix/algorithms/Declaration.h>
#include <rix/algorithms/FilterChoices.h>
#include <rix/filtering/linear/ConvolutionChoices.h>
#include <rix/properties/RarePropertyInstances.h>

namespace rix::filtering::linear {

/// Replaces every voxel of each volume by the sum of its neighbours, weighted by the coefficients of a kernel.
///
/// The three-dimensional form of `Convolution2d`, with which it shares formula, origin, types, border, exactness and
/// failures; a kernel image may have several planes, and a kernel that is the product of three lines is applied as
/// these. More than 125 products a voxel (5 x 5 x 5 coefficients) go through the Fourier transform of
/// `FourierConvolution3d`. Frames and channels are volumes of their own.
///
/// Memory: the rows of all planes of a window, and for a product of three lines an image of `float32` (`float64` where
/// sums are); see `describe`.
class RIX_EXPORT Convolution3d : public BaseAlgorithm {
    RIX_ALGORITHM(Convolution3d)

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
    /// Default: binomial coefficients, 3 x 3 x 3, with the sum 1.
    RIX_INPUT(kernel::Kernel3D, Kernel, kernel)
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
