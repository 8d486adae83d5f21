#pragma once

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <numbers>
#include <vector>

#include <Eigen/Dense>

#include <rix/access/BorderPolicy.h>

/// Splines and scaled lines written from their definitions, as dense matrices in double precision.
namespace rix::test {

/// The centred B-spline of a degree by the recurrence of de Boor and Cox.
inline double bSpline(int degree, double x) {
    if (degree == 0) {
        return x >= -0.5 && x < 0.5 ? 1.0 : 0.0;
    }
    const double half = (degree + 1) / 2.0;
    return ((half + x) * bSpline(degree - 1, x + 0.5) + (half - x) * bSpline(degree - 1, x - 0.5)) / degree;
}

inline std::int64_t mirrored(std::int64_t i, std::int64_t n) {
    while (i < 0 || i >= n) {
        i = i < 0 ? -1 - i : 2 * n - 1 - i;
    }
    return i;
}

/// From elements to the coefficients of the spline through them, mirrored.
inline Eigen::MatrixXd splineCoefficientMatrix(std::int64_t n, int degree) {
    Eigen::MatrixXd samples = Eigen::MatrixXd::Zero(n, n);
    for (std::int64_t i = 0; i < n; ++i) {
        for (std::int64_t k = -3; k <= 3; ++k) {
            samples(i, mirrored(i + k, n)) += bSpline(degree, static_cast<double>(k));
        }
    }
    return samples.inverse();
}

/// A line as a sum of its elements and a constant.
struct LineReference {
    Eigen::MatrixXd matrix;
    Eigen::VectorXd constants;
};

enum class Scaled : std::uint8_t { Linear, Spline, Lanczos, Area };

inline LineReference scaledLine(Scaled rule, std::int64_t n, std::int64_t m, bool smooth, access::BorderPolicy border,
                                double value) {
    LineReference line{Eigen::MatrixXd::Zero(m, n), Eigen::VectorXd::Zero(m)};
    if (n == m) {
        line.matrix.setIdentity();
        return line;
    }
    const double ratio = static_cast<double>(n) / static_cast<double>(m);
    for (std::int64_t i = 0; i < m && rule == Scaled::Area; ++i) {
        for (std::int64_t j = 0; j < n; ++j) {
            const double begin = std::max(static_cast<double>(i) * ratio, static_cast<double>(j));
            const double end = std::min(static_cast<double>(i + 1) * ratio, static_cast<double>(j + 1));
            line.matrix(i, j) = std::max(end - begin, 0.0) / ratio;
        }
    }
    if (rule == Scaled::Area) {
        return line;
    }
    const double deviation = smooth && ratio > 1 ? (ratio - 1) / 2 : 0.0;
    const auto reach = static_cast<std::int64_t>(4 * deviation + 0.5);
    const auto gauss = [&](std::int64_t k) {
        double sum = 0;
        for (std::int64_t j = -reach; j <= reach && reach > 0; ++j) {
            sum += std::exp(-0.5 * std::pow(static_cast<double>(j) / deviation, 2));
        }
        return reach == 0 ? 1.0 : std::exp(-0.5 * std::pow(static_cast<double>(k) / deviation, 2)) / sum;
    };
    // Beyond the line: `add` takes part of a place anywhere.
    const auto add = [&](std::int64_t i, std::int64_t place, double part) {
        if (place >= 0 && place < n) {
            line.matrix(i, place) += part;
        } else if (rule == Scaled::Spline || border == access::BorderPolicy::MIRROR) {
            line.matrix(i, mirrored(place, n)) += part;
        } else if (border == access::BorderPolicy::CONTINUE) {
            line.matrix(i, place < 0 ? 0 : n - 1) += part;
        } else {
            line.constants(i) += part * value;
        }
    };
    const auto kernel = [&](double x) {
        switch (rule) {
            case Scaled::Linear: return std::max(0.0, 1 - std::abs(x));
            case Scaled::Spline: return bSpline(3, x);
            case Scaled::Lanczos: {
                const double a = std::numbers::pi * x;
                return a == 0 ? 1.0 : std::abs(x) >= 3 ? 0.0 : 3 * std::sin(a) * std::sin(a / 3) / (a * a);
            }
            case Scaled::Area: break;
        }
        return 0.0;
    };
    for (std::int64_t i = 0; i < m; ++i) {
        double p = (static_cast<double>(i) + 0.5) * ratio - 0.5;
        double inside = 1.0;
        if (rule == Scaled::Spline && border != access::BorderPolicy::MIRROR) {
            const double clamped = std::clamp(p, 0.0, static_cast<double>(n - 1));
            inside = border == access::BorderPolicy::FIXED ? 1 - std::abs(p - clamped) : 1.0;
            line.constants(i) += (1 - inside) * (border == access::BorderPolicy::FIXED ? value : 0.0);
            p = clamped;
        }
        const auto floor = static_cast<std::int64_t>(std::floor(p));
        double sum = 0;
        for (std::int64_t j = floor - 3; j <= floor + 3; ++j) {
            sum += kernel(p - static_cast<double>(j));
        }
        for (std::int64_t j = floor - 3; j <= floor + 3; ++j) {
            for (std::int64_t k = -reach; k <= reach; ++k) {
                add(i, j + k, inside * kernel(p - static_cast<double>(j)) / sum * gauss(k));
            }
        }
    }
    if (rule == Scaled::Spline) {
        line.matrix = line.matrix * splineCoefficientMatrix(n, 3);
    }
    return line;
}

/// Applies lines to the three axes of a volume, axis by axis. @param extents become those of the result
inline std::vector<double> applyLines(std::vector<double> samples, std::array<std::size_t, 3>& extents,
                                      const std::array<LineReference, 3>& lines) {
    for (std::size_t axis = 0; axis < 3; ++axis) {
        auto next = extents;
        next[axis] = static_cast<std::size_t>(lines[axis].matrix.rows());
        std::vector<double> result(next[0] * next[1] * next[2]);
        std::array<std::size_t, 3> p{};
        for (p[2] = 0; p[2] < next[2]; ++p[2]) {
            for (p[1] = 0; p[1] < next[1]; ++p[1]) {
                for (p[0] = 0; p[0] < next[0]; ++p[0]) {
                    const auto i = static_cast<Eigen::Index>(p[axis]);
                    double sum = lines[axis].constants(i);
                    auto q = p;
                    for (q[axis] = 0; q[axis] < extents[axis]; ++q[axis]) {
                        const double weight = lines[axis].matrix(i, static_cast<Eigen::Index>(q[axis]));
                        sum += weight == 0 ? 0 : weight * samples[(q[2] * extents[1] + q[1]) * extents[0] + q[0]];
                    }
                    result[(p[2] * next[1] + p[1]) * next[0] + p[0]] = sum;
                }
            }
        }
        samples = std::move(result);
        extents = next;
    }
    return samples;
}

}  // namespace rix::test
