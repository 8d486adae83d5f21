#include "HullMeasures.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <limits>
#include <numbers>
#include <vector>

#include <rix/access/Looks.h>

#include "ConvexHull2d.h"
#include "ConvexHull3d.h"

namespace rix::individual_analysis {

namespace {

double halfTurn(double y, double x) {
    const double angle = std::atan2(y, x);
    return angle < 0.0 ? angle + std::numbers::pi : angle >= std::numbers::pi ? 0.0 : angle;
}

}  // namespace

HullInPlane measureHullInPlane(std::span<const OutlineRow> rows, const std::array<double, 2>& spacing) {
    const std::vector<Corner> corners = convexHull(rows);
    HullInPlane result;
    result.area = static_cast<double>(twiceArea(corners)) / 2.0 * spacing[0] * spacing[1];
    // Differences are taken of whole numbers: diameters that are equal are so to the last bit, and of those the one
    // with the smallest angle is told. A hull of corners of pixels has about as many corners as the 2/3 power of its
    // diameter, so that all pairs of them are fewer than pixels.
    access::Looks looks;
    double largest = 0.0;
    for (std::size_t i = 0; i < corners.size(); ++i) {
        looks.add(corners.size() - i);
        for (std::size_t j = i + 1; j < corners.size(); ++j) {
            const double dx = static_cast<double>(corners[j].x - corners[i].x) * spacing[0];
            const double dy = static_cast<double>(corners[j].y - corners[i].y) * spacing[1];
            const double squared = dx * dx + dy * dy;
            if (squared >= largest) {
                const double angle = halfTurn(dy, dx);
                result.diameterAngle = squared > largest ? angle : std::min(angle, result.diameterAngle);
                largest = squared;
            }
        }
    }
    result.diameter = std::sqrt(largest);

    // The narrowest strip has an edge of the hull on one side.
    result.width = std::numeric_limits<double>::infinity();
    std::size_t opposite = 1;
    for (std::size_t i = 0; i < corners.size(); ++i) {
        const Corner& a = corners[i];
        const Corner& b = corners[(i + 1) % corners.size()];
        const auto height = [&](std::size_t corner) {
            const Corner& c = corners[corner % corners.size()];
            return Int128{b.x - a.x} * (c.y - a.y) - Int128{b.y - a.y} * (c.x - a.x);
        };
        opposite = std::max(opposite, i + 1);
        while (height(opposite + 1) > height(opposite)) {
            ++opposite;
        }
        const double ex = static_cast<double>(b.x - a.x) * spacing[0];
        const double ey = static_cast<double>(b.y - a.y) * spacing[1];
        const double width = static_cast<double>(height(opposite)) * (spacing[0] * spacing[1]) / std::hypot(ex, ey);
        if (width <= result.width) {
            const double angle = halfTurn(ex, -ey);
            result.widthAngle = width < result.width ? angle : std::min(angle, result.widthAngle);
            result.width = width;
        }
    }
    return result;
}

HullInSpace measureHullInSpace(std::span<const OutlineRow> rows, const std::array<double, 3>& spacing) {
    const SpaceHull hull = convexHullInSpace(rows);
    HullInSpace result;
    result.volume = static_cast<double>(hull.sixfoldVolume) / 6.0 * spacing[0] * spacing[1] * spacing[2];
    std::vector<std::array<double, 3>> corners;
    for (const SpaceCorner& corner : hull.corners) {
        std::array<double, 3> point{};
        for (std::size_t axis = 0; axis < 3; ++axis) {
            point[axis] = static_cast<double>(corner[axis] - hull.corners[0][axis]) * spacing[axis];
        }
        corners.push_back(point);
    }
    access::Looks looks;
    double largest = 0.0;
    for (std::size_t i = 0; i < corners.size(); ++i) {
        looks.add(corners.size() - i);
        for (std::size_t j = i + 1; j < corners.size(); ++j) {
            double squared = 0.0;
            for (std::size_t axis = 0; axis < 3; ++axis) {
                const double difference = corners[j][axis] - corners[i][axis];
                squared += difference * difference;
            }
            largest = std::max(largest, squared);
        }
    }
    result.diameter = std::sqrt(largest);
    return result;
}

}  // namespace rix::individual_analysis
