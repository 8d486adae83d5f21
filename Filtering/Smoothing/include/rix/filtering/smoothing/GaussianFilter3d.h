#pragma once

#include <rix/access/BorderPolicy.h>
#include <rix/algorithms/Declaration.h>
#include <rix/algorithms/FilterChoices.h>

namespace rix::filtering::smoothing {

/// Smooths each volume with a Gaussian: every voxel becomes the weighted mean of its neighbours on all three axes.
///
/// The three-dimensional form of `GaussianFilter2d`, with which it shares formula, types, units, borders, exactness and
/// failures. Frames and channels are volumes of their own. Planes are smoothed first, then lines along z.
///
/// Cost: as that of `GaussianFilter2d`, for three axes. Memory: the rows of a window or a bundle of lines a thread; and
/// a volume of `float32` (`float64` where sums are) unless the output is of that type and not the input; see
/// `describe`.
class RIX_EXPORT GaussianFilter3d : public BaseAlgorithm {
    RIX_ALGORITHM(GaussianFilter3d)

    /// In what the standard deviations are given.
    using LengthUnit = algorithms::LengthUnit;
    using enum algorithms::LengthUnit;
    /// What lies beyond the edges.
    using BorderPolicy = access::BorderPolicy;
    using enum access::BorderPolicy;
    /// The type of the result.
    using OutputType = algorithms::OutputType;
    using enum algorithms::OutputType;

    RIX_INPUT(const ImageModel*, InputImage, inputImage)
    /// Default 1; 0 leaves the axis alone.
    RIX_INPUT(double, StandardDeviationX, standardDeviationX)
    /// Default 1; 0 leaves the axis alone.
    RIX_INPUT(double, StandardDeviationY, standardDeviationY)
    /// Default 1; 0 leaves the axis alone.
    RIX_INPUT(double, StandardDeviationZ, standardDeviationZ)
    /// Default `VOXEL`.
    RIX_CHOICE(LengthUnit, LengthUnit, lengthUnit, algorithms::getInfoLengthUnit)
    /// Default `MIRROR`.
    RIX_CHOICE(BorderPolicy, BorderPolicy, borderPolicy, access::getInfoBorderPolicy)
    /// Of `FIXED`; default 0.
    RIX_INPUT(double, BorderValue, borderValue)
    /// Default `SAME_AS_INPUT`.
    RIX_CHOICE(OutputType, OutputType, outputType, algorithms::getInfoOutputType)
    RIX_OUTPUT(ImageModel*, OutputImage, outputImage)
};

}  // namespace rix::filtering::smoothing
