#include <rix/image/ImageCalibration.h>

#include <cmath>

#include <Eigen/Geometry>

namespace rix {

namespace {

Eigen::Vector3d toVector(const vessel::Vector3d& direction) {
    return {direction[0], direction[1], direction[2]};
}

/// The rotation with these directions as columns; false when they span no plane.
bool makeRotation(const vessel::SpatialDirections& directions, Eigen::Matrix3d& rotation) {
    const Eigen::Vector3d column = toVector(directions.columnDirection).stableNormalized();
    const Eigen::Vector3d row = toVector(directions.rowDirection).stableNormalized();
    const Eigen::Vector3d across = row - row.dot(column) * column;
    // Parallel directions leave rounding only; NaN fails the comparison, too.
    constexpr double smallestSine = 1e-9;
    if (!(column.norm() > 0.5) || !(across.norm() > smallestSine)) {
        return false;
    }
    rotation.col(0) = column;
    rotation.col(1) = across.normalized();
    rotation.col(2) = rotation.col(0).cross(rotation.col(1));
    return true;
}

}  // namespace

EulerAngles getEulerAngles(const vessel::SpatialDirections& directions) {
    Eigen::Matrix3d r;
    if (!makeRotation(directions, r)) {
        return {0.0, 0.0, 0.0};
    }
    // With R = Rz(a) Rx(b) Rz(c) the last column is (sin a sin b, -cos a sin b, cos b).
    const double sineOfSecond = std::hypot(r(0, 2), r(1, 2));
    const double second = std::atan2(sineOfSecond, r(2, 2));
    constexpr double smallestSine = 1e-12;
    if (sineOfSecond < smallestSine) {
        return {std::atan2(r(1, 0), r(0, 0)), second, 0.0};
    }
    const double first = std::atan2(r(0, 2), -r(1, 2));
    // The first row of Rz(-a) R is (cos c, -sin c, 0): exact also where a small sine makes a uncertain.
    const double cosine = std::cos(first);
    const double sine = std::sin(first);
    const double third = std::atan2(-(cosine * r(0, 1) + sine * r(1, 1)), cosine * r(0, 0) + sine * r(1, 0));
    return {first, second, third};
}

ImageCalibration::ImageCalibration() {
    clear();
}

ImageCalibration::ImageCalibration(const ImageModel& image) {
    init(image);
}

void ImageCalibration::init(const ImageModel& image) {
    for (int i = RIX_COMPONENTS_FIRST; i < RIX_COMPONENTS_SIZE; ++i) {
        const auto axis = static_cast<Components>(i);
        const auto index = static_cast<std::size_t>(i);
        m_numOf[index] = image.getNumOf(axis);
        m_originOf[index] = image.getOriginOf(axis);
        m_spacingOf[index] = image.getSpacingOf(axis);
    }
    m_orientation = getEulerAngles(image.getSpatialDirections());
    m_spatialUnitName = image.getSpatialUnitName();
    m_sequenceUnitName = image.getSequenceUnitName();
}

void ImageCalibration::clear() {
    m_numOf.fill(0);
    m_originOf.fill(0.0);
    m_spacingOf.fill(0.0);
    m_orientation.fill(0.0);
    m_spatialUnitName.clear();
    m_sequenceUnitName.clear();
}

}  // namespace rix
