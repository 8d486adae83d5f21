// What is known of shapes as a whole: sizes, boxes, and whether a point or an element lies within.

#include <algorithm>
#include <cmath>

#include "PortableMath.h"
#include "Shapes.h"

namespace rix::synthesis {

namespace {

constexpr double pi = 3.141592653589793;

double length(const Point& p) {
    return std::sqrt(p[0] * p[0] + p[1] * p[1] + p[2] * p[2]);
}

Point minus(const Point& a, const Point& b) {
    return {a[0] - b[0], a[1] - b[1], a[2] - b[2]};
}

double distanceToLine(const Shape& tube, const Point& point) {
    const Point along = minus(tube.end, tube.centre);
    const Point from = minus(point, tube.centre);
    const double square = along[0] * along[0] + along[1] * along[1] + along[2] * along[2];
    const double dot = along[0] * from[0] + along[1] * from[1] + along[2] * from[2];
    const double share = square > 0 ? std::clamp(dot / square, 0.0, 1.0) : 0.0;
    return length({from[0] - share * along[0], from[1] - share * along[1], from[2] - share * along[2]});
}

/// The point as the shape's own axes see it.
Point ownOf(const Shape& shape, const Point& point) {
    const Point p = minus(point, shape.centre);
    return {shape.cosine * p[0] + shape.sine * p[1], shape.cosine * p[1] - shape.sine * p[0], p[2]};
}

/// 1 on the outline.
double scaledDistance(const Shape& ellipsoid, const Point& point) {
    const Point p = ownOf(ellipsoid, point);
    return length(
        {p[0] / ellipsoid.size[0], p[1] / ellipsoid.size[1], ellipsoid.inSpace ? p[2] / ellipsoid.size[2] : 0.0});
}

/// How far inside the outline a point lies; negative outside. For shapes whose outline is a constant distance from
/// something.
double depthOf(const Shape& shape, const Point& point) {
    const Point p = minus(point, shape.centre);
    switch (shape.kind) {
        case ShapeKind::Tube: return shape.size[0] - distanceToLine(shape, point);
        case ShapeKind::Ring: {
            const double d = std::sqrt(p[0] * p[0] + p[1] * p[1]);
            return shape.inSpace ? shape.size[1] - length({d - shape.size[0], 0.0, p[2]})
                                 : std::min(shape.size[0] - d, d - shape.size[1]);
        }
        default: return shape.size[0] - length(p);
    }
}

/// By the arithmetic-geometric mean: A. M. Legendre's form of the complete integral.
double perimeterOfEllipse(double a, double b) {
    if (a < b) {
        std::swap(a, b);
    }
    double sum = a * a;
    double weight = 0.5;
    double difference = std::sqrt(a * a - b * b);
    while (difference > 1e-9 * a) {  // its square is what counts
        sum -= weight * difference * difference;
        weight *= 2;
        difference = (a - b) / 2;
        const double mean = (a + b) / 2;
        b = std::sqrt(a * b);
        a = mean;
    }
    return 2 * pi * sum / a;
}

/// The integral over height and longitude, by trapezoids around and Simpson's rule upwards: within 1e-6 of the value up
/// to radii of 1 to 20.
double surfaceOfEllipsoid(double a, double b, double c) {
    constexpr int around = 256;  // of which the first quarter is enough
    constexpr int upwards = 512;
    double total = 0.0;
    for (int i = 0; i <= around / 4; ++i) {
        const double cosine = cosineOfTurns(static_cast<double>(i) / around);
        const double square = cosine * cosine;
        const double flat = b * b * c * c * square + a * a * c * c * (1 - square);
        double sum = 0.0;
        for (int j = 0; j <= upwards; ++j) {
            // Towards the poles and the equator in small steps.
            const double height = 0.5 * (1 - cosineOfTurns(0.5 * j / upwards));
            const double slope = 0.5 * pi * cosineOfTurns(0.5 * j / upwards - 0.25);
            const double weight = j == 0 || j == upwards ? 1.0 : j % 2 == 1 ? 4.0 : 2.0;
            sum += weight * slope * std::sqrt(flat * (1 - height * height) + a * a * b * b * height * height);
        }
        total += (i == 0 || i == around / 4 ? 0.5 : 1.0) * sum / (3.0 * upwards);
    }
    return 8 * total * 2 * pi / around;
}

void setSizes(const Shape& shape, ShapeFacts& facts) {
    const auto& [a, b, c] = shape.size;
    const double line = shape.kind == ShapeKind::Tube ? length(minus(shape.end, shape.centre)) : 0.0;
    const auto set = [&facts](double size, double outline) {
        facts.size = size;
        facts.outline = outline;
    };
    switch (shape.kind) {
        case ShapeKind::Ball:
        case ShapeKind::Tube:  // a tube without length is a ball
            return shape.inSpace
                       ? set(4.0 / 3.0 * pi * a * a * a + pi * a * a * line, 4 * pi * a * a + 2 * pi * a * line)
                       : set(pi * a * a + 2 * a * line, 2 * pi * a + 2 * line);
        case ShapeKind::Ellipsoid:
            return shape.inSpace ? set(4.0 / 3.0 * pi * a * b * c, surfaceOfEllipsoid(a, b, c))
                                 : set(pi * a * b, perimeterOfEllipse(a, b));
        case ShapeKind::Box:
            return shape.inSpace ? set(8 * a * b * c, 8 * (a * b + b * c + c * a)) : set(4 * a * b, 4 * (a + b));
        case ShapeKind::Ring:
            return shape.inSpace ? set(2 * pi * pi * a * b * b, 4 * pi * pi * a * b)
                                 : set(pi * (a * a - b * b), 2 * pi * (a + b));
    }
}

/// How far the shape reaches from its centre, on the image's axes; of a tube from each end.
Point reachOf(const Shape& shape) {
    const auto& [a, b, c] = shape.size;
    switch (shape.kind) {
        case ShapeKind::Ring: return shape.inSpace ? Point{a + b, a + b, b} : Point{a, a, 0.0};
        case ShapeKind::Ellipsoid: {
            const auto across = [](double x, double y) { return std::sqrt(x * x + y * y); };
            return {across(a * shape.cosine, b * shape.sine), across(a * shape.sine, b * shape.cosine), c};
        }
        case ShapeKind::Box: {
            const double cosine = std::fabs(shape.cosine);
            const double sine = std::fabs(shape.sine);
            return {a * cosine + b * sine, a * sine + b * cosine, c};
        }
        default: return shape.size;
    }
}

}  // namespace

Bounds boundsOf(const Shape& shape) {
    Bounds bounds{};
    const Point reach = reachOf(shape);
    const Point& other = shape.kind == ShapeKind::Tube ? shape.end : shape.centre;
    for (std::size_t axis = 0; axis < 3; ++axis) {
        bounds.lowest[axis] = std::min(shape.centre[axis], other[axis]) - reach[axis];
        bounds.highest[axis] = std::max(shape.centre[axis], other[axis]) + reach[axis];
    }
    return bounds;
}

ShapeFacts factsOf(const Shape& shape) {
    ShapeFacts facts{};
    setSizes(shape, facts);
    const Bounds bounds = boundsOf(shape);
    for (std::size_t axis = 0; axis < 3; ++axis) {
        facts.centroid[axis] = 0.5 * (bounds.lowest[axis] + bounds.highest[axis]);
    }
    return facts;
}

bool isInside(const Shape& shape, const Point& point) {
    switch (shape.kind) {
        case ShapeKind::Ellipsoid: return scaledDistance(shape, point) <= 1;
        case ShapeKind::Box: {
            const Point p = ownOf(shape, point);
            return std::fabs(p[0]) <= shape.size[0] && std::fabs(p[1]) <= shape.size[1] &&
                   (!shape.inSpace || std::fabs(p[2]) <= shape.size[2]);
        }
        default: return depthOf(shape, point) >= 0;
    }
}

Cover coverOf(const Shape& shape, const Point& centre, const Point& half) {
    if (shape.kind == ShapeKind::Box) {
        const Point p = ownOf(shape, centre);
        const double cosine = std::fabs(shape.cosine);
        const double sine = std::fabs(shape.sine);
        const Point own{half[0] * cosine + half[1] * sine, half[0] * sine + half[1] * cosine, half[2]};
        bool all = true;
        for (std::size_t axis = 0; axis < (shape.inSpace ? 3U : 2U); ++axis) {
            const double distance = std::fabs(p[axis]);
            if (distance - own[axis] >= shape.size[axis]) {
                return Cover::None;
            }
            all = all && distance + own[axis] <= shape.size[axis];
        }
        return all ? Cover::All : Cover::Part;
    }
    // In units of the smallest radius for ellipsoids.
    double depth = 0.0;
    double radius = length(half);
    if (shape.kind == ShapeKind::Ellipsoid) {
        depth = 1 - scaledDistance(shape, centre);
        const double smallest = std::min(shape.size[0], shape.size[1]);
        radius /= shape.inSpace ? std::min(smallest, shape.size[2]) : smallest;
    } else {
        depth = depthOf(shape, centre);
    }
    return depth <= -radius ? Cover::None : depth >= radius ? Cover::All : Cover::Part;
}

}  // namespace rix::synthesis
