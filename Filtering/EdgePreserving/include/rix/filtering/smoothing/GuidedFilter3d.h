#pragma once

#include <cstdint>

#include <rix/access/BorderPolicy.h>
#include <rix/algorithms/Declaration.h>
#include <rix/algorithms/FilterChoices.h>

namespace rix::filtering::smoothing {

/// Smooths each volume and keeps the edges of a guide, which may be the volume itself.
///
/// The three-dimensional form of `GuidedFilter2d`, with which it shares formula, types, borders, exactness and
/// failures; squares become cubes, and the radius is at most 20. Frames and channels are volumes of their own.
///
/// Cost: four sums over cubes, with another guide six. Memory: planes of the windows of a tile a thread; see
/// `describe`.
class RIX_EXPORT GuidedFilter3d : public BaseAlgorithm {
    RIX_ALGORITHM(GuidedFilter3d)

    /// What lies beyond the edges.
    using BorderPolicy = access::BorderPolicy;
    using enum access::BorderPolicy;
    /// The type of the result.
    using OutputType = algorithms::OutputType;
    using enum algorithms::OutputType;

    RIX_INPUT(const ImageModel*, InputImage, inputImage)
    /// Optional: whose edges are kept; unset, those of the image.
    RIX_INPUT(const ImageModel*, InputGuideImage, inputGuideImage)
    /// In voxels; default 2.
    RIX_INPUT(std::int32_t, KernelRadius, kernelRadius)
    /// In grey levels of the guide; default 10.
    RIX_INPUT(double, Contrast, contrast)
    /// Default `MIRROR`.
    RIX_CHOICE(BorderPolicy, BorderPolicy, borderPolicy, access::getInfoBorderPolicy)
    /// Of `FIXED`; default 0.
    RIX_INPUT(double, BorderValue, borderValue)
    /// Default `SAME_AS_INPUT`.
    RIX_CHOICE(OutputType, OutputType, outputType, algorithms::getInfoOutputType)
    RIX_OUTPUT(ImageModel*, OutputImage, outputImage)
};

}  // namespace rix::filtering::smoothing
