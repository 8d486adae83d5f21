#pragma once

#include <rix/access/BorderPolicy.h>
#include <rix/algorithms/Declaration.h>
#include <rix/algorithms/FilterChoices.h>

namespace rix::edge_detection {

/// The Laplacian of volumes that are smoothed with a Gaussian: the sum of the second derivatives of
/// `GaussianDerivative3d` by x, y and z. It is 6 for x^2 + y^2 + z^2.
///
/// The three-dimensional form of `LaplacianOfGaussian2d`, with which it shares types, units, border, exactness and
/// failures. Frames and channels are volumes of their own.
///
/// Cost: seven sums of 10 s + 1 products a voxel. Memory: two planes of a tile for each tap along z, a thread; see
/// `describe`.
class RIX_EXPORT LaplacianOfGaussian3d : public BaseAlgorithm {
    RIX_ALGORITHM(LaplacianOfGaussian3d)

    /// In what lengths are given, and by what derivatives are divided.
    using LengthUnit = algorithms::LengthUnit;
    using enum algorithms::LengthUnit;
    /// What lies beyond the edges.
    using BorderPolicy = access::BorderPolicy;
    using enum access::BorderPolicy;

    RIX_INPUT(const ImageModel*, InputImage, inputImage)
    /// Default 2; at most 100 voxels along each axis.
    RIX_INPUT(double, StandardDeviation, standardDeviation)
    /// Default `VOXEL`.
    RIX_CHOICE(LengthUnit, LengthUnit, lengthUnit, algorithms::getInfoLengthUnit)
    /// Default `MIRROR`.
    RIX_CHOICE(BorderPolicy, BorderPolicy, borderPolicy, access::getInfoBorderPolicy)
    /// Of `FIXED`; default 0.
    RIX_INPUT(double, BorderValue, borderValue)
    RIX_OUTPUT(ImageModel*, OutputImage, outputImage)
};

}  // namespace rix::edge_detection
