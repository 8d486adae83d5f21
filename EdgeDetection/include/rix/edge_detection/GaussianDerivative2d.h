#pragma once

#include <rix/access/BorderPolicy.h>
#include <rix/algorithms/Declaration.h>
#include <rix/algorithms/FilterChoices.h>

namespace rix::edge_detection {

/// Derives planes that are smoothed with a Gaussian: d^n/dx^n d^m/dy^m of the image, n and m from 0 to 3.
///
///     out(x, y) = sum over i, j of h_n(i) h_m(j) in(x + i, y + j)
///
/// h_k is the k-th derivative of the Gaussian exp(-i^2 / (2 s^2)), sampled up to ceil(5 s). Sampling falsifies its
/// moments, below s = 1 grossly; so the polynomial in front of the Gaussian takes the moments of the samples for those
/// of the Gaussian: the derivative of x^k / k! is exactly 1, lower powers give exactly 0, for every s. h_0 has the
/// sum 1. With s = 0 they are the narrowest differences, (f(x + 1) - f(x - 1)) / 2, f(x + 1) - 2 f(x) + f(x - 1) and so
/// on, and of order 0 the axis is left alone.
///
/// **Input** `inputImage`: any extents on all five axes, scalar elements, any real type (`uint8` to `float64`). Frames
/// and channels are images of their own.
/// **Output** `outputImage`: `float32`, for a `float64` input `float64`; the input's extents and calibration. It shares
/// no samples with the input.
///
/// **Units.** With `lengthUnit` `WORLD` standard deviations are lengths in the unit of the image's spacings and
/// derivatives are per unit; else both count in voxels. Axes point to larger indices.
///
/// **Border.** Beyond its edges the image is mirrored with the edge voxel repeated (`MIRROR`), goes on with the edge
/// voxel (`CONTINUE`), or has the value `borderValue` (`FIXED`).
///
/// **Exactness.** Sums are taken in `float32`, for `float64` and integers of 32 bits in `float64`, from the outer pairs
/// of taps to the middle, without fused operations: the same bits on every level of optimisation, for every number of
/// threads and every storage. NaN and infinities spread to the windows that hold them. A ramp gives its slope within
/// 1e-6 of it, results are within 2e-6 of the sum of the magnitudes of all products, in `float64` 1e-14.
///
/// @throws RuleException from `run` for an unset or empty image, a complex or vector image, a standard deviation that
/// is
///         negative, not finite or above 100 voxels, spacings of 0 or NaN with `WORLD`, an unknown choice, a
///         `borderValue` of NaN, and an output that shares samples with the input; ResizeImageError or MemoryError when
///         there is no memory.
/// Cost: 10 s + 1 products an axis and voxel. Memory: the rows of a window a thread; see `describe`.
class RIX_EXPORT GaussianDerivative2d : public BaseAlgorithm {
    RIX_ALGORITHM(GaussianDerivative2d)

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
    /// Default 0; up to 3.
    RIX_INPUT(std::int32_t, OrderX, orderX)
    /// Default 0; up to 3.
    RIX_INPUT(std::int32_t, OrderY, orderY)
    /// Default `VOXEL`.
    RIX_CHOICE(LengthUnit, LengthUnit, lengthUnit, algorithms::getInfoLengthUnit)
    /// Default `MIRROR`.
    RIX_CHOICE(BorderPolicy, BorderPolicy, borderPolicy, access::getInfoBorderPolicy)
    /// Of `FIXED`; default 0.
    RIX_INPUT(double, BorderValue, borderValue)
    RIX_OUTPUT(ImageModel*, OutputImage, outputImage)
};

}  // namespace rix::edge_detection
