#include <rix/image/WorldMatrices.h>

#include <cmath>

#include <Eigen/Geometry>

#include <rix/exceptions/Exception.h>

namespace rix {

namespace {

/// Written so that NaN is refused, too.
void checkSpacing(double spacing, const char* failure) {
    if (!(spacing > 0.0)) {
        throw InvalidCall(failure);
    }
}

void checkSpacings(double spacingX, double spacingY) {
    checkSpacing(spacingX, "Invalid world x spacing");
    checkSpacing(spacingY, "Invalid world y spacing");
}

void checkSpacings(double spacingX, double spacingY, double spacingZ) {
    checkSpacings(spacingX, spacingY);
    checkSpacing(spacingZ, "Invalid world z spacing");
}

Eigen::Matrix3d makeRotation(double angle1, double angle2, double angle3) {
    const Eigen::Vector3d x = Eigen::Vector3d::UnitX();
    const Eigen::Vector3d z = Eigen::Vector3d::UnitZ();
    return (Eigen::AngleAxisd(angle1, z).toRotationMatrix() * Eigen::AngleAxisd(angle2, x).toRotationMatrix() *
            Eigen::AngleAxisd(angle3, z).toRotationMatrix());
}

}  // namespace

void fromImageToWorldMatrix(double originX, double originY, double spacingX, double spacingY, double angle,
                            Matrix2x3& matrix) {
    checkSpacings(spacingX, spacingY);
    const double c = std::cos(angle);
    const double s = std::sin(angle);
    matrix << spacingX * c, -spacingY * s, originX,  //
        spacingX * s, spacingY * c, originY;
}

void fromWorldToImageMatrix(double originX, double originY, double spacingX, double spacingY, double angle,
                            Matrix2x3& matrix) {
    checkSpacings(spacingX, spacingY);
    const double c = std::cos(angle);
    const double s = std::sin(angle);
    const double m00 = c / spacingX;
    const double m01 = s / spacingX;
    const double m10 = -s / spacingY;
    const double m11 = c / spacingY;
    matrix << m00, m01, -(m00 * originX + m01 * originY),  //
        m10, m11, -(m10 * originX + m11 * originY);
}

void fromImageToWorldMatrix(double originX, double originY, double originZ, double spacingX, double spacingY,
                            double spacingZ, double angle1, double angle2, double angle3, Matrix3x4& matrix) {
    checkSpacings(spacingX, spacingY, spacingZ);
    const Eigen::Vector3d spacing(spacingX, spacingY, spacingZ);
    matrix.leftCols<3>() = makeRotation(angle1, angle2, angle3) * spacing.asDiagonal();
    matrix.col(3) = Eigen::Vector3d(originX, originY, originZ);
}

void fromWorldToImageMatrix(double originX, double originY, double originZ, double spacingX, double spacingY,
                            double spacingZ, double angle1, double angle2, double angle3, Matrix3x4& matrix) {
    checkSpacings(spacingX, spacingY, spacingZ);
    // (R S)^-1 = S^-1 R^T: no general inversion, so large origins and tiny spacings lose nothing.
    const Eigen::Vector3d inverseSpacing(1.0 / spacingX, 1.0 / spacingY, 1.0 / spacingZ);
    const Eigen::Matrix3d linear = inverseSpacing.asDiagonal() * makeRotation(angle1, angle2, angle3).transpose();
    matrix.leftCols<3>() = linear;
    matrix.col(3) = -(linear * Eigen::Vector3d(originX, originY, originZ));
}

}  // namespace rix
