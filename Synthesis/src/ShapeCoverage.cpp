// How much of an element a shape covers: areas in closed form in the plane, integrals over slices in space.

#include <algorithm>
#include <cmath>

#include "Polygon.h"
#include "Shapes.h"

namespace rix::synthesis {

namespace {

/// An element in space as it is cut: the plane of the slices, and the axis across them.
struct Slicing {
    std::size_t u;
    std::size_t v;
    std::size_t w;
};

/// The area that a tube covers of a slice: between the planes at its ends a cylinder, beyond them balls.
double areaOfTube(const Shape& tube, const Slicing& axes, double w, const Polygon& polygon) {
    Point direction{tube.end[0] - tube.centre[0], tube.end[1] - tube.centre[1], tube.end[2] - tube.centre[2]};
    const double line =
        std::sqrt(direction[0] * direction[0] + direction[1] * direction[1] + direction[2] * direction[2]);
    for (std::size_t axis = 0; axis < 3; ++axis) {
        direction[axis] = line > 0 ? direction[axis] / line : axis == axes.w ? 1.0 : 0.0;
    }
    const double radius = tube.size[0];
    const Point2 flat{direction[axes.u], direction[axes.v]};
    const Point2 first{tube.centre[axes.u], tube.centre[axes.v]};
    const Point2 last{tube.end[axes.u], tube.end[axes.v]};
    const double fromFirst = w - tube.centre[axes.w];
    const double fromLast = w - tube.end[axes.w];
    // Where the distance along the tube is 0: flat * p = start.
    const double start = dot(flat, first) - direction[axes.w] * fromFirst;
    const auto ball = [&](const Polygon& part, Point2 centre, double height) {
        const double square = radius * radius - height * height;
        return square > 0 ? part.areaIn(centre, std::sqrt(square)) : 0.0;
    };
    double area = ball(polygon.clipped(flat, start), first, fromFirst) +
                  ball(polygon.clipped({-flat.u, -flat.v}, -start - line), last, fromLast);
    const Polygon between = polygon.clipped({-flat.u, -flat.v}, -start).clipped(flat, start + line);
    const double width = std::sqrt(dot(flat, flat));
    const double slope = direction[axes.w];
    const Point2 axis = width > 0 ? Point2{flat.u / width, flat.v / width} : Point2{1, 0};
    const double moved = fromFirst / slope;
    const Point2 centre{first.u + flat.u * moved, first.v + flat.v * moved};
    area += between.areaIn(centre, axis, radius / std::fabs(slope), radius);
    return area;
}

/// The area that a body covers of a slice.
double areaOfSlice(const Shape& body, const Slicing& axes, double w, const Polygon& polygon) {
    const Point2 centre{body.centre[axes.u], body.centre[axes.v]};
    const double height = w - body.centre[axes.w];
    switch (body.kind) {
        case ShapeKind::Tube: return areaOfTube(body, axes, w, polygon);
        case ShapeKind::Ring: {
            const double square = body.size[1] * body.size[1] - height * height;
            const double width = square > 0 ? std::sqrt(square) : 0.0;
            return polygon.areaIn(centre, body.size[0] + width) - polygon.areaIn(centre, body.size[0] - width);
        }
        default: {
            const double ratio = height / body.size[axes.w];
            const double square = 1 - ratio * ratio;
            const double share = square > 0 ? std::sqrt(square) : 0.0;
            return polygon.areaIn(centre, {1, 0}, body.size[axes.u] * share, body.size[axes.v] * share);
        }
    }
}

/// The integral of a function by the rule of Gauss and A. S. Kronrod with 3 and 7 points, halved where both differ by
/// more than is allowed: that of 7 points is then far closer.
template <class F>
double integral(const F& f, double from, double to, double allowed, int depth) {
    constexpr std::array<double, 4> places{0.9604912687080202, 0.7745966692414834, 0.4342437493468026, 0.0};
    constexpr std::array<double, 4> weights{0.1046562260264673, 0.2684880898683334, 0.4013974147759622,
                                            0.4509165386584741};
    const double middle = 0.5 * (from + to);
    const double half = 0.5 * (to - from);
    double fine = weights[3] * f(middle);
    double coarse = 8.0 / 9.0 / weights[3] * fine;
    for (std::size_t i = 0; i < 3; ++i) {
        const double pair = f(middle - half * places[i]) + f(middle + half * places[i]);
        fine += weights[i] * pair;
        coarse += i == 1 ? 5.0 / 9.0 * pair : 0.0;
    }
    if (depth == 0 || std::fabs(fine - coarse) * half <= allowed) {
        return fine * half;
    }
    return integral(f, from, middle, allowed, depth - 1) + integral(f, middle, to, allowed, depth - 1);
}

/// Where the area of slices through an element may bend: an outline begins or ends to meet an edge or a corner there.
/// In between it is smooth, and nothing small is overlooked.
class Cuts {
public:
    Cuts(const Shape& body, const Slicing& axes, const Point& centre, const Point& half)
        : m_first(centre[axes.w] - half[axes.w]), m_last(centre[axes.w] + half[axes.w]) {
        add(m_first);
        add(m_last);
        const double width = m_last - m_first;
        for (int quarter = 1; quarter < 4; ++quarter) {
            add(m_first + 0.25 * quarter * width);  // what bends elsewhere, between the ends of a tube
        }
        addOutline(body, body.centre, axes, centre, half);
        if (body.kind == ShapeKind::Tube) {
            addOutline(body, body.end, axes, centre, half);
        }
        std::sort(m_places.begin(), m_places.begin() + static_cast<std::ptrdiff_t>(m_count));
    }
    std::size_t count() const { return m_count; }
    double operator[](std::size_t index) const { return m_places[index]; }

private:
    void add(double place) {
        if (place >= m_first && place <= m_last) {
            m_places[m_count++] = place;
        }
    }
    void addHeight(double middle, double height) {
        add(middle - height);
        add(middle + height);
    }
    /// Where circles about a point pass through the edges and corners of an element, and where they begin.
    void addOutline(const Shape& body, const Point& middle, const Slicing& axes, const Point& centre,
                    const Point& half) {
        const bool isRing = body.kind == ShapeKind::Ring;
        add(middle[axes.w]);
        addHeight(middle[axes.w], isRing ? body.size[1] : body.size[axes.w]);
        const double u = centre[axes.u] - middle[axes.u];
        const double v = centre[axes.v] - middle[axes.v];
        const double sidesU[] = {u - half[axes.u], u + half[axes.u], 0.0};
        const double sidesV[] = {v - half[axes.v], v + half[axes.v], 0.0};
        for (const double du : sidesU) {
            for (const double dv : sidesV) {
                if (isRing) {
                    const double across = std::sqrt(du * du + dv * dv) - body.size[0];
                    addRoot(middle[axes.w], 1.0, body.size[1] * body.size[1] - across * across);
                } else {
                    const double x = du / body.size[axes.u];
                    const double y = dv / body.size[axes.v];
                    addRoot(middle[axes.w], body.size[axes.w], 1 - x * x - y * y);
                }
            }
        }
    }
    void addRoot(double middle, double scale, double square) {
        if (square > 0) {
            addHeight(middle, scale * std::sqrt(square));
        }
    }

    double m_first;
    double m_last;
    std::array<double, 5 + 2 * (3 + 2 * 9)> m_places{};
    std::size_t m_count = 0;
};

double volumeShare(const Shape& body, const Point& centre, const Point& half) {
    if (body.kind == ShapeKind::Box) {
        double share = 1;
        for (std::size_t axis = 0; axis < 3; ++axis) {
            const double from = std::max(centre[axis] - half[axis], body.centre[axis] - body.size[axis]);
            const double to = std::min(centre[axis] + half[axis], body.centre[axis] + body.size[axis]);
            share *= std::max(0.0, to - from) / (2 * half[axis]);
        }
        return share;
    }
    // Across the axis that a tube is closest to, so that its slices are not long.
    Slicing axes{0, 1, 2};
    if (body.kind == ShapeKind::Tube) {
        const auto extent = [&](std::size_t axis) { return std::fabs(body.end[axis] - body.centre[axis]); };
        if (extent(0) > extent(1) && extent(0) > extent(2)) {
            axes = {1, 2, 0};
        } else if (extent(1) > extent(2)) {
            axes = {2, 0, 1};
        }
    }
    const double area = 4 * half[axes.u] * half[axes.v];
    const Polygon polygon(centre[axes.u] - half[axes.u], centre[axes.u] + half[axes.u], centre[axes.v] - half[axes.v],
                          centre[axes.v] + half[axes.v]);
    const auto slice = [&](double w) { return areaOfSlice(body, axes, w, polygon) / area; };
    const Cuts cuts(body, axes, centre, half);
    double sum = 0;
    for (std::size_t i = 1; i < cuts.count(); ++i) {
        sum += integral(slice, cuts[i - 1], cuts[i], 3e-5 * half[axes.w], 8);
    }
    return sum / (2 * half[axes.w]);
}

double areaShare(const Shape& figure, const Point& centre, const Point& half) {
    const Polygon polygon(centre[0] - half[0], centre[0] + half[0], centre[1] - half[1], centre[1] + half[1]);
    const Point2 middle{figure.centre[0], figure.centre[1]};
    const Point2 axis{figure.cosine, figure.sine};
    const auto strip = [](const Polygon& part, Point2 normal, double from, double to) {
        return part.clipped({-normal.u, -normal.v}, -from).clipped(normal, to);
    };
    const double area = [&] {
        switch (figure.kind) {
            case ShapeKind::Ring:
                return polygon.areaIn(middle, figure.size[0]) - polygon.areaIn(middle, figure.size[1]);
            case ShapeKind::Box: {
                const Point2 across{-axis.v, axis.u};
                const double along = dot(axis, middle);
                const double beside = dot(across, middle);
                return strip(strip(polygon, axis, along - figure.size[0], along + figure.size[0]), across,
                             beside - figure.size[1], beside + figure.size[1])
                    .area();
            }
            case ShapeKind::Tube: {
                const Point2 end{figure.end[0], figure.end[1]};
                Point2 along{end.u - middle.u, end.v - middle.v};
                const double line = std::sqrt(dot(along, along));
                along = line > 0 ? Point2{along.u / line, along.v / line} : Point2{1, 0};
                const Point2 across{-along.v, along.u};
                const double radius = figure.size[0];
                const double start = dot(along, middle);
                const double beside = dot(across, middle);
                return polygon.clipped(along, start).areaIn(middle, radius) +
                       polygon.clipped({-along.u, -along.v}, -start - line).areaIn(end, radius) +
                       strip(strip(polygon, along, start, start + line), across, beside - radius, beside + radius)
                           .area();
            }
            default: return polygon.areaIn(middle, axis, figure.size[0], figure.size[1]);
        }
    }();
    return area / (4 * half[0] * half[1]);
}

}  // namespace

double coverageOf(const Shape& shape, const Point& centre, const Point& half) {
    const double share = shape.inSpace ? volumeShare(shape, centre, half) : areaShare(shape, centre, half);
    return std::clamp(share, 0.0, 1.0);
}

}  // namespace rix::synthesis
