#pragma once

#include <rix/access/BorderPolicy.h>
#include <rix/algorithms/Declaration.h>
#include <rix/algorithms/FilterChoices.h>
#include <rix/edge_detection/GradientMethod.h>

namespace rix::edge_detection {

/// The gradient of volumes: its components and its length, whichever outputs are set.
///
/// The three-dimensional form of `GradientOperator2d`, with which it shares methods, types, units, border, exactness
/// and failures. `SOBEL`, `SCHARR` and `PREWITT` weigh along both axes across the derivative. Frames and channels are
/// volumes of their own.
///
/// Cost: one pass over the image, in which the outputs share their sums; for `GAUSSIAN` eight sums of 10 s + 1
/// products. Memory: three planes of a tile for each tap along z, a thread; see `describe`.
class RIX_EXPORT GradientOperator3d : public BaseAlgorithm {
    RIX_ALGORITHM(GradientOperator3d)

    /// How derivatives are taken.
    using Method = GradientMethod;
    using enum GradientMethod;
    /// In what lengths are given, and by what derivatives are divided.
    using LengthUnit = algorithms::LengthUnit;
    using enum algorithms::LengthUnit;
    /// What lies beyond the edges.
    using BorderPolicy = access::BorderPolicy;
    using enum access::BorderPolicy;

    RIX_INPUT(const ImageModel*, InputImage, inputImage)
    /// Default `CENTRAL_DIFFERENCES`.
    RIX_CHOICE(Method, Method, method, getInfoGradientMethod)
    /// Of `GAUSSIAN`; default 1; at most 100 voxels along each axis.
    RIX_INPUT(double, StandardDeviation, standardDeviation)
    /// Default `VOXEL`.
    RIX_CHOICE(LengthUnit, LengthUnit, lengthUnit, algorithms::getInfoLengthUnit)
    /// Default `MIRROR`.
    RIX_CHOICE(BorderPolicy, BorderPolicy, borderPolicy, access::getInfoBorderPolicy)
    /// Of `FIXED`; default 0.
    RIX_INPUT(double, BorderValue, borderValue)
    /// Optional.
    RIX_OUTPUT(ImageModel*, OutputImageX, outputImageX)
    /// Optional.
    RIX_OUTPUT(ImageModel*, OutputImageY, outputImageY)
    /// Optional.
    RIX_OUTPUT(ImageModel*, OutputImageZ, outputImageZ)
    /// Optional.
    RIX_OUTPUT(ImageModel*, OutputMagnitudeImage, outputMagnitudeImage)
};

}  // namespace rix::edge_detection
