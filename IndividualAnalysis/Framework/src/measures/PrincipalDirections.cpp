#include "PrincipalDirections.h"

#include <algorithm>
#include <cmath>

#include <Eigen/Eigenvalues>

namespace rix::individual_analysis {

namespace {

PrincipalDirections inPlane(double xx, double yy, double xy) {
    const double middle = (xx + yy) / 2.0;
    const double radius = std::hypot((xx - yy) / 2.0, xy);
    const double angle = 0.5 * std::atan2(2.0 * xy, xx - yy);
    // The product of the two is the determinant: no cancellation in the smaller one.
    const double larger = middle + radius;
    const double smaller = std::max((xx * yy - xy * xy) / larger, 0.0);
    return {{larger, smaller, 0.0}, {std::cos(angle), std::sin(angle), 0.0}};
}

PrincipalDirections inSpace(const Eigen::Matrix3d& moments) {
    const Eigen::SelfAdjointEigenSolver<Eigen::Matrix3d> solver(moments);
    const Eigen::Vector3d values = solver.eigenvalues();
    const Eigen::Vector3d direction = solver.eigenvectors().col(2);
    // Of the two unit vectors the one whose largest coefficient is positive.
    Eigen::Index largest = 0;
    direction.cwiseAbs().maxCoeff(&largest);
    const double sign = direction[largest] < 0.0 ? -1.0 : 1.0;
    return {{values[2], std::max(values[1], 0.0), std::max(values[0], 0.0)},
            {sign * direction[0], sign * direction[1], sign * direction[2]}};
}

}  // namespace

PrincipalDirections principalDirections(const ObjectView& object) {
    const auto moment = [&object](std::size_t which) { return object.dependency(0, which); };
    if (!object.inSpace()) {
        return inPlane(moment(0), moment(1), moment(2));
    }
    Eigen::Matrix3d moments;
    moments << moment(0), moment(3), moment(4),  //
        moment(3), moment(1), moment(5),         //
        moment(4), moment(5), moment(2);
    return inSpace(moments);
}

}  // namespace rix::individual_analysis
