#include "WorldTransform.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <limits>
#include <numbers>

#include <Eigen/LU>

#include <rix/rules/SpacingRules.h>

#include "World.h"

namespace rix::geometry {

namespace {

using Matrix = Eigen::Matrix3d;
using Vector = Eigen::Vector3d;

Vector vectorOf(const vessel::Vector3d& v) {
    return {v[0], v[1], v[2]};
}

/// Coordinates of elements: matrix (column, row, plane) + shift. In a plane the first two are along two axes, and the
/// third is the plane's index.
struct Grid {
    Matrix matrix = Matrix::Identity();
    Vector shift = Vector::Zero();
};

/// The directions along which the coordinates of a plane are counted: x and y, where it lies along them.
std::array<Vector, 2> planeAxes(const ImageHeader& header) {
    const Vector columns = vectorOf(header.spatialDirections.columnDirection);
    const Vector rows = vectorOf(header.spatialDirections.rowDirection);
    constexpr double level = 1e-9;
    if (std::abs(columns.z()) <= level * columns.norm() && std::abs(rows.z()) <= level * rows.norm()) {
        return {Vector::UnitX(), Vector::UnitY()};
    }
    return {columns.normalized(), rows.normalized()};
}

Matrix elementVectors(const ImageHeader& header) {
    const auto spacings = spacingsOf(header);
    const auto spacing = [&](std::size_t axis) {
        return header.extents[axis] <= 1 && !rules::isDivisor(spacings[axis]) ? 1.0 : spacings[axis];
    };
    Matrix vectors;
    vectors.col(0) = spacing(COLUMNS) * vectorOf(header.spatialDirections.columnDirection);
    vectors.col(1) = spacing(ROWS) * vectorOf(header.spatialDirections.rowDirection);
    vectors.col(2) = spacing(PLANS) * vectorOf(header.spatialDirections.sliceDirection);
    return vectors;
}

/// @param axesOf a plane, whose coordinates both grids of a transform have in common
Grid gridOf(const ImageHeader& header, std::size_t axes, const std::array<Vector, 2>& axesOf) {
    const Matrix vectors = elementVectors(header);
    const Vector origin{header.origin[0], header.origin[1], header.origin[2]};
    if (axes == 3) {
        return {vectors, origin};
    }
    Grid grid;
    for (Eigen::Index i = 0; i < 2; ++i) {
        const Vector& axis = axesOf[static_cast<std::size_t>(i)];
        for (Eigen::Index j = 0; j < 3; ++j) {
            grid.matrix(i, j) = axis.dot(vectors.col(j));
        }
        grid.shift(i) = axis.dot(origin);
    }
    return grid;
}

Vector middleOf(const ImageHeader& header, double plane, std::size_t axes) {
    const auto middle = [&](std::size_t axis) { return (static_cast<double>(header.extents[axis]) - 1.0) / 2.0; };
    return {middle(COLUMNS), middle(ROWS), axes == 3 ? middle(PLANS) : plane};
}

/// What turns a world about a centre that may lie differently in each plane: matrix p + shift, for a plane.
struct Backwards {
    Matrix matrix;
    Vector shift;
};

Backwards transformInPlane(const ImageHeader& input, const Grid& grid, const TransformJob& job, double plane,
                           bool backwards) {
    Matrix matrix = job.transform.matrix;
    Vector shift = job.transform.shift;
    if (job.isAboutImage) {
        Vector center = grid.matrix * middleOf(input, plane, job.axes) + grid.shift;
        if (job.axes == 2) {
            center.z() = 0.0;
        }
        shift += center - matrix * center;
    }
    if (backwards) {
        matrix = matrix.inverse().eval();
        shift = (-(matrix * shift)).eval();
    }
    return {matrix, shift};
}

}  // namespace

ElementGrid elementGridOf(const ImageHeader& header) {
    ElementGrid grid;
    grid.vectors = elementVectors(header);
    grid.inverse = grid.vectors.inverse();
    grid.origin = {header.origin[0], header.origin[1], header.origin[2]};
    return grid;
}

Matrix elementsPerWorld(const ImageHeader& header, std::size_t axes) {
    return gridOf(header, axes, planeAxes(header)).matrix.inverse();
}

std::pair<double, double> turnOf(double degrees) {
    const double turn = std::remainder(degrees, 360.0);
    const double quarters = std::nearbyint(turn / 90.0);
    const double rest = (turn - 90.0 * quarters) * std::numbers::pi / 180.0;
    const double c = std::cos(rest);
    const double s = std::sin(rest);
    switch (static_cast<int>(quarters)) {
        case 1: return {-s, c};
        case -1: return {s, -c};
        case 2:
        case -2: return {-c, -s};
        default: return {c, s};
    }
}

WorldTransform transformOf(const TurnAndScale& parts) {
    WorldTransform transform;
    for (Eigen::Index i = 0; i < 3; ++i) {
        transform.matrix(i, i) = parts.scales[static_cast<std::size_t>(i)];
        transform.shift(i) = parts.translation[static_cast<std::size_t>(i)];
    }
    for (Eigen::Index axis = 0; axis < 3; ++axis) {
        const auto [c, s] = turnOf(parts.angles[static_cast<std::size_t>(axis)]);
        const Eigen::Index from = (axis + 1) % 3;
        const Eigen::Index to = (axis + 2) % 3;
        Matrix turn = Matrix::Identity();
        turn(from, from) = c;
        turn(to, to) = c;
        turn(to, from) = s;
        turn(from, to) = -s;
        transform.matrix = (turn * transform.matrix).eval();
    }
    return transform;
}

std::optional<WorldTransform> readTransform(std::string_view text, std::size_t axes) {
    WorldTransform transform;
    std::size_t at = 0;
    const auto skipBlanks = [&] { at = std::min(text.find_first_not_of(" \t", at), text.size()); };
    for (std::size_t row = 0; row < axes; ++row) {
        for (std::size_t column = 0; column <= axes; ++column) {
            skipBlanks();
            at += at < text.size() && text[at] == '+' ? 1U : 0U;
            double number = 0.0;
            const auto [end, error] = std::from_chars(text.data() + at, text.data() + text.size(), number);
            if (error != std::errc() || !std::isfinite(number)) {
                return std::nullopt;
            }
            at = static_cast<std::size_t>(end - text.data());
            const auto i = static_cast<Eigen::Index>(row);
            (column == axes ? transform.shift(i) : transform.matrix(i, static_cast<Eigen::Index>(column))) = number;
            skipBlanks();
            const bool isLast = row + 1 == axes && column == axes;
            if (isLast ? at != text.size() : at == text.size() || text[at++] != (column == axes ? ';' : ',')) {
                return std::nullopt;
            }
        }
    }
    return transform;
}

String writeTransform(const double* rows, std::size_t axes) {
    String text;
    for (std::size_t i = 0; i < axes * (axes + 1); ++i) {
        char number[32];
        const auto written = std::to_chars(number, number + sizeof(number), rows[i]);
        text += i == 0 ? "" : i % (axes + 1) == 0 ? ";" : ",";
        text.append(number, written.ptr);
    }
    return text;
}

bool isInvertible(const WorldTransform& transform) {
    if (!transform.matrix.allFinite() || !transform.shift.allFinite()) {
        return false;
    }
    const Eigen::FullPivLU<Matrix> factors(transform.matrix);
    return factors.isInvertible() && factors.inverse().allFinite();
}

bool spansWorld(const ImageHeader& grid, std::size_t axes) {
    const Matrix matrix = gridOf(grid, axes, planeAxes(grid)).matrix;
    return matrix.allFinite() && Eigen::FullPivLU<Matrix>(matrix).isInvertible();
}

access::RegionMap placesIn(const ImageHeader& input, const ImageHeader& grid, const TransformJob& job) {
    const auto axesOfPlane = planeAxes(input);
    const Grid from = gridOf(input, job.axes, axesOfPlane);
    const Grid to = gridOf(grid, job.axes, axesOfPlane);
    const Matrix inverse = from.matrix.inverse();
    // The place of the first element of a plane, and what columns, rows and planes add.
    const auto firstOf = [&](double plane) -> Vector {
        const Backwards transform = transformInPlane(input, from, job, plane, !job.isBackward);
        const Vector point = to.matrix * Vector(0.0, 0.0, plane) + to.shift;
        if (job.axes == 3) {
            return inverse * (transform.matrix * point + transform.shift - from.shift);
        }
        Vector inPlane = point;
        inPlane.z() = 0.0;
        Vector moved = transform.matrix * inPlane + transform.shift - from.shift;
        moved.z() = plane;
        return inverse * moved;
    };
    const Backwards transform = transformInPlane(input, from, job, 0.0, !job.isBackward);
    const Matrix slopes = inverse * transform.matrix * to.matrix;
    const Vector first = firstOf(0.0);
    const Vector through = job.axes == 3 ? Vector(slopes.col(2)) : Vector(firstOf(1.0) - first);
    access::RegionMap map;
    for (std::size_t axis = 0; axis < job.axes; ++axis) {
        const auto i = static_cast<Eigen::Index>(axis);
        map.matrix[axis] = {slopes(i, 0), slopes(i, 1), through(i), first(i)};
    }
    return map;
}

ImageHeader fittingGrid(const ImageHeader& input, const TransformJob& job) {
    const auto axesOfPlane = planeAxes(input);
    const Grid grid = gridOf(input, job.axes, axesOfPlane);
    const Matrix inverse = grid.matrix.inverse();
    Vector low = Vector::Constant(std::numeric_limits<double>::infinity());
    Vector high = -low;
    // The outer borders of the image; of planes those of the first and the last, between which all others lie.
    for (unsigned corner = 0; corner < 8; ++corner) {
        const auto index = [&](Components axis) {
            const auto n = static_cast<double>(input.extents[axis]);
            const bool isAfter = (corner >> axis & 1U) != 0;
            return axis == PLANS && job.axes == 2 ? (isAfter ? n - 1.0 : 0.0) : (isAfter ? n - 0.5 : -0.5);
        };
        const double plane = index(PLANS);
        const Backwards transform = transformInPlane(input, grid, job, plane, job.isBackward);
        Vector point = grid.matrix * Vector(index(COLUMNS), index(ROWS), plane) + grid.shift;
        if (job.axes == 2) {
            point.z() = 0.0;
        }
        Vector moved = transform.matrix * point + transform.shift - grid.shift;
        if (job.axes == 2) {
            moved.z() = plane;
        }
        const Vector place = inverse * moved;
        low = low.cwiseMin(place);
        high = high.cwiseMax(place);
    }
    ImageHeader header = input;
    const Matrix vectors = elementVectors(input);
    for (std::size_t axis = 0; axis < job.axes; ++axis) {
        const auto i = static_cast<Eigen::Index>(axis);
        const double width = high(i) - low(i);
        constexpr double most = 0x1p31;
        const double count = std::ceil(width - 1e-6 * std::max(1.0, width * 1e-6));
        header.extents[axis] = count < 1.0 ? 1 : static_cast<std::size_t>(count < most ? count : most);
        const double first = (low(i) + high(i)) / 2.0 - (static_cast<double>(header.extents[axis]) - 1.0) / 2.0;
        for (std::size_t j = 0; j < 3; ++j) {
            header.origin[j] += first * vectors(static_cast<Eigen::Index>(j), i);
        }
    }
    return header;
}

}  // namespace rix::geometry
