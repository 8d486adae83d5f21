#pragma once

#include <rix/access/BorderPolicy.h>
#include <rix/algorithms/Declaration.h>
#include <rix/algorithms/FilterChoices.h>

namespace rix::edge_detection {

/// Eigenvalues and eigenvectors of the Hessian of planes that are smoothed with a Gaussian: the curvatures of the
/// image, and their directions. Across a bright line the second one is negative and the first near 0; on a bright blob
/// both are negative.
///
/// The second derivatives are those of `GaussianDerivative2d`, in units a voxel, with `WORLD` a unit of the image's
/// spacings.
///
/// **Input** `inputImage`: one channel, any other extents, scalar elements, any real type (`uint8` to `float64`).
/// Frames are images of their own.
/// **Output** `outputEigenvaluesImage`: two channels, the eigenvalues, which ascend by magnitude. **Output**
/// `outputEigenvectorsImage`: four channels, x and y of the vector of the first, then of the second; their length is 1,
/// and their first component that is not 0 is positive. Where both values are equal, the axes. Each is optional, one is
/// needed; `float32`, for a `float64` input `float64`, with the input's other extents and calibration. They share no
/// samples with the input nor with each other.
///
/// **Border.** Beyond its edges the image is mirrored with the edge voxel repeated (`MIRROR`), goes on with the edge
/// voxel (`CONTINUE`), or has the value `borderValue` (`FIXED`).
///
/// **Exactness.** Derivatives are summed in `float32`, for `float64` and integers of 32 bits in `float64`; values and
/// vectors follow from them in `float64` by closed formulas, equal ones as well, within 1e-14 of the greatest (1e-7 in
/// `float32`): the same bits on every level of optimisation, for every number of threads and every storage. NaN spreads
/// to the windows that hold it.
///
/// @throws RuleException from `run` for an unset or empty image, a complex or vector image, several channels, a
/// standard
///         deviation that is negative, not finite or above 100 voxels, spacings of 0 or NaN with `WORLD`, an unknown
///         choice, a `borderValue` of NaN, and outputs that share samples with the input or each
///         other; ResizeImageError or MemoryError when there is no memory.
/// Cost: six sums of 10 s + 1 products a voxel and some 50 operations. Memory: the rows of a window a thread; see
/// `describe`.
class RIX_EXPORT HessianAnalysis2d : public BaseAlgorithm {
    RIX_ALGORITHM(HessianAnalysis2d)

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
