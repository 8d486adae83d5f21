#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <vector>

#include <rix/String.h>

namespace rix::synthesis {

/// In world units along columns, rows and planes.
using Point = std::array<double, 3>;

enum class ShapeKind : std::uint8_t {
    Ball,       ///< a disc in the plane
    Ellipsoid,  ///< an ellipse in the plane
    Box,
    Tube,  ///< all points within a radius of a line from one point to another
    Ring,  ///< in the plane what lies between two circles, in space a torus around the axis of planes
};

/// A body in space, or a figure in the plane: there the third components count for nothing.
struct Shape {
    ShapeKind kind = ShapeKind::Ball;
    bool inSpace = false;
    Point centre{};  ///< of a tube: its first point
    Point end{};     ///< of a tube: its last point
    /// Radii, or halves of sides. Ring: the outer and the inner radius; in space the radius of its middle line and that
    /// of the tube.
    Point size{};
    double cosine = 1.0;  ///< of the angle from columns towards rows by which figures are turned
    double sine = 0.0;
    double value = 0.0;
};

/// The word of a shape in texts: "DISK", "TUBE".
const char* wordOf(const Shape& shape);

/// The shapes that texts may have, with their numbers: "DISK x y radius value; ...".
String shapeForms(bool inSpace);

/// What is wrong with a text of shapes.
struct ShapeError {
    String text;
};

/// Reads shapes that semicolons or line ends separate: a word and its numbers each.
/// @return the shapes, or the first thing that is wrong
std::vector<Shape> readShapes(const String& text, bool inSpace, std::optional<ShapeError>& error);

/// How much of an element a shape covers, as far as a look tells.
enum class Cover : std::uint8_t { None, Part, All };

/// The box around a shape.
struct Bounds {
    Point lowest;
    Point highest;
};
Bounds boundsOf(const Shape& shape);

/// Exact sizes of a shape.
struct ShapeFacts {
    Point centroid;
    double size;     ///< area, or volume
    double outline;  ///< perimeter, or surface
};
ShapeFacts factsOf(const Shape& shape);

bool isInside(const Shape& shape, const Point& point);
/// Certain where it says none or all.
Cover coverOf(const Shape& shape, const Point& centre, const Point& half);
/// The covered part of the element around a centre, from 0 to 1: in the plane from areas of polygons and of parts of
/// discs in closed form, within 1e-10; in space integrated over such slices, within 1e-4.
double coverageOf(const Shape& shape, const Point& centre, const Point& half);

}  // namespace rix::synthesis
