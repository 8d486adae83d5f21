#pragma once

namespace rix::synthesis {

/// The greatest mean that counts are drawn for: beyond it a count tells nothing of the last bits of its mean.
inline constexpr double largestPoissonMean = 1e15;

/// Gives uniform numbers in (0, 1), two a call.
class PairsOfUniforms {
public:
    struct Pair {
        double first;
        double second;
    };
    virtual ~PairsOfUniforms() = default;
    virtual Pair next() = 0;
};

/// A number that has the Poisson distribution of a mean from 0 to `largestPoissonMean`, from as many uniform numbers as
/// it takes: of means below 10 by the inversion of the distribution, from one; of others by transformed rejection (W.
/// Hoermann, "The transformed rejection method for generating Poisson random variables", 1993, algorithm PTRS), from
/// 1.2 pairs in the mean, whatever the mean. Exact but for the rounding of doubles: probabilities are computed as C.
/// Loader does, "Fast and accurate computation of binomial probabilities", 2000.
double poisson(double mean, PairsOfUniforms& uniforms);

}  // namespace rix::synthesis
