#pragma once

#include <rix/access/BorderPolicy.h>
#include <rix/algorithms/Declaration.h>
#include <rix/algorithms/FilterChoices.h>

namespace rix::edge_detection {

/// The structure tensor of planes: how much the image varies near each voxel, and in what direction. (W. Foerstner and
/// E. Guelch, "A fast operator for detection and precise location of distinct points, corners and centres of circular
/// features", 1987; J. Bigun and G. Granlund, "Optimal orientation detection of linear symmetry", 1987)
///
///     { gx gx, gx gy; gx gy, gy gy }, each averaged with a Gaussian of `outerStandardDeviation`
///
/// gx and gy are the first derivatives by a Gaussian of `innerStandardDeviation` (see `GaussianDerivative2d`), in units
/// a voxel, with `WORLD` a unit of the image's spacings.
///
/// **Input** `inputImage`: one channel, any other extents, scalar elements, any real type (`uint8` to `float64`).
/// Frames are images of their own.
/// **Output** `outputEigenvaluesImage`: two channels, the eigenvalues, which ascend. `outputEigenvectorsImage`: four
/// channels, x and y of the vector of the first, then of the second; their length is 1, and their first component that
/// is not 0 is positive. `outputCoherenceImage`: ((b - a) / (b + a))^2 of the eigenvalues a and b, 1 where there is one
/// direction, 0 where there is none. `outputOrientationImage`: the angle of the strongest gradient in radians, from the
/// x axis toward the y axis, from -pi/2 (without it) to pi/2. Each is optional, without any nothing is done; `float32`,
/// for a `float64` input `float64`, with the input's other extents and calibration. They share no samples with the
/// input nor with each other.
///
/// **Border.** Beyond its edges the image is mirrored with the edge voxel repeated (`MIRROR`), goes on with the edge
/// voxel (`CONTINUE`), or has the value `borderValue` (`FIXED`); so do the products, which are 0 there with `FIXED`.
///
/// **Exactness.** Sums are taken in `float32`, for `float64` and integers of 32 bits in `float64`; values and vectors
/// follow from them in `float64` by closed formulas: the same bits on every level of optimisation, for every number of
/// threads and every storage. NaN spreads to the windows that hold it.
///
/// @throws RuleException from `run` for an unset or empty image, a complex or vector image, several channels, a
/// standard
///         deviation that is negative, not finite or above 100 voxels, spacings of 0 or NaN with `WORLD`, an unknown
///         choice, a `borderValue` of NaN, and outputs that share samples with the input or each
///         other; ResizeImageError or MemoryError when there is no memory.
/// Cost: four sums of 10 s + 1 products a voxel and six of the outer Gaussian. Memory: three images of `float32`
/// (`float64` where sums are), and the rows of a window a thread; see `describe`.
class RIX_EXPORT StructureTensor2d : public BaseAlgorithm {
    RIX_ALGORITHM(StructureTensor2d)

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
    /// Optional.
    RIX_OUTPUT(ImageModel*, OutputOrientationImage, outputOrientationImage)
};

}  // namespace rix::edge_detection
