#pragma once

#include <cstdint>

#include <rix/access/BorderPolicy.h>
#include <rix/algorithms/Declaration.h>
#include <rix/algorithms/FilterChoices.h>

namespace rix::filtering::smoothing {

/// Smooths each volume and keeps its edges: the mean of the voxels of a ball, weighted by how near they are and how
/// alike.
///
/// The three-dimensional form of `BilateralFilter2d`, with which it shares formula, types, borders, exactness and
/// failures; the radius is at most 20. Frames and channels are volumes of their own.
///
/// Cost: an exponential a voxel of the ball and voxel. Memory: the rows of a ball a thread; see `describe`.
class RIX_EXPORT BilateralFilter3d : public BaseAlgorithm {
    RIX_ALGORITHM(BilateralFilter3d)

    /// What lies beyond the edges.
    using BorderPolicy = access::BorderPolicy;
    using enum access::BorderPolicy;
    /// The type of the result.
    using OutputType = algorithms::OutputType;
    using enum algorithms::OutputType;

    RIX_INPUT(const ImageModel*, InputImage, inputImage)
    /// In voxels; default 0: ceil(3 s).
    RIX_INPUT(std::int32_t, KernelRadius, kernelRadius)
    /// In voxels; default 1.
    RIX_INPUT(double, SpatialStandardDeviation, spatialStandardDeviation)
    /// In grey levels; default 10.
    RIX_INPUT(double, IntensityStandardDeviation, intensityStandardDeviation)
    /// Default `MIRROR`.
    RIX_CHOICE(BorderPolicy, BorderPolicy, borderPolicy, access::getInfoBorderPolicy)
    /// Of `FIXED`; default 0.
    RIX_INPUT(double, BorderValue, borderValue)
    /// Default `SAME_AS_INPUT`.
    RIX_CHOICE(OutputType, OutputType, outputType, algorithms::getInfoOutputType)
    RIX_OUTPUT(ImageModel*, OutputImage, outputImage)
};

}  // namespace rix::filtering::smoothing
