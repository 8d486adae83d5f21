#pragma once

#include <rix/access/BorderPolicy.h>
#include <rix/algorithms/Declaration.h>
#include <rix/algorithms/FilterChoices.h>

namespace rix::edge_detection {

/// The structure tensor of volumes: how much the image varies near each voxel, and in what directions.
///
/// The three-dimensional form of `StructureTensor2d`, with which it shares types, units, border, exactness and
/// failures: three channels of values, nine of vectors; the coherence is that of the two greatest values, 1 where
/// gradients have one direction. The direction of the strongest gradient is the last vector.
///
/// Cost: as that of `StructureTensor2d`, for three axes. Memory: six images of `float32` (`float64` where sums are),
/// and six planes of a tile for each tap along z, a thread; see `describe`.
class RIX_EXPORT StructureTensor3d : public BaseAlgorithm {
    RIX_ALGORITHM(StructureTensor3d)

    /// In what lengths are given, and by what derivatives are divided.
    using LengthUnit = algorithms::LengthUnit;
    using enum algorithms::LengthUnit;
    /// What lies beyond the edges.
    using BorderPolicy = access::BorderPolicy;
    using enum access::BorderPolicy;

    RIX_INPUT(const ImageModel*, InputImage, inputImage)
    /// Default 1; at most 100 voxels along each axis.
    RIX_INPUT(double, InnerStandardDeviation, innerStandardDeviation)
    /// Default 3; at most 100 voxels along each axis.
    RIX_INPUT(double, OuterStandardDeviation, outerStandardDeviation)
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
    /// Optional.
    RIX_OUTPUT(ImageModel*, OutputCoherenceImage, outputCoherenceImage)
};

}  // namespace rix::edge_detection
