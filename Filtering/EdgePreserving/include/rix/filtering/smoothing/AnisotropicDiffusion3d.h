#pragma once

#include <cstdint>

#include <rix/access/BorderPolicy.h>
#include <rix/algorithms/Declaration.h>
#include <rix/algorithms/FilterChoices.h>

namespace rix::filtering::smoothing {

/// Smooths each volume where it is even and leaves its edges, by diffusion between the 6 neighbours.
///
/// The three-dimensional form of `AnisotropicDiffusion2d`, with which it shares formula, types, borders, stability,
/// exactness and failures. Frames and channels are volumes of their own.
///
/// Cost: six exponentials or divisions a voxel and step. Memory: an image of the result's type, and a second one in
/// place.
class RIX_EXPORT AnisotropicDiffusion3d : public BaseAlgorithm {
    RIX_ALGORITHM(AnisotropicDiffusion3d)

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
