#pragma once

#include <cstdint>

#include <rix/access/BorderPolicy.h>
#include <rix/algorithms/Declaration.h>
#include <rix/algorithms/FilterChoices.h>

namespace rix::filtering::smoothing {

/// Smooths each plane where it is even and leaves its edges: explicit steps of the diffusion of P. Perona and J. Malik
/// (1990),
///
///     out(p) = in(p) + timeStep * sum over the 4 neighbours q of g(|v| / h) v / h^2,   v = in(q) - in(p),
///
/// `numberOfIterations` times, with the conductance g(x) = exp(-(x / contrast)^2) (`EXPONENTIAL`) or
/// 1 / (1 + (x / contrast)^2) (`RATIONAL`). h is 1, or with `lengthUnit` `WORLD` the spacing of the neighbour's axis
/// divided by the smallest of those that are looked along. Axes along which the image has one voxel count as well.
///
/// **Input** `inputImage`: any extents on all five axes, scalar elements, any real type (`uint8` to `float64`).
/// **Output** `outputImage`: takes the input's extents, calibration and colour interpretation; interpretation value;
/// `float32`, of a 64-bit input `float64`. It may be the input image when the type stays.
///
/// **Border.** Beyond its edges the image is mirrored with the edge voxel repeated (`MIRROR`), or goes on with the edge
/// voxel (`CONTINUE`), which is the same here: nothing flows across. `FIXED` keeps it at `borderValue`.
///
/// **Stability.** With a step above 1 / (2 sum of 1 / h^2), 0.25 in the plane and 1/6 in volumes with h = 1, values
/// would overshoot; it is refused. Results lie within the range of the input
/// and the fixed value, but for rounding.
///
/// **Exactness.** Computed in the type of the result, in one order and without fused operations: results are the same,
/// bit for bit, on every level of optimisation and for every number of threads; within 1e-6 of the range a step of the
/// formula in double precision. NaN spreads to the neighbours, one voxel a step, as infinities do.
///
/// @throws RuleException from `run` for an unset or empty image, a complex or vector image, a contrast that is not
/// positive
///         and finite, a step beyond the limit or not positive, iterations outside [1, 100000], a spacing of 0 or NaN
///         where it is needed, an unknown choice, a `borderValue` of NaN, and an in-place output of another type;
///         ResizeImageError or MemoryError when there is no memory.
/// Cost: four exponentials or divisions a voxel and step. Memory: an image of the result's type, and a second one in
/// place.
class RIX_EXPORT AnisotropicDiffusion2d : public BaseAlgorithm {
    RIX_ALGORITHM(AnisotropicDiffusion2d)

    enum Conductance : int { EXPONENTIAL = 0, RATIONAL };
    static const EnumInfo& getInfoConductance();
    /// In what distances are measured.
    using LengthUnit = algorithms::LengthUnit;
    using enum algorithms::LengthUnit;
    /// What lies beyond the edges.
    using BorderPolicy = access::BorderPolicy;
    using enum access::BorderPolicy;

    RIX_INPUT(const ImageModel*, InputImage, inputImage)
    /// Default `EXPONENTIAL`.
    RIX_CHOICE(Conductance, Conductance, conductance, getInfoConductance)
    /// In grey levels a voxel; default 10.
    RIX_INPUT(double, Contrast, contrast)
    /// Default 0.125.
    RIX_INPUT(double, TimeStep, timeStep)
    /// Default 10.
    RIX_INPUT(std::int32_t, NumberOfIterations, numberOfIterations)
    /// Default `VOXEL`.
    RIX_CHOICE(LengthUnit, LengthUnit, lengthUnit, algorithms::getInfoLengthUnit)
    /// Default `MIRROR`.
    RIX_CHOICE(BorderPolicy, BorderPolicy, borderPolicy, access::getInfoBorderPolicy)
    /// Of `FIXED`; default 0.
    RIX_INPUT(double, BorderValue, borderValue)
    RIX_OUTPUT(ImageModel*, OutputImage, outputImage)
};

}  // namespace rix::filtering::smoothing
