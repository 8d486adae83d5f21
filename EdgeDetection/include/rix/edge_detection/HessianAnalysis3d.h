#pragma once

#include <rix/access/BorderPolicy.h>
#include <rix/algorithms/Declaration.h>
#include <rix/algorithms/FilterChoices.h>

namespace rix::edge_detection {

/// Eigenvalues and eigenvectors of the Hessian of volumes that are smoothed with a Gaussian.
///
/// The three-dimensional form of `HessianAnalysis2d`, with which it shares types, units, border, exactness and
/// failures: three channels of values, nine of vectors.
///
/// Cost: fifteen sums of 10 s + 1 products a voxel and some 300 operations. Memory: six planes of a tile for each tap
/// along z, a thread; see `describe`.
class RIX_EXPORT HessianAnalysis3d : public BaseAlgorithm {
    RIX_ALGORITHM(HessianAnalysis3d)

    /// In what lengths are given, and by what derivatives are divided.
    using LengthUnit = algorithms::LengthUnit;
    using enum algorithms::LengthUnit;
    /// What lies beyond the edges.
    using BorderPolicy = access::BorderPolicy;
    using enum access::BorderPolicy;

    RIX_INPUT(const ImageModel*, InputImage, inputImage)
    /// Default 1; at most 100 voxels along each axis.
    RIX_INPUT(double, StandardDeviation, standardDeviation)
    /// Default `VOXEL`.
    RIX_CHOICE(LengthUnit, LengthUnit, lengthUnit, algorithms::getInfoLengthUnit)
    /// Default `MIRROR`.
    RIX_CHOICE(BorderPolicy, BorderPolicy, borderPolicy, access::getInfoBorderPolicy)
    /// Of `FIXED`; default 0.
    RIX_INPUT(double, BorderValue, borderValue)
    /// Optional.
    RIX_OUTPUT(ImageModel*, OutputEigenvaluesImage, outputEigenvaluesImage)
    /// Optional.
    RIX_OUTPUT(ImageModel*, OutputEigenvectorsImage, outputEigenvectorsImage)
};

}  // namespace rix::edge_detection
