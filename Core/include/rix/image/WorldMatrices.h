#pragma once

#include <Eigen/Core>

#include <rix/Export.h>

namespace rix {

/// Affine maps of the plane and of space: the last column is the translation.
using Matrix2x3 = Eigen::Matrix<double, 2, 3, Eigen::RowMajor>;
using Matrix3x4 = Eigen::Matrix<double, 3, 4, Eigen::RowMajor>;

/// The map from element positions (column, row, counted from 0) to world coordinates: scaled by the spacings, rotated
/// by `angle` (radians, from the first axis towards the second), moved to the origin.
/// @throws InvalidCall "Invalid world x spacing" or "Invalid world y spacing" when a spacing is not above 0, in this
///         order; `matrix` is then unchanged
RIX_EXPORT void fromImageToWorldMatrix(double originX, double originY, double spacingX, double spacingY, double angle,
                                       Matrix2x3& matrix);
/// The inverse map. @throws as above
RIX_EXPORT void fromWorldToImageMatrix(double originX, double originY, double spacingX, double spacingY, double angle,
                                       Matrix2x3& matrix);

/// The map from element positions (column, row, plane) to world coordinates: scaled by the spacings, rotated by
/// R = Rz(angle1) Rx(angle2) Rz(angle3) (radians), moved to the origin.
/// @throws InvalidCall as in the plane, and "Invalid world z spacing"
RIX_EXPORT void fromImageToWorldMatrix(double originX, double originY, double originZ, double spacingX, double spacingY,
                                       double spacingZ, double angle1, double angle2, double angle3, Matrix3x4& matrix);
/// The inverse map. @throws as above
RIX_EXPORT void fromWorldToImageMatrix(double originX, double originY, double originZ, double spacingX, double spacingY,
                                       double spacingZ, double angle1, double angle2, double angle3, Matrix3x4& matrix);

}  // namespace rix
