#pragma once

#include <rix/access/BorderPolicy.h>
#include <rix/algorithms/Declaration.h>

namespace rix::filtering::smoothing {

/// Sharpens each volume: adds what a Gaussian takes away.
///
/// The three-dimensional form of `UnsharpMask2d`, with which it shares formula, types, border, exactness and failures.
/// Frames and channels are volumes of their own.
class RIX_EXPORT UnsharpMask3d : public BaseAlgorithm {
    RIX_ALGORITHM(UnsharpMask3d)

    /// What lies beyond the edges.
    using BorderPolicy = access::BorderPolicy;
    using enum access::BorderPolicy;

    RIX_INPUT(const ImageModel*, InputImage, inputImage)
    /// Of the Gaussian, in voxels; default 1.
    RIX_INPUT(double, StandardDeviation, standardDeviation)
    /// How much of the difference is added; default 1.
    RIX_INPUT(double, Amount, amount)
    /// Default `MIRROR`.
    RIX_CHOICE(BorderPolicy, BorderPolicy, borderPolicy, access::getInfoBorderPolicy)
    /// Of `FIXED`; default 0.
    RIX_INPUT(double, BorderValue, borderValue)
    RIX_OUTPUT(ImageModel*, OutputImage, outputImage)
};

}  // namespace rix::filtering::smoothing
