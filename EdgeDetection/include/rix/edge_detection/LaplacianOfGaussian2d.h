#pragma once

#include <rix/access/BorderPolicy.h>
#include <rix/algorithms/Declaration.h>
#include <rix/algorithms/FilterChoices.h>

namespace rix::edge_detection {

/// The Laplacian of planes that are smoothed with a Gaussian: the sum of the second derivatives of
/// `GaussianDerivative2d` by x and by y. It is 4 for x^2 + y^2, negative on bright blobs, and 0 near edges (D. Marr and
/// E. Hildreth, "Theory of edge detection", 1980).
///
/// **Input** `inputImage`: any extents on all five axes, scalar elements, any real type (`uint8` to `float64`). Frames
/// and channels are images of their own.
/// **Output** `outputImage`: `float32`, for a `float64` input `float64`; the input's extents and calibration. It shares
/// no samples with the input.
///
/// **Units.** With `lengthUnit` `WORLD` the standard deviation is a length in the unit of the image's spacings, so that
/// the filter is round in the world, and derivatives are per unit.
///
/// **Border.** Beyond its edges the image is mirrored with the edge voxel repeated (`MIRROR`), goes on with the edge
/// voxel (`CONTINUE`), or has the value `borderValue` (`FIXED`).
///
/// **Exactness.** Sums are taken in `float32`, for `float64` and integers of 32 bits in `float64`, from the outer pairs
/// of taps to the middle, without fused operations: the same bits on every level of optimisation, for every number of
/// threads and every storage. NaN and infinities spread to the windows that hold them.
///
/// @throws RuleException from `run` for an unset or empty image, a complex or vector image, a standard deviation that
/// is
///         negative, not finite or above 100 voxels, spacings of 0 or NaN with `WORLD`, an unknown choice, a
///         `borderValue` of NaN, and an output that shares samples with the input; ResizeImageError or MemoryError when
///         there is no memory.
/// Cost: four sums of 10 s + 1 products a voxel. Memory: the rows of a window a thread; see `describe`.
class RIX_EXPORT LaplacianOfGaussian2d : public BaseAlgorithm {
    RIX_ALGORITHM(LaplacianOfGaussian2d)

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
