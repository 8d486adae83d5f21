#include "Poisson.h"

#include <cmath>
#include <cstdint>

#include "PortableMath.h"

namespace rix::synthesis {

namespace {

double byInversion(double mean, double uniform) {
    double probability = exponential(-mean);
    double count = 0.0;
    // The tail beyond this many is below the grid of the uniform numbers.
    while (uniform > probability && count < 200.0) {
        uniform -= probability;
        count += 1.0;
        probability *= mean / count;
    }
    return count;
}

/// log n! minus Stirling's approximation, for n above 20.
double stirlingError(double n) {
    const double square = n * n;
    return (1.0 / 12.0 - (1.0 / 360.0 - (1.0 / 1260.0 - 1.0 / 1680.0 / square) / square) / square) / n;
}

/// n log(n / mean) + mean - n, without the loss where both are close.
double deviance(double n, double mean) {
    const double difference = n - mean;
    if (std::fabs(difference) >= 0.1 * (n + mean)) {
        return n * logarithm(n / mean) + mean - n;
    }
    const double ratio = difference / (n + mean);
    double sum = difference * ratio;
    double term = 2.0 * n * ratio;
    for (int j = 1; j < 100; ++j) {
        term *= ratio * ratio;
        const double next = sum + term / (2 * j + 1);
        if (next == sum) {
            break;
        }
        sum = next;
    }
    return sum;
}

/// The logarithm of the probability of a count, for a mean of 10 and more.
double logProbability(double count, double mean) {
    constexpr double logTwoPi = 1.8378770664093453;
    if (count > 20.0) {
        return -stirlingError(count) - deviance(count, mean) - 0.5 * (logTwoPi + logarithm(count));
    }
    double factorial = 1.0;  // exact up to 20! in 62 bits, of which the last 8 are 0
    for (double n = 2.0; n <= count; n += 1.0) {
        factorial *= n;
    }
    return count * logarithm(mean) - mean - logarithm(factorial);
}

double byRejection(double mean, PairsOfUniforms& uniforms) {
    const double b = 0.931 + 2.53 * std::sqrt(mean);
    const double a = -0.059 + 0.02483 * b;
    const double inverseAlpha = 1.1239 + 1.1328 / (b - 3.4);
    const double quick = 0.9277 - 3.6224 / (b - 2.0);
    for (;;) {
        const auto [first, second] = uniforms.next();
        const double u = first - 0.5;
        const double distance = 0.5 - std::fabs(u);
        const double place = (2.0 * a / distance + b) * u + mean + 0.43;
        if (!(place >= 0.0 && place < 4e18)) {
            continue;  // no count, and no integer
        }
        const auto count = static_cast<double>(static_cast<std::int64_t>(place));
        if (distance >= 0.07 && second <= quick) {
            return count;
        }
        if (distance < 0.013 && second > distance) {
            continue;
        }
        if (logarithm(second * inverseAlpha / (a / (distance * distance) + b)) <= logProbability(count, mean)) {
            return count;
        }
    }
}

}  // namespace

double poisson(double mean, PairsOfUniforms& uniforms) {
    return mean < 10.0 ? byInversion(mean, uniforms.next().first) : byRejection(mean, uniforms);
}

}  // namespace rix::synthesis
