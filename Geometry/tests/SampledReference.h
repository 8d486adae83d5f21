#pragma once

// Images at places between their elements, and where these lie in the world, from the definitions.

#include <Eigen/Geometry>

#include "LineReference.h"
#include "Testing.h"

namespace rix::test {

using Vector = Eigen::Vector3d;
using Matrix = Eigen::Matrix3d;

/// An image at places between its elements, from the definitions. Of planes the third place is an index.
class SampledReference {
public:
    SampledReference(const ImageModel& image, std::size_t axes, int degree, access::BorderPolicy border, double value)
        : m_extents(helper::getExtents(image)), m_axes(axes), m_degree(degree), m_border(border), m_value(value) {
        std::array<LineReference, 3> lines;
        for (std::size_t axis = 0; axis < 3; ++axis) {
            const auto n = static_cast<Eigen::Index>(m_extents[axis]);
            lines[axis] = {
                degree > 1 && axis < axes ? splineCoefficientMatrix(n, degree) : Eigen::MatrixXd::Identity(n, n),
                Eigen::VectorXd::Zero(n)};
        }
        std::array<std::size_t, 3> extents{m_extents[0], m_extents[1], m_extents[2]};
        m_samples = applyLines(volumeOf<double>(image, 0, 0), extents, lines);
    }

    double at(const Vector& place) const {
        double inside = 1.0;
        std::array<std::vector<std::pair<std::size_t, double>>, 3> taps;
        for (std::size_t axis = 0; axis < 3; ++axis) {
            double p = place(static_cast<Eigen::Index>(axis));
            const auto n = static_cast<std::int64_t>(m_extents[axis]);
            if (axis >= m_axes) {
                taps[axis].emplace_back(static_cast<std::size_t>(std::llround(p)), 1.0);
                continue;
            }
            if (m_border != access::BorderPolicy::MIRROR) {
                const double clamped = std::clamp(p, 0.0, static_cast<double>(n - 1));
                const double distance = std::abs(p - clamped);
                inside *= m_border == access::BorderPolicy::CONTINUE ? 1.0 : distance <= 0.5 ? 1.0 - distance : 0.0;
                p = clamped;
            }
            const auto floor = static_cast<std::int64_t>(std::floor(p));
            for (std::int64_t j = floor - 3; j <= floor + 4; ++j) {
                const double x = p - static_cast<double>(j);
                const double weight = m_degree == 1 ? std::max(0.0, 1.0 - std::abs(x)) : bSpline(m_degree, x);
                if (weight != 0) {
                    taps[axis].emplace_back(static_cast<std::size_t>(mirrored(j, n)), weight);
                }
            }
        }
        double sum = 0;
        for (const auto& [z, wz] : taps[2]) {
            for (const auto& [y, wy] : taps[1]) {
                for (const auto& [x, wx] : taps[0]) {
                    sum += wx * wy * wz * m_samples[(z * m_extents[1] + y) * m_extents[0] + x];
                }
            }
        }
        return inside * sum + (1.0 - inside) * m_value;
    }

private:
    Extents m_extents;
    std::size_t m_axes;
    int m_degree;
    access::BorderPolicy m_border;
    double m_value;
    std::vector<double> m_samples;
};

struct GridOfImage {
    Matrix vectors;
    Vector origin;

    explicit GridOfImage(const ImageModel& image) {
        const vessel::SpatialDirections d = image.getSpatialDirections();
        const vessel::Vector3d* const axes[] = {&d.columnDirection, &d.rowDirection, &d.sliceDirection};
        for (int axis = 0; axis < 3; ++axis) {
            const auto& direction = *axes[axis];
            vectors.col(axis) =
                image.getSpacingOf(static_cast<Components>(axis)) * Vector(direction[0], direction[1], direction[2]);
            origin(axis) = image.getOriginOf(static_cast<Components>(axis));
        }
    }
    Vector world(const Extents& p) const {
        return origin +
               vectors * Vector(static_cast<double>(p[0]), static_cast<double>(p[1]), static_cast<double>(p[2]));
    }
    Vector index(const Vector& world) const { return vectors.inverse() * (world - origin); }
};

inline void place(ImageModel& image, const Matrix& turn, const Vector& spacing, const Vector& origin) {
    for (int axis = 0; axis < 3; ++axis) {
        image.setSpacingOf(static_cast<Components>(axis), spacing(axis));
        image.setOriginOf(static_cast<Components>(axis), origin(axis));
    }
    const auto column = [&](int i) { return vessel::Vector3d{turn(0, i), turn(1, i), turn(2, i)}; };
    image.setSpatialDirections({column(0), column(1), column(2)});
}

inline Matrix turnBy(double x, double y, double z) {
    constexpr double degree = std::numbers::pi / 180;
    return (Eigen::AngleAxisd(z * degree, Vector::UnitZ()) * Eigen::AngleAxisd(y * degree, Vector::UnitY()) *
            Eigen::AngleAxisd(x * degree, Vector::UnitX()))
        .toRotationMatrix();
}

}  // namespace rix::test
