#include "KernelFactors.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdint>

namespace rix::filtering::linear {

namespace {

__extension__ typedef __int128 WideInteger;

/// A real that is not 0 as an odd integer times a power of two, of which there is one way: whether products of such are
/// equal can be told exactly.
struct OddTimesPower {
    explicit OddTimesPower(double value) {
        const double fraction = std::frexp(value, &power);
        odd = static_cast<std::int64_t>(std::ldexp(fraction, 53));
        const int zeros = std::countr_zero(static_cast<std::uint64_t>(odd));
        odd /= std::int64_t{1} << zeros;
        power += zeros;
    }

    std::int64_t odd = 0;
    int power = 0;
};

/// Whether a * d = b * c.
bool areProductsEqual(double a, double d, double b, double c) {
    const bool isZero = a == 0.0 || d == 0.0;
    const bool isOtherZero = b == 0.0 || c == 0.0;
    if (isZero || isOtherZero) {
        return isZero && isOtherZero;
    }
    const OddTimesPower ofA(a);
    const OddTimesPower ofB(b);
    const OddTimesPower ofC(c);
    const OddTimesPower ofD(d);
    return ofA.power + ofD.power == ofB.power + ofC.power &&
           static_cast<WideInteger>(ofA.odd) * ofD.odd == static_cast<WideInteger>(ofB.odd) * ofC.odd;
}

/// Brings the sum of the magnitudes of a line to 1/2 up to 1 by a power of two; one weight, which is 1, stays.
/// @return the power that was taken out
int normalize(std::vector<double>& line) {
    if (line.size() == 1) {
        return 0;
    }
    double sum = 0.0;
    for (const double weight : line) {
        sum += std::abs(weight);
    }
    int power = 0;
    std::frexp(sum, &power);
    for (double& weight : line) {
        weight = std::ldexp(weight, -power);
    }
    return power;
}

}  // namespace

std::optional<KernelFactors> factorsOf(const LaidKernel& kernel) {
    const auto& [columns, rows, planes] = kernel.extents;
    // The smallest coefficient: the others are most likely its multiples, and the quotients exact.
    std::size_t pivot = kernel.weights.size();
    for (std::size_t i = 0; i < kernel.weights.size(); ++i) {
        if (kernel.weights[i] != 0.0 &&
            (pivot == kernel.weights.size() || std::abs(kernel.weights[i]) < std::abs(kernel.weights[pivot]))) {
            pivot = i;
        }
    }
    if (pivot == kernel.weights.size()) {
        return std::nullopt;
    }
    const std::size_t x0 = pivot % columns;
    const std::size_t y0 = pivot / columns % rows;
    const std::size_t z0 = pivot / columns / rows;
    const double weight = kernel.weights[pivot];
    // Planes are multiples of the pivot's plane, and its rows of the pivot's row, when all minors with the pivot are 0.
    for (std::size_t z = 0; z < planes; ++z) {
        for (std::size_t y = 0; y < rows; ++y) {
            for (std::size_t x = 0; x < columns; ++x) {
                const bool isProduct =
                    z == z0 ? areProductsEqual(kernel.at(x, y, z), weight, kernel.at(x0, y, z), kernel.at(x, y0, z))
                            : areProductsEqual(kernel.at(x, y, z), weight, kernel.at(x0, y0, z), kernel.at(x, y, z0));
                if (!isProduct) {
                    return std::nullopt;
                }
            }
        }
    }
    KernelFactors factors;
    auto& [alongX, alongY, alongZ] = factors.lines;
    for (std::size_t x = 0; x < columns; ++x) {
        alongX.push_back(kernel.at(x, y0, z0));
    }
    for (std::size_t y = 0; y < rows; ++y) {
        alongY.push_back(kernel.at(x0, y, z0) / weight);
    }
    for (std::size_t z = 0; z < planes; ++z) {
        alongZ.push_back(kernel.at(x0, y0, z) / weight);
    }
    const int power = normalize(alongY) + normalize(alongZ);
    for (double& value : alongX) {
        value = std::ldexp(value, power);
    }
    // What became infinite, or 0 although the coefficient is not, would be another kernel.
    const auto isKept = [](double factor, double original) {
        return std::isfinite(factor) && (factor == 0.0) == (original == 0.0);
    };
    bool areKept = true;
    for (std::size_t x = 0; x < columns; ++x) {
        areKept = areKept && isKept(alongX[x], kernel.at(x, y0, z0));
    }
    for (std::size_t y = 0; y < rows; ++y) {
        areKept = areKept && isKept(alongY[y], kernel.at(x0, y, z0));
    }
    for (std::size_t z = 0; z < planes; ++z) {
        areKept = areKept && isKept(alongZ[z], kernel.at(x0, y0, z));
    }
    return areKept ? std::optional(std::move(factors)) : std::nullopt;
}

}  // namespace rix::filtering::linear
