#include "CroftonWeights.h"

#include <cmath>
#include <numbers>

#include <Eigen/Core>
#include <Eigen/Geometry>

namespace rix::individual_analysis {

namespace {

using Eigen::Vector2d;
using Eigen::Vector3d;

/// Cuts from a convex polygon what is beyond a line: where offset + normal . point < 0.
std::vector<Vector2d> cut(const std::vector<Vector2d>& polygon, const Vector2d& normal, double offset) {
    std::vector<Vector2d> rest;
    for (std::size_t i = 0; i < polygon.size(); ++i) {
        const Vector2d& a = polygon[i];
        const Vector2d& b = polygon[(i + 1) % polygon.size()];
        const double atA = offset + normal.dot(a);
        const double atB = offset + normal.dot(b);
        if (atA >= 0.0) {
            rest.push_back(a);
        }
        if ((atA >= 0.0) != (atB >= 0.0)) {
            rest.push_back(a + (b - a) * (atA / (atA - atB)));
        }
    }
    return rest;
}

/// Solid angle of a triangle seen from the origin (Van Oosterom and Strackee 1983).
double solidAngle(const Vector3d& a, const Vector3d& b, const Vector3d& c) {
    const double la = a.norm();
    const double lb = b.norm();
    const double lc = c.norm();
    const double volume = std::abs(a.dot(b.cross(c)));
    return 2.0 * std::atan2(volume, la * lb * lc + a.dot(b) * lc + b.dot(c) * la + c.dot(a) * lb);
}

/// The solid angle of the directions that are nearest to `own` among `own` and `others`, all of length 1. They lie
/// within 55 degrees of it, because the axes are among the directions: they are cut out of the tangent plane.
double nearestDirections(const Vector3d& own, const std::vector<Vector3d>& others) {
    const Vector3d first = own.unitOrthogonal();
    const Vector3d second = own.cross(first);
    constexpr double wide = 4.0;
    std::vector<Vector2d> cell{{-wide, -wide}, {wide, -wide}, {wide, wide}, {-wide, wide}};
    for (const Vector3d& other : others) {
        const Vector3d difference = own - other;
        cell = cut(cell, {difference.dot(first), difference.dot(second)}, difference.dot(own));
    }
    const auto inSpace = [&](const Vector2d& point) -> Vector3d {
        return own + point.x() * first + point.y() * second;
    };
    double angle = 0.0;
    for (std::size_t i = 2; i < cell.size(); ++i) {
        angle += solidAngle(inSpace(cell[0]), inSpace(cell[i - 1]), inSpace(cell[i]));
    }
    return angle;
}

}  // namespace

std::vector<double> perimeterWeights(double spacingX, double spacingY) {
    // Half the angle between the neighbouring directions on both sides; together pi.
    const double diagonal = std::atan2(spacingY, spacingX);
    const double quarter = std::numbers::pi / 4.0;
    const std::array<double, directionsInPlane> angles{diagonal, quarter, 2.0 * quarter - diagonal, quarter};
    const double length = std::hypot(spacingX, spacingY);
    const std::array<double, directionsInPlane> steps{spacingX, length, spacingY, length};
    std::vector<double> weights;
    for (std::size_t d = 0; d < directionsInPlane; ++d) {
        weights.push_back(angles[d] * spacingX * spacingY / steps[d]);
    }
    return weights;
}

std::vector<double> surfaceWeights(const std::array<double, 3>& spacing) {
    const auto steps = [&spacing] {
        std::vector<Vector3d> all;
        for (const auto& direction : directions) {
            all.emplace_back(direction[0] * spacing[0], direction[1] * spacing[1], direction[2] * spacing[2]);
        }
        return all;
    }();
    const double voxel = spacing[0] * spacing[1] * spacing[2];
    std::vector<double> weights;
    for (std::size_t d = 0; d < directionCount; ++d) {
        std::vector<Vector3d> others;
        for (std::size_t other = 0; other < directionCount; ++other) {
            if (other != d) {
                others.push_back(steps[other].normalized());
            }
            others.push_back(-steps[other].normalized());
        }
        // A direction and its opposite, as a part of the whole sphere.
        const double part = 2.0 * nearestDirections(steps[d].normalized(), others) / (4.0 * std::numbers::pi);
        weights.push_back(4.0 * part * voxel / steps[d].norm());
    }
    return weights;
}

double weightedEntries(const ObjectView& object) {
    const auto count = static_cast<double>(object.shape().count);
    const ContactSums& contacts = object.gathered<ContactsQuantity>();
    double sum = object.constants()[0] * static_cast<double>(object.shape().runs);
    for (std::size_t d = 1; d < object.constants().size(); ++d) {
        sum += object.constants()[d] * (count - static_cast<double>(contacts.pairs[d]));
    }
    return sum;
}

}  // namespace rix::individual_analysis
