#pragma once

#include <array>
#include <cmath>
#include <cstddef>

#include "PortableMath.h"

namespace rix::synthesis {

struct Point2 {
    double u;
    double v;
};

inline double cross(Point2 a, Point2 b) {
    return a.u * b.v - a.v * b.u;
}
inline double dot(Point2 a, Point2 b) {
    return a.u * b.u + a.v * b.v;
}

/// A convex polygon: an element, or what is left of it.
class Polygon {
public:
    Polygon(double u0, double u1, double v0, double v1)
        : m_points{{{u0, v0}, {u1, v0}, {u1, v1}, {u0, v1}}}, m_count(4) {}

    /// What lies where normal * p is at most the limit.
    Polygon clipped(Point2 normal, double limit) const {
        Polygon rest;
        for (std::size_t i = 0; i < m_count; ++i) {
            const Point2 a = m_points[i];
            const Point2 b = m_points[(i + 1) % m_count];
            const double beyondA = dot(normal, a) - limit;
            const double beyondB = dot(normal, b) - limit;
            if (beyondA <= 0) {
                rest.m_points[rest.m_count++] = a;
            }
            if ((beyondA < 0 && beyondB > 0) || (beyondA > 0 && beyondB < 0)) {
                const double t = beyondA / (beyondA - beyondB);
                rest.m_points[rest.m_count++] = {a.u + t * (b.u - a.u), a.v + t * (b.v - a.v)};
            }
        }
        return rest;
    }

    double area() const {
        double sum = 0;
        for (std::size_t i = 0; i < m_count; ++i) {
            sum += cross(m_points[i], m_points[(i + 1) % m_count]);
        }
        return 0.5 * std::fabs(sum);
    }

    /// The area within an ellipse with its radii along an axis and across it.
    double areaIn(Point2 centre, Point2 axis, double along, double across) const {
        if (!(along > 0 && across > 0)) {
            return 0;
        }
        std::array<Point2, most> points;
        for (std::size_t i = 0; i < m_count; ++i) {
            const Point2 p{m_points[i].u - centre.u, m_points[i].v - centre.v};
            points[i] = {dot(p, axis) / along, cross(axis, p) / across};
        }
        double sum = 0;
        for (std::size_t i = 0; i < m_count; ++i) {
            sum += fromCentre(points[i], points[(i + 1) % m_count]);
        }
        return std::fabs(sum) * along * across;
    }
    double areaIn(Point2 centre, double radius) const { return areaIn(centre, {1, 0}, radius, radius); }

private:
    static constexpr std::size_t most = 12;  ///< each of up to four clips of four corners adds one at most

    Polygon() = default;

    static double sector(Point2 a, Point2 b) { return 0.5 * angleOf(cross(a, b), dot(a, b)); }

    /// The signed area that the unit circle has of the triangle of its centre and two points.
    static double fromCentre(Point2 a, Point2 b) {
        const Point2 d{b.u - a.u, b.v - a.v};
        const double square = dot(d, d);
        const double half = dot(a, d);
        const double root = half * half - square * (dot(a, a) - 1);
        if (!(root > 0)) {
            return sector(a, b);
        }
        const double first = (-half - std::sqrt(root)) / square;
        const double last = (-half + std::sqrt(root)) / square;
        if (last <= 0 || first >= 1) {
            return sector(a, b);
        }
        const auto at = [&](double t) { return Point2{a.u + t * d.u, a.v + t * d.v}; };
        const Point2 in = first > 0 ? at(first) : a;
        const Point2 out = last < 1 ? at(last) : b;
        return (first > 0 ? sector(a, in) : 0.0) + 0.5 * cross(in, out) + (last < 1 ? sector(out, b) : 0.0);
    }

    std::array<Point2, most> m_points;
    std::size_t m_count = 0;
};

}  // namespace rix::synthesis
