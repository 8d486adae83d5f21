#pragma once

#include <cstddef>
#include <cstdint>

#include <rix/access/Blocks.h>

#include "NoiseKernels.h"

namespace rix::synthesis {

enum class NoiseKind : int { Uniform = 0, Gaussian, Poisson, SaltAndPepper, Speckle };

struct NoiseParameters {
    NoiseKind kind;
    std::int64_t seed;
    double mean;
    double standardDeviation;
    double density;
    double pepper;
    double salt;
    double countsPerUnit = 1.0;
};

/// Noise for rows of an image. Constant through a run, and shared by its threads.
class Noise {
public:
    Noise(const NoiseParameters& parameters, OptimLevelType level)
        : m_parameters(parameters), m_kernels(noiseKernels(level)) {}

    /// Adds the noise to `count` values of a row from a position on; counts instead of values, salt and pepper over
    /// them.
    void apply(const access::Position& at, double* values, std::size_t count) const;
    /// Gaussian noise alone, in single precision: its rows at the speed of the kernels.
    void gaussians(const access::Position& at, float* out, std::size_t count, float mean, float deviation) const;

private:
    void addUniforms(const access::Position& at, double* values, std::size_t count) const;
    void addGaussians(const access::Position& at, double* values, std::size_t count, bool times) const;
    void strew(const access::Position& at, double* values, std::size_t count) const;
    void toCounts(const access::Position& at, double* values, std::size_t count) const;

    NoiseParameters m_parameters;
    NoiseKernels m_kernels;
};

}  // namespace rix::synthesis
