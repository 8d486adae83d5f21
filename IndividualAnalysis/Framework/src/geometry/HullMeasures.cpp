#include "HullMeasures.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <limits>
#include <numbers>
#include <vector>

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
    std::vector<std::array<double, 2>> hull;  // from the first corner, so that no digits are lost far from the origin
    for (const Corner& corner : corners) {
        hull.push_back({static_cast<double>(corner.x - corners[0].x) * spacing[0],
                        static_cast<double>(corner.y - corners[0].y) * spacing[1]});
    }
    double largest = 0.0;
    for (std::size_t i = 0; i < hull.size(); ++i) {
        for (std::size_t j = i + 1; j < hull.size(); ++j) {
            const double dx = hull[j][0] - hull[i][0];
            const double dy = hull[j][1] - hull[i][1];
            if (dx * dx + dy * dy > largest) {
                largest = dx * dx + dy * dy;
                result.diameterAngle = halfTurn(dy, dx);
            }
        }
    }
    result.diameter = std::sqrt(largest);

    // The narrowest strip has an edge of the hull on one side.
    result.width = std::numeric_limits<double>::infinity();
    std::size_t opposite = 1;
    for (std::size_t i = 0; i < hull.size(); ++i) {
        const auto& a = hull[i];
        const auto& b = hull[(i + 1) % hull.size()];
        const double ex = b[0] - a[0];
        const double ey = b[1] - a[1];
        const auto height = [&](std::size_t corner) {
            const auto& c = hull[corner % hull.size()];
            return ex * (c[1] - a[1]) - ey * (c[0] - a[0]);
        };
        opposite = std::max(opposite, i + 1);
        while (height(opposite + 1) > height(opposite)) {
            ++opposite;
        }
        const double width = height(opposite) / std::hypot(ex, ey);
        if (width < result.width) {
            result.width = width;
            result.widthAngle = halfTurn(ex, -ey);
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
    double largest = 0.0;
    for (std::size_t i = 0; i < corners.size(); ++i) {
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
