#pragma once

#include <cstdint>

#include <rix/algorithms/Declaration.h>

namespace rix {
class EnumInfo;
}

namespace rix::synthesis {

/// Adds noise to an image. What happens to a voxel follows from the seed, its index and its value alone, as in
/// `NoiseImage`, whose distributions these are:
///
/// - `UNIFORM`, `GAUSSIAN`: added.
/// - `POISSON`: the voxel becomes a count of that mean, as of photons: P(value * countsPerUnit) / countsPerUnit. Values
///   below 0 count as 0; means above 1e15 stay as they are, since their noise is below their last bits.
/// - `SALT_AND_PEPPER`: the share `density` of the voxels becomes `pepperValue` or `saltValue`.
/// - `SPECKLE`: added, after it is multiplied by the voxel: v + v n, for normal n of the mean and standard deviation.
///
/// **Input** `inputImage`: any extents on all five axes, scalar elements, any real type.
/// **Output** `outputImage`: takes extents, type and calibration of the input, with interpretation value. It may be the
/// input. Integers are rounded to nearest (ties to even) and clamped. NaN and infinities stay.
///
/// @throws RuleException from `run` for an unset or empty image, a complex or vector image, and parameters that are not
///         finite, negative or out of their range.
/// Cost: one pass; no extra memory.
class RIX_EXPORT AddNoise : public BaseAlgorithm {
    RIX_ALGORITHM(AddNoise)

    enum Distribution : int { UNIFORM = 0, GAUSSIAN, POISSON, SALT_AND_PEPPER, SPECKLE };
    static const EnumInfo& getInfoDistribution();

    RIX_INPUT(const ImageModel*, InputImage, inputImage)
    /// Default `UNIFORM`.
    RIX_CHOICE(Distribution, Distribution, distribution, getInfoDistribution)
    /// Default 0.
    RIX_INPUT(std::int64_t, Seed, seed)
    /// Default 0.
    RIX_INPUT(double, Mean, mean)
    /// Default 10; of speckle it is relative to the voxel.
    RIX_INPUT(double, StandardDeviation, standardDeviation)
    /// The share of voxels that become salt or pepper; default 0.05.
    RIX_INPUT(double, Density, density)
    /// Default 0.
    RIX_INPUT(double, PepperValue, pepperValue)
    /// Default 255.
    RIX_INPUT(double, SaltValue, saltValue)
    /// Counts that a voxel of value 1 stands for, of `POISSON`; default 1.
    RIX_INPUT(double, CountsPerUnit, countsPerUnit)
    RIX_OUTPUT(ImageModel*, OutputImage, outputImage)
};

}  // namespace rix::synthesis
