#pragma once

#include <rix/access/BorderPolicy.h>
#include <rix/algorithms/Declaration.h>
#include <rix/algorithms/FilterChoices.h>
#include <rix/edge_detection/GradientMethod.h>

namespace rix::edge_detection {

/// The gradient of planes: its components, its length and its angle, whichever outputs are set.
///
/// **Method** `CENTRAL_DIFFERENCES`: (in(x + 1, y) - in(x - 1, y)) / 2 and the same along y. `SOBEL`, `SCHARR`,
/// `PREWITT`: in(x + 1) - in(x - 1), added up across three rows with the weights 1 2 1, 3 10 3 or 1 1 1 (I. Sobel, "An
/// isotropic 3x3 image gradient operator", 1968; H. Scharr, dissertation, Heidelberg 2000; J. Prewitt, "Object
/// enhancement and extraction", 1970). `GAUSSIAN`: the first derivatives of `GaussianDerivative2d`.
///
/// **Units.** With `VOXEL` the weights of `SOBEL`, `SCHARR` and `PREWITT` are these integers, and the others give
/// derivatives per voxel. With `WORLD` all give derivatives per unit of the image's spacings: a ramp of 3 a millimetre
/// reads 3 by every method. Axes point to larger indices.
///
/// **Input** `inputImage`: any extents on all five axes, scalar elements, any real type (`uint8` to `float64`). Frames
/// and channels are images of their own.
/// **Output** `outputImageX`, `outputImageY`: the derivatives. `outputMagnitudeImage`: the root of the sum of their
/// squares. `outputOrientationImage`: the angle of the gradient in radians, from the x axis toward the y axis, from -pi
/// to pi; 0 where there is no gradient. Each is optional, without any nothing is done; `float32`, for a `float64` input
/// `float64`, with the input's extents and calibration. They share no samples with the input nor with each other.
///
/// **Border.** Beyond its edges the image is mirrored with the edge voxel repeated (`MIRROR`), goes on with the edge
/// voxel (`CONTINUE`), or has the value `borderValue` (`FIXED`).
///
/// **Exactness.** Sums are taken in `float32`, for `float64` and integers of 32 bits in `float64`, without fused
/// operations: the same bits on every level of optimisation, for every number of threads and every storage. Integer
/// weights on integers of 8 and 16 bits give exact derivatives. NaN and infinities spread to the windows that hold
/// them.
///
/// @throws RuleException from `run` for an unset or empty image, a complex or vector image, a standard deviation that
/// is
///         negative, not finite or above 100 voxels, spacings of 0 or NaN with `WORLD`, an unknown choice, a
///         `borderValue` of NaN, and an output that shares samples with the input; ResizeImageError or MemoryError when
///         there is no memory.
/// Cost: one pass over the image, in which the outputs share their sums: some 10 operations a voxel, for `GAUSSIAN`
/// four sums of 10 s + 1 products. Memory: the rows of a window a thread; see `describe`.
class RIX_EXPORT GradientOperator2d : public BaseAlgorithm {
    RIX_ALGORITHM(GradientOperator2d)

    /// How derivatives are taken.
    using Method = GradientMethod;
    using enum GradientMethod;
    /// In what lengths are given, and by what derivatives are divided.
    using LengthUnit = algorithms::LengthUnit;
    using enum algorithms::LengthUnit;
    /// What lies beyond the edges.
    using BorderPolicy = access::BorderPolicy;
    using enum access::BorderPolicy;

    RIX_INPUT(const ImageModel*, InputImage, inputImage)
    /// Default `CENTRAL_DIFFERENCES`.
    RIX_CHOICE(Method, Method, method, getInfoGradientMethod)
    /// Of `GAUSSIAN`; default 1; at most 100 voxels along each axis.
    RIX_INPUT(double, StandardDeviation, standardDeviation)
    /// Default `VOXEL`.
    RIX_CHOICE(LengthUnit, LengthUnit, lengthUnit, algorithms::getInfoLengthUnit)
    /// Default `MIRROR`.
    RIX_CHOICE(BorderPolicy, BorderPolicy, borderPolicy, access::getInfoBorderPolicy)
    /// Of `FIXED`; default 0.
    RIX_INPUT(double, BorderValue, borderValue)
    /// Optional.
    RIX_OUTPUT(ImageModel*, OutputImageX, outputImageX)
    /// Optional.
    RIX_OUTPUT(ImageModel*, OutputImageY, outputImageY)
    /// Optional.
    RIX_OUTPUT(ImageModel*, OutputMagnitudeImage, outputMagnitudeImage)
    /// Optional.
    RIX_OUTPUT(ImageModel*, OutputOrientationImage, outputOrientationImage)
};

}  // namespace rix::edge_detection
