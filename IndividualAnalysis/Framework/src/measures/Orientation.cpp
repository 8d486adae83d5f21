#include "Measures.h"

#include <cmath>
#include <numbers>

#include "PrincipalDirections.h"

namespace rix::individual_analysis {

namespace {

void compute(const ObjectView& object, std::span<double> values) {
    const auto direction = principalDirections(object).largest;
    if (object.inSpace()) {
        for (std::size_t axis = 0; axis < 3; ++axis) {
            values[axis] = direction[axis];
        }
        return;
    }
    const double angle = std::atan2(direction[1], direction[0]);
    // Rounding may leave a direction along the columns a trace below 0: half a turn on it is pi itself.
    const double turned = angle < 0.0 ? angle + std::numbers::pi : angle;
    values[0] = turned < std::numbers::pi ? turned : 0.0;
}

}  // namespace

// In the plane an angle in [0, pi) from the columns' axis towards the rows' axis, which points down: positive angles
// turn clockwise on the screen. In space a unit vector whose largest coefficient is positive. The direction is one in
// the world, so that unequal spacing counts. Objects without a longest direction (discs, balls, squares) have any; one
// pixel that of its longest side, a square one 0. Ellipses with half axes of 30 and 12 pixels are met within 0.01 rad.
const MeasureDefinition orientationDefinition{
    .name = "Orientation",
    .description = "Direction of the longest principal axis.",
    .type = MeasureProcessingType::None,
    .values =
        {{"", "Angle from the columns' to the rows' axis.", {}, vessel::ColumnType::REAL, Existence::Only2d, "rad"},
         {"X", "Along the columns.", {}, vessel::ColumnType::REAL, Existence::Only3d},
         {"Y", "Along the rows.", {}, vessel::ColumnType::REAL, Existence::Only3d},
         {"Z", "Along the planes.", {}, vessel::ColumnType::REAL, Existence::Only3d}},
    .neededForFinalization = {"SecondMoments"},
    .compute = &compute,
};

}  // namespace rix::individual_analysis
