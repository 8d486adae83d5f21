#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

/// The six tetrahedra of a cube about its diagonal, and the triangles in which a level cuts them.
namespace rix::geometry {

/// Corners of a cube: bit 0 is the next column, bit 1 the next row, bit 2 the next plane.
using Corner = std::uint8_t;

/// A way from corner 0 to corner 7, one axis after the other: each edge leads to a corner that has all bits of the one
/// where it begins.
struct Tetrahedron {
    std::array<Corner, 4> corners;
    bool isLeft;  ///< the other three corners follow each other clockwise, seen from beyond the first
};
inline constexpr std::array<Tetrahedron, 6> tetrahedra{{{{0, 1, 3, 7}, false},
                                                        {{0, 2, 6, 7}, false},
                                                        {{0, 4, 5, 7}, false},
                                                        {{0, 1, 5, 7}, true},
                                                        {{0, 2, 3, 7}, true},
                                                        {{0, 4, 6, 7}, true}}};

/// An edge of a cube: from a corner to another one with more bits.
struct CubeEdge {
    Corner from;
    Corner to;
    /// Edges that begin in an element: 1 to 7, the bits that the other end has more.
    std::size_t kind() const { return static_cast<std::size_t>(to ^ from); }
};
inline constexpr std::size_t edgeKinds = 7;

/// Calls `use(triangle)` with three edges for each triangle in a tetrahedron with corners on both sides.
/// @param bright bits of the cube's corners that are at the level or above it
template <class Use>
void forEachTriangle(const Tetrahedron& tetrahedron, unsigned bright, const Use& use) {
    const std::array<Corner, 4>& corners = tetrahedron.corners;
    std::array<std::size_t, 4> order{};
    std::size_t ahead = 0;
    for (std::size_t i = 0; i < 4; ++i) {
        ahead += bright >> corners[i] & 1U;
    }
    if (ahead == 0 || ahead == 4) {
        return;
    }
    // Bright corners first; odd exchanges turn the tetrahedron inside out.
    std::size_t first = 0;
    std::size_t rest = ahead;
    bool isLeft = tetrahedron.isLeft;
    for (std::size_t i = 0; i < 4; ++i) {
        if ((bright >> corners[i] & 1U) != 0) {
            isLeft = isLeft != (((i - first) & 1U) != 0);
            order[first++] = i;
        } else {
            order[rest++] = i;
        }
    }
    const auto edge = [&](std::size_t a, std::size_t b) {
        const Corner one = corners[order[a]];
        const Corner other = corners[order[b]];
        return one < other ? CubeEdge{one, other} : CubeEdge{other, one};
    };
    const auto triangle = [&](const CubeEdge& a, const CubeEdge& b, const CubeEdge& c) {
        use(isLeft ? std::array<CubeEdge, 3>{a, c, b} : std::array<CubeEdge, 3>{a, b, c});
    };
    if (ahead == 1) {
        triangle(edge(0, 1), edge(0, 2), edge(0, 3));
    } else if (ahead == 3) {
        triangle(edge(0, 3), edge(1, 3), edge(2, 3));
    } else {
        triangle(edge(0, 2), edge(0, 3), edge(1, 3));
        triangle(edge(0, 2), edge(1, 3), edge(1, 2));
    }
}

/// The number of triangles in a cube: one where one corner of a tetrahedron is alone, two where they are two and two.
/// @param none bits of corners on no side: tetrahedra with one have none
inline std::size_t countTriangles(unsigned bright, unsigned none) {
    std::size_t count = 0;
    for (const Tetrahedron& each : tetrahedra) {
        std::size_t ahead = 0;
        bool isWhole = true;
        for (const Corner corner : each.corners) {
            ahead += bright >> corner & 1U;
            isWhole = isWhole && (none >> corner & 1U) == 0;
        }
        count += !isWhole || ahead == 0 || ahead == 4 ? 0U : (ahead == 2 ? 2U : 1U);
    }
    return count;
}

}  // namespace rix::geometry
