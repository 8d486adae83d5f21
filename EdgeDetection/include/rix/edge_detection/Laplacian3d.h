#pragma once

#include <rix/access/BorderPolicy.h>
#include <rix/algorithms/Declaration.h>
#include <rix/algorithms/FilterChoices.h>

namespace rix::edge_detection {

/// The Laplacian of volumes by second differences along all three axes. It is 6 for x^2 + y^2 + z^2.
///
/// The three-dimensional form of `Laplacian2d`, with which it shares types, units, border, exactness and failures.
/// Frames and channels are volumes of their own.
///
/// Cost: nine products a voxel. Memory: two planes of a tile for each tap along z, a thread; see `describe`.
class RIX_EXPORT Laplacian3d : public BaseAlgorithm {
    RIX_ALGORITHM(Laplacian3d)

    /// In what lengths are given, and by what derivatives are divided.
    using LengthUnit = algorithms::LengthUnit;
    using enum algorithms::LengthUnit;
    /// What lies beyond the edges.
    using BorderPolicy = access::BorderPolicy;
    using enum access::BorderPolicy;

    RIX_INPUT(const ImageModel*, InputImage, inputImage)
    /// Default `VOXEL`.
    RIX_CHOICE(LengthUnit, LengthUnit, lengthUnit, algorithms::getInfoLengthUnit)
    /// Default `MIRROR`.
    RIX_CHOICE(BorderPolicy, BorderPolicy, borderPolicy, access::getInfoBorderPolicy)
    /// Of `FIXED`; default 0.
    RIX_INPUT(double, BorderValue, borderValue)
    RIX_OUTPUT(ImageModel*, OutputImage, outputImage)
};

}  // namespace rix::edge_detection
