#pragma once

#include <array>
#include <cstddef>
#include <optional>
#include <string_view>
#include <utility>

#include <Eigen/Core>

#include <rix/access/Regions.h>
#include <rix/geometry/TransformChoices.h>
#include <rix/image/ImageHeader.h>

/// Transforms of the world, and what they make of grids in it.
namespace rix::geometry {

/// The elements of an image in the world, whose axes span it. Spacings are those of `spacingsOf`; of axes with one
/// element, any are taken as 1 that none can divide by.
struct ElementGrid {
    Eigen::Matrix3d vectors = Eigen::Matrix3d::Identity();  ///< from an element to the next, along each axis
    Eigen::Matrix3d inverse = Eigen::Matrix3d::Identity();
    Eigen::Vector3d origin = Eigen::Vector3d::Zero();

    Eigen::Vector3d worldOf(const Eigen::Vector3d& place) const { return vectors * place + origin; }
    Eigen::Vector3d placeOf(const Eigen::Vector3d& world) const { return inverse * (world - origin); }
};
ElementGrid elementGridOf(const ImageHeader& header);

/// How far a step in the world leads in elements; in planes, a step along the axes of these, the third being planes.
Eigen::Matrix3d elementsPerWorld(const ImageHeader& header, std::size_t axes);

/// The cosine and the sine of an angle in degrees; those of quarters are exact.
std::pair<double, double> turnOf(double degrees);

/// p' = matrix p + shift; of planes by the first two coordinates.
struct WorldTransform {
    Eigen::Matrix3d matrix = Eigen::Matrix3d::Identity();
    Eigen::Vector3d shift = Eigen::Vector3d::Zero();
};

/// What is told instead of a matrix; of planes only what concerns x and y, and the turn from x to y.
struct TurnAndScale {
    std::array<double, 3> translation{};
    std::array<double, 3> angles{};  ///< in degrees
    std::array<double, 3> scales{1.0, 1.0, 1.0};
};

/// c + R S (p - c) + t with c = 0. Quarter turns are exact.
WorldTransform transformOf(const TurnAndScale& parts);

/// Rows of numbers with the shift behind, "a,b,tx;c,d,ty"; none where the text is something else.
std::optional<WorldTransform> readTransform(std::string_view text, std::size_t axes);
String writeTransform(const double* rows, std::size_t axes);

/// A transform with what it is applied to.
struct TransformJob {
    WorldTransform transform;
    bool isAboutImage = false;  ///< the middle of the image is its origin; of a plane, that of each
    bool isBackward = false;
    std::size_t axes = 3;  ///< 2: in planes
};

/// Whether there is an inverse, which is finite.
bool isInvertible(const WorldTransform& transform);
/// Whether the axes of a grid span the plane or space. Spacings are those of `spacingsOf`; of axes with one element,
/// any are taken as 1 that none can divide by.
bool spansWorld(const ImageHeader& grid, std::size_t axes);

/// Where the elements of a grid come from in the input's grid.
/// @param input,grid with axes that span the world; the transform has an inverse
access::RegionMap placesIn(const ImageHeader& input, const ImageHeader& grid, const TransformJob& job);

/// The grid of the input's spacings and directions about the moved image. What cannot be counted has extents of 2^31.
ImageHeader fittingGrid(const ImageHeader& input, const TransformJob& job);

}  // namespace rix::geometry
