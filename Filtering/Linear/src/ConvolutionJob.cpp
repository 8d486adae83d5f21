#include "ConvolutionJob.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace rix::filtering::linear {

namespace {

/// A pass over a volume between two sums costs about as much as so many products.
constexpr std::size_t productsOfPass = 10;

std::size_t productsOf(const KernelFactors& factors) {
    std::size_t products = 0;
    for (const std::vector<double>& line : factors.lines) {
        products += line.size() > 1 ? nonZeros(line) : 0;
    }
    return products;
}

}  // namespace

std::size_t nonZeros(const std::vector<double>& weights) {
    return weights.size() - static_cast<std::size_t>(std::count(weights.begin(), weights.end(), 0.0));
}

ConvolutionJob::ConvolutionJob(LaidKernel laid, KernelScaling scaling) : kernel(std::move(laid)) {
    double sum = 0.0;
    for (const double weight : kernel.weights) {
        sum += weight;
    }
    const double divisor = scaling == KernelScaling::YES && sum != 0.0 && std::isfinite(sum) ? sum : 1.0;
    products = nonZeros(kernel.weights);
    factors = factorsOf(kernel);
    if (factors) {
        const std::size_t ofFactors = productsOf(*factors);
        if (ofFactors + (factors->lines[2].size() > 1 ? productsOfPass : 0) < products) {
            products = ofFactors;
        } else {
            factors.reset();
        }
    }
    fitsFloat = true;
    const auto finish = [this](std::vector<double>& weights, double by) {
        for (double& weight : weights) {
            weight /= by;
            const double magnitude = std::abs(weight);
            fitsFloat = fitsFloat && (magnitude == 0.0 || (magnitude >= 0x1p-100 && magnitude <= 0x1p100));
        }
    };
    finish(kernel.weights, divisor);
    if (factors) {
        finish(factors->lines[0], divisor);
        finish(factors->lines[1], 1.0);
        finish(factors->lines[2], 1.0);
    }
}

VoxelTypes ConvolutionJob::workType(VoxelTypes input) const {
    const bool isWide = input == RIX_FLOAT64 || input == RIX_INT32 || input == RIX_UINT32;
    return isWide || !fitsFloat ? RIX_FLOAT64 : RIX_FLOAT32;
}

}  // namespace rix::filtering::linear
