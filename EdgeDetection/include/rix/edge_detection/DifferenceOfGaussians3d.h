#pragma once

#include <rix/access/BorderPolicy.h>
#include <rix/algorithms/Declaration.h>
#include <rix/algorithms/FilterChoices.h>

namespace rix::edge_detection {

/// Volumes smoothed with one Gaussian minus the same smoothed with another.
///
/// The three-dimensional form of `DifferenceOfGaussians2d`, with which it shares types, units, border, exactness and
/// failures. Frames and channels are volumes of their own.
///
/// Cost: three sums of 10 s + 1 products a voxel for each Gaussian. Memory: two planes of a tile
/// for each tap along z, a thread; see `describe`.
class RIX_EXPORT DifferenceOfGaussians3d : public BaseAlgorithm {
    RIX_ALGORITHM(DifferenceOfGaussians3d)

    /// In what lengths are given, and by what derivatives are divided.
    using LengthUnit = algorithms::LengthUnit;
    using enum algorithms::LengthUnit;
    /// What lies beyond the edges.
    using BorderPolicy = access::BorderPolicy;
    using enum access::BorderPolicy;

    RIX_INPUT(const ImageModel*, InputImage, inputImage)
    /// Of the Gaussian that adds; default 1; at most 100 voxels along each axis.
    RIX_INPUT(double, StandardDeviation1, standardDeviation1)
    /// Of the Gaussian that is subtracted; default 1.6; at most 100 voxels along each axis.
    RIX_INPUT(double, StandardDeviation2, standardDeviation2)
    /// Default `VOXEL`.
    RIX_CHOICE(LengthUnit, LengthUnit, lengthUnit, algorithms::getInfoLengthUnit)
    /// Default `MIRROR`.
    RIX_CHOICE(BorderPolicy, BorderPolicy, borderPolicy, access::getInfoBorderPolicy)
    /// Of `FIXED`; default 0.
    RIX_INPUT(double, BorderValue, borderValue)
    RIX_OUTPUT(ImageModel*, OutputImage, outputImage)
};

}  // namespace rix::edge_detection
