#include "ConvexHull3d.h"

#include <algorithm>
#include <cstddef>
#include <utility>

#include <rix/access/Looks.h>

#include "ConvexHull2d.h"

namespace rix::individual_analysis {

namespace {

constexpr std::size_t none = static_cast<std::size_t>(-1);

/// Six times the volume of a tetrahedron, positive when d lies on the side of (a, b, c) that the normal points to.
Int128 volume(const SpaceCorner& a, const SpaceCorner& b, const SpaceCorner& c, const SpaceCorner& d) {
    const auto minus = [&a](const SpaceCorner& p) {
        return std::array<Int128, 3>{p[0] - a[0], p[1] - a[1], p[2] - a[2]};
    };
    const auto u = minus(b);
    const auto v = minus(c);
    const auto w = minus(d);
    return (u[1] * v[2] - u[2] * v[1]) * w[0] + (u[2] * v[0] - u[0] * v[2]) * w[1] + (u[0] * v[1] - u[1] * v[0]) * w[2];
}

/// The corners of the hulls of all planes.
std::vector<SpaceCorner> cornersOfPlanes(std::span<const OutlineRow> rows) {
    std::vector<SpaceCorner> corners;
    for (std::size_t first = 0; first < rows.size();) {
        std::size_t last = first;
        while (last < rows.size() && rows[last].plane == rows[first].plane) {
            ++last;
        }
        for (const Corner& corner : convexHull(rows.subspan(first, last - first))) {
            corners.push_back({corner.x, corner.y, rows[first].plane});
            corners.push_back({corner.x, corner.y, std::int64_t{rows[first].plane} + 1});
        }
        first = last;
    }
    access::Looks looks;
    std::sort(corners.begin(), corners.end(), [&looks](const SpaceCorner& a, const SpaceCorner& b) {
        looks.add(1);
        return a < b;
    });
    corners.erase(std::unique(corners.begin(), corners.end()), corners.end());
    return corners;
}

class Quickhull {
public:
    explicit Quickhull(std::vector<SpaceCorner> points) : m_points(std::move(points)) {}

    SpaceHull run() {
        makeTetrahedron();
        while (!m_open.empty()) {
            const std::size_t face = m_open.back();
            if (!m_faces[face].alive || m_faces[face].outside.empty()) {
                m_open.pop_back();
                continue;
            }
            m_looks.add(m_faces[face].outside.size());
            addPoint(face, m_faces[face].farthest());
        }
        return collect();
    }

private:
    struct Outside {
        std::size_t point;
        Int128 distance;  ///< times the same factor for all points of a face
    };
    /// A triangle whose corners turn left seen from outside; neighbour i lies beyond the edge from corner i to i + 1.
    struct Face {
        std::array<std::size_t, 3> corners;
        std::array<std::size_t, 3> neighbours{none, none, none};
        std::vector<Outside> outside{};
        bool alive = true;
        std::size_t visited = none;

        std::size_t farthest() const {
            return std::max_element(outside.begin(), outside.end(),
                                    [](const Outside& a, const Outside& b) { return a.distance < b.distance; })
                ->point;
        }
        std::size_t edgeTo(std::size_t neighbour) const {
            return static_cast<std::size_t>(std::find(neighbours.begin(), neighbours.end(), neighbour) -
                                            neighbours.begin());
        }
    };
    struct HorizonEdge {
        std::size_t from;
        std::size_t to;
        std::size_t behind;  ///< the face that stays
        std::size_t front;   ///< the one that goes
    };

    Int128 distance(const Face& face, std::size_t point) const {
        return volume(m_points[face.corners[0]], m_points[face.corners[1]], m_points[face.corners[2]], m_points[point]);
    }

    /// Voxels have a volume, so that four points out of one plane exist.
    void makeTetrahedron() {
        const std::size_t a = 0;
        const std::size_t b = m_points.size() - 1;
        std::size_t c = none;
        std::size_t d = none;
        double largest = 0.0;
        for (std::size_t i = 0; i < m_points.size(); ++i) {
            m_looks.add(1);
            const double distance = distanceFromLine(a, b, i);
            if (distance > largest) {
                largest = distance;
                c = i;
            }
        }
        Int128 height = 0;
        for (std::size_t i = 0; i < m_points.size(); ++i) {
            m_looks.add(1);
            const Int128 own = volume(m_points[a], m_points[b], m_points[c], m_points[i]);
            if ((own < 0 ? -own : own) > (height < 0 ? -height : height)) {
                height = own;
                d = i;
            }
        }
        std::array<std::size_t, 4> corners{a, b, c, d};
        if (height > 0) {
            std::swap(corners[0], corners[1]);  // d lies behind (a, b, c)
        }
        const auto& [p, q, r, s] = corners;
        m_faces.push_back({{p, q, r}, {1, 2, 3}});
        m_faces.push_back({{q, p, s}, {0, 3, 2}});
        m_faces.push_back({{r, q, s}, {0, 1, 3}});
        m_faces.push_back({{p, r, s}, {0, 2, 1}});
        std::vector<std::size_t> all(m_points.size());
        for (std::size_t i = 0; i < all.size(); ++i) {
            all[i] = i;
        }
        assign(all, 0);
    }

    double distanceFromLine(std::size_t a, std::size_t b, std::size_t point) const {
        std::array<double, 3> u{};
        std::array<double, 3> v{};
        for (std::size_t axis = 0; axis < 3; ++axis) {
            u[axis] = static_cast<double>(m_points[b][axis] - m_points[a][axis]);
            v[axis] = static_cast<double>(m_points[point][axis] - m_points[a][axis]);
        }
        const double x = u[1] * v[2] - u[2] * v[1];
        const double y = u[2] * v[0] - u[0] * v[2];
        const double z = u[0] * v[1] - u[1] * v[0];
        return x * x + y * y + z * z;
    }

    /// Gives each point to the first of the faces from `firstFace` on outside which it lies; inner points are dropped.
    void assign(const std::vector<std::size_t>& points, std::size_t firstFace) {
        for (const std::size_t point : points) {
            for (std::size_t face = firstFace; face < m_faces.size(); ++face) {
                m_looks.add(1);
                const Int128 own = distance(m_faces[face], point);
                if (own > 0) {
                    m_faces[face].outside.push_back({point, own});
                    break;
                }
            }
        }
        for (std::size_t face = firstFace; face < m_faces.size(); ++face) {
            if (!m_faces[face].outside.empty()) {
                m_open.push_back(face);
            }
        }
    }

    /// Replaces the faces that see a point by the cone from the point to their common border.
    void addPoint(std::size_t start, std::size_t point) {
        std::vector<std::size_t> visible{start};
        std::vector<HorizonEdge> horizon;
        m_faces[start].visited = point;
        for (std::size_t next = 0; next < visible.size(); ++next) {
            m_looks.add(1);
            for (std::size_t edge = 0; edge < 3; ++edge) {
                const Face& face = m_faces[visible[next]];
                const std::size_t neighbour = face.neighbours[edge];
                if (m_faces[neighbour].visited == point) {
                    continue;
                }
                if (distance(m_faces[neighbour], point) > 0) {
                    m_faces[neighbour].visited = point;
                    visible.push_back(neighbour);
                } else {
                    horizon.push_back({face.corners[edge], face.corners[(edge + 1) % 3], neighbour, visible[next]});
                }
            }
        }
        // Each corner of the horizon begins one of its edges.
        std::sort(horizon.begin(), horizon.end(),
                  [](const HorizonEdge& a, const HorizonEdge& b) { return a.from < b.from; });
        const std::size_t firstFace = m_faces.size();
        const auto faceFrom = [&](std::size_t corner) {
            const auto found = std::lower_bound(horizon.begin(), horizon.end(), corner,
                                                [](const HorizonEdge& a, std::size_t b) { return a.from < b; });
            return firstFace + static_cast<std::size_t>(found - horizon.begin());
        };
        std::vector<std::size_t> before(horizon.size());
        for (std::size_t i = 0; i < horizon.size(); ++i) {
            before[faceFrom(horizon[i].to) - firstFace] = firstFace + i;
        }
        for (std::size_t i = 0; i < horizon.size(); ++i) {
            const HorizonEdge& edge = horizon[i];
            m_faces[edge.behind].neighbours[m_faces[edge.behind].edgeTo(edge.front)] = firstFace + i;
            m_faces.push_back({{edge.from, edge.to, point}, {edge.behind, faceFrom(edge.to), before[i]}});
        }
        std::vector<std::size_t> loose;
        for (const std::size_t face : visible) {
            m_faces[face].alive = false;
            for (const Outside& outside : m_faces[face].outside) {
                if (outside.point != point) {
                    loose.push_back(outside.point);
                }
            }
            m_faces[face].outside = {};
        }
        assign(loose, firstFace);
    }

    SpaceHull collect() const {
        SpaceHull hull;
        std::vector<bool> used(m_points.size(), false);
        for (const Face& face : m_faces) {
            if (face.alive) {
                hull.sixfoldVolume -= distance(face, 0);  // the tetrahedra to a point of the hull, behind every face
                for (const std::size_t corner : face.corners) {
                    used[corner] = true;
                }
            }
        }
        for (std::size_t i = 0; i < m_points.size(); ++i) {
            if (used[i]) {
                hull.corners.push_back(m_points[i]);
            }
        }
        return hull;
    }

    std::vector<SpaceCorner> m_points;
    std::vector<Face> m_faces;
    access::Looks m_looks;
    std::vector<std::size_t> m_open;  ///< faces that may have points outside
};

}  // namespace

SpaceHull convexHullInSpace(std::span<const OutlineRow> rows) {
    return Quickhull(cornersOfPlanes(rows)).run();
}

}  // namespace rix::individual_analysis
