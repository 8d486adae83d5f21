#include "Measures.h"

namespace rix::individual_analysis {

namespace {

void compute(const ObjectView& object, std::span<double> values) {
    const std::size_t count = object.inSpace() ? 1 : 4;
    for (std::size_t i = 0; i < count; ++i) {
        values[i] = object.dependency(0, i + 1);
    }
}

constexpr vessel::ColumnType real = vessel::ColumnType::REAL;

}  // namespace

// Distances of parallel lines (planes) that touch the object on both sides (Feret 1930), pixels taken as wholes, by the
// convex hull. One square pixel of side 1: 1.414 and 1. Unequal spacing: exact for the union of the pixels, and so for
// upright boxes. Discs of radius 5 pixels and more: the maximum has 3.5 to 14.5 % more than the diameter, 10 % in the
// mean, the minimum -10.5 to +8 %, within 2 % in the mean; from 15 on 1.5 to 5 %, 4 % in the mean, and -3.5 to +3 %.
// Balls of radius 5 and more: 6 to 17 %, 14 % in the mean, from 12 on 4 to 7.5 %. Of several equal diameters the one
// with the smallest angle is told. Angles lie in [0, pi), from the columns' axis towards the rows' axis.
const MeasureDefinition feretDefinition{
    .name = "Feret",
    .description = "Feret (caliper) diameters.",
    .type = MeasureProcessingType::None,
    .values = {{"Maximum", "Largest diameter.", {.length = 1}},
               {"MaximumAngle", "Direction of the largest diameter.", {}, real, Existence::Only2d, "rad"},
               {"Minimum", "Smallest diameter.", {.length = 1}, real, Existence::Only2d},
               {"MinimumAngle", "Direction of the smallest diameter.", {}, real, Existence::Only2d, "rad"}},
    .neededForFinalization = {"ConvexHull"},
    .compute = &compute,
};

}  // namespace rix::individual_analysis
