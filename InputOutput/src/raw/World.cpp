#include "World.h"

#include <cmath>

#include <rix/exceptions/Exception.h>

#include "../Metadata.h"
#include "../Units.h"

namespace rix::io {
namespace {

vessel::Vector3d& directionOf(ImageFileInfo& info, std::size_t axis) {
    auto& directions = info.spatialDirections;
    return axis == COLUMNS ? directions.columnDirection
           : axis == ROWS  ? directions.rowDirection
                           : directions.sliceDirection;
}

}  // namespace

bool setStep(ImageFileInfo& info, std::size_t axis, const std::array<double, 3>& vector) {
    const double length = std::hypot(vector[0], vector[1], vector[2]);
    if (!isSpacing(length)) {
        return false;
    }
    info.spacing[axis] = length;
    for (std::size_t i = 0; i < 3; ++i) {
        directionOf(info, axis)[i] = vector[i] / length + 0.0;  // no negative zeros
    }
    return true;
}

std::array<double, 3> stepOf(const ImageFileInfo& info, std::size_t axis) {
    ImageFileInfo copy = info;
    std::array<double, 3> vector = directionOf(copy, axis);
    for (double& component : vector) {
        component = component * info.spacing[axis] + 0.0;
    }
    return vector;
}

void completeDirections(ImageFileInfo& info) {
    const auto& a = info.spatialDirections.columnDirection;
    const auto& b = info.spatialDirections.rowDirection;
    const std::array<double, 3> normal{a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0]};
    const double spacing = info.spacing[PLANS];
    if (setStep(info, PLANS, normal)) {
        info.spacing[PLANS] = spacing;
    }
}

void flipWorld(ImageFileInfo& info, bool x, bool y) {
    for (std::size_t i = 0; i < 2; ++i) {
        if (i == 0 ? x : y) {
            for (std::size_t axis = 0; axis < 3; ++axis) {
                double& component = directionOf(info, axis)[i];
                component = 0.0 - component;
            }
            info.origin[i] = 0.0 - info.origin[i];
        }
    }
}

void setSpatialUnits(ImageFileInfo& info, const std::array<String, 3>& units) {
    info.spatialUnitName.clear();
    for (std::size_t axis = 0; axis < 3; ++axis) {
        if (units[axis].empty()) {
            continue;
        }
        if (info.spatialUnitName.empty()) {
            info.spatialUnitName = units[axis];
        } else if (units[axis] != info.spatialUnitName) {
            const auto of = metresOf(units[axis]);
            const auto to = metresOf(info.spatialUnitName);
            if (!of || !to) {
                throw LoadingError("The header has lengths in '" + units[axis] + "' and '" + info.spatialUnitName +
                                   "', which cannot be compared.");
            }
            info.spacing[axis] *= *of / *to;
            info.origin[axis] *= *of / *to;
        }
    }
}

}  // namespace rix::io
