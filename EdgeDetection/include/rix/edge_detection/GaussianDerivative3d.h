#pragma once

#include <rix/access/BorderPolicy.h>
#include <rix/algorithms/Declaration.h>
#include <rix/algorithms/FilterChoices.h>

namespace rix::edge_detection {

/// Derives volumes that are smoothed with a Gaussian, n, m and k times by x, y and z.
///
/// The three-dimensional form of `GaussianDerivative2d`, with which it shares formula, types, units, border, exactness
/// and failures. Frames and channels are volumes of their own. Lines along z are summed first.
///
/// Cost: as that of `GaussianDerivative2d`, for three axes. Memory: a plane of a tile for each
/// tap along z, a thread; see `describe`.
class RIX_EXPORT GaussianDerivative3d : public BaseAlgorithm {
    RIX_ALGORITHM(GaussianDerivative3d)

    /// In what lengths are given, and by what derivatives are divided.
    using LengthUnit = algorithms::LengthUnit;
    using enum algorithms::LengthUnit;
    /// What lies beyond the edges.
    using BorderPolicy = access::BorderPolicy;
    using enum access::BorderPolicy;

    RIX_INPUT(const ImageModel*, InputImage, inputImage)
    /// Default 1; at most 100 voxels.
    RIX_INPUT(double, StandardDeviationX, standardDeviationX)
    /// Default 1; at most 100 voxels.
    RIX_INPUT(double, StandardDeviationY, standardDeviationY)
    /// Default 1; at most 100 voxels.
    RIX_INPUT(double, StandardDeviationZ, standardDeviationZ)
    /// Default 0; up to 3.
    RIX_INPUT(std::int32_t, OrderX, orderX)
    /// Default 0; up to 3.
    RIX_INPUT(std::int32_t, OrderY, orderY)
    /// Default 0; up to 3.
    RIX_INPUT(std::int32_t, OrderZ, orderZ)
    /// Default `VOXEL`.
    RIX_CHOICE(LengthUnit, LengthUnit, lengthUnit, algorithms::getInfoLengthUnit)
    /// Default `MIRROR`.
    RIX_CHOICE(BorderPolicy, BorderPolicy, borderPolicy, access::getInfoBorderPolicy)
    /// Of `FIXED`; default 0.
    RIX_INPUT(double, BorderValue, borderValue)
    RIX_OUTPUT(ImageModel*, OutputImage, outputImage)
};

}  // namespace rix::edge_detection
