#include "Measures.h"

namespace rix::individual_analysis {

namespace {

void compute(const ObjectView& object, std::span<double> values) {
    const ShapeSums& shape = object.shape();
    for (std::size_t axis = 0; axis < object.axes(); ++axis) {
        const double mean = static_cast<double>(shape.position[axis]) / static_cast<double>(shape.count);
        values[axis] = object.origin(axis) + mean * object.spacing(axis);
    }
}

}  // namespace

// Mean position of the pixels. The sums of indices are exact, so that the only rounding is that of the quotient and the
// calibration. One pixel: its position. Unequal spacing: exact. Discs and balls: no bias by symmetry.
const MeasureDefinition barycenterDefinition{
    .name = "Barycenter",
    .description = "Centre of mass of the object, all pixels weighing the same.",
    .values = {{"X", "Along the columns.", {.length = 1}},
               {"Y", "Along the rows.", {.length = 1}},
               {"Z", "Along the planes.", {.length = 1}, vessel::ColumnType::REAL, Existence::Only3d}},
    .compute = &compute,
};

}  // namespace rix::individual_analysis
