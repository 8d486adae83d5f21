#pragma once

#include <bit>
#include <cstdint>

/// Functions of the C library that this module needs, of additions and multiplications alone: the C library chooses its
/// own by the processor, and their last bits differ.
namespace rix::synthesis {

/// e^x for x from -700 to 700, within two units in the last place; 0 below.
constexpr double exponential(double x) {
    if (x < -700.0) {
        return 0.0;
    }
    constexpr double log2e = 1.4426950408889634;
    constexpr double ln2High = 0x1.62e42fee00000p-1;  // its last bits are 0, so that products with k are exact
    constexpr double ln2Low = 1.90821492927058770002e-10;
    const double scaled = x * log2e;
    const auto k = static_cast<std::int64_t>(scaled + (scaled < 0 ? -0.5 : 0.5));
    const double r = x - static_cast<double>(k) * ln2High - static_cast<double>(k) * ln2Low;
    double sum = 1.0;  // the power series to r^14, as nested products
    for (int n = 14; n > 0; --n) {
        sum = 1.0 + sum * (r * (1.0 / n));  // the reciprocals are constants
    }
    return sum * std::bit_cast<double>(static_cast<std::uint64_t>(k + 1023) << 52U);
}

/// The natural logarithm of a positive normal number, within two units in the last place or 1e-16.
constexpr double logarithm(double x) {
    constexpr double ln2High = 0x1.62e42fee00000p-1;
    constexpr double ln2Low = 1.90821492927058770002e-10;
    constexpr double root2 = 1.4142135623730951;
    const auto bits = std::bit_cast<std::uint64_t>(x);
    auto exponent = static_cast<std::int64_t>(bits >> 52U) - 1023;
    double m = std::bit_cast<double>((bits & 0xfffffffffffffU) | 0x3ff0000000000000U);
    if (m > root2) {
        m *= 0.5;
        ++exponent;
    }
    // log m = 2 atanh s for s = (m - 1) / (m + 1), below 0.172
    const double s = (m - 1.0) / (m + 1.0);
    const double square = s * s;
    double sum = 0.0;
    for (int n = 25; n > 1; n -= 2) {
        sum = (sum + 1.0 / n) * square;
    }
    const auto e = static_cast<double>(exponent);
    return e * ln2High + (e * ln2Low + 2.0 * (s + s * sum));
}

/// cos(2 pi t) for |t| below 10^15, within 3e-16.
constexpr double cosineOfTurns(double t) {
    const double quarters = 4.0 * t;
    const auto q = static_cast<std::int64_t>(quarters + (quarters < 0 ? -0.5 : 0.5));
    const double angle = 6.283185307179586 * (t - 0.25 * static_cast<double>(q));  // from -pi / 4 to pi / 4
    const double square = angle * angle;
    double sine = 1.0;
    double cosine = 1.0;
    for (int n = 16; n > 0; n -= 2) {
        cosine = 1.0 - cosine * square / (n * (n - 1));
        sine = 1.0 - sine * square / (n * (n + 1));
    }
    sine *= angle;
    switch (q & 3) {
        case 0: return cosine;
        case 1: return -sine;
        case 2: return -cosine;
        default: return sine;
    }
}

/// The angle of (x, y) from the x axis, from -pi to pi, within 3e-16; 0 at the origin.
constexpr double angleOf(double y, double x) {
    constexpr double pi = 3.141592653589793;
    const double height = y < 0 ? -y : y;
    const double width = x < 0 ? -x : x;
    const double larger = height > width ? height : width;
    if (larger == 0.0) {
        return 0.0;
    }
    // The arc tangent of a ratio up to 1, from the nearest of 0, pi / 8 and pi / 4.
    const double ratio = (height > width ? width : height) / larger;
    const double centre = ratio < 0.19891236737965800 ? 0.0 : ratio < 0.66817863791929892 ? 0.41421356237309505 : 1.0;
    const double t = (ratio - centre) / (1.0 + ratio * centre);
    const double square = t * t;
    double sum = 0.0;
    for (int n = 23; n > 1; n -= 2) {
        sum = -square * (1.0 / n + sum);
    }
    double angle = (centre == 0.0 ? 0.0 : centre == 1.0 ? pi / 4 : pi / 8) + (t + t * sum);
    angle = height > width ? pi / 2 - angle : angle;
    angle = x < 0 ? pi - angle : angle;
    return y < 0 ? -angle : angle;
}

}  // namespace rix::synthesis
