#pragma once

#include <array>
#include <cstddef>

#include <rix/individual_analysis/ObjectView.h>

namespace rix::individual_analysis {

/// Principal second moments, largest first, and the direction of the largest. In the plane the third values are 0.
struct PrincipalDirections {
    std::array<double, 3> moments{};
    std::array<double, 3> largest{};  ///< a unit vector
};

/// From the measure "SecondMoments", which is the first dependency of the object's measure.
PrincipalDirections principalDirections(const ObjectView& object);

}  // namespace rix::individual_analysis
