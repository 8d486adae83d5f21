#pragma once

#include <cstdint>

#include <rix/access/BorderPolicy.h>
#include <rix/algorithms/Declaration.h>
#include <rix/algorithms/FilterChoices.h>

namespace rix::filtering::smoothing {

/// Smooths each plane and keeps its edges: the mean of the voxels of a disc, weighted by how near they are and how
/// alike (C. Tomasi and R. Manduchi, 1998),
///
///     out(p) = sum w(p, q) in(q) / sum w(p, q),
///     w(p, q) = exp(-|p - q|^2 / (2 s^2)) exp(-(in(p) - in(q))^2 / (2 t^2))
///
/// over all q whose distance from p is at most `kernelRadius`, with s the `spatialStandardDeviation` and t the
/// `intensityStandardDeviation`. A radius of 0 stands for ceil(3 s).
///
/// **Input** `inputImage`: any extents on all five axes, scalar elements, any real type (`uint8` to `float64`).
/// **Output** `outputImage`: takes the input's extents, calibration and colour interpretation; interpretation value;
/// the input's type, or `float32` as `outputType` says. It may be the input image when the type stays; the run then
/// needs a temporary image.
///
/// **Border.** Beyond its edges the image is mirrored with the edge voxel repeated (`MIRROR`), goes on with the edge
/// voxel (`CONTINUE`), or has the value `borderValue` (`FIXED`).
///
/// **Exactness.** Computed in `float32`, for `float64` and integers of 32 bits in `float64`, in one order and without
/// fused operations: results are the same, bit for bit, on every level of optimisation and for every number of threads.
/// They are within 2e-6 of the range of the input of the formula in double precision; in an integer type they are
/// rounded to the nearest integer, ties to even, and clamped. NaN spreads to the windows that hold it; an infinite
/// voxel becomes NaN, and what has it in its window infinite or NaN.
///
/// @throws RuleException from `run` for an unset or empty image, a complex or vector image, a radius outside [0, 64],
///         deviations that are not positive and finite, an unknown
///         choice, a `borderValue` of NaN, and an in-place output of another type; ResizeImageError or MemoryError when
///         there is no memory.
/// Cost: an exponential a voxel and half the voxels of the disc, which the pairs of voxels share; beyond a radius of 8,
/// all of them. Memory: a thread, the rows of a disc and weights of the rows that it reaches; see `describe`.
class RIX_EXPORT BilateralFilter2d : public BaseAlgorithm {
    RIX_ALGORITHM(BilateralFilter2d)

    /// What lies beyond the edges.
    using BorderPolicy = access::BorderPolicy;
    using enum access::BorderPolicy;
    /// The type of the result.
    using OutputType = algorithms::OutputType;
    using enum algorithms::OutputType;

    RIX_INPUT(const ImageModel*, InputImage, inputImage)
    /// In voxels; default 0: ceil(3 s).
    RIX_INPUT(std::int32_t, KernelRadius, kernelRadius)
    /// In voxels; default 1.
    RIX_INPUT(double, SpatialStandardDeviation, spatialStandardDeviation)
    /// In grey levels; default 10.
    RIX_INPUT(double, IntensityStandardDeviation, intensityStandardDeviation)
    /// Default `MIRROR`.
    RIX_CHOICE(BorderPolicy, BorderPolicy, borderPolicy, access::getInfoBorderPolicy)
    /// Of `FIXED`; default 0.
    RIX_INPUT(double, BorderValue, borderValue)
    /// Default `SAME_AS_INPUT`.
    RIX_CHOICE(OutputType, OutputType, outputType, algorithms::getInfoOutputType)
    RIX_OUTPUT(ImageModel*, OutputImage, outputImage)
};

}  // namespace rix::filtering::smoothing
