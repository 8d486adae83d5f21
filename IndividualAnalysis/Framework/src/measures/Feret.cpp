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

// Distances of parallel lines (planes) that touch the object on both sides, pixels taken as wholes: exact for upright
// boxes; discs and balls have up to a pixel's diagonal more than their diameter. One square pixel of side 1: 1.414 and 1.
// Of several equal diameters the one with the smallest angle is told. Angles lie in [0, pi), from the columns' axis towards the rows' axis.
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
