#pragma once

#include <rix/algorithms/Declaration.h>
#include <rix/algorithms/FilterChoices.h>
#include <rix/edge_detection/RidgeChoices.h>

namespace rix::edge_detection {

/// Makes tubes of volumes stand out, whatever their width: the greatest measure of several scales.
///
/// The three-dimensional form of `RidgeFilter2d`, with which it shares scales, types, units, border, exactness and
/// failures. Of the eigenvalues |a| <= |b| <= |c|:
///
/// - `FRANGI`: (1 - exp(-(b / c)^2 / (2 alpha^2))) exp(-a^2 / |b c| / (2 beta^2)) (1 - exp(-(a^2 + b^2 + c^2) /
///   (2 gamma^2))) where b < 0 and c < 0, else 0.
/// - `SATO`: of the eigenvalues p >= q >= r, -q exp(-(p / q)^2 / (2 k^2)) where q < 0, else 0, with k = `alpha` for p
/// <= 0
///   and 4 `alpha` for p > 0.
///
/// Cost: that of `HessianAnalysis3d` for each scale. Memory: six planes of a tile for each tap along z,
/// a thread; see `describe`.
class RIX_EXPORT RidgeFilter3d : public BaseAlgorithm {
    RIX_ALGORITHM(RidgeFilter3d)

    /// What tells that something is a line.
    using Method = RidgeFilterMethod;
    using enum RidgeFilterMethod;
    /// Which lines are wanted.
    using Ridges = RidgeBrightness;
    using enum RidgeBrightness;
    /// In what lengths are given, and by what derivatives are divided.
    using LengthUnit = algorithms::LengthUnit;
    using enum algorithms::LengthUnit;

    RIX_INPUT(const ImageModel*, InputImage, inputImage)
    /// Default `FRANGI`.
    RIX_CHOICE(Method, Method, method, getInfoRidgeFilterMethod)
    /// Default `BRIGHT`.
    RIX_CHOICE(Ridges, Ridges, ridges, getInfoRidgeBrightness)
    /// Default 1; above 0 and at most 100 voxels along each axis.
    RIX_INPUT(double, MinimumScale, minimumScale)
    /// Default 5; above 0 and at most 100 voxels along each axis.
    RIX_INPUT(double, MaximumScale, maximumScale)
    /// Default 5; from 1 to 1000.
    RIX_INPUT(std::int32_t, NumberOfScales, numberOfScales)
    /// Default 0.5; above 0.
    RIX_INPUT(double, Alpha, alpha)
    /// Default 0.5; above 0.
    RIX_INPUT(double, Beta, beta)
    /// Default 15; above 0.
    RIX_INPUT(double, Gamma, gamma)
    /// Default `VOXEL`.
    RIX_CHOICE(LengthUnit, LengthUnit, lengthUnit, algorithms::getInfoLengthUnit)
    RIX_OUTPUT(ImageModel*, OutputImage, outputImage)
};

}  // namespace rix::edge_detection
