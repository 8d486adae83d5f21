#pragma once

#include <rix/access/BorderPolicy.h>
#include <rix/algorithms/Declaration.h>

namespace rix::filtering::smoothing {

/// Brings each volume to the same mean and contrast everywhere.
///
/// The three-dimensional form of `LocalNormalization2d`, with which it shares formula, types, border, exactness and
/// failures. Frames and channels are volumes of their own.
class RIX_EXPORT LocalNormalization3d : public BaseAlgorithm {
    RIX_ALGORITHM(LocalNormalization3d)

    /// What lies beyond the edges.
    using BorderPolicy = access::BorderPolicy;
    using enum access::BorderPolicy;

    RIX_INPUT(const ImageModel*, InputImage, inputImage)
    /// Of the Gaussian, in voxels; default 2.
    RIX_INPUT(double, StandardDeviation, standardDeviation)
    /// Default `MIRROR`.
    RIX_CHOICE(BorderPolicy, BorderPolicy, borderPolicy, access::getInfoBorderPolicy)
    /// Of `FIXED`; default 0.
    RIX_INPUT(double, BorderValue, borderValue)
    RIX_OUTPUT(ImageModel*, OutputImage, outputImage)
};

}  // namespace rix::filtering::smoothing
