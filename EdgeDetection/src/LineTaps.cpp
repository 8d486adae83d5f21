#include "LineTaps.h"

#include <algorithm>
#include <cmath>

namespace rix::edge_detection {

namespace {

/// Narrower Gaussians have the weights of this one, as good as those of s = 0; the squares of exp(-1 / s^2) stay reals.
constexpr double narrowest = 0.1;

/// x^2 minus the mean of all k^2, weighted by `weights` times k^power: term by term, so that for narrow Gaussians,
/// where nearly all weight lies on one k, nothing is lost in the difference.
double aboveMean(double x, const std::vector<double>& weights, int power) {
    double sum = 0.0;
    double total = 0.0;
    for (std::size_t i = weights.size(); i-- > 0;) {
        const auto k = static_cast<double>(i);
        const double weight = (i > 0 ? 2.0 : 1.0) * std::pow(k, power) * weights[i];
        sum += weight * (x * x - k * k);
        total += weight;
    }
    return sum / total;
}

}  // namespace

std::size_t gaussianReach(double deviation, std::size_t order) {
    const auto reach = static_cast<std::size_t>(std::ceil(5.0 * deviation));
    return std::max(reach, (order + 1) / 2);
}

LineTaps gaussianTaps(double deviation, std::size_t order) {
    if (order == 0 && deviation == 0.0) {
        return {};
    }
    const double s = std::max(deviation, narrowest);
    std::vector<double> weights(gaussianReach(deviation, order) + 1);
    for (std::size_t i = 0; i < weights.size(); ++i) {
        const double x = static_cast<double>(i) / s;
        weights[i] = std::exp(-0.5 * x * x);
    }
    LineTaps taps{std::vector<double>(weights.size(), 0.0), order % 2 == 1};
    // Hermite's polynomials, with the moments of the samples in place of those of the Gaussian.
    for (std::size_t i = 0; i < weights.size(); ++i) {
        const auto x = static_cast<double>(i);
        const double even = order < 2 ? 1.0 : aboveMean(x, weights, order == 2 ? 0 : 2);
        taps.half[i] = (taps.isOdd ? x * even : even) * weights[i];
    }
    constexpr double factorial[] = {1.0, 1.0, 2.0, 6.0};
    double total = 0.0;
    for (std::size_t i = taps.half.size() - 1; i > 0; --i) {
        total += 2.0 * taps.half[i] * std::pow(static_cast<double>(i), static_cast<double>(order));
    }
    total += order == 0 ? taps.half[0] : 0.0;
    for (double& tap : taps.half) {
        tap *= factorial[order] / total;
    }
    return taps;
}

LineTaps convolved(const LineTaps& a, const LineTaps& b) {
    const auto at = [](const LineTaps& taps, std::ptrdiff_t i) {
        const auto index = static_cast<std::size_t>(std::abs(i));
        const double weight = index < taps.half.size() ? taps.half[index] : 0.0;
        return i < 0 && taps.isOdd ? -weight : weight;
    };
    LineTaps result{std::vector<double>(a.reach() + b.reach() + 1, 0.0), a.isOdd != b.isOdd};
    const auto reach = static_cast<std::ptrdiff_t>(b.reach());
    for (std::size_t i = 0; i < result.half.size(); ++i) {
        for (std::ptrdiff_t k = -reach; k <= reach; ++k) {
            result.half[i] += at(a, static_cast<std::ptrdiff_t>(i) - k) * at(b, k);
        }
    }
    if (result.isOdd) {
        result.half[0] = 0.0;
    }
    return result;
}

LineTaps scaled(LineTaps taps, double factor) {
    for (double& tap : taps.half) {
        tap *= factor;
    }
    return taps;
}

}  // namespace rix::edge_detection
