#include "Placement.h"

#include <algorithm>
#include <cmath>
#include <deque>

#include "Philox.h"
#include "PortableMath.h"

namespace rix::synthesis {

namespace {

constexpr int mostTries = 100;

Point plus(const Point& a, const Point& b, double factor) {
    return {a[0] + factor * b[0], a[1] + factor * b[1], a[2] + factor * b[2]};
}

double dot(const Point& a, const Point& b) {
    return a[0] * b[0] + a[1] * b[1] + a[2] * b[2];
}

double length(const Point& p) {
    return std::sqrt(dot(p, p));
}

/// Random numbers one after the other.
class Draws {
public:
    explicit Draws(std::int64_t seed) : m_key(keyOf(seed, Purpose::Placement)) {}

    double between(double from, double to) {
        const philox::Counter words = philox::words({m_count++, 0, 0, 0}, m_key);
        return from + (to - from) * unitReal(words[0], words[1]);
    }
    /// A direction: on the circle in the plane, on the sphere in space.
    Point direction(bool inSpace) {
        const double turn = between(0, 1);
        const double height = inSpace ? between(-1, 1) : 0.0;
        const double width = std::sqrt(1 - height * height);
        return {width * cosineOfTurns(turn), width * cosineOfTurns(turn - 0.25), height};
    }

private:
    philox::Key m_key;
    std::uint32_t m_count = 0;
};

/// What the image shows of the world.
struct World {
    World(const ImageHeader& header) : inSpace(header.extents[PLANS] > 1) {  // NOLINT: a header is a world
        for (std::size_t axis = 0; axis < 3; ++axis) {
            const double spacing = header.spacing[axis];
            lowest[axis] = -0.5 * spacing;
            highest[axis] = (static_cast<double>(header.extents[axis]) - 0.5) * spacing;
        }
        if (!inSpace) {
            lowest[2] = highest[2] = 0.0;
        }
    }
    double side(std::size_t axis) const { return highest[axis] - lowest[axis]; }
    double diagonal() const { return length({side(0), side(1), side(2)}); }
    bool contains(const Point& p) const {
        for (std::size_t axis = 0; axis < 3; ++axis) {
            if (p[axis] < lowest[axis] || p[axis] > highest[axis]) {
                return false;
            }
        }
        return true;
    }
    /// A place so far from the edges; in the middle of an axis without the room.
    Point place(Draws& draws, const Point& margin) const {
        Point p{};
        for (std::size_t axis = 0; axis < (inSpace ? 3U : 2U); ++axis) {
            const double from = lowest[axis] + margin[axis];
            const double to = highest[axis] - margin[axis];
            p[axis] = draws.between(std::min(from, 0.5 * (from + to)), std::max(to, 0.5 * (from + to)));
            p[axis] = from < to ? p[axis] : 0.5 * (from + to);
        }
        return p;
    }

    bool inSpace;
    Point lowest{};
    Point highest{};
};

/// The distance between two lines with ends (C. Ericson, Real-Time Collision Detection, 2005, 5.1.9); points are lines
/// without length.
double distanceBetween(const Shape& a, const Shape& b) {
    const Point& endA = a.kind == ShapeKind::Tube ? a.end : a.centre;
    const Point& endB = b.kind == ShapeKind::Tube ? b.end : b.centre;
    const Point alongA = plus(endA, a.centre, -1);
    const Point alongB = plus(endB, b.centre, -1);
    const Point between = plus(a.centre, b.centre, -1);
    const double squareA = dot(alongA, alongA);
    const double squareB = dot(alongB, alongB);
    const double both = dot(alongA, alongB);
    const double fromA = dot(alongA, between);
    const double fromB = dot(alongB, between);
    const auto share = [](double numerator, double denominator) {
        return denominator > 0 ? std::clamp(numerator / denominator, 0.0, 1.0) : 0.0;
    };
    double s = share(both * fromB - fromA * squareB, squareA * squareB - both * both);
    const double t = share(both * s + fromB, squareB);
    s = share(both * t - fromA, squareA);
    return length(plus(plus(between, alongA, s), alongB, -t));
}

/// Objects by the cells of a grid that they may meet, so that a new one is compared with its neighbours alone.
class Neighbours {
public:
    Neighbours(const World& world, double greatestRadius) : m_world(world) {
        std::size_t cells = 1;
        for (std::size_t axis = 0; axis < 3; ++axis) {
            m_cell[axis] = std::max(2 * greatestRadius, world.side(axis) / 64);
            m_counts[axis] = indexOf(world.highest[axis], axis) + 1;
            cells *= m_counts[axis];
        }
        m_members.resize(cells);
    }

    bool isFree(const std::vector<Shape>& shapes, const Shape& shape, double share) const {
        bool free = true;
        forCells(shape, [&](std::size_t cell) {
            for (const std::size_t other : m_members[cell]) {
                const double least = share * (shape.size[0] + shapes[other].size[0]);
                free = free && distanceBetween(shape, shapes[other]) >= least;
            }
        });
        return free;
    }
    void enter(const Shape& shape, std::size_t number) {
        forCells(shape, [&](std::size_t cell) { m_members[cell].push_back(number); });
    }

private:
    std::size_t indexOf(double place, std::size_t axis) const {
        const double index = (place - m_world.lowest[axis]) / m_cell[axis];
        return index > 0 ? static_cast<std::size_t>(std::min(index, 64.0)) : 0;
    }
    template <class F>
    void forCells(const Shape& shape, const F& use) const {
        // Two that are too close have boxes that meet when each reaches as far as its radius.
        Shape round = shape;
        round.kind = shape.kind == ShapeKind::Tube ? ShapeKind::Tube : ShapeKind::Ball;
        round.size = {shape.size[0], shape.size[0], shape.size[0]};
        const Bounds bounds = boundsOf(round);
        std::array<std::size_t, 3> from{};
        std::array<std::size_t, 3> to{};
        for (std::size_t axis = 0; axis < 3; ++axis) {
            from[axis] = std::min(indexOf(bounds.lowest[axis], axis), m_counts[axis] - 1);
            to[axis] = std::min(indexOf(bounds.highest[axis], axis), m_counts[axis] - 1);
        }
        for (std::size_t z = from[2]; z <= to[2]; ++z) {
            for (std::size_t y = from[1]; y <= to[1]; ++y) {
                for (std::size_t x = from[0]; x <= to[0]; ++x) {
                    use((z * m_counts[1] + y) * m_counts[0] + x);
                }
            }
        }
    }

    const World& m_world;
    std::array<double, 3> m_cell{};
    std::array<std::size_t, 3> m_counts{};
    std::vector<std::vector<std::size_t>> m_members;
};

/// An object of the kinds that are strewn. Its first radius is the greatest, by which it keeps its distance.
Shape draw(const PhantomImage& phantom, const World& world, Draws& draws) {
    const PhantomImage::Kind kind = phantom.getKind();
    Shape shape;
    shape.inSpace = world.inSpace;
    shape.value = phantom.getBackground() + (kind == PhantomImage::PORES ? -1 : 1) * phantom.getContrast();
    const double radius = draws.between(phantom.getMinimumRadius(), phantom.getMaximumRadius());
    const Point margin{radius, radius, radius};
    shape.size = margin;
    if (kind == PhantomImage::FIBRES) {
        shape.kind = ShapeKind::Tube;
        const Point along = draws.direction(world.inSpace);
        const double half = 0.5 * draws.between(0.3, 0.8) * world.diagonal();
        const Point middle =
            world.place(draws, {radius + half * std::fabs(along[0]), radius + half * std::fabs(along[1]),
                                radius + half * std::fabs(along[2])});
        shape.centre = plus(middle, along, -half);
        shape.end = plus(middle, along, half);
        return shape;
    }
    shape.centre = world.place(draws, margin);
    if (kind == PhantomImage::NUCLEI) {
        shape.kind = ShapeKind::Ellipsoid;
        shape.size[1] = radius * draws.between(0.6, 1);
        shape.size[2] = radius * draws.between(0.6, 1);
        shape.value = phantom.getBackground() + phantom.getContrast() * draws.between(0.7, 1.3);
        if (!world.inSpace) {
            const double turn = draws.between(0, 0.5);
            shape.cosine = cosineOfTurns(turn);
            shape.sine = cosineOfTurns(turn - 0.25);
        }
    }
    return shape;
}

std::vector<Shape> strew(const PhantomImage& phantom, const World& world, std::size_t most) {
    Draws draws(phantom.getSeed());
    Neighbours neighbours(world, phantom.getMaximumRadius());
    std::vector<Shape> shapes;
    for (std::size_t i = 0; i < most; ++i) {
        for (int tries = 0; tries < mostTries; ++tries) {
            const Shape shape = draw(phantom, world, draws);
            if (neighbours.isFree(shapes, shape, 1 - phantom.getOverlap())) {
                neighbours.enter(shape, shapes.size());
                shapes.push_back(shape);
                break;
            }
        }
    }
    return shapes;
}

/// A direction that is turned by so many turns away from another, to any side.
Point turned(const Point& direction, double turns, bool inSpace, Draws& draws) {
    Point aside{-direction[1], direction[0], 0.0};
    if (inSpace) {
        // What a random direction has across the first one.
        const Point random = draws.direction(true);
        aside = plus(random, direction, -dot(random, direction));
    }
    const double size = length(aside);
    aside = size > 0 ? plus({}, aside, 1 / size) : Point{};
    const Point sum = plus(plus({}, direction, cosineOfTurns(turns)), aside, cosineOfTurns(turns - 0.25));
    return plus({}, sum, 1 / length(sum));
}

std::vector<Shape> grow(const PhantomImage& phantom, const World& world, std::size_t most) {
    struct Tip {
        Point at;
        Point direction;
        double radius;
    };
    Draws draws(phantom.getSeed());
    std::vector<Shape> shapes;
    std::deque<Tip> tips;
    while (shapes.size() < most) {
        if (tips.empty()) {
            Point root = world.place(
                draws, {phantom.getMaximumRadius(), phantom.getMaximumRadius(), phantom.getMaximumRadius()});
            root[0] = world.lowest[0];
            tips.push_back({root, {1, 0, 0}, phantom.getMaximumRadius()});
        }
        const Tip tip = tips.front();
        tips.pop_front();
        Shape tube;
        tube.kind = ShapeKind::Tube;
        tube.inSpace = world.inSpace;
        tube.size = {tip.radius, tip.radius, tip.radius};
        tube.centre = tip.at;
        tube.end = plus(tip.at, tip.direction, tip.radius * draws.between(5, 9));
        tube.value = phantom.getBackground() + phantom.getContrast();
        shapes.push_back(tube);
        const double share = draws.between(0.3, 0.7);
        for (const bool first : {true, false}) {
            const double angle = draws.between(0.04, 0.12);
            const double cube = first ? share : 1 - share;
            const double radius = tip.radius * exponential(logarithm(cube) / 3);
            const Point direction = turned(tip.direction, first ? angle : -angle, world.inSpace, draws);
            if (radius >= phantom.getMinimumRadius() && world.contains(tube.end)) {
                tips.push_back({tube.end, direction, radius});
            }
        }
    }
    return shapes;
}

}  // namespace

std::vector<Shape> placeObjects(const PhantomImage& phantom, const ImageHeader& header) {
    const World world(header);
    const auto most = static_cast<std::size_t>(phantom.getNumberOfObjects());
    return phantom.getKind() == PhantomImage::VESSELS ? grow(phantom, world, most) : strew(phantom, world, most);
}

}  // namespace rix::synthesis
