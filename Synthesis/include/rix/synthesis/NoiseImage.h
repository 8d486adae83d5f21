#pragma once

#include <rix/synthesis/ImageGenerator.h>

namespace rix::synthesis {

/// Makes an image of noise. What a voxel gets follows from the seed and its index (column, row, plane, frame, channel)
/// alone: a larger image of the same seed has the smaller one in its corner, and threads, blocks, level and storage
/// change nothing.
///
/// - `UNIFORM`: real values from mean - sqrt(3) s to mean + sqrt(3) s, whose standard deviation is s.
/// - `GAUSSIAN`: normal values of that mean and standard deviation, by the method of Box and Muller (1958) in single
///   precision: at most 6.67 s from the mean, within 2e-6 s of the exact function of the random words.
/// - `POISSON`: counts of that mean, exactly distributed, from 0 to 1e15; the standard deviation is the root of the
/// mean.
/// - `SALT_AND_PEPPER`: the mean everywhere, but `pepperValue` in one half of the share `density` of the voxels, and
///   `saltValue` in the other.
///
/// Random words are those of Philox4x32-10 (J. K. Salmon, M. A. Moraes, R. O. Dror, D. E. Shaw, 2011), of 32 bits a
/// voxel (53 bits for counts). They repeat beyond 2^32 rows, planes and frames, and 2^34 columns.
///
/// Extents, spacing, type and failures: see `ImageGenerator`; integers are rounded to nearest and clamped. A negative
/// standard deviation and a negative or too large mean of counts are refused. Cost: one pass; no extra memory.
class RIX_EXPORT NoiseImage : public ImageGenerator {
    RIX_ALGORITHM(NoiseImage)

    enum Distribution : int { UNIFORM = 0, GAUSSIAN, POISSON, SALT_AND_PEPPER };
    static const EnumInfo& getInfoDistribution();

    /// Default `UNIFORM`.
    RIX_CHOICE(Distribution, Distribution, distribution, getInfoDistribution)
    /// Default 0.
    RIX_INPUT(std::int64_t, Seed, seed)
    /// Default 0.
    RIX_INPUT(double, Mean, mean)
    /// Default 1.
    RIX_INPUT(double, StandardDeviation, standardDeviation)
    /// The share of voxels that are salt or pepper; default 0.05.
    RIX_INPUT(double, Density, density)
    /// Default 0.
    RIX_INPUT(double, PepperValue, pepperValue)
    /// Default 255.
    RIX_INPUT(double, SaltValue, saltValue)
};

}  // namespace rix::synthesis
